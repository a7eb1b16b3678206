#include "rest/clock.h"

#include <utility>

namespace kestrelvisor {
namespace {

std::time_t systemTime() { return std::time(nullptr); }

Clock clockInUse = systemTime;

}  // namespace

std::time_t wallClockSeconds() { return clockInUse(); }

Clock setClock(Clock clock) {
  return std::exchange(clockInUse, clock == nullptr ? systemTime : clock);
}

}  // namespace kestrelvisor
