#pragma once

#include <cstdint>

namespace kestrelvisor::torture {

// Which calls fail: the nth, counted from 1, and with onwards every later one too. 0: none.
struct FaultPlan {
  std::uint64_t nth = 0;
  bool onwards = false;
};

// What happened between arming and disarming.
struct FaultCount {
  std::uint64_t calls = 0;
  std::uint64_t failed = 0;
};

// Counts calls on the thread that armed it. Plain data: allocators lean on it.
class FaultCounter {
 public:
  void arm(const FaultPlan& plan) {
    plan_ = plan;
    count_ = {};
    armed_ = true;
  }

  FaultCount disarm() {
    armed_ = false;
    return count_;
  }

  bool armed() const { return armed_; }

  // Counts one call and tells whether it has to fail.
  bool failsNow() {
    if (!armed_) return false;
    ++count_.calls;
    const bool fails = plan_.nth != 0 &&
                       (count_.calls == plan_.nth || (plan_.onwards && count_.calls > plan_.nth));
    if (fails) ++count_.failed;
    return fails;
  }

 private:
  FaultPlan plan_;
  FaultCount count_;
  bool armed_ = false;
};

}  // namespace kestrelvisor::torture
