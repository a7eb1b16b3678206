#pragma once

#include <chrono>

namespace kestrelvisor {

// The platform's one clock: times of log records and of replies come from here. Safe at any time,
// process exit included.
std::chrono::system_clock::time_point currentTime();

// Stops the clock at a time until releaseClock is called. For tests, and for hosts that want the
// same bytes twice. Resolution: one microsecond.
void holdClock(std::chrono::system_clock::time_point time);

// Lets the clock follow the system's again.
void releaseClock();

}  // namespace kestrelvisor
