#include "kestrelctl/watch/progress_estimate.h"

#include "kestrelctl/watch/paced_progress.h"
#include "tests/kestrelctl/set_clock.h"
#include "tests/kestrelctl/told_scan.h"
#include "tests/support/test_headers.h"

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace kestrelvisor::ctl::test {
namespace {

using namespace std::chrono_literals;

ScanCounts progress(std::uint64_t exchanges, std::uint64_t listings,
                    std::optional<std::uint64_t> exchangesExpected = {},
                    std::optional<std::uint64_t> listingsExpected = {}) {
  ScanCounts counts;
  counts.exchanges = exchanges;
  counts.listings = listings;
  counts.exchangesExpected = exchangesExpected;
  counts.listingsExpected = listingsExpected;
  return counts;
}

class Estimate : public ::testing::Test {
 protected:
  void after(std::chrono::nanoseconds wait, const ScanCounts& counts) {
    time.advance(wait);
    estimate.take(counts);
  }

  SetClock time;
  ProgressEstimate estimate{time.clock()};
};

TEST_F(Estimate, KnowsNothingAtTheStart) {
  EXPECT_EQ(estimate.secondsElapsed(), 0);
  EXPECT_EQ(estimate.exchangesPerSecond(), 0);
  EXPECT_FALSE(estimate.secondsLeft());
  after(0s, progress(0, 0, 10, 0));
  EXPECT_FALSE(estimate.secondsLeft());
}

TEST_F(Estimate, TellsNoTimeLeftWhileTheWholeIsNotKnown) {
  after(0s, progress(0, 0));
  after(1s, progress(10, 0));

  EXPECT_FALSE(estimate.secondsLeft());
  EXPECT_DOUBLE_EQ(estimate.exchangesPerSecond(), 10);
  EXPECT_DOUBLE_EQ(estimate.secondsElapsed(), 1);
}

TEST_F(Estimate, PartsTheTimeBetweenRequestsAndWhatTheyTell) {
  after(0s, progress(0, 0));
  after(110ms, progress(1, 100));  // 10 ms and 1 ms for each
  after(10ms, progress(2, 100));
  after(60ms, progress(3, 150));
  after(10ms, progress(4, 150, 104, 150));
  EXPECT_NEAR(*estimate.secondsLeft(), 1.0, 1e-9);
  after(0ms, progress(4, 150, 4, 1150));
  EXPECT_NEAR(*estimate.secondsLeft(), 1.0, 1e-9);
}

TEST_F(Estimate, TimeGoesOnWithoutNews) {
  after(0s, progress(0, 0));
  after(1s, progress(10, 0, 30, 0));
  time.advance(500ms);
  EXPECT_NEAR(*estimate.secondsLeft(), 1.5, 1e-9);
  estimate.take(progress(10, 0, 30, 0));
  EXPECT_NEAR(*estimate.secondsLeft(), 1.5, 1e-9);
  time.advance(9s);
  EXPECT_EQ(*estimate.secondsLeft(), 0);
}

TEST_F(Estimate, StallCountsToTheRequestThatStalled) {
  after(0s, progress(0, 0));
  after(1s, progress(10, 0, 20, 0));
  after(3s, progress(10, 0, 20, 0));
  after(0s, progress(11, 0, 20, 0));

  EXPECT_NEAR(*estimate.secondsLeft(), 9 * 4.0 / 11, 1e-9);
}

TEST_F(Estimate, SpeedIsThatOfTheLastSeconds) {
  after(0s, progress(0, 0));
  for (std::uint64_t second = 1; second <= 20; ++second) after(1s, progress(100 * second, 0));
  for (std::uint64_t second = 1; second <= 20; ++second) after(1s, progress(2000 + second, 0));

  EXPECT_DOUBLE_EQ(estimate.exchangesPerSecond(), 1);
}

// The log of a scan of a site with 360 machines, as far as a watch looks at it. On each line are
// the time in microseconds, a letter for the function, and the text.
struct RecordedLine {
  std::chrono::microseconds time;
  LogRecord record;
};

std::vector<RecordedLine> recordedScan() {
  static const std::map<std::string, std::string> kFunctions{
      {"A", "KestrelVisor_rest_api::getResponse()"},
      {"L", "KestrelVisor_rest_api::checkLoginAgainAndCert()"},
      {"O", "KestrelVisor_rest_api::getOSListfromVrmByArch()"},
      {"C", "KestrelVisor_rest_api::getClusterFromVrm()"},
      {"H", "KestrelVisor_rest_api::getCnaFromVrm()"},
      {"M", "KestrelVisor_rest_api::getVMFromVrm()"},
      {"P", "KestrelVisor_rest_api::getVmInfoFromVrmSub()"}};
  std::ifstream file(KESTRELCTL_RECORDED_SCAN);
  std::vector<RecordedLine> lines;
  std::string text;
  while (std::getline(file, text)) {
    std::istringstream line(text);
    std::int64_t time = 0;
    std::string letter;
    line >> time >> letter;
    line.ignore(1);
    std::getline(line, text);
    lines.push_back({std::chrono::microseconds(time), logRecord(kFunctions.at(letter), text)});
  }
  if (lines.empty()) throw std::runtime_error("no recorded scan");
  return lines;
}

// What an estimate told when a part of the recorded scan's time was over, and what was left then.
struct Told {
  std::optional<double> left;
  double truth;
};

Told toldAfter(double part) {
  const std::vector<RecordedLine> lines = recordedScan();
  SetClock time;
  ScanWatch watch;
  ProgressEstimate estimate(time.clock());
  PacedProgress paced(
      watch, [&](const ScanCounts& counts) { estimate.take(counts); }, time.clock());
  const std::chrono::microseconds whole = lines.back().time - lines.front().time;
  std::chrono::microseconds now = lines.front().time;
  for (const RecordedLine& line : lines) {
    if (std::chrono::duration<double>(line.time - lines.front().time) >= part * whole) break;
    time.advance(line.time - now);
    now = line.time;
    watch.take(line.record);
    paced.offer();
  }
  return {estimate.secondsLeft(), std::chrono::duration<double>(lines.back().time - now).count()};
}

TEST(RecordedScan, TimeLeftIsOffByLessThanAFifthAfterHalfAScan) {
  for (const double part : {0.5, 0.6, 0.7, 0.8, 0.9}) {
    const Told told = toldAfter(part);
    ASSERT_TRUE(told.left) << part;
    EXPECT_LT(std::abs(*told.left - told.truth), told.truth / 5) << part << ": " << *told.left;
  }
}

TEST(RecordedScan, CountsEndWithAllThatWasExpected) {
  ScanWatch watch;
  for (const RecordedLine& line : recordedScan()) watch.take(line.record);
  const ScanCounts counts = watch.counts();

  EXPECT_EQ(counts.phase, ScanPhase::reply);
  EXPECT_EQ(counts.objects, 360U);
  EXPECT_EQ(counts.objectsExpected, 360U);
  EXPECT_EQ(counts.exchangesExpected, counts.exchanges);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
