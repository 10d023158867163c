// What is left of a decoded password in this process after a call.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "process.h"
#include "support/leaks.h"
#include "support/module_test.h"
#include "support/servers.h"

namespace uwugit::test {
namespace {

// A password that other programs made, and of which this one holds nothing but a masked copy.
class Secret {
 public:
  explicit Secret(const fs::path& folder) : file_(folder / "secret") {
    // The password, its hash for the web server, and its encoded form.
    const fs::path users = folder / "users", encoded_file = folder / "encoded";
    shell("openssl rand -hex 16 | tr -d '\\n' > " + file_.string() + " && printf 'me:%s\\n' \"$(" +
          "openssl passwd -6 -in " + file_.string() + ")\" > " + users.string() + " && " +
          UWUGIT_COMMAND + " encode-password < " + file_.string() + " > " + encoded_file.string());
    hash = read_file(users);
    encoded = read_file(encoded_file);
    encoded.pop_back();  // the line break
    const int file = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(read(file, masked_, sizeof masked_), ssize_t{sizeof masked_});
    close(file);
    for (char& c : masked_) c ^= kMask;
  }

  // Locks a private key with it.
  void lock(const fs::path& key) const {
    shell("ssh-keygen -q -p -P '' -N \"$(cat " + file_.string() + ")\" -f " + key.string());
  }

  void write_to(char* where) const {
    for (const char c : masked_) *where++ = static_cast<char>(c ^ kMask);
  }
  static constexpr std::size_t kLength = 32;

  // The writable mappings of this process that hold it, a line each.
  std::string find() const;

  std::string hash;
  std::string encoded;

 private:
  static constexpr char kMask = 0x55;

  static void shell(const std::string& script) {
    const runner::CommandResult result = runner::run({"sh", "-c", script});
    EXPECT_EQ(result.status, 0) << result.output;
  }

  bool is_at(const char* text) const {
    for (std::size_t i = 0; i < kLength; ++i) {
      if ((text[i] ^ kMask) != masked_[i]) return false;
    }
    return true;
  }

  fs::path file_;
  char masked_[kLength];
};

std::string Secret::find() const {
  constexpr std::size_t chunk = 1 << 20;
  constexpr std::size_t largest = std::size_t{1}
                                  << 32;  // the sanitizers' maps of memory are larger
  static char buffer[chunk];
  std::string found;
  const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::size_t begin = 0, end = 0;
    char rights[5] = {};
    if (std::sscanf(line.c_str(), "%zx-%zx %4s", &begin, &end, rights) != 3) continue;
    if (rights[1] != 'w' || end - begin > largest) continue;
    for (std::size_t at = begin; at < end; at += chunk - kLength) {
      const ssize_t got = pread(memory, buffer, std::min(chunk, end - at), static_cast<off_t>(at));
      for (ssize_t i = 0; i + ssize_t{kLength} <= got; ++i) {
        if (is_at(buffer + i)) found += line + "\n";
      }
      explicit_bzero(buffer, sizeof buffer);
    }
  }
  close(memory);
  return found;
}

class Secrets : public ModuleTest {};

// In the module, in the host and also in libgit2, whose own copies it wipes itself.
TEST_F(Secrets, AreGoneAfterTheCall) {
  const fs::path servers = sandbox_.root() / "servers", clone = sandbox_.root() / "clone";
  fs::create_directory(servers);
  const fs::path bare = sandbox_.root() / "repositories/remote.git";
  git(sandbox_.root(), {"init", "--quiet", "--bare", bare.string()});
  const fs::path work = sandbox_.new_repository();
  commit_all(work, "one");
  git(work, {"push", "--quiet", bare.string(), "main"});
  const Secret secret(sandbox_.root());
  const Authority authority(servers);
  const WebServer web(servers, bare.parent_path(), authority, secret.hash);
  SshServer ssh(servers);
  const fs::path key = ssh.make_key("ed25519"),
                 known_hosts = sandbox_.root() / "home/.ssh/known_hosts";
  secret.lock(key);

  HostPool* pool = host_.pools().create("control");
  auto* block = static_cast<char*>(pool->allocate(pool, 100, 0));
  secret.write_to(block);
  EXPECT_NE(secret.find(), "") << "the search finds what is there";
  explicit_bzero(block, 100);
  pool->destroy(pool);

  const std::string me = SshServer::user();
  const struct {
    std::string url;
    std::string user;
    std::string key;
    const char* code;
  } rows[] = {
      {web.https("remote.git"), "me", " ", "0"},
      {web.https("remote.git"), "you", " ", "-3"},
      {web.https("none.git"), "me", " ", "34"},
      {"http://127.0.0.1:1/", "me", " ", "2"},
      {ssh.url(bare), me, key, "0"},
      {ssh.url(bare), "you", key, "23"},
  };
  write_file(known_hosts, ssh.known_host({"ed25519"}));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.url + " " + row.user);
    const LeaksOverSsh leaks(row.url);
    EXPECT_EQ(code("do_clone", row.url, clone, row.user, secret.encoded,
                   row.key == " " ? " " : row.key + ".pub", row.key, authority.authority),
              row.code);
    EXPECT_EQ(secret.find(), "");
    fs::remove_all(clone);
  }
  const fs::path unborn = sandbox_.new_repository("unborn");
  git(unborn, {"remote", "add", "origin", bare.string()});
  EXPECT_EQ(code("do_pull", unborn, "me", secret.encoded), "unchanged");
  EXPECT_EQ(secret.find(), "");
}

}  // namespace
}  // namespace uwugit::test
