// What is left of a decoded password in this process after a call.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "support/leaks.h"
#include "support/transfer_test.h"

namespace uwugit::test {
namespace {

// A password that other programs made, and of which this one holds nothing but a masked copy of its
// second half: what is left of it in memory that was given back may have lost its beginning.
class Secret {
 public:
  explicit Secret(const fs::path& folder) : file_(folder / "secret") {
    shell("openssl rand -hex 32 | tr -d '\\n' > " + file_);
    masked_ = shell("tail -c 32 " + file_ + " | tr 0-9a-f g-v");
    hash = "me:" + shell("openssl passwd -6 -in " + file_);
    encoded =
        shell(std::string("printf %s $(") + UWUGIT_COMMAND + " encode-password < " + file_ + ")");
  }

  // Locks a private key with it.
  void lock(const fs::path& key) const {
    shell("ssh-keygen -q -p -P '' -N \"$(cat " + file_ + ")\" -f " + key.string());
  }

  void write_to(char* where) const {
    for (const char c : masked_) *where++ = kDigits[c - 'g'];
  }
  static constexpr std::size_t kLength = 32;

  // The writable mappings of this process that hold it, a line each.
  std::string find() const {
    constexpr std::size_t chunk = 1 << 20;
    constexpr std::size_t largest = 1ul << 32;  // the sanitizers' maps of memory are larger
    static char buffer[chunk];
    const auto is_masked = [](char masked, char c) { return c == kDigits[masked - 'g']; };
    std::string found;
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
      std::size_t begin = 0, end = 0;
      char rights[5] = {};
      if (std::sscanf(line.c_str(), "%zx-%zx %4s", &begin, &end, rights) != 3) continue;
      if (rights[1] != 'w' || end - begin > largest) continue;
      for (std::size_t at = begin; at < end; at += chunk - kLength) {
        const ssize_t got =
            pread(memory, buffer, std::min(chunk, end - at), static_cast<off_t>(at));
        for (const char* text = buffer; text + kLength <= buffer + got; ++text) {
          if (std::equal(masked_.begin(), masked_.end(), text, is_masked)) found += line + "\n";
        }
        explicit_bzero(buffer, sizeof buffer);
      }
    }
    close(memory);
    return found;
  }

  std::string hash;
  std::string encoded;

 private:
  static constexpr char kDigits[] = "0123456789abcdef";

  static std::string shell(const std::string& script) {
    const runner::CommandResult result = runner::run({"sh", "-c", script});
    EXPECT_EQ(result.status, 0) << result.output;
    return result.output;
  }

  std::string file_;
  std::string masked_;
};

using Secrets = Transfer;

// In the module, in the host and also in libgit2, whose own copies it wipes itself.
TEST_F(Secrets, AreGoneAfterTheCall) {
  const Secret secret(sandbox_.root());
  const Servers servers(servers_, bare_.parent_path(), secret.hash);
  const std::string locked = servers.file("user_ed25519");
  secret.lock(locked);

  HostPool* pool = host_.pools().create("control");
  auto* block = static_cast<char*>(pool->allocate(pool, 100, 0));
  secret.write_to(block);
  EXPECT_NE(secret.find(), "") << "the search finds what is there";
  explicit_bzero(block, 100);
  pool->destroy(pool);

  const std::string http = servers.url("https", "/remote.git"),
                    ssh = servers.url("ssh", bare_, me());
  const auto password = [&](const char* user) {
    return Offer{user, secret.encoded, " ", " ", servers.file("authority.pem")};
  };
  const struct {
    std::string url;
    Offer offer;
    const char* code;
  } rows[] = {
      {http, password("me"), "0 "},
      {http, password("you"), "-3 "},
      {servers.url("https", "/none.git"), password("me"), "34 "},
      {"http://127.0.0.1:1/", password("me"), "2 "},
      {ssh, {me(), secret.encoded, locked + ".pub", locked}, "0 "},
      {ssh, {"you", secret.encoded, locked + ".pub", locked}, "23 "},
  };
  write_file(known_hosts_, read_file(servers.file("known_ed25519")));
  for (const auto& row : rows) {
    const LeaksOverSsh leaks(row.url);
    EXPECT_PRED2(starts_with, transfer("do_clone", row.url, row.offer), row.code);
    EXPECT_EQ(secret.find(), "") << row.url;
    fs::remove_all(cloned_);
  }
  work_ = sandbox_.new_repository();
  git(work_, {"remote", "add", "origin", bare_});
  EXPECT_PRED2(starts_with, transfer("do_pull", bare_, password("me")), "unchanged ");
  EXPECT_EQ(secret.find(), "");
}

}  // namespace
}  // namespace uwugit::test
