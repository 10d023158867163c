// Clone, fetch, pull and push against real servers, checked with git at both ends.
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <random>

#include "support/leaks.h"
#include "support/transfer_test.h"

namespace uwugit::test {
namespace {

using Transport = Transfer;

constexpr char kRefused[] = "ERROR: Failed to authenticate with the remote repository.\n";
constexpr char kUntrusted[] =
    "ERROR: Return code from GIT is (16). the SSL certificate is invalid: 0x08 - The certificate "
    "is not correctly signed by the trusted CA\n";
constexpr char kUnknownHost[] =
    "ERROR: Return code from GIT is (23). invalid or unknown remote ssh hostkey\n";
constexpr char kUnsupportedKind[] =
    "ERROR: Return code from GIT is (23). authentication callback returned unsupported credentials "
    "type\n";
constexpr char kOtherUser[] =
    "ERROR: Return code from GIT is (23). username does not match previous request\n";

// Proxies are not used, whatever the environment and the configuration say.
TEST_F(Transport, WorksOverEveryTransport) {
  const char* const proxy = "http://127.0.0.1:1";
  for (const char* name : {"http_proxy", "https_proxy"}) setenv(name, proxy, 1);
  git(sandbox_.root(), {"config", "--global", "http.proxy", proxy});
  const Authority authority(servers_);
  const WebServer web(servers_, bare_.parent_path(), authority, "me:{PLAIN}secret\n");
  const Server daemon = git_daemon(servers_, bare_.parent_path());
  SshServer ssh(servers_);
  write_file(known_hosts_, ssh.known_host({"ed25519", "ecdsa", "rsa"}));
  const std::string me = SshServer::user();
  const Offer password = {"me", host_.passwords().encode("secret"), " ", " ", authority.authority};
  const struct {
    std::string url;
    Offer offer;
  } rows[] = {
      {bare_, {}},
      {"file://" + bare_.string(), {}},
      {"git://127.0.0.1:" + std::to_string(daemon.port()) + "/remote.git", {}},
      {web.http("remote.git"), {}},
      {web.http("moved/remote.git"), {}},
      {web.https("remote.git"), password},
      {ssh.url(bare_), Offer::key(me, ssh.make_key("ed25519"))},
      {ssh.url(bare_), Offer::key(me, ssh.make_key("ecdsa"))},
      {ssh.url(bare_), Offer::key(me, ssh.make_key("ed25519", "open"), "open")},
      {ssh.url(bare_),
       Offer::key(me, ssh.make_key("ecdsa", "open"), host_.passwords().encode("open"))},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.url + " " + row.offer.private_key);
    const LeaksOverSsh leaks(row.url);
    git(other_, {"pull", "--quiet"});
    EXPECT_EQ(clone(row.url, row.offer), "0");
    EXPECT_EQ(logged(), "");
    const std::string theirs = commit_elsewhere(row.url + row.offer.private_key);
    EXPECT_EQ(transfer("do_fetch", row.offer), "0");
    EXPECT_EQ(logged(), "NOTE: Fetch successful!\n");
    EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), theirs);
    EXPECT_EQ(transfer("do_pull", row.offer), "0");
    EXPECT_EQ(logged(), "NOTE: Head has successfully been fastforwarded.\n");
    EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), theirs);
    const std::string ours = commit_here("mine", row.url + row.offer.private_key);
    EXPECT_EQ(transfer("do_push", row.offer), "0");
    EXPECT_EQ(logged(), "NOTE: Push successful!\n");
    EXPECT_EQ(remote_main(), ours);
    EXPECT_EQ(state(), git(work_, {"for-each-ref"}) + ours);
    git(bare_, {"fsck", "--strict"});
    fs::remove_all(work_);
  }
  for (const char* name : {"http_proxy", "https_proxy"}) unsetenv(name);
}

// Everything that keeps a caller out: its code and line, nothing changed, and the next call works.
TEST_F(Transport, LeavesEverythingAsItWasWhenItIsNotLetIn) {
  const Authority authority(servers_);
  fs::create_directory(servers_ / "other");
  const Authority stranger(servers_ / "other");
  const WebServer web(servers_, bare_.parent_path(), authority, "me:{PLAIN}secret\n");
  SshServer ssh(servers_);
  const std::string me = SshServer::user(), http = web.https("remote.git"), shell = ssh.url(bare_);
  const fs::path ed25519 = ssh.make_key("ed25519");
  const Offer good = Offer::key(me, ed25519);
  const std::string known = ssh.known_host({"ed25519"});
  const std::string changed =
      known.substr(0, known.find("ssh-")) + read_file(ed25519.string() + ".pub");
  const auto with = [&](std::string user, std::string password, std::string certificate) {
    return Offer{std::move(user), std::move(password), " ", " ", std::move(certificate)};
  };
  const std::string trusted = authority.authority;
  const struct {
    const char* what;
    std::string url;
    Offer offer;
    std::string known_hosts;
    const char* code;
    std::string log;
  } rows[] = {
      {"wrong password", http, with("me", "wrong", trusted), "", "-3", kRefused},
      {"unknown user", http, with("you", "secret", trusted), "", "-3", kRefused},
      {"no certificate file", http, with("me", "secret", " "), "", "16", kUntrusted},
      {"another authority", http, with("me", "secret", stranger.authority), "", "16", kUntrusted},
      {"no such certificate file", http, with("me", "secret", "/none"), "", "16",
       "ERROR: Return code from GIT is (16). failed to load CA certificates: 0xffffc200 - PK - "
       "Read/write of file failed\n" +
           std::string(kUntrusted)},
      {"a public key over HTTPS",
       http,
       {"me", "secret", "", "", trusted},
       "",
       "34",
       "ERROR: Return code from GIT is (34). could not find appropriate mechanism for "
       "credentials\n"},
      {"default credentials where a password is asked for",
       http,
       {"me", "secret", " ", " ", trusted, 1},
       "",
       "34",
       "ERROR: Return code from GIT is (34). could not find appropriate mechanism for "
       "credentials\n"},
      {"a key that is not let in", shell, Offer::key(me, ssh.make_key("ed25519", "", false)), known,
       "-3", kRefused},
      {"an RSA key", shell, Offer::key(me, ssh.make_key("rsa")), known, "-3", kRefused},
      {"a wrong passphrase", shell, Offer::key(me, ssh.make_key("ecdsa", "open"), "wrong"), known,
       "-3", kRefused},
      {"no private key", shell, {me, "", good.public_key, " "}, known, "-3", kRefused},
      {"a password over SSH", shell, with(me, "secret", " "), known, "23", kUnsupportedKind},
      {"no user in the URL", ssh.url(bare_, ""), good, known, "23", kUnsupportedKind},
      {"another user in the URL", ssh.url(bare_, "someone"), good, known, "23", kOtherUser},
      {"another user as argument", shell, Offer::key("someone", ed25519), known, "23", kOtherUser},
      {"an unknown host", shell, good, "", "23", kUnknownHost},
      {"a changed host key", shell, good, changed, "23", kUnknownHost},
      {"an RSA line first", shell, good, ssh.known_host({"rsa", "ed25519"}), "23",
       "ERROR: Return code from GIT is (23). failed to start SSH session: Unable to exchange "
       "encryption keys\n"},
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
      EXPECT_EQ(transfer(function, row.offer), row.code) << function;
      EXPECT_EQ(logged(), row.log) << function;
    }
    work_ = sandbox_.root() / "clone";
    EXPECT_EQ(clone(row.url, row.offer), row.code);
    EXPECT_EQ(logged(), row.log);
    EXPECT_FALSE(fs::exists(work_));
    work_ = kept;
    EXPECT_EQ(state(), before);
    EXPECT_EQ(remote_main(), remote_before);
  }
  write_file(known_hosts_, known);
  set_origin(http);
  EXPECT_EQ(transfer("do_fetch", with("me", "secret", trusted)), "0");
  EXPECT_EQ(transfer("do_fetch", with("me", "secret", " ")), "16") << "trust ends with the call";
  set_origin(shell);
  const LeaksOverSsh leaks(shell);
  EXPECT_EQ(transfer("do_pull", good), "0");
  EXPECT_EQ(transfer("do_push", good), "0");
  EXPECT_EQ(host_.pools().counters().pools, 0u);
}

// libgit2 asks again whenever the server rejects what it got.
TEST_F(Transport, OffersARejectedPasswordOnce) {
  clone_by_path();
  const Authority authority(servers_);
  WebServer web(servers_, bare_.parent_path(), authority, "me:{PLAIN}secret\n");
  set_origin(web.https("remote.git"));
  EXPECT_EQ(transfer("do_pull", {"me", "wrong", " ", " ", authority.authority}), "-3");
  EXPECT_EQ(web.requests_with_user(401), 1);
  EXPECT_EQ(web.requests_with_user(200), 0);

  FaultyServer never(
      "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n"
      "Content-Length: 0\r\nConnection: close\r\n\r\n");
  set_origin(never.http());
  EXPECT_EQ(code("do_fetch", work_), "-1");
  EXPECT_EQ(logged(),
            "ERROR: Failed to authenticate with the remote repository.\n"
            "ERROR: Credentials Required.\nERROR: No detailed error info available.\n");
  EXPECT_EQ(transfer("do_fetch", {"me", "wrong"}), "-3");
  EXPECT_EQ(never.requests_with("Authorization: Basic"), 1);
}

// The server's word about the branch does not reach the caller.
TEST_F(Transport, PushAnswersSuccessForABranchThatTheServerRefuses) {
  const Server daemon = git_daemon(servers_, bare_.parent_path());
  clone_by_path();
  write_file(bare_ / "hooks/update", "#!/bin/sh\nexit 1\n");
  fs::permissions(bare_ / "hooks/update", fs::perms::owner_all);
  const std::string before = remote_main();
  const std::string ours = commit_here("mine", "mine\n");
  set_origin("git://127.0.0.1:" + std::to_string(daemon.port()) + "/remote.git");
  EXPECT_EQ(code("do_push", work_), "0");
  EXPECT_EQ(logged(), "NOTE: Push successful!\n");
  EXPECT_EQ(remote_main(), before);
  EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), before) << "by which callers can tell";
  set_origin(bare_);
  EXPECT_EQ(code("do_push", work_), "0");
  EXPECT_EQ(remote_main(), ours) << "over a path no hook runs";

  fs::remove(bare_ / "hooks/update");
  commit_elsewhere("a history without ours\n");
  commit_here("mine", "more\n");
  logged();
  EXPECT_EQ(code("do_push", work_), "4");
  EXPECT_EQ(logged(),
            "ERROR: Return code from GIT is (4). cannot push because a reference that you are "
            "trying to update on the remote contains commits that are not present locally.\n");
}

TEST_F(Transport, GetsOverFaultyServers) {
  clone_by_path();
  const std::string ours = commit_here("mine", "mine\n"), before = state();
  const std::string head =
      "HTTP/1.1 200 OK\r\nContent-Type: application/x-git-upload-pack-"
      "advertisement\r\nContent-Length: ";
  const std::string redirect = "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nConnection: close\r\n";
  const struct {
    std::string answer;
    const char* fetch;
  } rows[] = {
      {"", "34"},
      {"garbage\r\n\r\n", "34"},
      {"HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n", "34"},
      {redirect + "Location: /again\r\n\r\n", "34"},
      {redirect + "Location: http://127.0.0.1:1/\r\n\r\n", "2"},
      {head + "20\r\n\r\n0123456789zzzzzzzzzz", "12"},
      {head + "100000\r\n\r\n001e# service=git-upload-pack\n0000", "34"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.answer);
    const FaultyServer server(row.answer);
    set_origin(server.http());
    EXPECT_EQ(transfer("do_fetch"), row.fetch);
    EXPECT_EQ(transfer("do_pull"), row.fetch);
    EXPECT_NE(transfer("do_push"), "0");
    EXPECT_EQ(state(), before);
  }

  // A connection that ends at any place: within the list of references, the pack or the report.
  std::string noise(1 << 20, '\0');
  std::generate(noise.begin(), noise.end(), std::minstd_rand());
  commit_elsewhere(noise);
  commit_here("mine", noise);
  const std::string more = state();
  const Server daemon = git_daemon(servers_, bare_.parent_path());
  const std::string advertised =
      runner::run({"git", "receive-pack", "--advertise-refs", bare_.string()}).output;
  for (const std::size_t most :
       {std::size_t{0}, std::size_t{1}, std::size_t{100}, advertised.size() - 4, advertised.size(),
        advertised.size() + 10}) {
    SCOPED_TRACE(most);
    const FaultyServer server(daemon.port(), most);
    set_origin("git://127.0.0.1:" + std::to_string(server.port()) + "/remote.git");
    EXPECT_NE(transfer("do_push"), "0") << "a broken pipe ends neither the call nor the process";
    EXPECT_EQ(transfer("do_pull"), "12");
    EXPECT_EQ(state(), more);
  }
  for (const std::size_t most : {std::size_t{2000}, std::size_t{500000}}) {
    const FaultyServer server(daemon.port(), most);
    set_origin("git://127.0.0.1:" + std::to_string(server.port()) + "/remote.git");
    EXPECT_EQ(transfer("do_pull"), "12") << most;
    EXPECT_EQ(state(), more);
  }
  set_origin(bare_);
  EXPECT_EQ(transfer("do_fetch"), "0");
}

// As on a full disk: writing beyond a limit fails.
TEST_F(Transport, GetsOverADiskThatTakesNoMore) {
  clone_by_path();
  std::string noise(1 << 20, '\0');
  std::generate(noise.begin(), noise.end(), std::minstd_rand());
  commit_elsewhere(noise);
  const Server daemon = git_daemon(servers_, bare_.parent_path());
  set_origin("git://127.0.0.1:" + std::to_string(daemon.port()) + "/remote.git");
  const std::string before = state();
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit low = {256 << 10, limit.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &low);
  const std::string answer = code("do_pull", work_);
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(answer, "2");
  EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is (2). "));
  EXPECT_EQ(state(), before);
  EXPECT_EQ(code("do_pull", work_), "0");
}

}  // namespace
}  // namespace uwugit::test
