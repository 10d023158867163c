// The status of a working tree.
//
// get_status(repository) -> number of entries, or -1, -2
// get_status_attribute(number, repository, attribute, variable) -> 0, 1, 2, -2
// free_status_objects(repository) -> 0, 1, -2

#include "gitbind/frame.h"
#include "ops/attributes.h"
#include "store/status_objects.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kGetStatus = {.pool_name = "gitStatusPool",
                                   .is_result_preset = true,
                                   .failure = kLibgit2Failure,
                                   .opening_error = message::kGitError};
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

git_status_options checking_options() {
  git_status_options options = {};
  options.version = GIT_STATUS_OPTIONS_VERSION;
  options.show = GIT_STATUS_SHOW_INDEX_AND_WORKDIR;
  options.flags = kStatusFlags;
  return options;
}

void replace_status(std::string_view path) {
  free_repo_status(path);
  statusCount = 0;
  workingRepoStatus = insertRepoStatusAtTail(path);
}

void list_status(const RepoCall& call) {
  auto* new_list = GIT(call, git_status_list_new);
  if (!new_list) return;  // the result stays at -1, and nothing is logged
  // The list is made to check the repository and to refresh its index; the entries come from the
  // walk below, whose own default options differ.
  const git_status_options options = checking_options();
  Held<git_status_list> list(call);
  if (new_list(&list.it, call.repo.it, &options) != 0) return call.fail();

  replace_status(call.path.text);
  int payload = 0;
  const int code =
      if_found(GIT(call, git_status_foreach), call.repo.it, git_status_foreach_cb, &payload);
  *call.result = statusCount;
  if (code != 0) call.fail();
}

template <auto column>
void write_column(const StatusPlace* place, HostPool*, HostString* variable) {
  if (const char* value = *(place->*column)) write_value(variable, value, wzstlen(value));
}

void write_staged(const StatusPlace* place, HostPool*, HostString* variable) {
  const std::string_view value = *place->staged == kStaged ? "TRUE" : "FALSE";
  write_value(variable, value.data(), value.size());
}

// A guess: only PATH begins with that letter, and only it reads more than the columns.
bool is_path_asked(HostText attribute) {
  return attribute.length > 0 && (*attribute.characters | 0x20) == 'p';
}

constexpr Attribute<StatusPlace> kAttributes[] = {
    {"PATH", write_column<&StatusPlace::path>},
    {"STATUS", write_column<&StatusPlace::word>},
    {"STAGED", write_staged},
};

}  // namespace

int get_status(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kGetStatus, arguments, result);
  if (call.is_ready()) list_status(call);
  return 0;
}

int get_status_attribute(const HostArgumentBlock* arguments, double* result) {
  *result = kFailure;
  const std::int32_t number = number_argument(arguments, 0);
  if (is_path_asked(text_argument(arguments, 2))) prefetch_status_path(number);
  HostPool* pool = create_pool(kGetStatusAttributePool);
  const PoolText path(pool, text_argument(arguments, 1));
  const PoolText name(pool, text_argument(arguments, 2));
  RepoStatus* status = select_status(path);
  if (!status) {
    *result = kNoStatusObjects;
    xpslog(message::kNoStatusObjects);
    return 0;
  }
  *result = kNoSuchEntry;
  if (const auto place = status_entry(status, number)) {
    HostString* variable = output_argument(arguments, 3);
    *result = read_attribute(kAttributes, &*place, name, variable) ? kSuccess : kNoSuchAttribute;
  }
  return 0;
}

int free_status_objects(const HostArgumentBlock* arguments, double* result) {
  const PoolText path(create_pool(kFreeStatusPool), text_argument(arguments, 0));
  *result = free_repo_status(path.text);
  return 0;
}

}  // namespace uwugit
