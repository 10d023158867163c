// Differences between two commits, or between HEAD and the index or the working tree.
//
// diff_commits(repository, first commit, second commit) -> number of files
//     Keeps the difference for the functions below, in place of an earlier one of the same
//     arguments. A first commit that is not 40 characters long means "nothing": all files of the
//     second are new. A failure answers 0 as well; libgit2's error is in the log, except when there
//     is no repository.
//
// diff_file_in_index(repository, file, variable, with index = 0, external file = none) -> 0
//     Fills the variable with the records of one file: HEAD against the index, or against the
//     working tree. With an external file they are also written there. -1: something failed, or
//     the file does not differ.
//
// get_diff_attribute(number, repository, first commit, second commit, attribute, variable)
//     Fills the variable with the FILE, DIFF_CONTENT or DIFF_TYPE of one file, blank-padded. The
//     return code is left alone; the function's own result is 1 when there is no such diff.
//
// write_diff_to_file(number, repository, first commit, second commit, external file) -> 0
//     Writes the records of one file. -1: there is no such diff, or writing failed. The return code
//     is left alone when there is no such file in it.
//
// free_diff_objects(repository, first commit, second commit) -> 0
//     Discards the difference, if there is one. 1: its memory could not be released.
//
// Example: diff_commits("/home/me/project", old, new); get_diff_attribute(1, "/home/me/project",
// old, new, "DIFF_CONTENT", content);
//
// Diffs are found by upper-cased keys: of two repositories whose paths differ only in the case of
// letters, one diff of the same commits replaces the other.

#include <initializer_list>

#include "gitbind/frame.h"
#include "module/upper_case.h"
#include "ops/diff_lines.h"
#include "ops/diff_output.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr int kNoDiff = 1;  // get_diff_attribute's own result

// Programs take the count for granted, also after a failure: there is no failure code.
constexpr FrameRules kDiffCommits = {.pool_name = "diffPool",
                                     .is_result_preset = false,
                                     .is_load_failure_reported = false,
                                     .failure = kSuccess};
constexpr FrameRules kDiffFileInIndex = {.pool_name = "diff_file",
                                         .is_result_preset = true,
                                         .is_load_failure_reported = true,
                                         .failure = kFailure};
constexpr char kGetDiffAttributePool[] = "get_diff_attribute_pool";
constexpr char kWriteDiffPool[] = "diff_fileref";
constexpr char kFreeDiffPool[] = "free_commit_pool";  // shares its name with the log's free

constexpr std::size_t kIdLength = 40;

// An empty object of these keys, in place of an earlier one, becomes the working one. The search
// has upper-cased the keys, so the stored ones are. Left in the pool of the call, they would keep
// it from being recycled for as long as the process lives, once for each diff: the object takes
// them into its own pool.
void replace_diff_object(char* key1, char* key2, char* key3) {
  if (findDiffObject(key1, key2, key3)) free_diffObject(key1, key2, key3);
  workingDiffObject = insertDiffObjectAtTail(key1, key2, key3);
  own_keys(workingDiffObject);
}

// The diff object of these keys, made the working one; null when there is none. The keys are
// upper-cased first, as the stored ones are, so that the working object is met without a search.
DiffObject* select_diff_object(char* key1, char* key2, char* key3) {
  for (char* key : {key1, key2, key3}) toUpperCase(key);
  if (!workingDiffObject || !has_keys(workingDiffObject, key1, key2, key3)) {
    workingDiffObject = findDiffObject(key1, key2, key3);
  }
  return workingDiffObject;
}

const MeasuredDiffFile* file_of(DiffObject* diff, std::int32_t number) {
  return static_cast<const MeasuredDiffFile*>(diff_file(diff, number));
}

bool look_commit_up(const GitCall& call, git_repository* repo, const char* id,
                    git_commit** commit) {
  git_oid oid = {};
  auto* parse = GIT(call, git_oid_fromstrp);
  if (!parse || parse(&oid, id) < 0) return false;
  auto* look_up = GIT(call, git_commit_lookup);
  return look_up && look_up(commit, repo, &oid) >= 0;
}

bool take_tree(const GitCall& call, const git_commit* commit, git_tree** tree) {
  auto* take = GIT(call, git_commit_tree);
  return take && take(tree, commit) >= 0;
}

// Guards end in reverse: the commits, the trees, the diff, the repository.
void diff_two_commits(GitCall& call, char* path, const PoolText& first, const PoolText& second) {
  Held<git_repository> repo(call.git);
  if (open_repo(call.git, path, &repo.it) != 0) return;  // kept: the answer is 0, the log is silent
  Held<git_diff> diff(call.git);
  Held<git_tree> new_tree(call.git);
  Held<git_tree> old_tree(call.git);
  Held<git_commit> new_commit(call.git);
  Held<git_commit> old_commit(call.git);
  if (first.length == kIdLength && !look_commit_up(call, repo.it, first.text, &old_commit.it)) {
    return call.fail();
  }
  if (!look_commit_up(call, repo.it, second.text, &new_commit.it)) return call.fail();
  if (old_commit.it && !take_tree(call, old_commit.it, &old_tree.it)) return call.fail();
  if (!take_tree(call, new_commit.it, &new_tree.it)) return call.fail();
  auto* compare = GIT(call, git_diff_tree_to_tree);
  if (!compare || compare(&diff.it, repo.it, old_tree.it, new_tree.it, nullptr) < 0) {
    return call.fail();
  }
  if (!diff.it) return;
  replace_diff_object(path, first.text, second.text);
  if (print_diff(call.git, diff.it) < 0) call.fail();  // what was printed until then stays
  *call.result = static_cast<double>(workingDiffObject->extra);
}

struct OneFileRequest {
  const PoolText& path;
  const PoolText& file;
  HostString* variable;
  bool is_with_index;             // compare with the index instead of the working tree
  const PoolText* external_file;  // null: none
};

bool take_head_tree(const GitCall& call, git_repository* repo, git_reference** head,
                    git_commit** commit, git_tree** tree) {
  auto* find_head = GIT(call, git_repository_head);
  if (!find_head || find_head(head, repo) < 0) return false;
  auto* peel = GIT(call, git_reference_peel);
  if (!peel || peel(reinterpret_cast<git_object**>(commit), *head, GIT_OBJECT_COMMIT) < 0) {
    return false;
  }
  return take_tree(call, *commit, tree);
}

bool compare_tree(const GitCall& call, git_repository* repo, git_tree* tree, bool is_with_index,
                  git_diff** diff) {
  if (is_with_index) {
    auto* compare = GIT(call, git_diff_tree_to_index);
    return compare && compare(diff, repo, tree, nullptr, nullptr) >= 0;
  }
  auto* compare = GIT(call, git_diff_tree_to_workdir);
  return compare && compare(diff, repo, tree, nullptr) >= 0;
}

// Hands the file's records out of the working object. False only when the external file failed.
bool hand_out_file(GitCall& call, const OneFileRequest& request) {
  const auto* file = static_cast<MeasuredDiffFile*>(findDiffFileObject(request.file.text));
  if (!file) {
    xpslog(message::kFileNotInDiff, request.file.text);
    return true;
  }
  write_diff_content(file, request.variable);
  const PoolText* target = request.external_file;
  if (target && !write_content_to_file(file, target->text, target->length)) return false;
  *call.result = kSuccess;
  return true;
}

// The result is preset to -1. Guards end in reverse: the reference, the commit, the tree, the diff,
// the repository.
void diff_one_file(GitCall& call, const OneFileRequest& request) {
  Held<git_repository> repo(call.git);
  if (open_repo(call.git, request.path.text, &repo.it) != 0) {
    return call.fail(message::kUnableToOpen, request.path.text);
  }
  Held<git_diff> diff(call.git);
  Held<git_tree> tree(call.git);
  Held<git_commit> commit(call.git);
  Held<git_reference> head(call.git);
  if (!take_head_tree(call, repo.it, &head.it, &commit.it, &tree.it)) return call.fail();
  if (!compare_tree(call, repo.it, tree.it, request.is_with_index, &diff.it)) return call.fail();

  char index_key[] = "INDEX";  // both, whichever side is compared
  char workdir_key[] = "WORKDIR";
  replace_diff_object(request.path.text, index_key, workdir_key);
  const bool is_printed = print_diff(call.git, diff.it) >= 0;
  if (!is_printed) call.fail();
  // Kept: a failing external file leaves the diff behind, readable under these keys until the next
  // call. It costs memory, but what could not be written is not lost.
  if (is_printed && !hand_out_file(call, request)) return;
  free_diffObject(request.path.text, index_key, workdir_key);
}

}  // namespace

int diff_commits(const HostArgumentBlock* arguments, double* result) {
  *result = kSuccess;
  GitCall call(kDiffCommits, arguments, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  const PoolText first(call.pool, text_argument(arguments, 1));
  const PoolText second(call.pool, text_argument(arguments, 2));
  diff_two_commits(call, path.text, first, second);
  return 0;
}

int diff_file_in_index(const HostArgumentBlock* arguments, double* result) {
  constexpr std::int64_t kWithSwitch = 4;
  constexpr std::int64_t kWithExternalFile = 5;
  GitCall call(kDiffFileInIndex, arguments, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  const PoolText file(call.pool, text_argument(arguments, 1));
  const HostText target =
      arguments->count == kWithExternalFile ? text_argument(arguments, 4) : HostText{};
  const PoolText external_file(call.pool, target);
  diff_one_file(
      call, {.path = path,
             .file = file,
             .variable = output_argument(arguments, 2),
             .is_with_index = arguments->count >= kWithSwitch && number_argument(arguments, 3) != 0,
             .external_file = target.is_present() ? &external_file : nullptr});
  return 0;
}

int get_diff_attribute(const HostArgumentBlock* arguments, double*) {
  const std::int32_t number = number_argument(arguments, 0);
  HostPool* pool = create_pool(kGetDiffAttributePool);
  const PoolText path(pool, text_argument(arguments, 1));
  const PoolText first(pool, text_argument(arguments, 2));
  const PoolText second(pool, text_argument(arguments, 3));
  const PoolText attribute(pool, text_argument(arguments, 4));
  DiffObject* diff = select_diff_object(path.text, first.text, second.text);
  if (!diff) {
    xpslog(message::kNoDiffToRead);
    return kNoDiff;
  }
  const MeasuredDiffFile* file = file_of(diff, number);
  if (file) write_diff_attribute(file, attribute.text, output_argument(arguments, 5));
  return 0;
}

int write_diff_to_file(const HostArgumentBlock* arguments, double* result) {
  const std::int32_t number = number_argument(arguments, 0);
  HostPool* pool = create_pool(kWriteDiffPool);
  const PoolText path(pool, text_argument(arguments, 1));
  const PoolText first(pool, text_argument(arguments, 2));
  const PoolText second(pool, text_argument(arguments, 3));
  const PoolText target(pool, text_argument(arguments, 4));
  DiffObject* diff = select_diff_object(path.text, first.text, second.text);
  if (!diff) {
    *result = kFailure;
    xpslog(message::kNoDiffToWrite);
    return 0;
  }
  if (const MeasuredDiffFile* file = file_of(diff, number)) {
    *result = write_content_to_file(file, target.text, target.length) ? kSuccess : kFailure;
  }
  return 0;
}

int free_diff_objects(const HostArgumentBlock* arguments, double* result) {
  HostPool* pool = create_pool(kFreeDiffPool);
  const PoolText path(pool, text_argument(arguments, 0));
  const PoolText first(pool, text_argument(arguments, 1));
  const PoolText second(pool, text_argument(arguments, 2));
  const int code = free_diffObject(path.text, first.text, second.text);
  *result = code;
  if (code == 0) {
    xpslog(message::kDiffFreed);
  } else {
    xpslog(message::kDiffNotFreed, first.text, second.text);
  }
  return 0;
}

}  // namespace uwugit
