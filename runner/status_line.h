// One line at the bottom of a terminal that tells how far a long call is.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>

#include "uwugit/progress.h"

namespace uwugit::runner {

// Nothing is written before a call has lasted a second, and nothing at all where it is off. The
// line is drawn by a thread of its own, so that it also shows a call that is not told about.
class StatusLine {
 public:
  explicit StatusLine(bool is_on) : is_on_(is_on) {}
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  // Of one call after the other. The name stays until the end.
  void begin(std::string_view function) noexcept;
  void update(const WorkProgress& progress) noexcept;
  void end() noexcept;

  // As long as one of these lives the line is away, so that something else can be written.
  class Away {
   public:
    explicit Away(StatusLine& line) : line_(line) { line_.take_away(); }
    ~Away() { line_.give_back(); }
    Away(const Away&) = delete;
    Away& operator=(const Away&) = delete;

   private:
    StatusLine& line_;
  };

  // Whether a status line can be shown on stderr.
  static bool is_possible();

 private:
  using Clock = std::chrono::steady_clock;
  // Who may write: nobody in between calls; else the thread takes the word when it is idle, and the
  // caller of a function waits for it. No lock is held, so the process can be forked in between.
  enum class State : int { kNone, kIdle, kTaken };

  void take_away() noexcept;
  void give_back() noexcept;
  void draw_until(const std::stop_token& stop);
  void draw();
  std::string text(Clock::duration elapsed, std::size_t width) const;

  const bool is_on_;
  std::atomic<State> state_ = State::kNone;
  bool is_drawn_ = false;
  unsigned away_ = 0;  // of how many; of the caller's thread
  std::string_view function_;
  std::atomic<Clock::time_point> start_{};
  std::atomic<WorkStage> stage_{};
  std::atomic<std::uint64_t> done_ = 0;
  std::atomic<std::uint64_t> total_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::jthread thread_;
};

}  // namespace uwugit::runner
