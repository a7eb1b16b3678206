#pragma once

#include "kestrelctl/watch/progress_estimate.h"

#include <chrono>

namespace kestrelvisor::ctl::test {

// A clock that stands still until a test moves it. It outlives what asks it.
class SetClock {
 public:
  ProgressClock clock() {
    return [this] { return now_; };
  }
  void advance(std::chrono::nanoseconds time) {
    now_ += std::chrono::duration_cast<std::chrono::steady_clock::duration>(time);
  }

 private:
  std::chrono::steady_clock::time_point now_{std::chrono::hours(1)};
};

}  // namespace kestrelvisor::ctl::test
