#include "status_line.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "format/wrap.h"
#include "interrupt.h"
#include "uwugithost/observer.h"

namespace uwugit::runner {
namespace {

using namespace std::chrono_literals;

constexpr auto kBefore = 1s;  // a call lasts so long before anything is shown
constexpr auto kBetweenDraws = 200ms;
constexpr std::string_view kErase = "\r\033[K";

// 1234567 as "1,234,567".
std::string grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t place = text.size(); place > 3;) text.insert(place -= 3, ",");
  return text;
}

std::string size_text(std::uint64_t bytes) {
  constexpr const char* kUnits[] = {"bytes", "KB", "MB", "GB", "TB"};
  auto value = static_cast<double>(bytes);
  const auto* unit = std::begin(kUnits);
  while (value >= 1000 && unit + 1 != std::end(kUnits)) value /= 1000, ++unit;
  char text[40];
  std::snprintf(text, sizeof text, unit == kUnits ? "%.0f %s" : "%.1f %s", value, *unit);
  return text;
}

std::string time_text(std::chrono::seconds elapsed) {
  char text[40];
  const auto seconds = elapsed.count();
  if (seconds < 60) return std::to_string(seconds) + " s";
  std::snprintf(text, sizeof text, "%lld:%02lld min", static_cast<long long>(seconds / 60),
                static_cast<long long>(seconds % 60));
  return text;
}

void write_out(std::string_view text) {
  [[maybe_unused]] const auto written = write(STDERR_FILENO, text.data(), text.size());
}

// Holds off all signals of this thread, and of those that it starts, for as long as it lives.
class SignalsOff {
 public:
  SignalsOff() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsOff() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsOff(const SignalsOff&) = delete;
  SignalsOff& operator=(const SignalsOff&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

bool StatusLine::is_possible() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) && terminal && std::string_view(terminal) != "dumb";
}

StatusLine::~StatusLine() {
  thread_.request_stop();
  wake_.notify_all();
}

void StatusLine::begin(std::string_view function) noexcept {
  if (!is_on_) return;
  function_ = function;
  stage_ = WorkStage::kAsBefore;
  start_ = Clock::now();
  if (!thread_.joinable()) {
    try {
      const SignalsOff signals_off;  // they are for the thread that works
      thread_ = std::jthread([this](const std::stop_token& stop) { draw_until(stop); });
    } catch (const std::exception&) {  // no thread can be had: then there is no line
    }
  }
  state_ = State::kIdle;
}

void StatusLine::update(const WorkProgress& progress) noexcept {
  if (!is_on_ || progress.stage == WorkStage::kAsBefore) return;
  constexpr auto relaxed = std::memory_order_relaxed;  // numbers that a moment later are others
  stage_.store(progress.stage, relaxed);
  done_.store(progress.done, relaxed);
  total_.store(progress.total, relaxed);
  bytes_.store(progress.bytes, relaxed);
}

void StatusLine::end() noexcept {
  if (!is_on_) return;
  take_away();
  away_ = 0;
  state_ = State::kNone;
}

void StatusLine::take_away() noexcept {
  if (away_++ > 0 || state_ == State::kNone) return;
  for (State idle = State::kIdle; !state_.compare_exchange_weak(idle, State::kTaken);) {
    idle = State::kIdle;
  }
  if (std::exchange(is_drawn_, false)) write_out(kErase);
}

void StatusLine::give_back() noexcept {
  if (--away_ == 0 && state_ == State::kTaken) state_ = State::kIdle;
}

void StatusLine::draw_until(const std::stop_token& stop) {
  std::unique_lock lock(mutex_);
  while (!stop.stop_requested()) {
    wake_.wait_for(lock, stop, kBetweenDraws, [] { return false; });
    State idle = State::kIdle;
    if (Clock::now() - start_.load() < kBefore) continue;
    if (!state_.compare_exchange_strong(idle, State::kTaken)) continue;
    draw();
    state_ = State::kIdle;
  }
}

// The call may be another one by now than it was before the word was taken.
void StatusLine::draw() {
  const Clock::duration elapsed = Clock::now() - start_.load();
  if (elapsed < kBefore) return;
  const std::size_t width = width_of_terminal(stderr, 80) - 1;
  std::string line = text(elapsed, width);
  line.resize(std::min(line.size(), width));
  write_out(line.insert(0, kErase));
  is_drawn_ = true;
}

// In a narrow terminal without the words for what is done.
std::string StatusLine::text(Clock::duration elapsed, std::size_t width) const {
  std::string line(function_);
  line += ", " + time_text(std::chrono::duration_cast<std::chrono::seconds>(elapsed));
  if (is_interrupted()) return line + ": ending when it can (Ctrl-C again: at once)";
  const char* const work = host::describe(stage_);
  if (*work == '\0') return line;
  std::string count;
  if (done_ > 0) count += ": " + grouped(done_);
  if (done_ > 0 && total_ > 0) count += " of " + grouped(total_);
  if (bytes_ > 0) count += ", " + size_text(bytes_);
  const std::string words = std::string(", ") + work;
  return line + (line.size() + words.size() + count.size() <= width ? words : "") + count;
}

}  // namespace uwugit::runner
