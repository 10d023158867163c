// What the next commit will hold.
//
// add_files_to_index(repository, file, status, file, status, ...) -> 0
//     Stages the content of each file, or its removal where the status is "DELETED" in any case. A
//     last file without a status has its content staged. -1: the repository cannot be opened, no
//     file was given, the last file failed, or the index could not be written.
//
// remove_files_from_index(repository, file, ...) -> 0
//     Unstages each file: its index entry becomes that of HEAD again, or goes when there is no
//     commit yet. The working tree stays. The files are libgit2's patterns. -1: the repository
//     cannot be opened, or a file or the index failed.
//
// Example: add_files_to_index("/home/me/project", "report.txt", "MODIFIED", "old.txt", "DELETED");

#include "gitbind/frame.h"
#include "store/object_list.h"
#include "store/upper_case.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kAdd = {.pool_name = "gitAddPool",
                             .is_result_preset = true,
                             .is_load_failure_reported = true,
                             .failure = kFailure};
constexpr FrameRules kRemove = {.pool_name = "gitRemovePool",
                                .is_result_preset = true,
                                .is_load_failure_reported = true,
                                .failure = kFailure};
constexpr char kDeleted[] = "DELETED";

using StageFile = decltype(&git_index_add_bypath);
static_assert(std::is_same_v<StageFile, decltype(&git_index_remove_bypath)>);

// libgit2's answer for the file at that position, whose status follows it.
int stage_file(HostPool* pool, git_index* index, const HostArgumentBlock* arguments, int position,
               StageFile add, StageFile remove) {
  const PoolText file(pool, text_argument(arguments, position));
  const PoolText status(pool, optional_text_argument(arguments, position + 1));
  toUpperCase(status.text);
  return (is_same_key(status.text, kDeleted) ? remove : add)(index, file.text);
}

void write_index(GitCall& call, git_index* index) {
  auto* write = GIT(call, git_index_write);
  if (write && write(index) != 0) return call.fail();
  *call.result = kSuccess;
}

void stage_files(GitCall& call, const HostArgumentBlock* arguments, const char* path) {
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path, &repo.it)) return;
  auto* get_index = GIT(call, git_repository_index);
  if (!get_index) return;  // the result stays at -1
  Held<git_index> index(call.git, free_git_index);
  if (get_index(&index.it, repo.it) != 0) return call.fail();

  auto* add = GIT(call, git_index_add_bypath);
  auto* remove = GIT(call, git_index_remove_bypath);
  if (!add || !remove) return;  // as above
  if (arguments->count <= 1) return call.fail();
  // A file that fails is passed over and the others are staged: programs hand over whole lists from
  // a status that may have changed since. Only the last file decides, so callers who must know of
  // each one stage it by a call of its own.
  int last = 0;
  for (int i = 1; i < arguments->count; i += 2) {
    last = stage_file(call.pool, index.it, arguments, i, add, remove);
  }
  if (last != 0) return call.fail();
  write_index(call, index.it);
}

// Before the first commit: the entries go.
void remove_entries(GitCall& call, const HostArgumentBlock* arguments, git_repository* repo) {
  auto* get_index = GIT(call, git_repository_index);
  Held<git_index> index(call.git, free_git_index);
  if (!get_index || get_index(&index.it, repo) != 0) return call.fail();
  auto* remove = GIT(call, git_index_remove_bypath);
  for (int i = 1; i < arguments->count; ++i) {
    const PoolText file(call.pool, text_argument(arguments, i));
    if (remove && remove(index.it, file.text) != 0) return call.fail();
  }
  write_index(call, index.it);
}

// libgit2 writes the index for each file, so the files before one that fails stay unstaged.
void restore_entries(GitCall& call, const HostArgumentBlock* arguments, git_repository* repo,
                     git_object* commit) {
  auto* reset = GIT(call, git_reset_default);
  for (int i = 1; i < arguments->count; ++i) {
    const PoolText file(call.pool, text_argument(arguments, i));
    char* one_path = file.text;
    const git_strarray paths = {&one_path, 1};
    if (reset && reset(repo, commit, &paths) != 0) return call.fail();
  }
  *call.result = kSuccess;
}

void unstage_files(GitCall& call, const HostArgumentBlock* arguments, const char* path) {
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path, &repo.it)) return;
  // The reference goes before the commit that was found through it.
  Held<git_commit> commit(call.git, free_git_commit);
  Held<git_reference> head(call.git, free_git_reference);
  auto* get_head = GIT(call, git_repository_head);
  if (get_head && get_head(&head.it, repo.it) != 0) {
    return remove_entries(call, arguments, repo.it);
  }
  auto* peel = GIT(call, git_reference_peel);
  git_object* target = nullptr;
  if (!peel || !head.it || peel(&target, head.it, GIT_OBJECT_COMMIT) != 0) return call.fail();
  commit.it = reinterpret_cast<git_commit*>(target);
  restore_entries(call, arguments, repo.it, target);
}

}  // namespace

int add_files_to_index(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kAdd, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  stage_files(call, arguments, path.text);
  return 0;
}

int remove_files_from_index(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kRemove, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  unstage_files(call, arguments, path.text);
  return 0;
}

}  // namespace uwugit
