// --timeout: ends the process when a call takes too long.
#pragma once

#include <string_view>

namespace uwugit::runner {

inline constexpr int kExitTimeout = 124;

class Watchdog {
 public:
  explicit Watchdog(double seconds) : seconds_(seconds) {}  // 0: never

  // A call is watched as long as this lives. Only one is at a time.
  class Watch {
   public:
    Watch(const Watchdog& watchdog, std::string_view what);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

   private:
    bool is_on_;
  };
  Watch watch(std::string_view what) const { return {*this, what}; }

 private:
  double seconds_;
};

}  // namespace uwugit::runner
