// A repository as people name it: found from a folder inside it, with names resolved to commits.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "uwugithost/host.h"

namespace uwugit::host {

// What was asked for cannot be had from this repository. The message says why, in one sentence.
struct RepositoryError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Reference {
  std::string name;  // "main", "origin/main", "v1.0", "stash"; "HEAD" itself is not listed
  std::string kind;  // "branch", "remote branch", "tag", "stash" or "other"
  std::string id;    // of the commit that it leads to; empty when it leads to none
  bool is_current;   // HEAD is on it
};

struct Identity {
  std::string name;
  std::string email;
};

class Repository {
 public:
  // Looks upwards from a folder or file as git does. Throws RepositoryError.
  Repository(Host& host, const FunctionModule& module, const std::string& place);

  // What the git functions take: the working tree's folder, or a bare repository's own, without a
  // slash at its end.
  const std::string& path() const { return path_; }
  Host& host() const { return host_; }
  const FunctionModule& module() const { return module_; }

  // The whole id of the commit that a name leads to: a branch, a tag, "HEAD~2", a short id. Throws
  // RepositoryError when it leads to none.
  std::string commit_id(const std::string& name) const;
  // The same for several names, for which the repository is opened once.
  std::vector<std::string> commit_ids(std::initializer_list<std::string> names) const;
  // That of one name; empty when it leads to none.
  std::string find_commit(const std::string& name) const;

  // Branches, other references, remote branches, the stash and tags, each in the order of their
  // names.
  std::vector<Reference> references() const;
  // The name and e-mail of git's configuration. Throws RepositoryError when they are not set.
  Identity identity() const;

 private:
  Host& host_;
  const FunctionModule& module_;
  std::string path_;
};

}  // namespace uwugit::host
