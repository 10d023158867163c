// What a host is told of a transfer.
#pragma once

#include <git2.h>

// Fills the callbacks that are empty with those that tell the host, when there is one that wants to
// know.
void tell_progress(git_remote_callbacks* callbacks);
