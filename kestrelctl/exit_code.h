#pragma once

namespace kestrelvisor::ctl {

// How kestrelctl ends. Scripts rely on these numbers.
enum class ExitCode : int {
  success = 0,
  differences = 1,  // of diff alone: the replies differ
  wrongUsage = 2,
  partial = 3,  // the manager did its part, but something is missing from what the user asked for
  refusedLogin = 4,
  unreachable = 5,
  refusedCertificate = 6,
  timeLimit = 7,
  managerFailed = 8,
  unreadableAnswer = 9,  // also: an exception left the engine
};

// What a shell reports for a program that a signal has ended.
constexpr int exitCodeOfSignal(int number) { return 128 + number; }

}  // namespace kestrelvisor::ctl
