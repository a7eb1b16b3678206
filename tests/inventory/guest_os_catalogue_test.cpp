#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using Versions = std::map<int, std::string>;
using Catalogue = std::map<std::string, Versions>;

class GuestCatalogue : public ::testing::Test {
 protected:
  bool fetch() { return api_.getOSListFromVrm(vrm_, catalogue_, error_); }
  void tells(const std::string& standard, const std::string& arm) {
    manager_.serves("GET", kGuestsTarget, ok(standard));
    manager_.serves("GET", kArmGuestsTarget, ok(arm));
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  Catalogue catalogue_;
  KestrelVisor_rest_api api_;
};

TEST_F(GuestCatalogue, AsksForTheStandardListAndThenForTheArmList) {
  servesNoGuests(manager_);
  EXPECT_TRUE(fetch());
  EXPECT_THAT(manager_.lines(),
              ElementsAre("POST /service/session", "GET /service/sites/1/vms/osversions",
                          "GET /service/sites/1/vms/osversions?arch=arm"));
}

TEST_F(GuestCatalogue, LogsTheSameFilterForBothLists) {
  servesNoGuests(manager_);
  ASSERT_TRUE(fetch());
  const auto lines = log_.withText("getOSListFromVrm: filterStr: /vms/osversions");
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].level, 1);
  EXPECT_EQ(lines[0].function, "KestrelVisor_rest_api::getOSListfromVrmByArch()");
}

TEST_F(GuestCatalogue, MergesFamiliesAndNumbersOfBothLists) {
  tells(R"({"windows":[{"id":1,"versionDes":"W1"}],"linux":[{"id":5,"versionDes":"L5"}]})",
        R"({"windows":[{"id":2,"versionDes":"W2"}],"other":[{"id":9,"versionDes":"O9"}]})");

  ASSERT_TRUE(fetch());

  EXPECT_EQ(catalogue_, (Catalogue{{"windows", {{1, "W1"}, {2, "W2"}}},
                                   {"linux", {{5, "L5"}}},
                                   {"other", {{9, "O9"}}}}));
}

TEST_F(GuestCatalogue, KeepsTheArmDescriptionOfANumberInBothLists) {
  tells(R"({"linux":[{"id":5,"versionDes":"standard"}]})",
        R"({"linux":[{"id":5,"versionDes":"arm"}]})");
  ASSERT_TRUE(fetch());
  EXPECT_EQ(catalogue_["linux"][5], "arm");
}

TEST_F(GuestCatalogue, KeepsTheLastOfTwoElementsWithOneNumber) {
  tells(R"({"linux":[{"id":5,"versionDes":"a"},{"id":5,"versionDes":"b"}]})", "{}");
  ASSERT_TRUE(fetch());
  EXPECT_EQ(catalogue_["linux"], (Versions{{5, "b"}}));
}

TEST_F(GuestCatalogue, HasAllFamiliesEvenWhenTheAnswersAreEmpty) {
  servesNoGuests(manager_);
  ASSERT_TRUE(fetch());
  EXPECT_EQ(catalogue_, (Catalogue{{"windows", {}}, {"linux", {}}, {"other", {}}}));
}

TEST_F(GuestCatalogue, TakesADocumentThatIsNoObjectAsEmpty) {
  tells("[1]", "null");
  EXPECT_TRUE(fetch());
  EXPECT_EQ(catalogue_, (Catalogue{{"windows", {}}, {"linux", {}}, {"other", {}}}));
}

TEST_F(GuestCatalogue, TakesMissingKeysAsNumberZeroAndEmptyText) {
  tells(R"({"linux":[{"versionDes":"zero"}],"other":[{"id":3}]})", "{}");
  ASSERT_TRUE(fetch());
  EXPECT_EQ(catalogue_["linux"], (Versions{{0, "zero"}}));
  EXPECT_EQ(catalogue_["other"], (Versions{{3, ""}}));
}

TEST_F(GuestCatalogue, KeepsEntriesThatTheMapHeldBefore) {
  catalogue_["linux"][1] = "kept";
  catalogue_["mine"][2] = "kept";
  servesNoGuests(manager_);
  ASSERT_TRUE(fetch());
  EXPECT_EQ(catalogue_["linux"][1], "kept");
  EXPECT_EQ(catalogue_["mine"][2], "kept");
}

TEST_F(GuestCatalogue, AsksForTheArmListThoughTheStandardListIsRefused) {
  manager_.serves("GET", kGuestsTarget, refusal(500, "10000123"));
  manager_.serves("GET", kArmGuestsTarget, ok(R"({"linux":[{"id":5,"versionDes":"arm"}]})"));

  EXPECT_FALSE(fetch());

  EXPECT_EQ(catalogue_["linux"][5], "arm");
  EXPECT_EQ(error_.errorCode, "10000123");
  ASSERT_TRUE(log_.has(4, "Failed to get OS List"));
}

TEST_F(GuestCatalogue, KeepsTheStandardListWhenTheArmListIsRefused) {
  manager_.serves("GET", kGuestsTarget, ok(R"({"linux":[{"id":5,"versionDes":"L5"}]})"));
  manager_.serves("GET", kArmGuestsTarget, refusal(500, "10000123"));
  EXPECT_FALSE(fetch());
  EXPECT_EQ(catalogue_["linux"][5], "L5");
}

TEST_F(GuestCatalogue, IsUnchangedWhenTheRequestOfOneListFails) {
  manager_.serves("GET", kGuestsTarget, refusal(500, "10000123"));
  EXPECT_FALSE(api_.getOSListfromVrmByArch(vrm_, catalogue_, error_, 0));
  EXPECT_THAT(catalogue_, IsEmpty());
}

TEST_F(GuestCatalogue, TakesTheStandardListForAnyOtherArchitecture) {
  manager_.serves("GET", kGuestsTarget, ok("{}"));
  EXPECT_TRUE(api_.getOSListfromVrmByArch(vrm_, catalogue_, error_, 2));
  EXPECT_THAT(manager_.lines(),
              ElementsAre("POST /service/session", "GET /service/sites/1/vms/osversions"));
}

TEST_F(GuestCatalogue, ThrowsForANumberOfTheWrongType) {
  tells(R"({"linux":[{"id":"five"}]})", "{}");
  EXPECT_THROW(fetch(), Json::Exception);
}

class GuestLookup : public ::testing::Test {
 protected:
  bool lookUp(const std::string& osType, int version) {
    return api_.getOSDesFromOSList(catalogue_, osType, version, description_, message_);
  }

  LogCapture log_;
  Catalogue catalogue_{{"windows", {{1, "W"}}}, {"linux", {{1, "L"}}}, {"other", {{1, "O"}}}};
  std::string description_ = "before";
  std::string message_ = "before";
  KestrelVisor_rest_api api_;
};

TEST_F(GuestLookup, MapsTheThreeTypesToTheirFamilies) {
  EXPECT_TRUE(lookUp("Windows", 1));
  EXPECT_EQ(description_, "W");
  EXPECT_TRUE(lookUp("Linux", 1));
  EXPECT_EQ(description_, "L");
  EXPECT_TRUE(lookUp("Other", 1));
  EXPECT_EQ(description_, "O");
  EXPECT_THAT(log_.texts(), IsEmpty());
}

TEST_F(GuestLookup, EmptiesTheMessageAlways) {
  EXPECT_TRUE(lookUp("Linux", 1));
  EXPECT_EQ(message_, "");
  message_ = "before";
  EXPECT_FALSE(lookUp("Linux", 2));
  EXPECT_EQ(message_, "");
}

TEST_F(GuestLookup, FindsAFamilyByItsOwnName) {
  EXPECT_TRUE(lookUp("linux", 1));
  EXPECT_EQ(description_, "L");
}

TEST_F(GuestLookup, AddsAFamilyForATypeInOtherLetters) {
  EXPECT_FALSE(lookUp("LINUX", 1));
  EXPECT_EQ(description_, "");
  EXPECT_EQ(catalogue_["LINUX"], (Versions{{1, ""}}));
  EXPECT_TRUE(log_.has(1, "osDes is empty."));
}

TEST_F(GuestLookup, GoesOnWithAnEmptyType) {
  EXPECT_FALSE(lookUp("", 4));
  EXPECT_THAT(log_.texts(),
              ElementsAre("getOSDesFromOSList: Failed. OsType is empty. ", "osDes is empty."));
  EXPECT_EQ(log_.records()[0].level, 1);
  EXPECT_EQ(catalogue_[""], (Versions{{4, ""}}));
}

TEST_F(GuestLookup, MissesAVersionTwiceAndAddsItOnce) {
  EXPECT_FALSE(lookUp("Windows", 7));
  EXPECT_FALSE(lookUp("Windows", 7));
  EXPECT_THAT(catalogue_["windows"], ElementsAre(Pair(1, "W"), Pair(7, "")));
  EXPECT_EQ(description_, "");
}

TEST_F(GuestLookup, DoesNotFallBackToAnotherFamily) {
  catalogue_["windows"][9] = "W9";
  EXPECT_FALSE(lookUp("Linux", 9));
  EXPECT_EQ(description_, "");
}

}  // namespace
