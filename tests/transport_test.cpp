// Clone, fetch, pull and push against real servers, checked with git at both ends.
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <random>

#include "support/leaks.h"
#include "support/transfer_test.h"

namespace uwugit::test {
namespace {

constexpr char kUsers[] = "me:{PLAIN}secret\n";

class Transport : public Transfer {
 protected:
  // The code of a call that is just over, and what it logged.
  std::string with_log(const std::string& code) { return code + " " + logged(); }

  // The remote as a git daemon shows it, or what stands in front of one.
  template <class Listener>
  static std::string daemon_url(const Listener& server) {
    return "git://127.0.0.1:" + std::to_string(server.port()) + "/remote.git";
  }
};

// Proxies are not used, whatever the configuration says.
TEST_F(Transport, WorksOverEveryTransport) {
  git(sandbox_.root(), {"config", "--global", "http.proxy", "http://127.0.0.1:1"});
  const Authority authority(servers_);
  const WebServer web(servers_, bare_.parent_path(), authority, kUsers);
  const Server daemon = git_daemon(servers_, bare_.parent_path());
  SshServer ssh(servers_);
  write_file(known_hosts_, ssh.known_host({"ed25519", "ecdsa", "rsa"}));
  const std::string me = SshServer::user(), encoded = host_.passwords().encode("open");
  const Offer password = {"me", host_.passwords().encode("secret"), " ", " ", authority.authority};
  const std::pair<std::string, Offer> rows[] = {
      {bare_, {}},
      {"file://" + bare_.string(), {}},
      {daemon_url(daemon), {}},
      {web.http("remote.git"), {}},
      {web.http("moved/remote.git"), {}},
      {web.https("remote.git"), password},
      {ssh.url(bare_), Offer::key(me, ssh.make_key("ed25519"))},
      {ssh.url(bare_), Offer::key(me, ssh.make_key("ed25519", "open"), "open")},
      {ssh.url(bare_), Offer::key(me, ssh.make_key("ecdsa"))},
      {ssh.url(bare_), Offer::key(me, ssh.make_key("ecdsa", "open"), encoded)},
  };
  for (const auto& [url, offer] : rows) {
    SCOPED_TRACE(url + " " + offer.private_key);
    const LeaksOverSsh leaks(url);
    git(other_, {"pull", "--quiet"});
    EXPECT_EQ(with_log(clone(url, offer)), "0 ");
    const std::string theirs = commit_elsewhere(url + offer.private_key);
    EXPECT_EQ(with_log(transfer("do_fetch", offer)), "0 NOTE: Fetch successful!\n");
    EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), theirs);
    EXPECT_EQ(with_log(transfer("do_pull", offer)),
              "0 NOTE: Head has successfully been fastforwarded.\n");
    EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), theirs);
    const std::string ours = commit_here("mine", url + offer.private_key);
    EXPECT_EQ(with_log(transfer("do_push", offer)), "0 NOTE: Push successful!\n");
    EXPECT_EQ(remote_main(), ours);
    EXPECT_EQ(state(), git(work_, {"for-each-ref"}) + ours);
    git(bare_, {"fsck", "--strict"});
    fs::remove_all(work_);
  }
}

// Everything that keeps a caller out: its code and line, nothing changed, and the next call works.
TEST_F(Transport, LeavesEverythingAsItWasWhenItIsNotLetIn) {
  const Authority authority(servers_);
  fs::create_directory(servers_ / "other");
  const std::string trusted = authority.authority,
                    stranger = Authority(servers_ / "other").authority;
  const WebServer web(servers_, bare_.parent_path(), authority, kUsers);
  SshServer ssh(servers_);
  const std::string me = SshServer::user(), http = web.https("remote.git"), shell = ssh.url(bare_);
  const fs::path key = ssh.make_key("ed25519"), locked = ssh.make_key("ecdsa", "open");
  const Offer good = Offer::key(me, key);
  const std::string known = ssh.known_host({"ed25519"});
  const std::string changed = known.substr(0, known.find("ssh-")) + read_file(good.public_key);
  const std::string refused = "-3 ERROR: Failed to authenticate with the remote repository.\n";
  const std::string error = "ERROR: Return code from GIT is ";
  const std::string untrusted = error +
                                "(16). the SSL certificate is invalid: 0x08 - The certificate is "
                                "not correctly signed by the trusted CA\n";
  const std::string unread =
      error + "(16). failed to load CA certificates: 0xffffc200 - PK - Read/write of file failed\n";
  const std::string mechanism =
      "34 " + error + "(34). could not find appropriate mechanism for credentials\n";
  const std::string kind =
      "23 " + error + "(23). authentication callback returned unsupported credentials type\n";
  const std::string someone = "23 " + error + "(23). username does not match previous request\n";
  const std::string host = "23 " + error + "(23). invalid or unknown remote ssh hostkey\n";
  const std::string exchange =
      "23 " + error + "(23). failed to start SSH session: Unable to exchange encryption keys\n";
  const struct {
    const char* what;
    std::string url;
    Offer offer;
    std::string answer;
    std::string known_hosts;
  } rows[] = {
      {"wrong password", http, {"me", "wrong", " ", " ", trusted}, refused, ""},
      {"another authority", http, {"me", "secret", " ", " ", stranger}, "16 " + untrusted, ""},
      {"no certificate", http, {"me", "secret", " ", " ", "/none"}, "16 " + unread + untrusted, ""},
      {"a public key over HTTPS", http, {"me", "secret", "", "", trusted}, mechanism, ""},
      {"default credentials", http, {"me", "secret", " ", " ", trusted, 1}, mechanism, ""},
      {"a strange key", shell, Offer::key(me, ssh.make_key("ed25519", "", false)), refused, known},
      {"an RSA key", shell, Offer::key(me, ssh.make_key("rsa")), refused, known},
      {"a wrong phrase", shell, Offer::key(me, locked, "wrong"), refused, known},
      {"no private key", shell, {me, "", good.public_key, " "}, refused, known},
      {"a password over SSH", shell, {me, "secret"}, kind, known},
      {"no user in the URL", ssh.url(bare_, ""), good, kind, known},
      {"another user in the URL", ssh.url(bare_, "someone"), good, someone, known},
      {"another user", shell, Offer::key("someone", key), someone, known},
      {"an unknown host", shell, good, host, ""},
      {"a changed host key", shell, good, host, changed},
      {"RSA first", shell, good, exchange, ssh.known_host({"rsa", "ed25519"})},
  };
  clone_by_path();
  commit_elsewhere("second\n");
  commit_here("mine", "ours\n");
  const std::string before = state(), remote_before = remote_main();
  const fs::path kept = work_;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const LeaksOverSsh leaks(row.url);
    write_file(known_hosts_, row.known_hosts);
    set_origin(row.url);
    for (const char* function : {"do_fetch", "do_pull", "do_push"}) {
      EXPECT_EQ(with_log(transfer(function, row.offer)), row.answer) << function;
    }
    work_ = sandbox_.root() / "clone";
    EXPECT_EQ(with_log(clone(row.url, row.offer)), row.answer);
    EXPECT_FALSE(fs::exists(work_));
    work_ = kept;
    EXPECT_EQ(state(), before);
    EXPECT_EQ(remote_main(), remote_before);
  }
  write_file(known_hosts_, known);
  set_origin(http);
  EXPECT_EQ(transfer("do_fetch", {"me", "secret", " ", " ", trusted}), "0");
  EXPECT_EQ(transfer("do_fetch", {"me", "secret"}), "16") << "trust ends with the call";
  set_origin(shell);
  const LeaksOverSsh leaks(shell);
  EXPECT_EQ(transfer("do_pull", good), "0");
  EXPECT_EQ(host_.pools().counters().pools, 0u);
}

// libgit2 asks again whenever the server rejects what it got.
TEST_F(Transport, OffersARejectedPasswordOnce) {
  clone_by_path();
  FaultyServer never(
      "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n"
      "Content-Length: 0\r\nConnection: close\r\n\r\n");
  set_origin(never.http());
  EXPECT_EQ(answer("do_fetch", work_),
            "-1 ERROR: Credentials Required.\nERROR: No detailed error info available.\n$");
  EXPECT_EQ(transfer("do_fetch", {"me", "wrong"}), "-3");
  EXPECT_EQ(never.requests_with("Authorization: Basic"), 1);
}

// The server's word about the branch does not reach the caller.
TEST_F(Transport, PushAnswersSuccessForABranchThatTheServerRefuses) {
  const Server daemon = git_daemon(servers_, bare_.parent_path());
  clone_by_path();
  write_file(bare_ / "hooks/update", "#!/bin/sh\nexit 1\n");
  fs::permissions(bare_ / "hooks/update", fs::perms::owner_all);
  const std::string before = remote_main(), ours = commit_here("mine", "mine\n");
  set_origin(daemon_url(daemon));
  EXPECT_EQ(answer("do_push", work_), "0 NOTE: Push successful!\n$");
  EXPECT_EQ(remote_main(), before);
  EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), before) << "by which callers can tell";
  set_origin(bare_);
  EXPECT_EQ(code("do_push", work_), "0");
  EXPECT_EQ(remote_main(), ours) << "over a path no hook runs";

  fs::remove(bare_ / "hooks/update");
  commit_elsewhere("a history without ours\n");
  commit_here("mine", "more\n");
  EXPECT_EQ(answer("do_push", work_),
            "4 ERROR: Return code from GIT is (4). cannot push because a reference that you are "
            "trying to update on the remote contains commits that are not present locally.\n$");
}

TEST_F(Transport, GetsOverFaultyServersAndAFullDisk) {
  clone_by_path();
  std::string noise(1 << 20, '\0');  // does not compress
  std::generate(noise.begin(), noise.end(), std::minstd_rand());
  commit_here("mine", noise);
  const std::string before = state(), end = "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
  const std::string head =
      "HTTP/1.1 200 OK\r\nContent-Type: application/x-git-upload-pack-"
      "advertisement\r\nContent-Length: ";
  const std::pair<std::string, const char*> rows[] = {
      {"", "34"},
      {"garbage\r\n\r\n", "34"},
      {"HTTP/1.1 500 Oops" + end, "34"},
      {"HTTP/1.1 302 Found\r\nLocation: /again" + end, "34"},
      {"HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:1/" + end, "2"},
      {head + "20\r\n\r\n0123456789zzzzzzzzzz", "12"},
      {head + "100000\r\n\r\n001e# service=git-upload-pack\n0000", "34"},
  };
  for (const auto& [given, fetch] : rows) {
    SCOPED_TRACE(given);
    const FaultyServer server(given);
    set_origin(server.http());
    EXPECT_EQ(transfer("do_fetch"), fetch);
    EXPECT_EQ(transfer("do_pull"), fetch);
    EXPECT_NE(transfer("do_push"), "0");
    EXPECT_EQ(state(), before);
  }

  // A connection that ends at any place: within the list of references, the pack or the report.
  commit_elsewhere(noise);
  const Server daemon = git_daemon(servers_, bare_.parent_path());
  const std::size_t list =
      runner::run({"git", "receive-pack", "--advertise-refs", bare_.string()}).output.size();
  for (const std::size_t most : {0ul, 1ul, 100ul, list - 4, list, list + 10, 2000ul, 500000ul}) {
    SCOPED_TRACE(most);
    const FaultyServer server(daemon.port(), most);
    set_origin(daemon_url(server));
    EXPECT_EQ(transfer("do_pull"), "12");
    EXPECT_EQ(state(), before);
    if (most > list + 10) continue;  // enough for a push
    EXPECT_NE(transfer("do_push"), "0") << "a broken pipe ends neither the call nor the process";
  }

  // As on a full disk: writing beyond a limit fails.
  set_origin(daemon_url(daemon));
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit low = {256 << 10, limit.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &low);
  const std::string answered = answer("do_pull", work_);
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, handler);
  EXPECT_PRED2(starts_with, answered, "2 ERROR: Return code from GIT is (2). ");
  EXPECT_EQ(state(), before);
  EXPECT_EQ(code("do_pull", work_), "0");
}

}  // namespace
}  // namespace uwugit::test
