// Clone, fetch, pull and push against real servers, checked with git at both ends, and against
// faulty ones. What happens on one machine is told in tests/programs/transfer.lua.
#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <sstream>

#include "support/leaks.h"
#include "support/transfer_test.h"

namespace uwugit::test {
namespace {

// A row of transport.txt, which tells what its words mean, and what is answered to it.
struct Row {
  std::string line, answer;
  std::vector<std::string> words;
};

std::vector<Row> rows(bool are_refused) {
  std::vector<Row> found;
  std::string answer;
  std::ifstream file(UWUGIT_SOURCE_FOLDER "/tests/transport.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("= ")) answer = line.substr(2);
    if (line.empty() || line[0] == '#' || line[0] == '=' || answer.empty() == are_refused) continue;
    std::istringstream words(line);
    found.push_back({line, answer, {std::istream_iterator<std::string>(words), {}}});
  }
  return found;
}

class Transport : public Transfer {
 protected:
  Transport() {
    const std::string known = read_file(all_.file("known_ed25519"));
    write_file(all_.file("none"), "");
    write_file(all_.file("known_changed"),
               known.substr(0, known.find("ssh-")) + read_file(all_.file("user_ed25519.pub")));
  }

  host::Value value(const std::string& word) {
    if (word == "_") return " ";
    if (word == ".") return "";
    if (word == "USER") return me();
    if (word == "SECRET" || word == "OPEN") {
      return host_.passwords().encode(word == "OPEN" ? "open" : "secret");
    }
    char* end;
    const double number = std::strtod(word.c_str(), &end);
    if (*end == '\0') return number;
    return fs::exists(all_.file(word)) ? all_.file(word).string() : word;
  }

  std::string url(const std::string& server) {
    if (server == "path") return bare_;
    if (server == "file") return "file://" + bare_.string();
    const std::string scheme = server.substr(0, server.find(':'));
    const std::string rest = server.substr(std::min(scheme.size() + 1, server.size()));
    if (scheme == "ssh") return all_.url(scheme, bare_, rest == "USER" ? me() : rest);
    return all_.url(scheme, rest + "/remote.git");
  }

  // What a function answers, logs and shows to a server that rejects everything.
  std::string call(const char* function, const Row& row) {
    const LeaksOverSsh leaks(row.words[0]);
    FaultyServer rejecting({.answer = "HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n"
                                      "WWW-Authenticate: Basic realm=\"x\"\r\n"
                                      "Connection: close\r\n\r\n"});
    Offer offer;
    hide_function("");
    for (const std::string& word : std::span(row.words).subspan(2)) {
      if (!word.starts_with("-git_")) offer.push_back(value(word));
      if (word.starts_with("-git_")) hide_function(word.substr(1));
    }
    write_file(known_hosts_, read_file(all_.file(row.words[1])));
    const bool is_rejected = row.words[0] == "rejecting";
    std::string text =
        transfer(function, is_rejected ? rejecting.url("http") : url(row.words[0]), offer);
    std::istringstream heads(rejecting.end());
    for (std::string line; std::getline(heads, line);) {
      if (line.starts_with("Authorization: ")) text += line.replace(line.size() - 1, 1, "\n");
    }
    std::replace(text.begin(), text.end(), '\n', '|');
    return text;
  }

  Servers all_{servers_, bare_.parent_path()};
};

// Proxies are not used, whatever the configuration and the environment say.
TEST_F(Transport, WorksOverEveryTransport) {
  git(sandbox_.root(), {"config", "--global", "http.proxy", "http://127.0.0.1:1"});
  for (const char* variable : {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY"}) {
    setenv(variable, "http://127.0.0.1:1", 1);
  }
  work_ = cloned_;
  for (const Row& row : rows(false)) {
    SCOPED_TRACE(row.line);
    git(other_, {"pull", "--quiet"});
    EXPECT_EQ(call("do_clone", row), "0 ");
    const std::string theirs = commit_elsewhere(row.line + "theirs");
    EXPECT_EQ(call("do_fetch", row), "0 NOTE: Fetch successful!|");
    EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), theirs);
    EXPECT_EQ(call("do_pull", row), "0 NOTE: Head has successfully been fastforwarded.|");
    EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), theirs);
    const std::string ours = commit_here("mine", row.line);
    EXPECT_EQ(call("do_push", row), "0 NOTE: Push successful!|");
    EXPECT_EQ(remote_main(), ours);
    EXPECT_EQ(state(), git(work_, {"for-each-ref"}) + ours);
    git(bare_, {"fsck", "--strict"});
    fs::remove_all(work_);
  }
}

// Everything that keeps a caller out: its answer, nothing changed, and the next call works.
TEST_F(Transport, LeavesEverythingAsItWasWhenItIsNotLetIn) {
  clone_by_path();
  commit_elsewhere("second\n");
  commit_here("mine", "ours\n");
  const std::string before = state(), remote_before = remote_main();
  for (const Row& row : rows(true)) {
    for (const char* function : kFunctions) {
      EXPECT_PRED2(is_like, call(function, row), row.answer) << function << " " << row.line;
    }
    EXPECT_FALSE(fs::exists(cloned_)) << row.line;
    EXPECT_EQ(state(), before) << row.line;
    EXPECT_EQ(remote_main(), remote_before) << row.line;
  }
  for (const Row& row : rows(false)) EXPECT_PRED2(starts_with, call("do_fetch", row), "0 ");
  EXPECT_EQ(host_.pools().counters().pools, 0u);
}

TEST_F(Transport, PushTellsTheServersWordsForABranchThatItRefuses) {
  clone_by_path();
  write_file(bare_ / "hooks/update", "#!/bin/sh\nexit 1\n");
  fs::permissions(bare_ / "hooks/update", fs::perms::owner_all);
  const std::string before = remote_main();
  commit_here("mine", "mine\n");
  const std::string url = all_.url("git", "/remote.git");
  EXPECT_EQ(
      transfer("do_push", url),
      "4 ERROR: Return code from GIT is (4). the server refused refs/heads/main: hook declined\n");
  EXPECT_EQ(remote_main(), before);
  EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), before);
}

class FaultyTransport : public Transfer {
 protected:
  FaultyTransport() : noise_(1 << 20, '\0') {  // does not compress
    std::generate(noise_.begin(), noise_.end(), std::minstd_rand());
    clone_by_path();
    commit_here("mine", noise_);
    before_ = state();
  }

  std::string noise_;
  std::string before_;
};

TEST_F(FaultyTransport, GetsOverAnyAnswer) {
  const std::string end = "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n",
                    list =
                        "HTTP/1.1 200 OK\r\nContent-Type: application/x-git-upload-pack-"
                        "advertisement\r\nContent-Length: ";
  const std::pair<std::string, const char*> rows[] = {
      {"", "34 "},
      {"garbage\r\n\r\n", "34 "},
      {"HTTP/1.1 500 Oops" + end, "34 "},
      {"HTTP/1.1 302 Found\r\nLocation: /again" + end, "34 "},
      {"HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:1/" + end, "2 "},
      {list + "20\r\n\r\n0123456789zzzzzzzzzz", "12 "},
      {list + "100000\r\n\r\n001e# service=git-upload-pack\n0000", "34 "},
  };
  for (auto [given, code] : rows) {
    for (const std::string function : kFunctions) {
      const std::size_t service = given.find("upload-pack");
      if (function == "do_push" && service < given.size()) given.replace(service, 6, "receive");
      EXPECT_PRED2(starts_with, transfer(function, FaultyServer({given}).url("http")), code)
          << function << given;
    }
    EXPECT_EQ(state(), before_);
  }
}

// Within the list of references, the pack or the report.
TEST_F(FaultyTransport, GetsOverConnectionsThatEndAnywhere) {
  const Servers servers(servers_, bare_.parent_path());
  const auto transfer_cut = [&](const char* function, std::size_t most) {
    const FaultyServer server({.port_behind = servers.port("git"), .most_bytes = most});
    return transfer(function, server.url("git", "/remote.git"));
  };
  const std::size_t list =
      runner::run({"git", "receive-pack", "--advertise-refs", bare_.string()}).output.size();
  for (const std::size_t most : {0ul, 1ul, 100ul, list - 4, list, list + 10}) {
    EXPECT_PRED2(starts_with, transfer_cut("do_push", most), "12 ") << most;
    EXPECT_EQ(state(), before_);
  }
  commit_elsewhere(noise_);
  for (const std::size_t most : {0ul, 1ul, 100ul, list - 4, list, list + 10, 2000ul, 500000ul}) {
    for (const char* function : {"do_clone", "do_fetch", "do_pull"}) {
      EXPECT_PRED2(starts_with, transfer_cut(function, most), "12 ") << function << most;
    }
    EXPECT_EQ(state(), before_);
  }
}

// What follows the server's list of references meets a closed connection. The system's signal for
// that would end the process; one that was held before the call is still the host's.
TEST_F(FaultyTransport, OutlivesAServerThatHangsUp) {
  sigset_t pipe, mask, pending;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  std::size_t calls = 0;
  for (const std::string function : {"do_push", "do_clone", "do_fetch", "do_pull", "do_fetch"}) {
    const bool is_held = ++calls == 5;
    const bool is_push = calls == 1;
    if (is_held) sigprocmask(SIG_BLOCK, &pipe, nullptr);
    if (is_held) raise(SIGPIPE);
    if (!is_push) commit_elsewhere(std::to_string(calls));
    const std::string service = is_push ? "receive-pack" : "upload-pack";
    std::string list = is_push ? "001f" : "001e";
    list += "# service=git-" + service + "\n0000";
    list += runner::run({"git", service, "--stateless-rpc", "--advertise-refs", bare_}).output;
    const FaultyServer server({.answer = "HTTP/1.1 200 OK\r\nContent-Type: application/x-git-" +
                                         service + "-advertisement\r\nContent-Length: " +
                                         std::to_string(list.size()) + "\r\n\r\n" + list});
    EXPECT_PRED2(is_like, transfer(function, server.url("http")),
                 "12 ERROR: Return code from GIT is (12). error *: Broken pipe\n");
    EXPECT_EQ(state(), before_);
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    sigpending(&pending);
    EXPECT_EQ(sigismember(&mask, SIGPIPE), is_held) << calls;
    EXPECT_EQ(sigismember(&pending, SIGPIPE), is_held) << calls;
  }
}

}  // namespace
}  // namespace uwugit::test
