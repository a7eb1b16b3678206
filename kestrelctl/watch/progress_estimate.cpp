#include "kestrelctl/watch/progress_estimate.h"

#include <algorithm>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr std::chrono::seconds kMarkDistance{1};
constexpr std::size_t kMostMarks = 10;

double seconds(std::chrono::steady_clock::duration duration) { return Seconds(duration).count(); }

double difference(std::uint64_t later, std::uint64_t earlier) {
  return later > earlier ? static_cast<double>(later - earlier) : 0.0;
}

}  // namespace

ProgressEstimate::ProgressEstimate(ProgressClock clock) : clock_(std::move(clock)) {}

void ProgressEstimate::take(const ScanCounts& counts) {
  const Time now = clock_();
  if (!start_) {
    start_ = latest_ = now;
    first_ = counts;
  } else {
    learn(now, counts);
  }
  counts_ = counts;
  keepMark(now);
}

// The time of a step without anything new belongs to the next one.
void ProgressEstimate::learn(Time now, const ScanCounts& counts) {
  const double exchanges = difference(counts.exchanges, counts_.exchanges);
  const double listings = difference(counts.listings, counts_.listings);
  if (exchanges == 0 && listings == 0) return;
  const double duration = seconds(now - latest_);
  latest_ = now;
  exchangesSquared_ += exchanges * exchanges;
  listingsSquared_ += listings * listings;
  exchangesByListings_ += exchanges * listings;
  exchangesBySeconds_ += exchanges * duration;
  listingsBySeconds_ += listings * duration;
}

void ProgressEstimate::keepMark(Time now) {
  if (!marks_.empty() && now - marks_.back().time < kMarkDistance) return;
  marks_.push_back({now, counts_.exchanges});
  if (marks_.size() > kMostMarks) marks_.pop_front();
}

double ProgressEstimate::secondsElapsed() const {
  return start_ ? seconds(clock_() - *start_) : 0.0;
}

double ProgressEstimate::exchangesPerSecond() const {
  if (marks_.empty()) return 0;
  const Mark& mark = marks_.front();
  const double duration = seconds(clock_() - mark.time);
  return duration > 0 ? difference(counts_.exchanges, mark.exchanges) / duration : 0.0;
}

// The least squares of all steps, made to fit the time that all of them took together.
ProgressEstimate::Cost ProgressEstimate::cost() const {
  const double exchanges = difference(counts_.exchanges, first_.exchanges);
  const double listings = difference(counts_.listings, first_.listings);
  Cost cost{1, 0};
  const double determinant =
      exchangesSquared_ * listingsSquared_ - exchangesByListings_ * exchangesByListings_;
  if (determinant > 0) {
    cost.exchange = std::max(
        0.0, exchangesBySeconds_ * listingsSquared_ - listingsBySeconds_ * exchangesByListings_);
    cost.listing = std::max(
        0.0, listingsBySeconds_ * exchangesSquared_ - exchangesBySeconds_ * exchangesByListings_);
  }
  const double told = cost.exchange * exchanges + cost.listing * listings;
  if (told <= 0) return {};
  const double scale = seconds(latest_ - *start_) / told;
  return {cost.exchange * scale, cost.listing * scale};
}

std::optional<double> ProgressEstimate::secondsLeft() const {
  if (!start_ || !counts_.exchangesExpected || !counts_.listingsExpected) return std::nullopt;
  if (counts_.exchanges == first_.exchanges) return std::nullopt;
  const Cost each = cost();
  const double whole = each.exchange * difference(*counts_.exchangesExpected, counts_.exchanges) +
                       each.listing * difference(*counts_.listingsExpected, counts_.listings);
  return std::max(0.0, whole - seconds(clock_() - latest_));
}

}  // namespace kestrelvisor::ctl
