#include "gitbind/compatibility.h"

#include <cstddef>
#include <cstring>

#include "module/messages.h"
#include "module/vector_stubs.h"

namespace uwugit {
namespace {

// The records that the module fills or reads by their compiled layout, the same in 1.1 to 1.9.
static_assert(sizeof(git_oid) == 20, "libgit2's headers are of a build with SHA-256 support");
static_assert(sizeof(git_error) == 16 && offsetof(git_error, klass) == 8);
static_assert(sizeof(git_strarray) == 16 && offsetof(git_strarray, count) == 8);
static_assert(sizeof(git_status_options) == 48 && offsetof(git_status_options, flags) == 8);
static_assert(sizeof(git_checkout_options) == 144);
static_assert(offsetof(git_checkout_options, checkout_strategy) == 4);
static_assert(offsetof(git_checkout_options, paths) == 64);
static_assert(offsetof(git_checkout_options, ancestor_label) == 104);
static_assert(sizeof(git_merge_options) == 48 && offsetof(git_merge_options, file_flags) == 44);
static_assert(sizeof(git_repository_init_options) == 56);
static_assert(offsetof(git_repository_init_options, workdir_path) == 16);
static_assert(offsetof(git_repository_init_options, initial_head) == 40);
static_assert(sizeof(git_rebase_options) == 240);
static_assert(offsetof(git_rebase_options, checkout_options) == 72);
static_assert(sizeof(git_rebase_operation) == 32 && offsetof(git_rebase_operation, id) == 4);
static_assert(sizeof(git_stash_apply_options) == 168);
static_assert(offsetof(git_stash_apply_options, checkout_options) == 8);
static_assert(sizeof(git_diff_line) == 40 && offsetof(git_diff_line, content) == 32);
static_assert(sizeof(git_diff_delta) == 112 && offsetof(git_diff_delta, new_file) == 64);
static_assert(sizeof(git_index_entry) == 72 && offsetof(git_index_entry, path) == 64);

struct Version {
  int major = 0;
  int minor = 0;
  int revision = 0;

  constexpr int order() const { return major * 1000 + minor; }
};
constexpr int kOldest = Version{1, 1}.order();
constexpr int kNewest = Version{1, 9}.order();
constexpr int kRefusesNull = Version{1, 2}.order();
constexpr int kSha256 = 1 << 11;  // of git_libgit2_features

// What the library that is in use told of itself.
struct Libgit2 {
  GitModule* git = nullptr;
  bool has_version = false;
  Version version;
  bool has_long_ids = false;
};

// Libraries with SHA-256 support, which was an option first, have ids of 33 bytes. Their features
// show it from 1.9 on only. Before that it shows in the text of an id: there, the first byte is not
// part of the id but tells its kind, of which 1 is the old one.
bool has_long_ids(GitModule* git) {
  if ((if_found(GIT(git, git_libgit2_features)) & kSha256) != 0) return true;
  auto* format = GIT(git, git_oid_fmt);
  if (!format) return false;
  constexpr std::size_t kLongestId = 64;
  alignas(git_oid) const unsigned char id[kLongestId] = {1};
  char text[2 * kLongestId] = {};
  format(text, reinterpret_cast<const git_oid*>(id));
  return std::memcmp(text, "00", 2) == 0;
}

// Asks when the loaded module is another one than at the call before, so that the first function of
// an ordinary call is libgit2's initialisation.
const Libgit2& library(GitModule* git) {
  static Libgit2 latest;
  if (latest.git == git) return latest;
  latest = {.git = git, .has_version = false, .version = {}, .has_long_ids = false};
  if (auto* ask = GIT(git, git_libgit2_version)) {
    ask(&latest.version.major, &latest.version.minor, &latest.version.revision);
    latest.has_version = true;
    latest.has_long_ids = has_long_ids(git);
  }
  return latest;
}

// Where the transfer records differ.
constexpr std::size_t kCallbacksInOptions = 8;  // of fetch and push options
constexpr std::size_t kFetchOptionsInClone = 152;
constexpr std::size_t kCredentialsInCallbacks = 24;
constexpr std::size_t kPayloadInCallbacks = 104;
constexpr std::size_t kPayloadBefore1_2 = 96;

template <class Options>
void initialise(TransferOptions* options, int (*init)(Options*, unsigned), unsigned version,
                const Options& compiled) {
  static_assert(sizeof(Options) < sizeof(TransferOptions) / 2, "no room left for newer versions");
  *options = {};
  auto* record = reinterpret_cast<Options*>(options->bytes);
  if (!init || init(record, version) < 0) std::memcpy(record, &compiled, sizeof compiled);
}

std::size_t callbacks_offset(GitModule* git, Transfer transfer, TransferOptions* options) {
  switch (transfer) {
    case Transfer::kFetch:
      initialise<git_fetch_options>(options, GIT(git, git_fetch_options_init),
                                    GIT_FETCH_OPTIONS_VERSION, GIT_FETCH_OPTIONS_INIT);
      return kCallbacksInOptions;
    case Transfer::kPush:
      initialise<git_push_options>(options, GIT(git, git_push_options_init),
                                   GIT_PUSH_OPTIONS_VERSION, GIT_PUSH_OPTIONS_INIT);
      return kCallbacksInOptions;
    case Transfer::kClone:
      break;
  }
  initialise<git_clone_options>(options, GIT(git, git_clone_options_init),
                                GIT_CLONE_OPTIONS_VERSION, GIT_CLONE_OPTIONS_INIT);
  return kFetchOptionsInClone + kCallbacksInOptions;
}

}  // namespace

bool is_supported_libgit2(GitModule* git) {
  const Libgit2& found = library(git);
  if (!found.has_version) return true;
  const Version& version = found.version;
  const bool is_known = version.order() >= kOldest && version.order() <= kNewest;
  if (is_known && !found.has_long_ids) return true;
  xpslog(is_known ? message::kUnsupportedSha256 : message::kUnsupportedVersion, version.major,
         version.minor, version.revision);
  return false;
}

bool refuses_null_arguments(GitModule* git) {
  const Libgit2& found = library(git);
  return found.has_version && found.version.order() >= kRefusesNull;
}

const git_error* last_git_error(GitModule* git, bool* is_found) {
  auto* last = GIT(git, git_error_last);
  if (is_found) *is_found = last != nullptr;
  const git_error* error = last ? last() : nullptr;
  return error && error->klass != GIT_ERROR_NONE ? error : nullptr;
}

int log_git_error(GitModule* git) {
  bool is_found = false;
  const git_error* error = last_git_error(git, &is_found);
  if (!is_found) return 0;
  if (!error) {
    xpslog(message::kNoErrorInfo);
    return -1;
  }
  xpslog(message::kGitError, error->klass, error->message);
  return error->klass;
}

void prepare_transfer(GitModule* git, Transfer transfer, TransferOptions* options,
                      git_credential_acquire_cb credentials, void* payload) {
  const std::size_t callbacks = callbacks_offset(git, transfer, options);
  const Libgit2& found = library(git);
  const bool is_before_1_2 = found.has_version && found.version.order() < Version{1, 2}.order();
  const std::size_t payload_at = is_before_1_2 ? kPayloadBefore1_2 : kPayloadInCallbacks;
  std::memcpy(options->bytes + callbacks + kCredentialsInCallbacks, &credentials,
              sizeof credentials);
  std::memcpy(options->bytes + callbacks + payload_at, &payload, sizeof payload);
}

}  // namespace uwugit
