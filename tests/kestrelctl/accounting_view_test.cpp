#include "kestrelctl/watch/accounting_view.h"

#include "kestrelctl/documents/json_text.h"
#include "tests/support/test_headers.h"

#include <json/json.h>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::ElementsAre;

std::string compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

TEST(AccountingSummary, TellsWhereEachMachineWent) {
  Accounting accounting;
  accounting.counted = 1000;
  accounting.recorded = 997;
  accounting.templates = 2;
  accounting.linkedClones = 1;

  EXPECT_THAT(
      accountingSummary(accounting),
      ElementsAre("1,000 machines at the manager: 997 recorded, 2 templates, 1 linked clone."));
}

TEST(AccountingSummary, IsShortWhenAllIsWell) {
  Accounting accounting;
  EXPECT_THAT(accountingSummary(accounting), ElementsAre("0 machines at the manager."));
  accounting.counted = accounting.recorded = 1;
  EXPECT_THAT(accountingSummary(accounting), ElementsAre("1 machine at the manager: recorded."));
  accounting.counted = accounting.recorded = 1234567;
  EXPECT_THAT(accountingSummary(accounting),
              ElementsAre("1,234,567 machines at the manager: all recorded."));
}

TEST(AccountingSummary, TellsOfLossesInLinesThatFitATerminal) {
  Accounting accounting;
  accounting.counted = 16;
  accounting.recorded = 10;
  accounting.outOfScope = 1;
  accounting.unreadableUuid = 2;
  accounting.unreadData = 1;

  EXPECT_THAT(
      accountingSummary(accounting),
      ElementsAre("16 machines at the manager: 10 recorded, 1 in a place that is not part of the",
                  "result, 2 with an unreadable UUID, 1 whose data were not told, 2 unexplained."));
}

TEST(AccountingSummary, TellsOfMachinesBeyondTheCount) {
  Accounting accounting;
  accounting.counted = 2;
  accounting.recorded = 3;

  EXPECT_THAT(accountingSummary(accounting),
              ElementsAre("2 machines at the manager: 3 recorded, 1 more than counted."));
}

TEST(AccountingJson, HasANumberForEachReason) {
  Accounting accounting;
  accounting.counted = 1;
  accounting.recorded = 2;
  accounting.templates = 3;
  accounting.linkedClones = 4;
  accounting.outOfScope = 5;
  accounting.unreadableUuid = 6;
  accounting.unreadData = 7;
  accounting.vanished = 8;

  EXPECT_EQ(compact(jsonOf(accounting)),
            R"({"counted":1,"linkedClones":4,"outOfScope":5,"recorded":2,"templates":3,)"
            R"("unexplained":-26,"unreadData":7,"unreadableUuid":6,"vanished":8})");
}

TEST(WarningsJson, HoldsKindsAndTextsAsValidUtf8) {
  EXPECT_EQ(compact(jsonOf(std::vector<Warning>{})), "[]");

  const Json::Value list =
      jsonOf(std::vector<Warning>{{"no-own-site", "none"}, {"unverified-tls", "bad \xff"}});

  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0]["kind"].asString(), "no-own-site");
  EXPECT_EQ(list[0]["text"].asString(), "none");
  EXPECT_EQ(list[1]["text"].asString(), "bad \xEF\xBF\xBD");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
