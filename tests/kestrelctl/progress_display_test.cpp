#include "kestrelctl/watch/progress_display.h"

#include "kestrelctl/watch/paced_progress.h"
#include "kestrelctl/watch/progress_text.h"
#include "tests/kestrelctl/json_answer.h"
#include "tests/kestrelctl/set_clock.h"
#include "tests/kestrelctl/told_scan.h"

namespace kestrelvisor::ctl::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kClear = "\r\x1b[K";

ScanCounts machinesRead(std::uint64_t count) {
  ScanCounts counts;
  counts.phase = ScanPhase::machines;
  counts.objects = count;
  counts.objectsExpected = 1000;
  counts.exchanges = 2 * count;
  counts.exchangesExpected = 2000;
  counts.listingsExpected = 0;
  return counts;
}

class Display : public ::testing::Test {
 protected:
  using Manner = ProgressDisplay::Manner;

  ProgressDisplay::Surface surface() {
    return {[this](const std::string& bytes) { drawn.push_back(bytes); },
            [this] { return columns; }};
  }

  SetClock time;
  std::size_t columns = 80;
  std::vector<std::string> drawn;
};

TEST_F(Display, DrawsOneLineOverAndOverAndClearsIt) {
  ProgressDisplay display(Manner::line, surface(), time.clock());
  display.update(machinesRead(0));
  time.advance(2s);
  display.update(machinesRead(100));
  display.finish();

  EXPECT_THAT(drawn, ElementsAre(kClear + std::string("Reading machines and disks  0 of 1,000"),
                                 kClear + std::string("Reading machines and disks  100 of 1,000  "
                                                      "100 requests/s  18 s left"),
                                 kClear));
}

TEST_F(Display, CutsTheLineToTheTerminal) {
  columns = 21;
  ProgressDisplay display(Manner::line, surface(), time.clock());
  display.update(machinesRead(0));

  EXPECT_THAT(drawn, ElementsAre(kClear + std::string("Reading machines and")));
}

TEST_F(Display, DrawsSomeTimesASecondAtTheMost) {
  ProgressDisplay display(Manner::line, surface(), time.clock());
  for (std::uint64_t i = 0; i < 1000; ++i) {
    display.update(machinesRead(i));
    time.advance(1ms);
  }

  EXPECT_THAT(drawn, SizeIs(5));
}

TEST_F(Display, TimeGoesOnWithoutNews) {
  ProgressDisplay display(Manner::line, surface(), time.clock());
  display.update(machinesRead(0));
  time.advance(2s);
  display.update(machinesRead(100));
  time.advance(3s);
  display.update(machinesRead(100));

  EXPECT_EQ(
      drawn.back(),
      kClear + std::string("Reading machines and disks  100 of 1,000  40 requests/s  15 s left"));
}

TEST_F(Display, EndClearsTheLineOnce) {
  {
    ProgressDisplay display(Manner::line, surface(), time.clock());
    display.update(machinesRead(0));
    display.finish();
    display.update(machinesRead(1));
  }

  EXPECT_THAT(drawn, SizeIs(2));
}

TEST_F(Display, LineThatWasNeverDrawnIsNotCleared) {
  { const ProgressDisplay display(Manner::line, surface(), time.clock()); }

  EXPECT_THAT(drawn, IsEmpty());
}

TEST_F(Display, ShowsNothingWhenItShallNot) {
  {
    ProgressDisplay display(Manner::nothing, surface(), time.clock());
    display.update(machinesRead(1));
  }

  EXPECT_THAT(drawn, IsEmpty());
}

TEST_F(Display, ObjectsComeSomeTimesASecondWithALastOne) {
  ProgressDisplay display(Manner::objects, surface(), time.clock());
  for (std::uint64_t i = 0; i < 1000; ++i) {
    display.update(machinesRead(i));
    time.advance(1ms);
  }
  display.finish();

  ASSERT_THAT(drawn, SizeIs(3));
  const Json::Value last = conformingDocument("progress", drawn.back());
  EXPECT_EQ(last["phase"].asString(), "machines");
  EXPECT_EQ(last["done"].asUInt(), 999U);
  EXPECT_EQ(last["expected"].asUInt(), 1000U);
  EXPECT_EQ(last["exchanges"].asUInt(), 1998U);
  EXPECT_DOUBLE_EQ(last["exchangesPerSecond"].asDouble(), 1998);
  EXPECT_DOUBLE_EQ(last["secondsElapsed"].asDouble(), 1);
  EXPECT_DOUBLE_EQ(last["secondsLeft"].asDouble(), 0);
  EXPECT_EQ(drawn.back().find('\n'), drawn.back().size() - 1);
}

TEST_F(Display, ObjectSaysNullForWhatIsNotKnown) {
  ProgressDisplay display(Manner::objects, surface(), time.clock());
  display.update(ScanCounts());

  const Json::Value first = conformingDocument("progress", drawn.front());
  EXPECT_EQ(first["phase"].asString(), "preparing");
  EXPECT_TRUE(first["expected"].isNull());
  EXPECT_TRUE(first["secondsLeft"].isNull());
}

TEST(ProgressText, TellsDurationsRoundedUp) {
  EXPECT_EQ(roughDuration(0), "0 s");
  EXPECT_EQ(roughDuration(0.2), "1 s");
  EXPECT_EQ(roughDuration(59.5), "1 min 0 s");
  EXPECT_EQ(roughDuration(200), "3 min 20 s");
  EXPECT_EQ(roughDuration(3900), "1 h 5 min");
  EXPECT_EQ(roughDuration(1e300), "277777 h 46 min");
}

TEST(PacedProgress, HandsCountsOnTenTimesASecondAndAtTheEnd) {
  SetClock time;
  const ScanWatch watch;
  int handed = 0;
  PacedProgress paced(
      watch, [&](const ScanCounts&) { ++handed; }, time.clock());
  for (int i = 0; i < 1000; ++i) {
    paced.offer();
    time.advance(1ms);
  }
  EXPECT_EQ(handed, 10);

  paced.finish();
  EXPECT_EQ(handed, 11);
}

// Its first request may hang: nothing else would tell then what the scan is busy with.
TEST(PacedProgress, HandsANewPhaseOnAtOnce) {
  SetClock time;
  ToldScan told;
  std::vector<ScanPhase> phases;
  PacedProgress paced(
      told.watch, [&](const ScanCounts& counts) { phases.push_back(counts.phase); }, time.clock());
  paced.offer();
  told.prepare();
  paced.offer();
  told.clusters({"clusters/1"});
  paced.offer();
  told.hosts({});
  told.hosts({"hosts/1"});
  paced.offer();
  told.count(2);
  paced.offer();

  EXPECT_THAT(phases, ElementsAre(ScanPhase::preparing, ScanPhase::hosts, ScanPhase::listing));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
