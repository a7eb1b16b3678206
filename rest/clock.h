#pragma once

#include <ctime>

namespace kestrelvisor {

// The engine's one source of time; tests set it.
using Clock = std::time_t (*)();

// Seconds since 1970.
std::time_t wallClockSeconds();

// Replaces the clock and returns the one before. Null sets the system's clock.
Clock setClock(Clock clock);

}  // namespace kestrelvisor
