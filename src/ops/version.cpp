// git_version() -> 0: a note of the version of the libgit2 that is in use, whichever it is.

#include "gitbind/frame.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kGitVersion = {
    .pool_name = nullptr, .is_result_preset = true, .is_any_version_taken = true};

}  // namespace

int git_version(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kGitVersion, arguments, result);
  if (!call.is_ready()) return 0;
  int major = 0;
  int minor = 0;
  int revision = 0;
  if_found(GIT(call, git_libgit2_version), &major, &minor, &revision);
  call.succeed(message::kVersion, major, minor, revision);
  return 0;
}

}  // namespace uwugit
