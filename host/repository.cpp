#include "uwugithost/repository.h"

#include <algorithm>
#include <tuple>
#include <utility>

// What is asked of the loaded libgit2 is declared here, as the host is built without its headers.
extern "C" {
struct git_repository;
struct git_object;
struct git_reference;
struct git_reference_iterator;
struct git_oid;
struct git_signature {
  char* name;
  char* email;
};
struct git_error {
  char* message;
  int klass;
};
int git_libgit2_init();
int git_libgit2_shutdown();
const git_error* git_error_last();
int git_repository_open_ext(git_repository**, const char*, unsigned, const char*);
const char* git_repository_workdir(const git_repository*);
const char* git_repository_path(const git_repository*);
void git_repository_free(git_repository*);
int git_revparse_single(git_object**, git_repository*, const char*);
int git_object_peel(git_object**, const git_object*, int);
const git_oid* git_object_id(const git_object*);
void git_object_free(git_object*);
char* git_oid_tostr(char*, std::size_t, const git_oid*);
int git_reference_iterator_new(git_reference_iterator**, git_repository*);
int git_reference_next(git_reference**, git_reference_iterator*);
void git_reference_iterator_free(git_reference_iterator*);
const char* git_reference_name(const git_reference*);
int git_reference_peel(git_object**, const git_reference*, int);
int git_reference_lookup(git_reference**, git_repository*, const char*);
const char* git_reference_symbolic_target(const git_reference*);
void git_reference_free(git_reference*);
int git_signature_default(git_signature**, git_repository*);
void git_signature_free(git_signature*);
}

namespace uwugit::host {
namespace {

constexpr int kCommit = 1;      // GIT_OBJECT_COMMIT
constexpr int kAmbiguous = -5;  // GIT_EAMBIGUOUS
constexpr std::size_t kIdText = 41;

// The loaded libgit2, initialised for as long as this lives.
class Libgit2 {
 public:
  explicit Libgit2(Host& host)
      : git_(load(host)), shut_down_(find<decltype(git_libgit2_shutdown)>("git_libgit2_shutdown")) {
    if (find<decltype(git_libgit2_init)>("git_libgit2_init")() < 1) {
      throw RepositoryError("libgit2 could not be initialised");
    }
  }
  ~Libgit2() { shut_down_(); }
  Libgit2(const Libgit2&) = delete;
  Libgit2& operator=(const Libgit2&) = delete;

  template <class Function>
  Function* find(const char* name) const {
    const std::wstring wide(name, name + std::char_traits<char>::length(name));
    void* found = git_->lookup(git_, wide.c_str(), wide.size(), 0);
    if (!found) throw RepositoryError(std::string("libgit2 lacks the function ") + name);
    return reinterpret_cast<Function*>(found);
  }

  std::string last_error() const {
    const git_error* error = find<decltype(git_error_last)>("git_error_last")();
    return error && error->message ? error->message : "libgit2 does not say why";
  }

 private:
  static GitModule* load(Host& host) {
    for (const ModuleLocation place :
         {ModuleLocation::kSystem, ModuleLocation::kExtension, ModuleLocation::kInstall}) {
      if (GitModule* found = host.modules().load(L"libgit2", place)) return found;
    }
    throw RepositoryError("libgit2 was not found");
  }

  GitModule* git_;
  decltype(&git_libgit2_shutdown) shut_down_;
};

#define GIT2(library, name) (library).find<decltype(::name)>(#name)

// An object of libgit2 with the function that releases it.
template <class T>
class Owned {
 public:
  Owned(const Libgit2& git, const char* release) : release_(git.find<void(T*)>(release)) {}
  ~Owned() {
    if (it) release_(it);
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;

  T* it = nullptr;

 private:
  void (*release_)(T*);
};

struct OpenedRepository : Owned<git_repository> {
  OpenedRepository(const Libgit2& git, const std::string& place)
      : Owned(git, "git_repository_free") {
    if (GIT2(git, git_repository_open_ext)(&it, place.c_str(), 0, nullptr) != 0) {
      throw RepositoryError("'" + place + "' is not in a git repository (" + git.last_error() +
                            ")");
    }
  }
};

std::string id_text(const Libgit2& git, const git_object* object) {
  char text[kIdText] = {};
  GIT2(git, git_oid_tostr)(text, sizeof text, GIT2(git, git_object_id)(object));
  return text;
}

// The kind of a reference and what people call it, by the beginning of its full name.
constexpr std::pair<std::string_view, const char*> kKinds[] = {
    {"refs/heads/", "branch"}, {"refs/remotes/", "remote branch"}, {"refs/tags/", "tag"}};

Reference describe(const Libgit2& git, const git_reference* reference, std::string_view current) {
  const std::string_view name = GIT2(git, git_reference_name)(reference);
  Reference found = {std::string(name), "other", {}, name == current};
  if (name == "refs/stash") found = {"stash", "stash", {}, false};
  for (const auto& [start, kind] : kKinds) {
    if (name.starts_with(start)) {
      found.name = name.substr(start.size());
      found.kind = kind;
    }
  }
  Owned<git_object> commit(git, "git_object_free");
  if (GIT2(git, git_reference_peel)(&commit.it, reference, kCommit) == 0) {
    found.id = id_text(git, commit.it);
  }
  return found;
}

std::string commit_of(const Libgit2& git, git_repository* repository, const std::string& name) {
  Owned<git_object> object(git, "git_object_free");
  Owned<git_object> commit(git, "git_object_free");
  const int code = GIT2(git, git_revparse_single)(&object.it, repository, name.c_str());
  if (code == kAmbiguous) {
    throw RepositoryError("'" + name + "' is ambiguous: more than one object begins with it");
  }
  if (code != 0) throw RepositoryError("'" + name + "' names nothing in this repository");
  if (GIT2(git, git_object_peel)(&commit.it, object.it, kCommit) != 0) {
    throw RepositoryError("'" + name + "' is not a commit");
  }
  return id_text(git, commit.it);
}

std::string without_slash(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

}  // namespace

Repository::Repository(Host& host, const FunctionModule& module, const std::string& place)
    : host_(host), module_(module) {
  const Libgit2 git(host);
  const OpenedRepository opened(git, place);
  const char* folder = GIT2(git, git_repository_workdir)(opened.it);
  path_ = without_slash(folder ? folder : GIT2(git, git_repository_path)(opened.it));
}

std::string Repository::commit_id(const std::string& name) const {
  return commit_ids({name}).front();
}

std::vector<std::string> Repository::commit_ids(std::initializer_list<std::string> names) const {
  const Libgit2 git(host_);
  const OpenedRepository opened(git, path_);
  std::vector<std::string> ids;
  for (const std::string& name : names) ids.push_back(commit_of(git, opened.it, name));
  return ids;
}

std::string Repository::find_commit(const std::string& name) const {
  try {
    return commit_id(name);
  } catch (const RepositoryError&) {
    return {};
  }
}

std::vector<Reference> Repository::references() const {
  const Libgit2 git(host_);
  const OpenedRepository opened(git, path_);
  Owned<git_reference> head(git, "git_reference_free");
  const char* target = nullptr;
  if (GIT2(git, git_reference_lookup)(&head.it, opened.it, "HEAD") == 0) {
    target = GIT2(git, git_reference_symbolic_target)(head.it);
  }
  Owned<git_reference_iterator> iterator(git, "git_reference_iterator_free");
  if (GIT2(git, git_reference_iterator_new)(&iterator.it, opened.it) != 0) {
    throw RepositoryError(git.last_error());
  }
  std::vector<Reference> found;
  for (;;) {
    Owned<git_reference> reference(git, "git_reference_free");
    if (GIT2(git, git_reference_next)(&reference.it, iterator.it) != 0) break;
    found.push_back(describe(git, reference.it, target ? target : ""));
  }
  std::sort(found.begin(), found.end(), [](const Reference& left, const Reference& right) {
    return std::tie(left.kind, left.name) < std::tie(right.kind, right.name);
  });
  return found;
}

Identity Repository::identity() const {
  const Libgit2 git(host_);
  const OpenedRepository opened(git, path_);
  Owned<git_signature> signature(git, "git_signature_free");
  if (GIT2(git, git_signature_default)(&signature.it, opened.it) != 0) {
    throw RepositoryError(
        "git's configuration has no user.name or no user.email (git config --global user.name "
        "...)");
  }
  return {signature.it->name, signature.it->email};
}

}  // namespace uwugit::host
