// Transfer to and from the remote repository named "origin".
//
// do_fetch(repository, user, password, public key, private key, refspec, certificate file,
//          default credentials) -> 0, -1, -3 or the class of libgit2's error
// do_push(repository, user, password, public key, private key, certificate file,
//         default credentials) -> the same; also registered as GIT_PUSH
//
// The return code stays as it was where there is no "origin" or no commit yet.

#include "ops/origin.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kFetch = {
    .pool_name = "fetch", .is_broken_pipe_held_off = true, .opening_error = message::kErrorOpening};
constexpr FrameRules kPush = {.pool_name = "gitPushPool",
                              .is_broken_pipe_held_off = true,
                              .opening_error = message::kErrorOpening};
constexpr int kRefspec = 5;

void fetch(const RepoCall& call) {
  const Origin origin(call, {.user = 1, .certificate = 6});
  if (!origin.is_ready) return;
  const HostText given = optional_text_argument(call.arguments, kRefspec);
  const PoolText refspec(call.pool, given);
  origin.credentials.trust_certificate_file();
  const int code = fetch_from(call, origin, is_given(given) ? refspec.text : nullptr);
  if (code < 0) return fail_transfer(call, code);
  call.succeed(message::kFetched);
}

// A server that takes the commits and then refuses to move the branch (a hook, a protected branch)
// tells so in a report that libgit2 gives to a callback only. The companion fills it in; with a
// libgit2 of its own the push counts as successful, and programs fetch afterwards and compare.
int push_to(const RepoCall& call, const Origin& origin, const char* branch) {
  TransferOptions options;
  origin.credentials.prepare(Transfer::kPush, &options);
  auto* text = const_cast<char*>(branch);
  const git_strarray list = {&text, 1};
  return if_found(GIT(call, git_remote_push), origin.remote.it, &list,
                  reinterpret_cast<git_push_options*>(options.bytes));
}

void push(const RepoCall& call) {
  const Origin origin(call, {.user = 1, .certificate = 5});
  if (!origin.is_ready) return;
  const char* branch = current_branch(call, origin);
  if (!branch) return;
  origin.credentials.trust_certificate_file();
  const int code = push_to(call, origin, branch);
  if (code != 0) return fail_transfer(call, code);
  call.succeed(message::kPushed);
}

}  // namespace

int do_fetch(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kFetch, arguments, result);
  if (call.is_ready()) fetch(call);
  return 0;
}

int do_push(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kPush, arguments, result);
  if (call.is_ready()) push(call);
  return 0;
}

}  // namespace uwugit
