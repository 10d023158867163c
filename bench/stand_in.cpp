// A stand-in for libgit2 that answers at once: ten changed files, no work.
#include <git2.h>

#define STAND_IN extern "C" __attribute__((visibility("default")))

STAND_IN int git_libgit2_init() { return 1; }
STAND_IN int git_libgit2_shutdown() { return 0; }
STAND_IN int git_libgit2_version(int* major, int* minor, int* revision) {
  *major = 1;
  *minor = 5;
  *revision = 0;
  return 0;
}
STAND_IN int git_libgit2_features() { return 0; }
STAND_IN int git_repository_open(git_repository** repo, const char*) {
  *repo = nullptr;
  return 0;
}
STAND_IN void git_repository_free(git_repository*) {}
STAND_IN int git_status_list_new(git_status_list** list, git_repository*,
                                 const git_status_options*) {
  *list = nullptr;
  return 0;
}
STAND_IN void git_status_list_free(git_status_list*) {}
STAND_IN int git_status_foreach(git_repository*, git_status_cb callback, void* payload) {
  for (int i = 0; i < 10; ++i)
    callback("folder/name-of-a-file.txt", GIT_STATUS_WT_MODIFIED, payload);
  return 0;
}
