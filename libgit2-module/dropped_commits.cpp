// When libgit2 (1.1 to 1.9) cannot apply a commit of a rebase (an untracked file in the way, a full
// disk, staged changes), git_rebase_next fails and has gone on all the same: the next call gives
// the commit after it, and so does a rebase that is opened again, because the failed commit's
// number has been written to .git/rebase-merge/msgnum. A caller that takes every error for "there
// is one more" drops the commit, and git_rebase_finish answers success. It does so as well when the
// last commit has stopped the rebase and its changes are still in the index only.
//
// Here a failure of git_rebase_next is remembered for as long as the git_rebase lives:
// git_rebase_next then says that there are no more, and git_rebase_finish refuses with the commit's
// id and the error. It also refuses while the index differs from HEAD. The files that tell how far
// the rebase has come are set back after a failure, so that a rebase that is opened again begins
// with the commit that failed. Aborting the rebase leads back as ever.

#include "dropped_commits.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <mutex>
#include <optional>

#include "next.h"
#include "unwritten_commit.h"

namespace {

// How the rebase got no further.
struct Failure {
  int code;
  int error_class;
  std::string text;
};

struct Rebase {
  const git_rebase* object;
  git_repository* repo;  // null for a rebase in memory, which has neither files nor index
  std::optional<Failure> failure;
  Rebase* next;
};

// Plain, so that a rebase can still be freed when the process ends.
std::mutex mutex;
Rebase* first = nullptr;

// What is known of a rebase. It stays until the rebase is freed.
Rebase* find(const git_rebase* object) {
  const std::lock_guard lock(mutex);
  Rebase* rebase = first;
  while (rebase && rebase->object != object) rebase = rebase->next;
  return rebase;
}

void forget(const git_rebase* object) {
  const std::lock_guard lock(mutex);
  Rebase** place = &first;
  while (*place && (*place)->object != object) place = &(*place)->next;
  if (!*place) return;
  const Rebase* forgotten = *place;
  *place = forgotten->next;
  delete forgotten;
}

// A file of the rebase's folder as it is now, to be set back to that.
class KeptFile {
 public:
  KeptFile(git_repository* repo, const char* name)
      : path_(repo ? rebase_folder(repo) + name : ""), content_(read()) {}

  // Without a number libgit2 begins with the first commit, which is then refused as applied
  // already. So a file that cannot be written is removed: aborting works, and nothing is passed
  // over.
  void restore() const {
    if (read() == content_) return;
    if (!content_ || !write()) unlink(path_.c_str());
  }

 private:
  std::optional<std::string> read() const {
    std::ifstream stream(path_, std::ios::binary);
    if (!stream) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(stream), {});
  }

  // Over the old bytes first, and cut afterwards: that needs no room on a full disk.
  bool write() const {
    const int file = open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) return false;
    const auto size = static_cast<ssize_t>(content_->size());
    const bool is_written =
        pwrite(file, content_->data(), content_->size(), 0) == size && ftruncate(file, size) == 0;
    return close(file) == 0 && is_written;
  }

  std::string path_;
  std::optional<std::string> content_;
};

std::string current_commit(git_rebase* rebase) {
  const git_rebase_operation* operation =
      git_rebase_operation_byindex(rebase, git_rebase_operation_current(rebase));
  return operation ? std::string("commit [") + git_oid_tostr_s(&operation->id) + "]" : "a commit";
}

Failure describe_failure(git_rebase* rebase, int code) {
  const git_error* error = last_error();
  return {
      code, error ? error->klass : GIT_ERROR_REBASE,
      current_commit(rebase) + " could not be applied: " + (error ? error->message : "no reason")};
}

bool has_staged_changes(git_repository* repo) {
  git_object* head = nullptr;
  git_diff* diff = nullptr;
  const bool is_compared =
      git_revparse_single(&head, repo, "HEAD^{tree}") == 0 &&
      git_diff_tree_to_index(&diff, repo, reinterpret_cast<git_tree*>(head), nullptr, nullptr) == 0;
  const bool has_changes = is_compared && git_diff_num_deltas(diff) > 0;
  git_diff_free(diff);
  git_object_free(head);
  return has_changes;
}

}  // namespace

std::string rebase_folder(git_repository* repo) {
  return git_repository_path(repo) + std::string("rebase-merge/");
}

void remember_rebase(const git_rebase* rebase, git_repository* repo) {
  const std::lock_guard lock(mutex);
  first = new Rebase{rebase, repo, std::nullopt, first};
}

EXPORT int git_rebase_init(git_rebase** out, git_repository* repo,
                           const git_annotated_commit* branch, const git_annotated_commit* upstream,
                           const git_annotated_commit* onto, const git_rebase_options* options) {
  const int code =
      call_with_text(NEXT(git_rebase_init), out, repo, branch, upstream, onto, options);
  if (code == 0) remember_rebase(*out, options && options->inmemory ? nullptr : repo);
  return code;
}

EXPORT int git_rebase_next(git_rebase_operation** operation, git_rebase* rebase) {
  Rebase* known = find(rebase);
  if (!known) return NEXT(git_rebase_next)(operation, rebase);
  if (known->failure) return GIT_ITEROVER;
  const KeptFile number(known->repo, "msgnum");
  const KeptFile current(known->repo, "current");
  const int code = call_with_text(NEXT(git_rebase_next), operation, rebase);
  if (code >= 0 || code == GIT_ITEROVER) return code;
  known->failure = describe_failure(rebase, code);
  number.restore();
  current.restore();
  return code;
}

EXPORT int git_rebase_commit(git_oid* id, git_rebase* rebase, const git_signature* author,
                             const git_signature* committer, const char* encoding,
                             const char* message) {
  const int code =
      call_with_text(NEXT(git_rebase_commit), id, rebase, author, committer, encoding, message);
  const Rebase* known = find(rebase);
  return known && known->repo ? confirm_commit(code, known->repo, id, "HEAD") : code;
}

EXPORT int git_rebase_finish(git_rebase* rebase, const git_signature* signature) {
  const Rebase* known = find(rebase);
  if (known && known->failure) {
    return fail(known->failure->error_class, known->failure->text, known->failure->code);
  }
  if (known && known->repo && has_staged_changes(known->repo)) {
    return fail(GIT_ERROR_REBASE,
                "changes of " + current_commit(rebase) + " are in the index and not committed",
                GIT_EUNCOMMITTED);
  }
  return NEXT(git_rebase_finish)(rebase, signature);
}

EXPORT int git_rebase_abort(git_rebase* rebase) {
  const int code = NEXT(git_rebase_abort)(rebase);
  Rebase* known = find(rebase);
  if (code == 0 && known) known->failure.reset();
  return code;
}

EXPORT void git_rebase_free(git_rebase* rebase) {
  forget(rebase);
  NEXT(git_rebase_free)(rebase);
}
