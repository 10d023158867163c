// From 1.7 on, git_repository_open succeeds and leaves an error behind: that ".git/shallow" was not
// found. A later function that fails without an error of its own would be reported with this one.
// Here the error is cleared after a success.

#include "kept_packs.h"
#include "next.h"

EXPORT int git_repository_open(git_repository** repo, const char* path) {
  const int code = NEXT(git_repository_open)(repo, path);
  if (code != 0) {
    let_packs_go();  // what is gone, or unmounted, may be among them
    return code;
  }
  keep_packs(*repo);
  git_error_clear();
  return 0;
}
