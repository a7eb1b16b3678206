#pragma once

#include "kestrelctl/watch/progress_estimate.h"
#include "kestrelctl/watch/scan_watch.h"

#include <chrono>
#include <optional>
#include <utility>

namespace kestrelvisor::ctl {

// Hands a watch's counts on, ten times a second at the most: they cost more to make than a record
// of the log does. A new phase is told at once: its first request may be one that is never
// answered.
class PacedProgress {
 public:
  PacedProgress(const ScanWatch& watch, ProgressSink sink,
                ProgressClock clock = &std::chrono::steady_clock::now)
      : watch_(watch), sink_(std::move(sink)), clock_(std::move(clock)) {}

  // To be called whenever the watch may have seen something new.
  void offer() {
    if (!sink_) return;
    const auto now = clock_();
    const bool isDue = !latest_ || now - *latest_ >= kDistance;
    if (!isDue && watch_.phase() == phase_) return;
    latest_ = now;
    phase_ = watch_.phase();
    sink_(watch_.counts());
  }

  // The last counts, whatever the time.
  void finish() {
    if (sink_) sink_(watch_.counts());
  }

 private:
  static constexpr std::chrono::milliseconds kDistance{100};

  const ScanWatch& watch_;
  ProgressSink sink_;
  ProgressClock clock_;
  std::optional<std::chrono::steady_clock::time_point> latest_;
  ScanPhase phase_ = ScanPhase::preparing;  // as told
};

}  // namespace kestrelvisor::ctl
