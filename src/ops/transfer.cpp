// Transfer to and from the remote repository named "origin".
//
// do_fetch(repository, user, password, public key, private key, refspec, certificate file,
//          default credentials) -> 0
//     Fetches what the remote's configuration says, or the one refspec that is given.
//
// do_push(repository, user, password, public key, private key, certificate file,
//         default credentials) -> 0
//     Pushes the current branch to the branch of the same name. Also registered as GIT_PUSH.
//
// All but the repository are optional. -1: the repository could not be opened. -3: the server did
// not accept the credentials. Another positive number is the class of libgit2's error, -1 when it
// has none. Unchanged: there is no "origin" or no commit yet.
//
// Example: do_push("/home/me/project", "me", "{uwugit1}…");

#include "module/messages.h"
#include "module/vector_stubs.h"
#include "ops/origin.h"
#include "support/broken_pipe.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kFetch = {.pool_name = "fetch",
                               .is_result_preset = false,
                               .is_load_failure_reported = true,
                               .failure = kFailure};
constexpr FrameRules kPush = {.pool_name = "gitPushPool",
                              .is_result_preset = false,
                              .is_load_failure_reported = true,
                              .failure = kFailure};

// A refspec as it was given, or none.
struct Refspec {
  Refspec(HostPool* pool, HostText given)
      : copy(pool, given), text(is_given(given) ? copy.text : nullptr) {}

  const PoolText copy;
  const char* text;
};

void fetch(GitCall& call, HostText path_argument, const CredentialArguments& given,
           HostText refspec_argument) {
  const PoolText path(call.pool, path_argument);
  Origin origin(call.git);
  if (!open_origin(call, path.text, &origin)) return;
  const Credentials credentials(call.pool, given);
  const Refspec refspec(call.pool, refspec_argument);
  if (!find_head(call, &origin)) return;
  trust_certificate_file(call, given.certificate);
  const int code = fetch_from(call, origin.remote.it, refspec.text, credentials);
  if (code < 0) return fail_transfer(call, code);
  *call.result = kSuccess;
  xpslog(message::kFetched);
}

// The answer is about the connection, not about the branch: a server that takes the commits and
// then refuses to move the branch (a hook, a protected branch) tells so in a report that libgit2
// gives to a callback only, and the push counts as successful. Programs that must be sure fetch
// afterwards and compare.
int push_to(GitCall& call, git_remote* remote, const char* branch, const Credentials& credentials) {
  TransferOptions options;
  credentials.prepare(call.git, Transfer::kPush, &options);
  auto* run = GIT(call, git_remote_push);
  if (!run) return 0;
  auto* text = const_cast<char*>(branch);
  const git_strarray list = {&text, 1};
  return run(remote, &list, reinterpret_cast<git_push_options*>(options.bytes));
}

void push(GitCall& call, HostText path_argument, const CredentialArguments& given) {
  const PoolText path(call.pool, path_argument);
  Origin origin(call.git);
  if (!open_origin(call, path.text, &origin)) return;
  const Credentials credentials(call.pool, given);
  const char* branch = current_branch(call, &origin);
  if (!branch) return;
  trust_certificate_file(call, given.certificate);
  const int code = push_to(call, origin.remote.it, branch, credentials);
  if (code != 0) return fail_transfer(call, code);
  xpslog(message::kPushed);
  *call.result = kSuccess;
}

}  // namespace

int do_fetch(const HostArgumentBlock* arguments, double* result) {
  const HostText path = text_argument(arguments, 0);
  const HostText refspec = optional_text_argument(arguments, 5);
  const CredentialArguments credentials = credential_arguments(arguments, 1, 6);
  const BrokenPipeGuard guard;
  GitCall call(kFetch, result);
  if (call.is_ready()) fetch(call, path, credentials, refspec);
  return 0;
}

int do_push(const HostArgumentBlock* arguments, double* result) {
  const HostText path = text_argument(arguments, 0);
  const CredentialArguments credentials = credential_arguments(arguments, 1, 5);
  const BrokenPipeGuard guard;
  GitCall call(kPush, result);
  if (call.is_ready()) push(call, path, credentials);
  return 0;
}

}  // namespace uwugit
