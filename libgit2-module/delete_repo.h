// What the companion offers beside libgit2's own functions.
#pragma once

// Removes a repository's directory with all that is in it, read-only files and directories too.
// Symbolic links inside are removed, never followed. 0: gone. -1: not removed, or not all of it;
// also for a file, for a link even to a directory, for a last name of "." or "..", and for the root
// directory. -2: nothing is there.
extern "C" __attribute__((visibility("default"))) int git_delete_repo(const char* path);
