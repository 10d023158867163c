// A server that takes the commits of a push and then refuses to move a reference (a hook, a
// protected branch) says so in a report for each reference. libgit2 (1.1 to 1.9) gives the report
// to the callback push_update_reference only; without one, git_remote_push answers success.
//
// Here an empty callback is filled with one that collects what was refused, and git_remote_push
// then fails with the references and the server's words. References that the server accepted stay
// as libgit2 left them. The caller's payload belongs to the caller's callbacks, so what is
// collected is reached through the thread, for as long as the call lasts.

#include <utility>

#include "next.h"
#include "progress.h"
#include "transfer_progress.h"

namespace {

thread_local std::string* refused = nullptr;

int note_refusal(const char* reference, const char* status, void*) {
  if (status) *refused += (refused->empty() ? "" : "; ") + std::string(reference) + ": " + status;
  return 0;
}

}  // namespace

EXPORT int git_remote_push(git_remote* remote, const git_strarray* refspecs,
                           const git_push_options* given) {
  git_push_options options = GIT_PUSH_OPTIONS_INIT;
  if (given) options = *given;
  tell_progress(&options.callbacks);
  if (!options.callbacks.push_update_reference) {
    options.callbacks.push_update_reference = note_refusal;
  }
  std::string texts;
  std::string* const outer = std::exchange(refused, &texts);
  const int code = NEXT(git_remote_push)(remote, refspecs, &options);
  refused = outer;
  if (code < 0 || texts.empty()) return unless_ended(code);
  return fail(GIT_ERROR_REFERENCE, "the server refused " + texts);
}
