#include "servers.h"

#include <arpa/inet.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "sandbox.h"

namespace uwugit::test {
namespace {

constexpr char kScript[] = UWUGIT_SOURCE_FOLDER "/tests/support/servers.sh";

// A socket, and the address of a port on the loopback interface.
struct Socket {
  explicit Socket(int port) {
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  }
  sockaddr* any() { return reinterpret_cast<sockaddr*>(&address); }

  int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  socklen_t size = sizeof address;
};

}  // namespace

Servers::Servers(const fs::path& folder, const fs::path& repositories, std::string_view users)
    : folder_(folder) {
  write_file(folder / "users", users);
  // The script ends with this process too, if that ends without a word.
  std::string command = "exec setpriv --pdeathsig TERM";
  for (const std::string& word : {std::string(kScript), folder.string(), repositories.string()}) {
    command += " '" + word + "'";
  }
  script_ = popen(command.c_str(), "re");
  if (!script_ || std::fscanf(script_, "%d %d %d %d %d", &process_, &ports_["http"],
                              &ports_["https"], &ports_["ssh"], &ports_["git"]) != 5) {
    throw std::runtime_error("The servers do not start:\n" + read_file(folder / "servers.log"));
  }
}

Servers::~Servers() {
  kill(process_, SIGTERM);
  pclose(script_);
}

std::string Servers::url(const std::string& scheme, const std::string& path,
                         const std::string& user) const {
  return scheme + "://" + user + (user.empty() ? "" : "@") +
         "localhost:" + std::to_string(port(scheme)) + path;
}

FaultyServer::FaultyServer(Fault fault) : fault_(std::move(fault)) {
  Socket anywhere(0);
  bind(anywhere.descriptor, anywhere.any(), anywhere.size);
  if (listen(anywhere.descriptor, SOMAXCONN) != 0) throw std::runtime_error("No port can be had.");
  getsockname(anywhere.descriptor, anywhere.any(), &anywhere.size);
  listener_ = anywhere.descriptor;
  port_ = ntohs(anywhere.address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

std::string FaultyServer::url(const std::string& scheme, const std::string& path) const {
  return scheme + "://localhost:" + std::to_string(port_) + path;
}

std::string FaultyServer::end() {
  if (thread_.joinable()) {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }
  return requests_;
}

void FaultyServer::serve() {
  for (int connection; (connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
    fault_.port_behind == 0 ? answer(connection) : pass_on(connection);
    close(connection);
  }
}

void FaultyServer::answer(int connection) {
  std::string head;
  for (char c; !head.ends_with("\r\n\r\n") && recv(connection, &c, 1, 0) == 1;) head += c;
  requests_ += head;
  send(connection, fault_.answer.data(), fault_.answer.size(), MSG_NOSIGNAL | MSG_MORE);
}

void FaultyServer::pass_on(int connection) {
  Socket behind(fault_.port_behind);
  connect(behind.descriptor, behind.any(), behind.size);
  pollfd ends[] = {{connection, POLLIN, 0}, {behind.descriptor, POLLIN, 0}};
  std::size_t room = fault_.most_bytes;
  char buffer[4096];
  while (room > 0 && poll(ends, 2, -1) > 0) {
    const bool is_answer = ends[1].revents != 0;
    const ssize_t got = recv(ends[is_answer].fd, buffer,
                             is_answer ? std::min(room, sizeof buffer) : sizeof buffer, 0);
    if (got <= 0) break;
    if (is_answer) room -= static_cast<std::size_t>(got);
    send(ends[!is_answer].fd, buffer, static_cast<std::size_t>(got),
         room > 0 ? MSG_NOSIGNAL : MSG_NOSIGNAL | MSG_MORE);
  }
  close(behind.descriptor);
}

}  // namespace uwugit::test
