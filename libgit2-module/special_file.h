// What is neither a file with content, nor a folder, nor a link.
#pragma once

#include <sys/stat.h>

#include <string>

// What stands at a path when it is a named pipe, a socket or a device, as words ("a named pipe");
// null for anything else, and for nothing.
const char* special_kind(const struct stat& found);

// lstat: false when nothing is there.
bool look_at(const std::string& path, struct stat* found);
