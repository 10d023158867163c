#include "servers.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "process.h"
#include "sandbox.h"

namespace uwugit::test {
namespace {

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A socket that listens to a port of the system's choice.
int listen_anywhere(int* port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(listener, SOMAXCONN) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("No port can be had.");
  }
  *port = ntohs(address.sin_port);
  return listener;
}

template <class Address>
int connect_to(const Address& address) {
  const auto* const any = reinterpret_cast<const sockaddr*>(&address);
  const int connection = socket(any->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(connection, any, sizeof address) == 0) return connection;
  close(connection);
  return -1;
}

// Whether the process answers at its address before it ends or the tries are used up.
template <class Address>
bool becomes_ready(Process& process, const Address& address) {
  constexpr int most_tries = 1000;
  for (int i = 0; i < most_tries && process.is_running(); ++i) {
    if (const int connection = connect_to(address); connection >= 0) {
      close(connection);
      return process.is_running();
    }
    poll(nullptr, 0, 10);
  }
  return false;
}

void run_or_throw(const std::vector<std::string>& command) {
  const runner::CommandResult result = runner::run(command);
  if (result.status != 0) throw std::runtime_error(command[0] + ": " + result.output);
}

}  // namespace

Process::Process(const std::vector<std::string>& command, const fs::path& log) {
  // Ends with this process too, if that ends without a word.
  std::vector<std::string> words = {"setpriv", "--pdeathsig", "TERM"};
  words.insert(words.end(), command.begin(), command.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(),
                                   O_WRONLY | O_CREAT | O_APPEND, 0600);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  const int error =
      posix_spawnp(&id_, pointers[0], &actions, &attributes, pointers.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("The command " + command[0] + " cannot be started.");
}

bool Process::is_running() {
  if (id_ != 0 && waitpid(id_, nullptr, WNOHANG) != 0) id_ = 0;
  return id_ != 0;
}

void Process::end() {
  if (id_ == 0) return;
  kill(-id_, SIGTERM);
  waitpid(id_, nullptr, 0);
  id_ = 0;
}

Server::Server(const Command& command, const fs::path& log) {
  constexpr int attempts = 5;  // another program may take the port in between
  for (int i = 0; i < attempts; ++i) {
    close(listen_anywhere(&port_));
    process_ = std::make_unique<Process>(command(port_), log);
    if (becomes_ready(*process_, loopback(port_))) return;
  }
  throw std::runtime_error("A server does not start:\n" + read_file(log));
}

Server git_daemon(const fs::path& folder, const fs::path& repositories) {
  std::vector<std::string> command = {"git",
                                      "daemon",
                                      "--reuseaddr",
                                      "--listen=127.0.0.1",
                                      "--export-all",
                                      "--enable=receive-pack",
                                      "--base-path=" + repositories.string()};
  return Server(
      [&](int port) {
        command.push_back("--port=" + std::to_string(port));
        return command;
      },
      folder / "daemon.log");
}

Authority::Authority(const fs::path& folder)
    : authority(folder / "authority.pem"),
      certificate(folder / "server.pem"),
      key(folder / "server.key") {
  const std::string new_key =
      "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 ";
  // The folder is the first parameter.
  const std::string script =
      new_key + "-subj '/CN=Test authority' -keyout \"$0/authority.key\" " +
      "-out \"$0/authority.pem\" && " + new_key +
      "-subj /CN=localhost -addext subjectAltName=DNS:localhost " +
      "-addext basicConstraints=critical,CA:FALSE -CA \"$0/authority.pem\" " +
      "-CAkey \"$0/authority.key\" -keyout \"$0/server.key\" -out \"$0/server.pem\"";
  run_or_throw({"sh", "-c", script, folder});
}

namespace {

// One process and no worker, so that it keeps its user, whose the repositories are.
std::string web_server_rules(const fs::path& folder, const fs::path& repositories,
                             const Authority& authority, int plain_port, int secure_port) {
  const std::string root = folder.string();
  std::ostringstream text;
  text << "daemon off; master_process off; pid " << root << "/pid; events {}\n"
       << "http { log_format users '$status $remote_user'; access_log " << root
       << "/access.log users; client_max_body_size 0;\n";
  for (const char* kind : {"client_body", "fastcgi", "proxy", "scgi", "uwsgi"}) {
    text << kind << "_temp_path " << root << "/" << kind << ";\n";
  }
  const std::pair<const char*, std::string> parameters[] = {
      {"SCRIPT_FILENAME", "/usr/lib/git-core/git-http-backend"},
      {"GIT_PROJECT_ROOT", repositories.string()},
      {"GIT_HTTP_EXPORT_ALL", "1"},
      {"PATH_INFO", "$uri"},
      {"QUERY_STRING", "$query_string"},
      {"REQUEST_METHOD", "$request_method"},
      {"CONTENT_TYPE", "$content_type"},
      {"CONTENT_LENGTH", "$content_length"},
      {"REMOTE_USER", "somebody"},  // who is let in may push
  };
  for (const auto& [name, value] : parameters) {
    text << "fastcgi_param " << name << " " << value << ";\n";
  }
  text << "ssl_certificate " << authority.certificate.string() << "; ssl_certificate_key "
       << authority.key.string() << ";\n";
  const std::string locations =
      "location /moved/ { rewrite ^/moved/(.*)$ /$1 redirect; }\n"
      "location / { fastcgi_pass unix:" +
      root + "/fastcgi; } }\n";
  text << "server { listen 127.0.0.1:" << plain_port << ";\n" << locations;
  text << "server { listen 127.0.0.1:" << secure_port << " ssl; auth_basic test;\n"
       << "auth_basic_user_file " << root << "/users;\n"
       << locations << "}\n";
  return text.str();
}

}  // namespace

WebServer::WebServer(const fs::path& folder, const fs::path& repositories,
                     const Authority& authority, std::string_view users)
    : folder_(folder),
      fastcgi_({"/usr/sbin/fcgiwrap", "-s", "unix:" + (folder / "fastcgi").string()},
               folder / "fastcgi.log"),
      server_(
          [&](int plain_port) {
            wait_for_fastcgi();
            close(listen_anywhere(&secure_port_));
            write_file(folder / "users", users);
            write_file(folder / "nginx.conf",
                       web_server_rules(folder, repositories, authority, plain_port, secure_port_));
            return std::vector<std::string>{"/usr/sbin/nginx", "-c", folder / "nginx.conf", "-e",
                                            folder / "nginx.log"};
          },
          folder / "nginx.log") {}

void WebServer::wait_for_fastcgi() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (folder_ / "fastcgi").string().copy(address.sun_path, sizeof address.sun_path - 1);
  if (!becomes_ready(fastcgi_, address)) throw std::runtime_error("fcgiwrap does not start.");
}

std::string WebServer::http(std::string_view path) const {
  return "http://localhost:" + std::to_string(server_.port()) + "/" + std::string(path);
}

std::string WebServer::https(std::string_view path) const {
  return "https://localhost:" + std::to_string(secure_port_) + "/" + std::string(path);
}

int WebServer::requests_with_user(int status) {
  server_.end();
  int count = 0;
  std::istringstream lines(read_file(folder_ / "access.log"));
  for (std::string found, user; lines >> found >> user;) {
    if (found == std::to_string(status) && user != "-") ++count;
  }
  return count;
}

namespace {

constexpr const char* kHostKeyTypes[] = {"ed25519", "ecdsa", "rsa"};

Server ssh_server(const fs::path& folder) {
  // sshd keeps to this folder of the system's when it runs as root, and its package makes the
  // folder only when the service starts.
  if (geteuid() == 0) fs::create_directory("/run/sshd");
  std::ostringstream text;
  for (const char* type : kHostKeyTypes) {
    const fs::path key = folder / (std::string("host_") + type);
    run_or_throw({"ssh-keygen", "-q", "-t", type, "-N", "", "-f", key});
    text << "HostKey " << key.string() << "\n";
  }
  text << "ListenAddress 127.0.0.1\nPidFile none\nUsePAM no\nStrictModes no\n"
       << "PasswordAuthentication no\nKbdInteractiveAuthentication no\n"
       << "PermitRootLogin prohibit-password\n"
       << "AuthorizedKeysFile " << (folder / "authorized_keys").string() << "\n";
  write_file(folder / "sshd_config", text.str());
  return Server(
      [&](int port) {
        return std::vector<std::string>{
            "/usr/sbin/sshd", "-D", "-e", "-f", folder / "sshd_config", "-p", std::to_string(port)};
      },
      folder / "sshd.log");
}

}  // namespace

SshServer::SshServer(const fs::path& folder) : folder_(folder), server_(ssh_server(folder)) {}

std::string SshServer::user() { return getpwuid(geteuid())->pw_name; }

std::string SshServer::url(const fs::path& repository, std::string_view user) const {
  const std::string prefix = user.empty() ? "" : std::string(user) + "@";
  return "ssh://" + prefix + "127.0.0.1:" + std::to_string(server_.port()) + repository.string();
}

fs::path SshServer::make_key(std::string_view type, std::string_view passphrase, bool is_let_in) {
  const fs::path key =
      folder_ / ("user_" + std::string(type) + (passphrase.empty() ? "" : "_locked") +
                 (is_let_in ? "" : "_stranger"));
  run_or_throw({"ssh-keygen", "-q", "-t", std::string(type), "-N", std::string(passphrase), "-f",
                key.string()});
  if (is_let_in) {
    const fs::path list = folder_ / "authorized_keys";
    const std::string before = fs::exists(list) ? read_file(list) : "";
    write_file(list, before + read_file(key.string() + ".pub"));
  }
  return key;
}

std::string SshServer::known_host(const std::vector<std::string>& types) const {
  std::string lines;
  for (const std::string& type : types) {
    lines += "[127.0.0.1]:" + std::to_string(server_.port()) + " " +
             read_file(folder_ / ("host_" + type + ".pub"));
  }
  return lines;
}

namespace {

// What comes in until there is a pause or the end.
std::string read_some(int connection, int pause_milliseconds) {
  std::string text;
  char buffer[16 << 10];
  pollfd waiting = {connection, POLLIN, 0};
  while (poll(&waiting, 1, pause_milliseconds) > 0) {
    const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
    if (got <= 0) break;
    text.append(buffer, static_cast<std::size_t>(got));
  }
  return text;
}

}  // namespace

FaultyServer::FaultyServer(std::string answer)
    : answer_(std::move(answer)),
      listener_(listen_anywhere(&port_)),
      thread_([this] { serve(); }) {}

FaultyServer::FaultyServer(int port_behind, std::size_t most_bytes)
    : port_behind_(port_behind),
      most_bytes_(most_bytes),
      listener_(listen_anywhere(&port_)),
      thread_([this] { serve(); }) {}

void FaultyServer::end() {
  if (!thread_.joinable()) return;
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

int FaultyServer::requests_with(std::string_view text) {
  end();
  return static_cast<int>(std::count_if(requests_.begin(), requests_.end(), [&](const auto& it) {
    return it.find(text) != std::string::npos;
  }));
}

void FaultyServer::serve() {
  for (int connection; (connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
    port_behind_ == 0 ? answer(connection) : pass_on(connection);
    close(connection);
  }
}

void FaultyServer::answer(int connection) {
  constexpr int pause = 100;
  requests_.push_back(read_some(connection, pause));
  send(connection, answer_.data(), answer_.size(), MSG_NOSIGNAL);
}

void FaultyServer::pass_on(int connection) {
  const int behind = connect_to(loopback(port_behind_));
  pollfd ends[] = {{connection, POLLIN, 0}, {behind, POLLIN, 0}};
  std::size_t room = most_bytes_;
  char buffer[4096];
  while (room > 0 && poll(ends, 2, -1) > 0) {
    const bool is_answer = ends[1].revents != 0;
    const int from = is_answer ? behind : connection;
    const ssize_t got =
        recv(from, buffer, is_answer ? std::min(room, sizeof buffer) : sizeof buffer, 0);
    if (got <= 0) break;
    send(is_answer ? connection : behind, buffer, static_cast<std::size_t>(got), MSG_NOSIGNAL);
    if (is_answer) room -= static_cast<std::size_t>(got);
  }
  close(behind);
}

}  // namespace uwugit::test
