// The binding to libgit2, which is loaded by name and never linked. Every function is looked up
// immediately before it is called; nothing is cached.
#pragma once

#include <git2.h>
#if __has_include(<git2/sys/errors.h>)
#include <git2/sys/errors.h>  // has git_error_clear from 1.8 on
#endif

#include <type_traits>

#include "uwugit/host_abi.h"

namespace uwugit {

// The module of the latest load, null when it failed. Kept because libgit2's credential callback
// has no other way to it.
extern GitModule* git2Module;

// Loads libgit2 from the system location, else the extension path, else the install path, with a
// note for each further try. Null when it is nowhere.
GitModule* loadGitModule();
void unloadGitModule();  // libgit2 stays for the life of the process: does nothing

// The address of a libgit2 function, or null. Both spellings are the same name.
void* find_git_function(GitModule* git, const char* name, const wchar_t* wide_name);

// A typed lookup from one spelling of the name: GIT(call, git_repository_open). `where` is a
// GitModule* or what converts to one, as a call does.
#define GIT(where, name) \
  (reinterpret_cast<decltype(&::name)>(::uwugit::find_git_function(where, #name, L"" #name)))

// What it means for a step that libgit2 lacks its function is one of two things.
//
// The step needs the function: without it, it fails with -1.
template <class... Parameters>
int required(int (*function)(Parameters...), std::type_identity_t<Parameters>... given) {
  return function ? function(given...) : -1;
}
// The step is passed over: 0, null or nothing.
template <class Answer, class... Parameters>
Answer if_found(Answer (*function)(Parameters...), std::type_identity_t<Parameters>... given) {
  return function ? function(given...) : Answer();
}

// The count of initialisations, at least 1 on success; -1 when the function cannot be found.
int init_git(GitModule* git);
// What is left of that count; 0 when the function cannot be found.
int shutdown_git(GitModule* git);

// libgit2's code, -1 when the function cannot be found. The path is NUL-terminated.
int open_repo(GitModule* git, const char* path, git_repository** repo);

}  // namespace uwugit
