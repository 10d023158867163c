// What a host is told of long calls, and calls that it ends: through the companion, on this machine
// and over the network, and by Ctrl-C at a terminal.
#include <fcntl.h>

#include <algorithm>
#include <map>
#include <random>

#include "support/transfer_test.h"
#include "uwugithost/observer.h"

namespace uwugit::test {
namespace {

// Ends calls that come to a stage, and remembers how far each stage came.
struct Observer : host::CallObserver {
  void begin(const host::Function&) noexcept override { stages.clear(); }
  bool go_on(const WorkProgress& progress) noexcept override {
    if (progress.stage != WorkStage::kAsBefore) stages[progress.stage] = progress;
    const bool is_to_end = stages.contains(end_at);
    if (is_to_end && progress.can_end) is_ended = true;
    return !is_to_end;
  }
  bool end() noexcept override { return !std::exchange(is_ended, false); }

  static constexpr auto kNever = WorkStage(-1);
  WorkStage end_at = kNever;
  bool is_ended = false;
  std::map<WorkStage, WorkProgress> stages;
};

class Progress : public Transfer {
 protected:
  Progress() {
    for (int i = 0; i < 300; ++i) write_file(other_ / std::to_string(i), std::to_string(i));
    commit_elsewhere(std::string(100000, 'x'));
    host_.set_observer(&observer_);
  }
  ~Progress() override { host_.set_observer(nullptr); }

  // The return code, or that the call was ended.
  std::string answer_of(const char* function, const std::vector<host::Value>& values) try {
    log_.clear();
    return call_function(host_, module_, *host::find_function(function), values).code_text();
  } catch (const host::Interrupted& interrupted) {
    EXPECT_EQ(std::string(interrupted.what()), std::string(function) + " was interrupted");
    return "ended";
  }

  Observer observer_;
};

TEST_F(Progress, IsToldAndEndsCallsThatLeaveNothingBehind) {
  clone_by_path();
  commit_here("mine", "mine\n");
  write_file(work_ / "0", "changed");
  const std::string work = work_, clone = cloned_, file_url = "file://" + bare_.string();
  const std::string first = git(work_, {"rev-parse", "HEAD~1"}),
                    second = git(work_, {"rev-parse", "HEAD~2"});
  const struct {
    const char* function;
    std::vector<host::Value> values;
    WorkStage stage;
    std::uint64_t done;  // when the call is not ended
  } rows[] = {
      {"do_clone", {file_url, clone, " ", " ", " ", " ", " ", 0.0}, WorkStage::kReceiving, 306},
      {"do_clone", {bare_, clone, " ", " ", " ", " ", " ", 0.0}, WorkStage::kCheckingOut, 301},
      {"do_push", {work, " ", " ", " ", " ", " ", 0.0}, WorkStage::kPacking, 3},
      {"do_fetch", {work, " ", " ", " ", " ", " ", " ", 0.0}, WorkStage::kReceiving, 3},
      {"get_commit_log", {work}, WorkStage::kReading, 0},
      {"get_status", {work}, WorkStage::kComparing, 302},
      {"diff_commits", {work, second, first}, WorkStage::kComparing, 301},
  };
  for (const auto& [function, values, stage, done] : rows) {
    SCOPED_TRACE(std::string(function) + " at " + host::describe(stage));
    if (function == std::string("do_fetch")) commit_elsewhere("new\n");
    const std::string before = state(), remote_before = remote_main();
    observer_.end_at = stage;
    EXPECT_EQ(answer_of(function, values), "ended");
    EXPECT_EQ(state(), before);
    EXPECT_EQ(remote_main(), remote_before);
    EXPECT_FALSE(fs::exists(cloned_));
    observer_.end_at = Observer::kNever;
    EXPECT_NE(answer_of(function, values), "-1");
    fs::remove_all(cloned_);
  }
}

// At a terminal, with servers that send a part of a pack, or take one, and then nothing.
class Interrupt : public Transfer {
 protected:
  Interrupt() {
    clone_by_path();
    std::string noise(1 << 20, '\0');  // does not compress
    std::generate(noise.begin(), noise.end(), std::minstd_rand());
    commit_elsewhere(noise);
    commit_here("mine", "mine");
    const fs::path pack = sandbox_.root() / "pack", send_pack = sandbox_.root() / "send-pack";
    runner::run({"sh", "-c",
                 "mkfifo '" + gate_.string() + "'; git -C '" + bare_.string() +
                     "' pack-objects -q --all --stdout < /dev/null > '" + pack.string() + "'"});
    write_script(send_pack, "head -c -1000 '" + pack.string() + "'");
    write_script(bare_ / "hooks/pre-receive", "");
    git(sandbox_.root(), {"config", "--global", "uploadpack.packObjectsHook", send_pack});
    write_file(known_hosts_, read_file(all_.file("known_ed25519")));
    setenv("TERM", "xterm", 1);
  }
  ~Interrupt() override { open_gate(); }

  // What a server runs: it waits at the gate when it is done.
  void write_script(const fs::path& file, const std::string& line) {
    write_file(file, "#!/bin/sh\n" + line + "\nexec cat '" + gate_.string() + "'\n");
    fs::permissions(file, fs::perms::owner_all);
  }

  void open_gate() { close(open(gate_.c_str(), O_RDWR)); }

  // Runs a program, types keys when texts have come, and answers the exit status.
  std::string type(const std::string& program, const std::vector<std::string>& keys) {
    write_file(sandbox_.root() / "program.lua", program);
    std::vector<std::string> command = {
        "python3", UWUGIT_SOURCE_FOLDER "/tests/support/terminal.py",
        UWUGIT_COMMAND " run " + (sandbox_.root() / "program.lua").string()};
    command.insert(command.end(), keys.begin(), keys.end());
    return runner::run(command).output;
  }

  fs::path gate_ = sandbox_.root() / "gate";
  Servers all_{servers_, bare_.parent_path()};
};

TEST_F(Interrupt, EndsTransfersThatHang) {
  const struct {
    const char *scheme, *function, *shown;
  } rows[] = {
      {"https", "do_clone", "do_clone, 1 s, receiving objects: "},
      {"ssh", "do_clone", "receiving objects: "},
      {"git", "do_fetch", ", receiving objects: "},
      {"http", "do_pull", ", receiving objects: "},
      {"git", "do_push", "do_push, 1 s, sending objects"},
      {"ssh", "do_push", "sending objects"},
  };
  const std::string remote_before = remote_main();
  const fs::path went_on = sandbox_.root() / "went on";
  for (const auto& [scheme, function, shown] : rows) {
    SCOPED_TRACE(std::string(scheme) + " " + function);
    const bool is_ssh = scheme == std::string("ssh"),
               is_clone = function == std::string("do_clone");
    const std::string url = is_ssh ? all_.url("ssh", bare_, me()) : all_.url(scheme, "/remote.git");
    git(work_, {"remote", "set-url", "origin", url});
    setenv("LSAN_OPTIONS", is_ssh ? "exitcode=0" : "", 1);  // libgit2 1.5 leaks over SSH
    if (function == std::string("do_push")) git(work_, {"checkout", "--quiet", "-b", scheme});
    const std::string before = state();
    std::string program = "pcall(git." + std::string(function);
    std::vector<std::string> given = {work_, is_ssh ? me() : "me",
                                      host_.passwords().encode("secret"), " ", " "};
    if (is_ssh)
      given = {work_, me(), " ", all_.file("user_ed25519.pub"), all_.file("user_ed25519")};
    if (is_clone) given[0] = url, given.insert(given.begin() + 1, cloned_);
    if (function == std::string("do_fetch")) given.push_back(" ");
    given.push_back(scheme == std::string("https") ? all_.file("authority.pem").string() : " ");
    for (const std::string& value : given) program += ", [[" + value + "]]";
    program += ", 0)\nio.open([[" + went_on.string() + "]], 'w')";
    EXPECT_EQ(type(program, {shown, "^C", "interrupted", ""}), "130\n");
    EXPECT_FALSE(fs::exists(cloned_));
    EXPECT_EQ(state(), before);
    EXPECT_FALSE(fs::exists(went_on));
    open_gate();
  }
  EXPECT_EQ(remote_main(), remote_before);
}

// A function of the program goes on where the call could not be ended. What it waits for ends with
// the first Ctrl-C, which has been noted by then.
TEST_F(Interrupt, EndsTheProcessTheSecondTime) {
  write_file(work_ / "file", "changed");
  const std::string program =
      "host.on_log(function()\n"
      "  io.popen('echo now > /dev/tty; exec cat " +
      gate_.string() +
      "'):read('a')\n"
      "  print('noted')\n"
      "  while true do end\n"
      "end)\n"
      "git.get_status('" +
      work_.string() + "')";
  EXPECT_EQ(type(program, {"now", "^C", "noted", "^C"}), "-2\n");
}

}  // namespace
}  // namespace uwugit::test
