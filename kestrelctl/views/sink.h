#pragma once

#include <functional>
#include <string_view>

namespace kestrelvisor::ctl {

// Takes a result piece by piece, so that a large one never stands in memory whole. printResult is
// one.
using Sink = std::function<void(std::string_view)>;

}  // namespace kestrelvisor::ctl
