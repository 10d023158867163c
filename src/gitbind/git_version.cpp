// git_version() -> 0
//
// Notes the version of the libgit2 that is in use: "Libgit2 version 1.5.1". Result -1 when libgit2
// cannot be loaded or initialised. It names any version, also one that the other functions refuse.

#include "gitbind/libgit2.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "uwugit/functions.h"
#include "uwugit/return_codes.h"

namespace uwugit {

int git_version(const HostArgumentBlock*, double* result) {
  *result = kFailure;
  GitModule* git = loadGitModule();
  if (!git) {
    xpslog(message::kUnableToLoad);
    return 0;
  }
  if (init_git(git) > 0) {
    int major = 0;
    int minor = 0;
    int revision = 0;
    if (auto* ask = GIT_FUNCTION(git, git_libgit2_version)) ask(&major, &minor, &revision);
    xpslog(message::kVersion, major, minor, revision);
    *result = kSuccess;
  }
  shutdown_git(git);
  return 0;
}

}  // namespace uwugit
