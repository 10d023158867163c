// A rebase in progress keeps the number of its current commit in .git/rebase-merge/msgnum. libgit2
// (1.1 to 1.9) takes any number from there, and git_rebase_next reads beyond its list of commits
// when the number is larger than the list: the process crashes.
//
// Here git_rebase_open refuses such a state and names the file.

#include "dropped_commits.h"
#include "next.h"
#include "one_writer.h"

EXPORT int git_rebase_open(git_rebase** out, git_repository* repo,
                           const git_rebase_options* options) {
  if (const int code = LOCK(repo)) return code;
  const int code = NEXT(git_rebase_open)(out, repo, options);
  if (code < 0) return code;
  const std::size_t current = git_rebase_operation_current(*out);
  const std::size_t count = git_rebase_operation_entrycount(*out);
  if (current == GIT_REBASE_NO_OPERATION || current < count) {
    remember_rebase(*out, repo);
    return code;
  }
  git_rebase_free(*out);
  *out = nullptr;
  return fail(GIT_ERROR_REBASE, "the rebase in progress is damaged: " + rebase_folder(repo) +
                                    "msgnum names commit " + std::to_string(current + 1) + " of " +
                                    std::to_string(count) + "; write " + std::to_string(count) +
                                    " there, and abort the rebase");
}
