// Transfer to and from a remote repository.
//
// do_pull(...) and do_push(...), also registered as GIT_PULL and GIT_PUSH: not part of this build.
// Both log an error and answer -1.

#include "module/messages.h"
#include "module/vector_stubs.h"
#include "uwugit/functions.h"
#include "uwugit/return_codes.h"

namespace uwugit {
namespace {

int refuse(double* result) {
  xpslog(message::kTransferNotBuilt);
  *result = kFailure;
  return 0;
}

}  // namespace

int do_pull(const HostArgumentBlock*, double* result) { return refuse(result); }
int do_push(const HostArgumentBlock*, double* result) { return refuse(result); }

}  // namespace uwugit
