// A transfer tells of its progress and can be ended only through callbacks, and it may take hours.
//
// Here those that the caller left empty tell the host. The caller's payload belongs to the caller's
// callbacks, and these do not look at it. Checking out what was cloned cannot be ended by libgit2
// (1.1 to 1.9), so the next file is not found then: git_clone fails, and removes what it made.

#include "transfer_progress.h"

#include <utility>

#include "next.h"
#include "progress.h"

namespace {

using uwugit::WorkStage;

thread_local bool is_cloning = false;

int tell_received(const git_indexer_progress* got, void*) {
  const bool is_all_here = got->total_deltas > 0 && got->received_objects == got->total_objects;
  if (is_all_here) {
    return go_on(
        {WorkStage::kResolving, got->indexed_deltas, got->total_deltas, got->received_bytes});
  }
  return go_on(
      {WorkStage::kReceiving, got->received_objects, got->total_objects, got->received_bytes});
}

int tell_nothing(const char*, int, void*) { return go_on(); }

int tell_packed(int, unsigned done, unsigned total, void*) {
  return go_on({WorkStage::kPacking, done, total, 0});
}

int tell_sent(unsigned done, unsigned total, std::size_t bytes, void*) {
  return go_on({WorkStage::kSending, done, total, bytes});
}

void tell_checked_out(const char*, std::size_t done, std::size_t total, void*) {
  tell({WorkStage::kCheckingOut, done, total, 0});
}

template <class Callback>
void fill(Callback*& place, Callback* callback) {
  if (!place) place = callback;
}

}  // namespace

void tell_progress(git_remote_callbacks* callbacks) {
  if (!is_watched()) return;
  fill(callbacks->transfer_progress, tell_received);
  fill(callbacks->sideband_progress, tell_nothing);
  fill(callbacks->pack_progress, tell_packed);
  fill(callbacks->push_transfer_progress, tell_sent);
}

EXPORT int git_clone(git_repository** repo, const char* url, const char* folder,
                     const git_clone_options* given) {
  if (!is_watched()) return NEXT(git_clone)(repo, url, folder, given);
  git_clone_options options = GIT_CLONE_OPTIONS_INIT;
  if (given) options = *given;
  tell_progress(&options.fetch_opts.callbacks);
  fill(options.checkout_opts.progress_cb, tell_checked_out);
  const bool is_within_another = std::exchange(is_cloning, true);
  const int code = NEXT(git_clone)(repo, url, folder, &options);
  is_cloning = is_within_another;
  return unless_ended(code, true);
}

EXPORT int git_remote_fetch(git_remote* remote, const git_strarray* refspecs,
                            const git_fetch_options* given, const char* reflog_message) {
  auto* const fetch = NEXT(git_remote_fetch);
  if (!is_watched()) return fetch(remote, refspecs, given, reflog_message);
  git_fetch_options options = GIT_FETCH_OPTIONS_INIT;
  if (given) options = *given;
  tell_progress(&options.callbacks);
  if (const int code = go_on()) return code;
  return unless_ended(fetch(remote, refspecs, &options, reflog_message));
}

EXPORT int git_blob_lookup(git_blob** blob, git_repository* repo, const git_oid* id) {
  if (is_cloning) {
    if (const int code = go_on({}, true)) return code;
  }
  return NEXT(git_blob_lookup)(blob, repo, id);
}
