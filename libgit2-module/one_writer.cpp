// libgit2 (1.1 to 1.9) reads the index, changes it in memory, and writes the whole of it. What
// another process has staged in between is lost; and when one process commits what it has read of
// the index on top of a commit that another made later, the files of that commit vanish from HEAD.
//
// Here every function with which a piece of work that writes begins takes the repository's lock,
// before index and HEAD are read: LOCK comes first in it, here and in the files of the traps. The
// end of the bracket gives it back. Functions that only read do not wait, and fetch and push do not
// take it: their work is on the network and on other branches.
//
// A commit that was looked up just before the lock was taken is looked up again, as its branch may
// have moved while another held the lock.

#include "one_writer.h"

#include <cstring>
#include <string_view>

#include "next.h"

namespace {

// The commit that the thread looked up last, and by which name.
struct LookedUp {
  unsigned long bracket;
  git_repository* repo;
  char name[512];
  git_oid id;
};
thread_local LookedUp looked_up = {};

void note(git_repository* repo, std::string_view name, const git_oid* id) {
  looked_up.bracket = 0;
  if (!id || name.size() >= sizeof looked_up.name) return;
  looked_up.bracket = bracket_number();
  looked_up.repo = repo;
  looked_up.id = *id;
  looked_up.name[name.copy(looked_up.name, name.size())] = '\0';
}

}  // namespace

bool is_libgit2(const void* caller) {
  Dl_info found = {};
  Dl_info libgit2 = {};
  return dladdr(caller, &found) != 0 &&
         dladdr(reinterpret_cast<void*>(NEXT(git_libgit2_init)), &libgit2) != 0 &&
         found.dli_fbase == libgit2.dli_fbase;
}

Current::Current(git_repository* repo, const git_object* given) : object_(given) {
  if (!given || looked_up.bracket != bracket_number() || looked_up.repo != repo ||
      !git_oid_equal(&looked_up.id, git_object_id(given))) {
    return;
  }
  if (NEXT(git_revparse_single)(&found_, repo, looked_up.name) == 0) object_ = found_;
}

// Staging and committing read the index after they have asked for it.
EXPORT int git_repository_index(git_index** index, git_repository* repo) {
  if (const int code = LOCK(repo)) return code;
  return NEXT(git_repository_index)(index, repo);
}

EXPORT int git_repository_head(git_reference** head, git_repository* repo) {
  const int code = NEXT(git_repository_head)(head, repo);
  note(repo, "HEAD", code == 0 ? git_reference_target(*head) : nullptr);
  return code;
}

EXPORT int git_reset_default(git_repository* repo, const git_object* commit,
                             const git_strarray* paths) {
  if (const int code = LOCK(repo)) return code;
  return NEXT(git_reset_default)(repo, Current(repo, commit), paths);
}

EXPORT int git_revparse_single(git_object** object, git_repository* repo, const char* name) {
  const int code = NEXT(git_revparse_single)(object, repo, name);
  note(repo, name, code == 0 ? git_object_id(*object) : nullptr);
  return code;
}

// A merge begins with this, after what it fetched.
EXPORT int git_merge_analysis(git_merge_analysis_t* analysis, git_merge_preference_t* preference,
                              git_repository* repo, const git_annotated_commit** theirs,
                              std::size_t count) {
  if (const int code = LOCK(repo)) return code;
  return NEXT(git_merge_analysis)(analysis, preference, repo, theirs, count);
}

// A rebase begins with this, before it looks at HEAD.
EXPORT int git_annotated_commit_lookup(git_annotated_commit** commit, git_repository* repo,
                                       const git_oid* id) {
  if (const int code = LOCK(repo)) return code;
  return NEXT(git_annotated_commit_lookup)(commit, repo, id);
}

EXPORT int git_stash_apply(git_repository* repo, std::size_t position,
                           const git_stash_apply_options* options) {
  if (const int code = LOCK(repo)) return code;
  return NEXT(git_stash_apply)(repo, position, options);
}

EXPORT int git_stash_pop(git_repository* repo, std::size_t position,
                         const git_stash_apply_options* options) {
  if (const int code = LOCK(repo)) return code;
  return NEXT(git_stash_pop)(repo, position, options);
}

EXPORT int git_stash_drop(git_repository* repo, std::size_t position) {
  if (const int code = LOCK(repo)) return code;
  return NEXT(git_stash_drop)(repo, position);
}

// A status refreshes the index on the way. It does so only when nobody is at work there.
EXPORT int git_status_list_new(git_status_list** list, git_repository* repo,
                               const git_status_options* given) {
  if (!given || (given->flags & GIT_STATUS_OPT_UPDATE_INDEX) == 0) {
    return NEXT(git_status_list_new)(list, repo, given);
  }
  const ShortLock lock(repo);
  git_status_options options = *given;
  if (!lock.is_held()) options.flags &= ~static_cast<unsigned>(GIT_STATUS_OPT_UPDATE_INDEX);
  return NEXT(git_status_list_new)(list, repo, &options);
}
