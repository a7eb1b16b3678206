#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kestrelvisor::ctl {

// The nearest whole number of an estimate, 0 for one below it. Estimates beyond a thousand millions
// tell nobody more.
inline std::uint64_t rounded(double estimate) {
  constexpr double kMost = 1e9;
  return static_cast<std::uint64_t>(std::llround(std::clamp(estimate, 0.0, kMost)));
}

}  // namespace kestrelvisor::ctl
