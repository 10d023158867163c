// Differences between two commits, or between HEAD and the index or the working tree.
//
// diff_commits(repository, first commit, second commit) -> number of files
// diff_file_in_index(repository, file, variable [, with index [, external file]]) -> 0, -1
// get_diff_attribute(number, repository, first commit, second commit, attribute, variable);
//     returns 0, 1
// write_diff_to_file(number, repository, first commit, second commit, external file) -> 0, -1
// free_diff_objects(repository, first commit, second commit) -> 0, 1
//
// Diffs are found by upper-cased keys: of two repositories whose paths differ only in the case of
// letters, one diff of the same commits replaces the other.

#include "gitbind/frame.h"
#include "ops/diff_lines.h"
#include "ops/diff_output.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr int kNoDiff = 1;  // get_diff_attribute's own result

// Programs take the count for granted, also after a failure: there is no failure code, and a
// repository that cannot be opened answers 0 with a silent log.
constexpr FrameRules kDiffCommits = {.pool_name = "diffPool",
                                     .is_load_failure_reported = false,
                                     .failure = kSuccess,
                                     .opening_error = nullptr};
constexpr FrameRules kDiffFileInIndex = {.pool_name = "diff_file", .is_result_preset = true};
constexpr char kGetDiffAttributePool[] = "get_diff_attribute_pool";
constexpr char kWriteDiffPool[] = "diff_fileref";
constexpr char kFreeDiffPool[] = "free_commit_pool";  // shares its name with the history's free

constexpr std::size_t kIdLength = 40;
constexpr std::int64_t kWithSwitch = 4;  // arguments of diff_file_in_index
constexpr std::int64_t kWithExternalFile = 5;

// The texts that name a diff, from that position among the arguments on.
struct DiffKeys {
  DiffKeys(HostPool* pool, const HostArgumentBlock* arguments, int position)
      : path(pool, text_argument(arguments, position)),
        first(pool, text_argument(arguments, position + 1)),
        second(pool, text_argument(arguments, position + 2)) {}

  const PoolText path;
  const PoolText first;
  const PoolText second;
};

DiffObject* kept_diff(const DiffKeys& keys) {
  return select_diff(keys.path.text, keys.first.text, keys.second.text);
}

// An empty object of these keys, in place of an earlier one, becomes the working one. The free has
// upper-cased the keys, so the stored ones are. Left in the pool of the call, they would keep it
// from being recycled for as long as the process lives, once for each diff: the object takes them
// into its own pool.
void replace_diff(char* key1, char* key2, char* key3) {
  free_diffObject(key1, key2, key3);
  workingDiffObject = insertDiffObjectAtTail(key1, key2, key3);
  own_keys(workingDiffObject);
}

bool look_commit_up(const RepoCall& call, const PoolText& id, git_commit** commit) {
  git_oid oid = {};
  return required(GIT(call, git_oid_fromstrp), &oid, id.text) >= 0 &&
         required(GIT(call, git_commit_lookup), commit, call.repo.it, &oid) >= 0;
}

bool take_tree(const RepoCall& call, const git_commit* commit, git_tree** tree) {
  return required(GIT(call, git_commit_tree), tree, commit) >= 0;
}

// A first id that is not a whole one stands for "nothing": all files of the second are new.
bool compare_commits(const RepoCall& call, const PoolText& first, const PoolText& second,
                     git_diff** diff) {
  Held<git_tree> new_tree(call);
  Held<git_tree> old_tree(call);
  Held<git_commit> new_commit(call);
  Held<git_commit> old_commit(call);
  if (first.length == kIdLength && !look_commit_up(call, first, &old_commit.it)) return false;
  if (!look_commit_up(call, second, &new_commit.it)) return false;
  if (old_commit.it && !take_tree(call, old_commit.it, &old_tree.it)) return false;
  if (!take_tree(call, new_commit.it, &new_tree.it)) return false;
  return required(GIT(call, git_diff_tree_to_tree), diff, call.repo.it, old_tree.it, new_tree.it,
                  nullptr) >= 0;
}

void keep_diff(const RepoCall& call) {
  const PoolText first = call.text(1);
  const PoolText second = call.text(2);
  Held<git_diff> diff(call);
  if (!compare_commits(call, first, second, &diff.it)) return call.fail();
  if (!diff.it) return;
  replace_diff(call.path.text, first.text, second.text);
  if (record_lines(call, diff.it) < 0) call.fail();  // what was printed until then stays
  *call.result = static_cast<double>(workingDiffObject->extra);
}

bool compare_head(const RepoCall& call, git_diff** diff) {
  Held<git_tree> tree(call);
  Held<git_commit> commit(call);
  Held<git_reference> head(call);
  if (required(GIT(call, git_repository_head), &head.it, call.repo.it) < 0) return false;
  auto** peeled = reinterpret_cast<git_object**>(&commit.it);
  if (required(GIT(call, git_reference_peel), peeled, head.it, GIT_OBJECT_COMMIT) < 0) return false;
  if (!take_tree(call, commit.it, &tree.it)) return false;
  if (call.count() >= kWithSwitch && call.number(3) != 0) {
    return required(GIT(call, git_diff_tree_to_index), diff, call.repo.it, tree.it, nullptr,
                    nullptr) >= 0;
  }
  return required(GIT(call, git_diff_tree_to_workdir), diff, call.repo.it, tree.it, nullptr) >= 0;
}

// Writes the records to the external file, if one is given; false when that fails.
bool write_external_file(const RepoCall& call, const MeasuredDiffFile* file) {
  if (call.count() != kWithExternalFile) return true;
  const HostText path = text_argument(call.arguments, 4);
  return !path.is_present() || write_content_to_file(file, PoolText(call.pool, path));
}

// Hands the file's records out of the working object. False only when the external file failed.
bool hand_out(const RepoCall& call, const PoolText& name) {
  const MeasuredDiffFile* file = file_named(workingDiffObject, name.text);
  if (!file) {
    call.fail(message::kFileNotInDiff, name.text);
    return true;
  }
  read_diff_content(file, output_argument(call.arguments, 2));
  if (!write_external_file(call, file)) return false;
  *call.result = kSuccess;
  return true;
}

void show_file(const RepoCall& call) {
  const PoolText file = call.text(1);
  Held<git_diff> diff(call);
  if (!compare_head(call, &diff.it)) return call.fail();
  char index_key[] = "INDEX";  // both, whichever side is compared
  char workdir_key[] = "WORKDIR";
  replace_diff(call.path.text, index_key, workdir_key);
  // Kept: the records that came before a failure are handed out all the same, and the answer is 0.
  if (record_lines(call, diff.it) < 0) call.fail();
  // Kept: a failing external file leaves the diff behind, readable under these keys until the next
  // call. It costs memory, but what could not be written is not lost.
  if (hand_out(call, file)) free_diffObject(call.path.text, index_key, workdir_key);
}

}  // namespace

int diff_commits(const HostArgumentBlock* arguments, double* result) {
  *result = kSuccess;
  const RepoCall call(kDiffCommits, arguments, result);
  if (call.is_ready()) keep_diff(call);
  return 0;
}

int diff_file_in_index(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kDiffFileInIndex, arguments, result);
  if (call.is_ready()) show_file(call);
  return 0;
}

int get_diff_attribute(const HostArgumentBlock* arguments, double*) {
  HostPool* pool = create_pool(kGetDiffAttributePool);
  const DiffKeys keys(pool, arguments, 1);
  const PoolText attribute(pool, text_argument(arguments, 4));
  DiffObject* diff = kept_diff(keys);
  if (!diff) {
    xpslog(message::kNoDiffToRead);
    return kNoDiff;
  }
  const MeasuredDiffFile* file = diff_file(diff, number_argument(arguments, 0));
  if (file) read_diff_attribute(file, attribute, output_argument(arguments, 5));
  return 0;
}

int write_diff_to_file(const HostArgumentBlock* arguments, double* result) {
  HostPool* pool = create_pool(kWriteDiffPool);
  const DiffKeys keys(pool, arguments, 1);
  const PoolText target(pool, text_argument(arguments, 4));
  DiffObject* diff = kept_diff(keys);
  if (!diff) {
    *result = kFailure;
    xpslog(message::kNoDiffToWrite);
    return 0;
  }
  const MeasuredDiffFile* file = diff_file(diff, number_argument(arguments, 0));
  if (file) *result = write_content_to_file(file, target) ? kSuccess : kFailure;
  return 0;
}

int free_diff_objects(const HostArgumentBlock* arguments, double* result) {
  const DiffKeys keys(create_pool(kFreeDiffPool), arguments, 0);
  const int code = free_diffObject(keys.path.text, keys.first.text, keys.second.text);
  *result = code;
  if (code == 0) {
    xpslog(message::kDiffFreed);
  } else {
    xpslog(message::kDiffNotFreed, keys.first.text, keys.second.text);
  }
  return 0;
}

}  // namespace uwugit
