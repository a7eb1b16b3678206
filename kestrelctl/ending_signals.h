#pragma once

#include <array>
#include <csignal>

namespace kestrelvisor::ctl {

// What a user or the system sends to end a process that may tidy up first.
inline constexpr std::array<int, 4> kEndingSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

}  // namespace kestrelvisor::ctl
