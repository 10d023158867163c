#include "gitbind/libgit2.h"

#include "module/bootstrap.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "support/strings.h"

namespace uwugit {

GitModule* git2Module = nullptr;

namespace {

constexpr wchar_t kLibgit2[] = L"libgit2";

struct LocationToTry {
  ModuleLocation location;
  const char* note_on_failure;
};
constexpr LocationToTry kLocations[] = {
    {ModuleLocation::kSystem, message::kTryingExtensionPath},
    {ModuleLocation::kExtension, message::kTryingInstallPath},
    {ModuleLocation::kInstall, message::kLibgit2NotFound},
};

}  // namespace

GitModule* loadGitModule() {
  constexpr std::size_t length = sizeof kLibgit2 / sizeof *kLibgit2 - 1;
  git2Module = nullptr;
  for (const LocationToTry& place : kLocations) {
    git2Module =
        Exported_TKHandle->load_module(Exported_TKHandle, kLibgit2, length, place.location, 0);
    if (git2Module) break;
    xpslog(place.note_on_failure);
  }
  return git2Module;
}

void unloadGitModule() {}

void* find_git_function(GitModule* git, const char* name, const wchar_t* wide_name) {
  return git->lookup(git, wide_name, wzstlen(name), 0);
}

int init_git(GitModule* git) {
  auto* init = GIT(git, git_libgit2_init);
  return init ? init() : -1;
}

int shutdown_git(GitModule* git) {
  auto* shutdown = GIT(git, git_libgit2_shutdown);
  return shutdown ? shutdown() : 0;
}

int open_repo(GitModule* git, const char* path, git_repository** repo) {
  auto* open = GIT(git, git_repository_open);
  return open ? open(repo, path) : -1;
}

}  // namespace uwugit
