// Folders for programs to work in, which are gone when the process is.
#pragma once

#include <filesystem>

namespace uwugit::runner {

// Makes a new empty folder. It is removed with all that is in it when the process ends: by itself,
// by exit, after an error, or by a signal that can be caught.
std::filesystem::path make_temporary_folder();

// Removes them at once. A signal handler may call it.
void remove_temporary_folders() noexcept;

}  // namespace uwugit::runner
