// do_pull(...), also registered as GIT_PULL: not part of this build. Logs an error and answers -1.

#include "module/messages.h"
#include "module/vector_stubs.h"
#include "uwugit/functions.h"
#include "uwugit/return_codes.h"

namespace uwugit {

int do_pull(const HostArgumentBlock*, double* result) {
  xpslog(message::kPullNotBuilt);
  *result = kFailure;
  return 0;
}

}  // namespace uwugit
