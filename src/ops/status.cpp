// The status of a working tree.
//
// get_status(repository) -> number of entries
//     Lists the changed files: one note per file in the log, one entry (or two, for a file that is
//     both staged and changed since) in the repository's status object, which replaces an earlier
//     one. -2: libgit2 failed. -1: libgit2 could not be loaded or initialised, or lacks
//     git_status_list_new.
//
// get_status_attribute(number, repository, attribute, variable) -> 0
//     Fills the variable with the PATH, STATUS or STAGED of one entry, blank-padded. 1: no such
//     attribute. 2: no such entry. -2: no status object for the repository.
//
// free_status_objects(repository) -> 0
//     Discards the repository's entries. 1: there were none. -2: their memory could not be
//     released.
//
// Example: get_status("/home/me/project"); get_status_attribute(1, "/home/me/project", "PATH",
// path);

#include "gitbind/frame.h"
#include "module/upper_case.h"
#include "store/status_objects.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kGetStatus = {.pool_name = "gitStatusPool",
                                   .is_result_preset = true,
                                   .is_load_failure_reported = true,
                                   .failure = kLibgit2Failure};
constexpr char kGetStatusAttributePool[] = "get_status_attribute_pool";
constexpr char kFreeStatusPool[] = "free_status_pool";

constexpr double kNoSuchAttribute = 1.0;
constexpr double kNoSuchEntry = 2.0;
constexpr double kNoStatusObjects = -2.0;

constexpr unsigned kStatusFlags =
    GIT_STATUS_OPT_INCLUDE_UNTRACKED | GIT_STATUS_OPT_RENAMES_HEAD_TO_INDEX |
    GIT_STATUS_OPT_SORT_CASE_SENSITIVELY | GIT_STATUS_OPT_UPDATE_INDEX;
static_assert(kStatusFlags == 8833);

struct Finding {
  const char* note;
  const char* status;
  std::int32_t staged;
};

// What one value of libgit2's status flags is reported as. The value counts as a whole:
// combinations that are not listed, and ignored files, are passed over.
struct StatusRow {
  unsigned flags;
  int count;
  Finding findings[2];
};

constexpr StatusRow kStatusRows[] = {
    {1, 1, {{message::kStagedNew, "new", kStaged}}},
    {2, 1, {{message::kStagedModified, "modified", kStaged}}},
    {4, 1, {{message::kStagedDeleted, "deleted", kStaged}}},
    {8, 1, {{message::kStagedRenamed, "renamed", kStaged}}},
    {16, 1, {{message::kStagedTypechange, "typechange", kStaged}}},
    {128, 1, {{message::kUnstagedNew, "new", kNotStaged}}},
    {256, 1, {{message::kUnstagedModified, "modified", kNotStaged}}},
    {257,
     2,
     {{message::kUnstagedModified, "modified", kNotStaged}, {message::kStagedNew, "new", kStaged}}},
    // In this row and in that of 514 the notes do not tell of the entries they stand beside.
    // Programs read the log by these lines and the entries in this order, so both stay as they are.
    {258,
     2,
     {{message::kUnstagedModified, "modified", kStaged},
      {message::kStagedModified, "modified", kNotStaged}}},
    {512, 1, {{message::kUnstagedDeleted, "deleted", kNotStaged}}},
    {513,
     2,
     {{message::kUnstagedDeleted, "deleted", kNotStaged}, {message::kStagedNew, "new", kStaged}}},
    {514,
     2,
     {{message::kUnstagedModified, "modified", kStaged},
      {message::kUnstagedDeleted, "deleted", kNotStaged}}},
    {1024, 1, {{message::kUnstagedTypechange, "typechange", kNotStaged}}},
    {2048, 1, {{message::kUnstagedRenamed, "renamed", kNotStaged}}},
    {32768, 1, {{message::kUnstagedConflicted, "conflicted", kNotStaged}}},
};

int git_status_foreach_cb(const char* path, unsigned flags, void*) {
  if (!path) return 0;
  for (const StatusRow& row : kStatusRows) {
    if (row.flags != flags) continue;
    for (int i = 0; i < row.count; ++i) {
      const Finding& finding = row.findings[i];
      xpslog(finding.note, path);
      insertGitStatusEntryAtTail(path, finding.status, finding.staged);
      ++statusCount;
    }
    break;
  }
  return 0;
}

void replace_status_object(const char* path) {
  if (findRepoStatusObject(path)) free_repo_status(path);
  statusCount = 0;
  workingRepoStatus = insertRepoStatusAtTail(path);
}

void list_status(GitCall& call, const char* path) {
  Held<git_repository> repo(call.git);
  if (open_repo(call.git, path, &repo.it) != 0) return call.fail();

  auto* new_list = GIT(call, git_status_list_new);
  if (!new_list) return;  // the result stays at -1
  git_status_options options = {};
  options.version = GIT_STATUS_OPTIONS_VERSION;
  options.show = GIT_STATUS_SHOW_INDEX_AND_WORKDIR;
  options.flags = kStatusFlags;
  // Made to check the repository and to refresh its index; the entries come from the walk below,
  // whose own default options differ.
  Held<git_status_list> list(call.git);
  if (new_list(&list.it, repo.it, &options) != 0) return call.fail();

  replace_status_object(path);
  int payload = 0;
  int walked = 0;
  if (auto* walk = GIT(call, git_status_foreach)) {
    walked = walk(repo.it, git_status_foreach_cb, &payload);
  }
  *call.result = statusCount;
  if (walked != 0) call.fail();
}

using AttributeReader = const char*(const GitStatusEntry* entry);
struct Attribute {
  std::string_view name;
  AttributeReader* read;
};
constexpr Attribute kAttributes[] = {
    {"PATH", [](const GitStatusEntry* entry) -> const char* { return entry->path; }},
    {"STATUS", [](const GitStatusEntry* entry) { return entry->status; }},
    {"STAGED",
     [](const GitStatusEntry* entry) { return entry->staged == kStaged ? "TRUE" : "FALSE"; }},
};

// Fills the variable and answers the result; the attribute's name is upper-cased in place.
double read_attribute(const GitStatusEntry* entry, char* attribute_name, HostString* variable) {
  toUpperCase(attribute_name);
  const std::string_view wanted(attribute_name);
  blank_fill(variable);
  double result = kNoSuchAttribute;
  for (const Attribute& attribute : kAttributes) {
    if (!is_same_text(attribute.name, wanted)) continue;
    const char* value = attribute.read(entry);
    write_value(variable, value, wzstlen(value));
    result = kSuccess;
    break;
  }
  take_full_capacity(variable);
  return result;
}

// The repository's status object, made the working one; null when there is none.
RepoStatus* select_status_object(const PoolText& path) {
  if (!workingRepoStatus || !is_status_of(workingRepoStatus, {path.text, path.length})) {
    workingRepoStatus = findRepoStatusObject(path.text);
  }
  return workingRepoStatus;
}

}  // namespace

int get_status(const HostArgumentBlock* arguments, double* result) {
  const HostText path_argument = text_argument(arguments, 0);
  GitCall call(kGetStatus, arguments, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, path_argument);
  list_status(call, path.text);
  return 0;
}

int get_status_attribute(const HostArgumentBlock* arguments, double* result) {
  *result = kFailure;
  const std::int32_t number = number_argument(arguments, 0);
  prefetch_status_entry(number);
  HostPool* pool = create_pool(kGetStatusAttributePool);
  const PoolText path(pool, text_argument(arguments, 1));
  const PoolText attribute(pool, text_argument(arguments, 2));
  RepoStatus* repo = select_status_object(path);
  if (!repo) {
    *result = kNoStatusObjects;
    xpslog(message::kNoStatusObjects);
    return 0;
  }
  const GitStatusEntry* entry = status_entry(repo, number);
  *result =
      entry ? read_attribute(entry, attribute.text, output_argument(arguments, 3)) : kNoSuchEntry;
  return 0;
}

int free_status_objects(const HostArgumentBlock* arguments, double* result) {
  const PoolText path(create_pool(kFreeStatusPool), text_argument(arguments, 0));
  *result = free_repo_status(path.text);
  return 0;
}

}  // namespace uwugit
