#pragma once

#include "kestrelctl/watch/scan_counts.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

namespace kestrelvisor::ctl {

using ProgressClock = std::function<std::chrono::steady_clock::time_point()>;

// How fast a scan goes, and how long it will still take.
//
// A request takes some time, and a page takes more for each machine that it tells. Both are fitted
// to what was seen so far, and what is left is counted in them: a scan begins with many machines in
// few requests and ends with many requests.
class ProgressEstimate {
 public:
  explicit ProgressEstimate(ProgressClock clock = &std::chrono::steady_clock::now);

  // Takes the counts as of now. The first ones start the clock.
  void take(const ScanCounts& counts);

  double secondsElapsed() const;
  double exchangesPerSecond() const;          // over the last seconds
  std::optional<double> secondsLeft() const;  // nothing as long as it is not known

 private:
  using Time = std::chrono::steady_clock::time_point;

  struct Mark {
    Time time;
    std::uint64_t exchanges;
  };
  // Seconds that one exchange takes, and one machine in a page beside it.
  struct Cost {
    double exchange = 0;
    double listing = 0;
  };

  void keepMark(Time now);
  void learn(Time now, const ScanCounts& counts);
  Cost cost() const;

  ProgressClock clock_;
  std::optional<Time> start_;
  Time latest_;  // of the latest counts that had anything new
  ScanCounts counts_;
  ScanCounts first_;
  std::deque<Mark> marks_;
  // Sums over all steps between counts: of products of exchanges, listings and seconds.
  double exchangesSquared_ = 0;
  double listingsSquared_ = 0;
  double exchangesByListings_ = 0;
  double exchangesBySeconds_ = 0;
  double listingsBySeconds_ = 0;
};

}  // namespace kestrelvisor::ctl
