// For tests of clone, fetch, pull and push: a remote, somebody else's working copy of it, and ours.
#pragma once

#include <pwd.h>
#include <unistd.h>

#include "module_test.h"
#include "process.h"
#include "servers.h"

namespace uwugit::test {

// What a call offers: user, password, public key, private key, certificate file and whether the
// platform's own credentials are used, as far as they are given.
using Offer = std::vector<host::Value>;

class Transfer : public ModuleTest {
 protected:
  Transfer() {
    fs::create_directories(servers_);
    git(sandbox_.root(), {"init", "--quiet", "--bare", bare_.string()});
    git(bare_, {"config", "http.receivepack", "true"});
    git(sandbox_.root(), {"clone", "--quiet", bare_.string(), other_.string()});
    commit_elsewhere("first\n");
  }

  // Somebody else pushes a new content of "file".
  std::string commit_elsewhere(const std::string& content) {
    write_file(other_ / "file", content);
    const std::string id = commit_all(other_, "theirs");
    git(other_, {"push", "--quiet", "--force", "origin", "HEAD:main"});
    return id;
  }

  std::string commit_here(const std::string& name, const std::string& content) {
    write_file(work_ / name, content);
    return commit_all(work_, "ours");
  }

  void clone_by_path() {
    git(sandbox_.root(), {"clone", "--quiet", bare_.string(), work_.string()});
  }
  std::string remote_main() { return git(bare_, {"rev-parse", "main"}); }

  // The user that runs the test, who is let in over SSH.
  static std::string me() { return getpwuid(geteuid())->pw_name; }

  // The code and the log of do_clone into `cloned_`, or of do_fetch, do_pull or do_push in ours.
  std::string transfer(const std::string& function, const std::string& url, Offer values = {}) {
    const bool is_clone = function == "do_clone";
    if (function == "do_fetch" && values.size() > 4) values.insert(values.begin() + 4, " ");
    values.insert(values.begin(), is_clone ? cloned_.string() : work_.string());
    if (is_clone) values.insert(values.begin(), url);
    if (!is_clone) git(work_, {"remote", "set-url", "origin", url});
    host::Arguments arguments;
    for (const host::Value& value : values) {
      const auto* text = std::get_if<std::string>(&value);
      text ? arguments.text(*text) : arguments.number(std::get<double>(value));
    }
    log_.clear();
    const auto result = host_.call(module_.find(function), arguments.block());
    return host::Outcome{result, false, {}}.code_text() + " " + logged();
  }
  static constexpr const char* kFunctions[] = {"do_clone", "do_fetch", "do_pull", "do_push"};

  // References, index and files, after a look at whether the repository is sound.
  std::string state() {
    const std::string leftovers = runner::run({"find", work_.string(), "-name", "*.lock", "-o",
                                               "-name", "pack_git2_*", "-o", "-name", "MERGE_*"})
                                      .output;
    EXPECT_EQ(leftovers, "");
    git(work_, {"fsck", "--strict"});
    return git(work_, {"for-each-ref"}) + git(work_, {"status", "--porcelain"}) +
           git(work_, {"rev-parse", "HEAD"});
  }

  fs::path servers_ = sandbox_.root() / "servers";
  fs::path bare_ = sandbox_.root() / "repositories/remote.git";
  fs::path other_ = sandbox_.root() / "other";
  fs::path work_ = sandbox_.root() / "work";
  fs::path cloned_ = sandbox_.root() / "cloned";
  fs::path known_hosts_ = sandbox_.root() / "home/.ssh/known_hosts";
};

}  // namespace uwugit::test
