#include "platform/reference/clock.h"

#include <atomic>
#include <cstdint>
#include <limits>

namespace kestrelvisor {
namespace {

using std::chrono::microseconds;
using std::chrono::system_clock;

constexpr std::int64_t kRunning = std::numeric_limits<std::int64_t>::min();
constinit std::atomic<std::int64_t> heldTime{kRunning};  // microseconds since 1970

}  // namespace

system_clock::time_point currentTime() {
  const std::int64_t held = heldTime.load(std::memory_order_relaxed);
  if (held == kRunning) return system_clock::now();
  return system_clock::time_point(microseconds(held));
}

void holdClock(system_clock::time_point time) {
  heldTime = std::chrono::duration_cast<microseconds>(time.time_since_epoch()).count();
}

void releaseClock() { heldTime = kRunning; }

}  // namespace kestrelvisor
