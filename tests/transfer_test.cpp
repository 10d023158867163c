// Clone, fetch, pull and push against real servers, checked with git at both ends.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <random>

#include "process.h"
#include "support/leaks.h"
#include "support/module_test.h"
#include "support/servers.h"

namespace uwugit::test {
namespace {

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

// What a call offers: user, password, public key, private key and certificate file.
struct Offer {
  std::string user = " ", password = " ", public_key = " ", private_key = " ", certificate = " ";
  double uses_default = 0;

  static Offer key(const std::string& user, const fs::path& file, const std::string& phrase = "") {
    return {user, phrase, file.string() + ".pub", file, " "};
  }
};

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
  void set_origin(const std::string& url) { git(work_, {"remote", "set-url", "origin", url}); }
  std::string remote_main() { return git(bare_, {"rev-parse", "main"}); }

  // Calls do_fetch, do_pull or do_push.
  std::string transfer(const std::string& function, const Offer& offer = {}) {
    if (function == "do_fetch") {
      return code(function, work_, offer.user, offer.password, offer.public_key, offer.private_key,
                  " ", offer.certificate, offer.uses_default);
    }
    return code(function, work_, offer.user, offer.password, offer.public_key, offer.private_key,
                offer.certificate, offer.uses_default);
  }
  std::string clone(const std::string& url, const Offer& offer = {}) {
    return code("do_clone", url, work_, offer.user, offer.password, offer.public_key,
                offer.private_key, offer.certificate, offer.uses_default);
  }

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
  fs::path known_hosts_ = sandbox_.root() / "home/.ssh/known_hosts";
};

TEST_F(Transfer, WorksOverEveryTransport) {
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
}

// Everything that keeps a caller out: its code and line, nothing changed, and the next call works.
TEST_F(Transfer, LeavesEverythingAsItWasWhenItIsNotLetIn) {
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
      {"no such repository", ssh.url(bare_.string() + "x"), good, known, "23",
       "ERROR: Return code from GIT is (23). fatal: '" + bare_.string() +
           "x' does not appear to be a git repository\n\n"},
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
TEST_F(Transfer, OffersARejectedPasswordOnce) {
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

TEST_F(Transfer, PullsWhateverArrived) {
  clone_by_path();
  EXPECT_EQ(code("do_pull", work_), "1");
  EXPECT_EQ(logged(), "NOTE: Repository is already up-to-date.\n");

  const std::string theirs = commit_elsewhere("second\n");
  const std::string ours = commit_here("mine", "mine\n");
  write_file(work_ / "file", "not committed\n");
  const std::string before = state();
  EXPECT_EQ(code("do_pull", work_), "-1");
  EXPECT_EQ(logged(),
            "ERROR: Return code from GIT is (22). 1 uncommitted change would be overwritten by "
            "merge\n");
  git(work_, {"update-ref", "refs/remotes/origin/main", "main~"});
  EXPECT_EQ(state(), before);
  git(work_, {"checkout", "--quiet", "file"});
  EXPECT_EQ(code("do_pull", work_), "0");
  EXPECT_EQ(logged(), "NOTE: Merge 'FETCH_HEAD' into current branch 'main' successful.\n");
  EXPECT_EQ(git(work_, {"log", "-1", "--format=%s|%P|%an|%ae|%cn|%ce"}),
            "Merge 'FETCH_HEAD' into branch main|" + ours + " " + theirs +
                "|Merge|No Email|Merge|No Email");
  EXPECT_EQ(read_file(work_ / "file"), "second\n");
  EXPECT_EQ(code("do_push", work_), "0");

  commit_elsewhere("theirs\n");  // a history without the merge: the remote was force-pushed
  commit_here("file", "ours\n");
  const std::string head = git(work_, {"rev-parse", "HEAD"});
  logged();
  EXPECT_EQ(code("do_pull", work_), "-2");
  EXPECT_EQ(logged(), "NOTE: Conflict in file: file\n");
  EXPECT_EQ(read_file(work_ / "file"), "<<<<<<< Local\nours\n=======\ntheirs\n>>>>>>> Remote\n");
  EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), head);
  state();  // no merge is in progress
  // What is committed now has one parent, so the same conflict comes back…
  commit_here("file", "both\n");
  EXPECT_EQ(code("do_pull", work_), "-2");
  // …until our side says what theirs says.
  commit_here("file", "theirs\n");
  EXPECT_EQ(code("do_pull", work_), "0");
  commit_here("file", "both\n");
  EXPECT_EQ(code("do_push", work_), "0");
  EXPECT_EQ(remote_main(), git(work_, {"rev-parse", "HEAD"}));
}

// Where a pull has nothing to merge or nowhere to put it: code and line.
TEST_F(Transfer, PullsAndPushesFromAnyHead) {
  clone_by_path();
  EXPECT_EQ(code("do_fetch", work_), "0");  // leaves a FETCH_HEAD that must not be taken again
  commit_elsewhere("second\n");
  const struct {
    std::vector<std::string> setup;
    const char* pull;
    const char* push;
    const char* log;
  } rows[] = {
      {{"switch", "--quiet", "--create", "only-here"}, "0", "0", "NOTE: Push successful!\n"},
      {{"checkout", "--quiet", "--detach"},
       "0",
       "3",
       "ERROR: Return code from GIT is (3). not a valid reference 'HEAD'\n"},
      {{"switch", "--quiet", "--orphan", "unborn"},
       "unchanged",
       "unchanged",
       "ERROR: Return code from GIT is (4). reference 'refs/heads/unborn' not found\n"},
      {{"remote", "remove", "origin"},
       "unchanged",
       "unchanged",
       "ERROR: Return code from GIT is (7). remote 'origin' does not exist\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.setup.back());
    git(work_, row.setup);
    const std::string before = git(work_, {"log", "--format=%H", "--branches"});
    EXPECT_EQ(code("do_pull", work_), row.pull);
    logged();
    EXPECT_EQ(git(work_, {"log", "--format=%H", "--branches"}), before);
    EXPECT_EQ(code("do_push", work_), row.push);
    EXPECT_EQ(logged(), row.log);
  }
  EXPECT_EQ(code("do_fetch", work_), "unchanged");
  for (const char* function : {"do_fetch", "do_pull", "do_push"}) {
    logged();
    EXPECT_EQ(code(function, sandbox_.root()), "-1");
    EXPECT_EQ(logged(), "ERROR: An error occurred while opening local repository '" +
                            sandbox_.root().string() + "'.\n");
  }
}

TEST_F(Transfer, FetchesTheRefspecThatIsGiven) {
  clone_by_path();
  const std::string theirs = commit_elsewhere("second\n");
  const auto fetch = [&](const char* refspec) {
    return code("do_fetch", work_, " ", " ", " ", " ", refspec);
  };
  EXPECT_EQ(fetch("refs/heads/main:refs/heads/copy"), "0");
  EXPECT_EQ(git(work_, {"rev-parse", "copy"}), theirs);
  EXPECT_EQ(fetch("refs/heads/none:refs/heads/none"), "0") << "what the remote lacks is no error";
  EXPECT_EQ(fetch("::"), "3");
  logged();
  for (const char* none : {"", " "}) {
    commit_elsewhere(std::string("third") + none);
    EXPECT_EQ(fetch(none), "0");
    EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), remote_main());
  }
}

// The server's word about the branch does not reach the caller.
TEST_F(Transfer, PushAnswersSuccessForABranchThatTheServerRefuses) {
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

TEST_F(Transfer, GetsOverFaultyServers) {
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
TEST_F(Transfer, GetsOverADiskThatTakesNoMore) {
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

TEST_F(Transfer, RefusesARepositoryOfAnotherUserUntilItIsDeclaredSafe) {
  clone_by_path();
  if (geteuid() == 0) {
    ASSERT_EQ(chown(work_.c_str(), 65534, 65534), 0);
  } else {
    git(work_, {"config", "core.worktree", "/usr"});
  }
  EXPECT_EQ(code("do_fetch", work_), "-1");
  git(sandbox_.root(), {"config", "--global", "safe.directory", work_.string()});
  if (geteuid() != 0) git(sandbox_.root(), {"config", "--global", "safe.directory", "/usr/"});
  EXPECT_EQ(code("do_fetch", work_), "0");
}

// As the host calls what the module registers, with any number of arguments.
TEST_F(Transfer, IsRegisteredAsPullAndPush) {
  clone_by_path();
  commit_elsewhere("second\n");
  for (const char* name : {"GIT_PULL", "GIT_PUSH"}) {
    const auto& registered = module_.registered().at(name);
    EXPECT_EQ(registered.descriptor.maximum_arguments, 7);
    EXPECT_EQ(module_.find(name), registered.implementation);
  }
  host::Arguments all;
  all.text(work_.string()).text("a").text("b").text(" ").text("c").text(" ").number(1.9);
  EXPECT_EQ(host_.call(module_.find("GIT_PULL"), all.block()).code, 0);
  EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), remote_main());
  const std::string ours = commit_here("mine", "mine\n");
  host::Arguments one;
  one.text(work_.string());
  EXPECT_EQ(host_.call(module_.find("GIT_PUSH"), one.block()).code, 0);
  EXPECT_EQ(remote_main(), ours);
}

// What each call answers and logs when libgit2 lacks a function that it looks up.
TEST_F(Transfer, ToleratesAnyMissingFunction) {
  const std::string kNoInfo = "ERROR: No detailed error info available.\n";
  const std::string kNotOpened =
      "ERROR: An error occurred while opening local repository '" + work_.string() + "'.\n";
  const struct {
    const char* missing;
    const char* function;
    const char* code;
    std::string log;
  } rows[] = {
      {"git_clone", "do_clone", "-1", kNoInfo},
      {"git_clone_options_init", "do_clone", "0", ""},
      {"git_repository_free", "do_clone", "0", ""},
      {"git_libgit2_opts", "do_fetch", "0", kNoInfo + "NOTE: Fetch successful!\n"},
      {"git_repository_open", "do_fetch", "-1", kNotOpened},
      {"git_remote_lookup", "do_fetch", "unchanged", kNoInfo},
      {"git_repository_head", "do_fetch", "unchanged", kNoInfo},
      {"git_remote_fetch", "do_fetch", "0", "NOTE: Fetch successful!\n"},
      {"git_fetch_options_init", "do_fetch", "0", "NOTE: Fetch successful!\n"},
      {"git_remote_free", "do_fetch", "0", "NOTE: Fetch successful!\n"},
      {"git_reference_name", "do_pull", "unchanged", kNoInfo},
      {"git_remote_fetch", "do_pull", "-3", ""},
      {"git_repository_fetchhead_foreach", "do_pull", "0", ""},
      {"git_annotated_commit_from_fetchhead", "do_pull", "0", ""},
      {"git_merge_analysis", "do_pull", "-1", kNoInfo},
      {"git_repository_index", "do_pull", "-1", kNoInfo},
      {"git_merge", "do_pull", "-1", kNoInfo},
      {"git_branch_name", "do_pull", "-1", kNoInfo},
      {"git_commit_create", "do_pull", "-1", kNoInfo},
      {"git_annotated_commit_free", "do_pull", "0",
       "NOTE: Merge 'FETCH_HEAD' into current branch 'main' successful.\n"},
      {"git_reference_name", "do_push", "unchanged", kNoInfo},
      {"git_remote_push", "do_push", "0", "NOTE: Push successful!\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.function) + " without " + row.missing);
    fs::remove_all(work_);
    if (std::string_view(row.function) != "do_clone") {
      git(other_, {"reset", "--quiet", "--hard", "HEAD"});
      clone_by_path();
      commit_elsewhere(std::string("elsewhere ") + row.missing);
      commit_here("mine", row.missing);
    }
    hide_function(row.missing);
    const LeaksOnPurpose leaks;
    const std::string answer =
        std::string_view(row.function) == "do_clone"
            ? clone(bare_)
            : transfer(row.function,
                       {" ", " ", " ", " ",
                        row.missing == std::string_view("git_libgit2_opts") ? "/none" : " "});
    EXPECT_EQ(answer, row.code);
    EXPECT_EQ(logged(), row.log);
  }
}

}  // namespace
}  // namespace uwugit::test
