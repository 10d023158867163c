// Servers for git repositories, on the loopback interface and on ports that the system chose. Each
// lives as long as its object, keeps its files in one folder, and answers when it is made.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace uwugit::test {

namespace fs = std::filesystem;

// Another program, ended with all that it started.
class Process {
 public:
  Process(const std::vector<std::string>& command, const fs::path& log);
  ~Process() { end(); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  bool is_running();
  void end();

 private:
  pid_t id_ = 0;
};

// A program that listens to one port.
class Server {
 public:
  using Command = std::function<std::vector<std::string>(int port)>;
  Server(const Command& command, const fs::path& log);

  int port() const { return port_; }
  void end() { process_->end(); }

 private:
  int port_ = 0;
  std::unique_ptr<Process> process_;
};

// git daemon, for reading and writing.
Server git_daemon(const fs::path& folder, const fs::path& repositories);

// A certificate authority of its own, with a certificate for "localhost".
struct Authority {
  explicit Authority(const fs::path& folder);
  fs::path authority;
  fs::path certificate;
  fs::path key;
};

// git over HTTP, and over HTTPS with basic authentication.
class WebServer {
 public:
  // `users` has lines of a name, a colon and a password as crypt(3) writes it. Below "/moved/"
  // every request is redirected to the repositories.
  WebServer(const fs::path& folder, const fs::path& repositories, const Authority& authority,
            std::string_view users);

  std::string http(std::string_view path) const;
  std::string https(std::string_view path) const;

  // Ends the server and answers how many requests of that status came with the name of a user.
  int requests_with_user(int status);

 private:
  void wait_for_fastcgi();

  fs::path folder_;
  int secure_port_ = 0;
  Process fastcgi_;
  Server server_;
};

// OpenSSH's sshd, with keys as the only way in for the user that runs the test.
class SshServer {
 public:
  explicit SshServer(const fs::path& folder);

  std::string url(const fs::path& repository, std::string_view user) const;
  std::string url(const fs::path& repository) const { return url(repository, user()); }
  static std::string user();

  // Makes a pair of user keys; answers the private file. The public one has ".pub" after it.
  fs::path make_key(std::string_view type, std::string_view passphrase = "", bool is_let_in = true);

  // Lines for a file of known hosts, with the server's keys of those types.
  std::string known_host(const std::vector<std::string>& types) const;

 private:
  fs::path folder_;
  Server server_;
};

// A server that does what a test says on each connection, and counts them. It reads what the client
// sends until it pauses, so that the client has got to wait for an answer.
class FaultyServer {
 public:
  // Sends `answer` on every connection and closes it.
  explicit FaultyServer(std::string answer);
  // Passes every connection on to another port, and closes it after so many bytes of answer.
  FaultyServer(int port_behind, std::size_t most_bytes);
  ~FaultyServer() { end(); }
  FaultyServer(const FaultyServer&) = delete;
  FaultyServer& operator=(const FaultyServer&) = delete;

  int port() const { return port_; }
  std::string http() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }
  // Ends the server and answers how many requests held the text.
  int requests_with(std::string_view text);

 private:
  void end();
  void serve();
  void answer(int connection);
  void pass_on(int connection);

  std::string answer_;
  int port_behind_ = 0;
  std::size_t most_bytes_ = 0;
  int port_ = 0;
  int listener_ = -1;
  std::vector<std::string> requests_;
  std::thread thread_;
};

}  // namespace uwugit::test
