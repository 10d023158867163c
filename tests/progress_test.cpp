// What a host is told of long calls, and calls that it ends: through the companion, on this machine
// and over the network, and by Ctrl-C at a terminal.
#include <sys/file.h>

#include <map>
#include <set>

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
  std::string call(const char* function, const std::vector<host::Value>& values) try {
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
    EXPECT_EQ(call(function, values), "ended");
    EXPECT_EQ(state(), before);
    EXPECT_EQ(remote_main(), remote_before);
    EXPECT_FALSE(fs::exists(cloned_));
    observer_.end_at = Observer::kNever;
    EXPECT_NE(call(function, values), "-1");
    fs::remove_all(cloned_);
  }
}

}  // namespace
}  // namespace uwugit::test
