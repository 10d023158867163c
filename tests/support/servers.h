// Servers for git repositories at "localhost", on ports that the system chose: real ones, which a
// script starts and ends, and one that hangs up.
#pragma once

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <thread>

namespace uwugit::test {

namespace fs = std::filesystem;

// All that tests/support/servers.sh starts. They answer when the object is made.
class Servers {
 public:
  // `users` has lines of a name, a colon and a password as crypt(3) writes it, for HTTPS.
  Servers(const fs::path& folder, const fs::path& repositories,
          std::string_view users = "me:{PLAIN}secret\n");
  ~Servers();
  Servers(const Servers&) = delete;
  Servers& operator=(const Servers&) = delete;

  // The scheme is "http", "https", "ssh" or "git". The path starts with a slash and is absolute
  // over SSH, else within the repositories.
  std::string url(const std::string& scheme, const std::string& path,
                  const std::string& user = "") const;
  int port(const std::string& scheme) const { return ports_.at(scheme); }
  // One of the keys, certificates and lists that the script makes.
  fs::path file(std::string_view name) const { return folder_ / name; }

 private:
  fs::path folder_;
  std::FILE* script_;
  int process_ = 0;
  std::map<std::string, int> ports_;
};

// What goes wrong with each connection: it ends after an answer to the head of a request over HTTP,
// or after so many bytes of what another port answers.
struct Fault {
  std::string answer = "";
  int port_behind = 0;
  std::size_t most_bytes = 0;
};

// A server with a fault. The end of a connection leaves together with the last bytes, so that the
// client cannot write in between.
class FaultyServer {
 public:
  explicit FaultyServer(Fault fault);
  ~FaultyServer() { end(); }
  FaultyServer(const FaultyServer&) = delete;
  FaultyServer& operator=(const FaultyServer&) = delete;

  std::string url(const std::string& scheme, const std::string& path = "/") const;
  // Ends the server and gives the heads of the requests that it answered.
  std::string end();

 private:
  void serve();
  void answer(int connection);
  void pass_on(int connection);

  const Fault fault_;
  std::string requests_;
  int listener_ = -1;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace uwugit::test
