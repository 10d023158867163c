// What the next commit will hold.
//
// add_files_to_index(repository, file, status, file, status, ...) -> 0, -1
// remove_files_from_index(repository, file, ...) -> 0, -1

#include "gitbind/frame.h"
#include "module/upper_case.h"
#include "support/strings.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kAdd = {.pool_name = "gitAddPool", .is_result_preset = true};
constexpr FrameRules kRemove = {.pool_name = "gitRemovePool", .is_result_preset = true};
constexpr char kDeleted[] = "DELETED";

// The status of the file at that position follows it; a last file may go without.
bool is_deleted(const RepoCall& call, int file_position) {
  const PoolText status(call.pool, optional_text_argument(call.arguments, file_position + 1));
  toUpperCase(status.text);
  return is_same_text(status.text, kDeleted);
}

void write_index(const RepoCall& call, git_index* index) {
  if (if_found(GIT(call, git_index_write), index) != 0) return call.fail();
  *call.result = kSuccess;
}

// Where libgit2 lacks one of the first three functions, the result stays at -1 without an error.
void stage_files(const RepoCall& call) {
  auto* get_index = GIT(call, git_repository_index);
  if (!get_index) return;
  Held<git_index> index(call);
  if (get_index(&index.it, call.repo.it) != 0) return call.fail();

  auto* add = GIT(call, git_index_add_bypath);
  auto* remove = GIT(call, git_index_remove_bypath);
  if (!add || !remove) return;
  if (call.count() <= 1) return call.fail();
  // A file that fails is passed over and the others are staged: programs hand over whole lists from
  // a status that may have changed since. Only the last file decides, so callers who must know of
  // each one stage it by a call of its own.
  int last = 0;
  for (int i = 1; i < call.count(); i += 2) {
    const PoolText file = call.text(i);
    last = (is_deleted(call, i) ? remove : add)(index.it, file.text);
  }
  if (last != 0) return call.fail();
  write_index(call, index.it);
}

// Before the first commit, unstaging a file removes its entry.
void remove_entries(const RepoCall& call) {
  Held<git_index> index(call);
  if (required(GIT(call, git_repository_index), &index.it, call.repo.it) != 0) return call.fail();
  auto* remove = GIT(call, git_index_remove_bypath);
  for (int i = 1; i < call.count(); ++i) {
    const PoolText file = call.text(i);
    if (if_found(remove, index.it, file.text) != 0) return call.fail();
  }
  write_index(call, index.it);
}

// libgit2 writes the index for each file, so the files before one that fails stay unstaged.
void restore_entries(const RepoCall& call, git_object* commit) {
  auto* reset = GIT(call, git_reset_default);
  for (int i = 1; i < call.count(); ++i) {
    const PoolText file = call.text(i);
    char* one_path = file.text;
    const git_strarray paths = {&one_path, 1};
    if (if_found(reset, call.repo.it, commit, &paths) != 0) return call.fail();
  }
  *call.result = kSuccess;
}

void unstage_files(const RepoCall& call) {
  Held<git_commit> commit(call);
  Held<git_reference> head(call);
  if (if_found(GIT(call, git_repository_head), &head.it, call.repo.it) != 0) {
    return remove_entries(call);
  }
  git_object* target = nullptr;
  if (!head.it ||
      required(GIT(call, git_reference_peel), &target, head.it, GIT_OBJECT_COMMIT) != 0) {
    return call.fail();
  }
  commit.it = reinterpret_cast<git_commit*>(target);
  restore_entries(call, target);
}

}  // namespace

int add_files_to_index(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kAdd, arguments, result);
  if (call.is_ready()) stage_files(call);
  return 0;
}

int remove_files_from_index(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kRemove, arguments, result);
  if (call.is_ready()) unstage_files(call);
  return 0;
}

}  // namespace uwugit
