#include "platform/contract/helpers.h"
#include "platform/reference/clock.h"
#include "tests/support/test_headers.h"

#include <chrono>

namespace {

std::string uuidOf(std::string text) { return EnvProxy_string_to_uuid(text); }

// Computed with another implementation of version 5.
TEST(UuidOfText, IsVersion5InOurNamespace) {
  EXPECT_EQ(uuidOf("/service/sites/4D3C08C7"), "b278ea6a-807a-5047-9f91-76b563860911");
  EXPECT_EQ(uuidOf("urn:sites:4D3C"), "75f35e7d-cab6-547c-b3c5-032a4bc2d8cf");
  EXPECT_EQ(uuidOf(""), "ba643a44-4e7f-5f39-bb28-23dc650ed902");
  EXPECT_EQ(uuidOf("a"), "3a865f00-85ef-5d10-bd95-5aa8754d4ada");
  EXPECT_EQ(uuidOf(std::string("a\0b", 3)), "fde42848-a4e6-57b2-9545-eedb4ed5fb63");
  EXPECT_EQ(uuidOf("\xC3\xA9"), "5c82e131-071b-5be6-827d-82e4f59e2a89");
}

TEST(UuidOfText, LeavesItsArgumentAlone) {
  std::string text = "/service/sites/4D3C08C7";

  EnvProxy_string_to_uuid(text);

  EXPECT_EQ(text, "/service/sites/4D3C08C7");
}

TEST(ObjectIndex, CountsFromOne) {
  ObjectIndex index;

  EXPECT_EQ(index.getIndex(), 1U);
  EXPECT_EQ(index.getIndex(), 2U);
  EXPECT_EQ(index.getIndex(), 3U);
}

TEST(ObjectIndex, StartsAnewWithEachObject) {
  ObjectIndex first;
  first.getIndex();
  ObjectIndex second;

  EXPECT_EQ(second.getIndex(), 1U);
}

class Clock : public ::testing::Test {
 protected:
  ~Clock() override { kestrelvisor::releaseClock(); }
};

TEST_F(Clock, GivesWholeSecondsSince1970) {
  using namespace std::chrono;
  kestrelvisor::holdClock(system_clock::time_point(milliseconds(1795267800999)));

  EXPECT_EQ(DateTimeUtility::getCurrentDateTimeWithSecondFormat(), 1795267800U);
}

TEST_F(Clock, KeepsMicrosecondsWhileHeld) {
  using namespace std::chrono;
  const system_clock::time_point held{microseconds(1795267800000123)};
  kestrelvisor::holdClock(held);

  EXPECT_EQ(kestrelvisor::currentTime(), held);
}

TEST_F(Clock, GoesOnWhenReleased) {
  const std::chrono::system_clock::time_point held{};
  kestrelvisor::holdClock(held);

  kestrelvisor::releaseClock();

  EXPECT_GT(kestrelvisor::currentTime(), held);
}

}  // namespace
