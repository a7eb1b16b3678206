#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace kestrelvisor::ctl {

// Until when something is waited for; nothing: without end.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

// For poll: rounded up, an hour at the most, and -1 without a deadline.
inline int millisecondsUntil(const Deadline& deadline) {
  using std::chrono::milliseconds;
  if (!deadline) return -1;
  constexpr milliseconds kLongest = std::chrono::hours(1);
  const auto wait = std::chrono::ceil<milliseconds>(*deadline - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp(wait, milliseconds(0), kLongest).count());
}

}  // namespace kestrelvisor::ctl
