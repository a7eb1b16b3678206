#include "tests/rest/rest_fixture.h"

#include <json/json.h>

#include <stdexcept>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kVersions = "/service/versions";

class RestVersion : public RestTest {
 protected:
  bool ask() { return api.getKestrelVisorSupportRestVersion(vrm, version, error); }

  std::string version = "before";
};

TEST_F(RestVersion, LandsInTheResultAndInTheClient) {
  manager.serves("GET", kVersions, ok(R"({"versions":[{"version":"v6.5","other":1}],"more":2})"));

  EXPECT_TRUE(ask());

  EXPECT_EQ(version, "6.5");
  EXPECT_EQ(api.getProtocolVersion(), "6.5");
  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_TRUE(log.has(0, "URL=" + url(kVersions)));
}

TEST_F(RestVersion, IsAskedWithoutALogin) {
  manager.serves("GET", kVersions, ok(R"({"versions":[{"version":"v6.5"}]})"));

  EXPECT_TRUE(ask());

  EXPECT_THAT(manager.lines(), ElementsAre("GET /service/versions"));
}

TEST_F(RestVersion, IsAskedAnewEachTime) {
  manager.answers("GET", kVersions, 1, ok(R"({"versions":[{"version":"v1"}]})"));
  manager.answers("GET", kVersions, 2, ok(R"({"versions":[{"version":"v2"}]})"));

  EXPECT_TRUE(ask());
  EXPECT_TRUE(ask());

  EXPECT_EQ(version, "2");
}

TEST_F(RestVersion, StaysAndReachesTheClientWhenTheListIsEmpty) {
  manager.serves("GET", kVersions, ok(R"({"versions":[]})"));

  EXPECT_TRUE(ask());

  EXPECT_EQ(version, "before");
  EXPECT_EQ(api.getProtocolVersion(), "before");
}

TEST_F(RestVersion, ReachesTheClientEvenWhenTheAnswerCannotBeRead) {
  manager.serves("GET", kVersions, ok("<html>"));

  EXPECT_FALSE(ask());

  EXPECT_EQ(version, "before");
  EXPECT_EQ(api.getProtocolVersion(), "before");
  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_EQ(error.errorDescription, kNoErrorText);
  EXPECT_THAT(log.texts(4),
              ElementsAre("Failed to parse the disksInfo string !",
                          "Get support max rest version failed, url=" + url(kVersions)));
}

TEST_F(RestVersion, AnswerWithoutBodyCannotBeRead) {
  manager.serves("GET", kVersions, status(200));

  EXPECT_FALSE(ask());

  EXPECT_EQ(error.errorCode, kNoErrorCode);
}

TEST_F(RestVersion, MissingPageIsReported) {
  manager.serves("GET", kVersions, status(404));

  EXPECT_FALSE(ask());

  EXPECT_EQ(error.errorCode, "2404");
  EXPECT_EQ(error.errorDescription, "404 Page not found");
  EXPECT_EQ(api.getProtocolVersion(), "1.2");
  EXPECT_THAT(log.texts(4),
              ElementsAre("Invoke getResponse failed, the error code is 2404(404 Page not found)",
                          "Parse return information failed, url=" + url(kVersions)));
}

TEST_F(RestVersion, FailedTransferIsReportedAfterItsRepeat) {
  manager.serves("GET", kVersions, hangUp());

  EXPECT_FALSE(ask());

  EXPECT_EQ(manager.connections(), 2U);
  EXPECT_EQ(error.errorCode, "2002");
  EXPECT_EQ(error.errorDescription, transferText(CURLE_GOT_NOTHING));
  EXPECT_EQ(log.texts(4).back(), "Send message to VRM failed, url=" + url(kVersions));
}

TEST_F(RestVersion, RepeatThatWorksLeavesNoTraceOfTheFailedAttempt) {
  manager.serves("GET", kVersions, ok(R"({"versions":[{"version":"v6.5"}]})"));
  manager.answers("GET", kVersions, 1, hangUp());

  EXPECT_TRUE(ask());

  EXPECT_EQ(manager.connections(), 2U);
  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_EQ(error.errorDescription, kNoErrorText);
}

TEST_F(RestVersion, RefusalOfTheRepeatKeepsNothingOfTheFailedAttempt) {
  manager.answers("GET", kVersions, 1, hangUp());
  manager.answers("GET", kVersions, 2, status(400, R"({"errorCode":"17"})"));

  EXPECT_FALSE(ask());

  EXPECT_EQ(error.errorCode, "17");
  EXPECT_EQ(error.errorDescription, kNoErrorText);
}

TEST_F(RestVersion, EmptyVersionTextThrowsAndTheClientGoesOn) {
  manager.answers("GET", kVersions, 1, ok(R"({"versions":[{"version":""}]})"));
  manager.answers("GET", kVersions, 2, ok(R"({"versions":[{"version":"v6.5"}]})"));

  EXPECT_THROW(ask(), std::out_of_range);
  EXPECT_EQ(version, "before");

  EXPECT_TRUE(ask());
  EXPECT_EQ(version, "6.5");
}

struct VersionList {
  const char* name;
  const char* body;
  const char* version;
};
class VersionListTest : public ::testing::TestWithParam<VersionList> {};

TEST_P(VersionListTest, GivesItsLastPositiveEntry) {
  KestrelVisor_rest_api api;
  std::string version = "before";

  EXPECT_TRUE(api.getSupportMaxRestVersion(GetParam().body, version));

  EXPECT_EQ(version, GetParam().version);
}

INSTANTIATE_TEST_SUITE_P(
    RestClient, VersionListTest,
    ::testing::Values(
        VersionList{"LastNotGreatest",
                    R"({"versions":[{"version":"v1.2"},{"version":"v2.1"},{"version":"v1.5"}]})",
                    "1.5"},
        VersionList{"WordIsNotPositive", R"({"versions":[{"version":"v1.2"},{"version":"vnext"}]})",
                    "1.2"},
        VersionList{"ZeroAndNegativeAreNot",
                    R"({"versions":[{"version":"v1.2"},{"version":"v0"},{"version":"v-3"}]})",
                    "1.2"},
        VersionList{"NoneIsPositive", R"({"versions":[{"version":"vnext"}]})", "before"},
        VersionList{"ObjectOfEntries",
                    R"({"versions":{"b":{"version":"v1.2"},"a":{"version":"v2.1"}}})", "1.2"},
        VersionList{"PrefixAlone", R"({"versions":[{"version":"v"}]})", "before"},
        VersionList{"AnyPrefix", R"({"versions":[{"version":"92.5"}]})", "2.5"},
        VersionList{"WholeEntryIsTaken", R"({"versions":[{"version":"v6.5.1-beta"}]})",
                    "6.5.1-beta"}),
    [](const auto& row) { return std::string(row.param.name); });

class EmptyVersionListTest : public ::testing::TestWithParam<const char*> {};

TEST_P(EmptyVersionListTest, LeavesTheVersionAndWarns) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  std::string version = "before";

  EXPECT_TRUE(api.getSupportMaxRestVersion(GetParam(), version));

  EXPECT_EQ(version, "before");
  EXPECT_THAT(log.texts(), ElementsAre("The versions size is 0 !"));
  EXPECT_TRUE(log.has(3, "The versions size is 0 !"));
}

INSTANTIATE_TEST_SUITE_P(RestClient, EmptyVersionListTest,
                         ::testing::Values(R"({"versions":[]})", R"({"versions":null})",
                                           R"({"versions":{}})", R"({"versions":"v1.2"})", "{}",
                                           "null", "[]", R"([{"versions":[{"version":"v1"}]}])",
                                           "7", R"("versions")"));

TEST(VersionListLog, TellsEachEntryAndTheResult) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  std::string version;

  EXPECT_TRUE(api.getSupportMaxRestVersion(
      R"({"versions":[{"version":"v1.2"},{"version":"vnext"}]})", version));

  EXPECT_THAT(log.texts(0), ElementsAre("The version is:1.2", "The version is:next"));
  EXPECT_THAT(log.texts(1), ElementsAre("The Maximum version is:1.2"));
}

TEST(VersionListFailure, ThrowsForAnEmptyOrMissingVersionText) {
  KestrelVisor_rest_api api;
  std::string version = "before";
  for (const char* body :
       {R"({"versions":[{"version":"v1"},{"version":""}]})", R"({"versions":[{}]})",
        R"({"versions":[{"version":null}]})", R"({"versions":[null]})"}) {
    EXPECT_THROW(api.getSupportMaxRestVersion(body, version), std::out_of_range) << body;
  }
  EXPECT_EQ(version, "before");
}

TEST(VersionListFailure, ThrowsForElementsOfTheWrongType) {
  KestrelVisor_rest_api api;
  std::string version = "before";
  for (const char* body :
       {R"({"versions":[7]})", R"({"versions":["v1"]})", R"({"versions":[{"version":["v1"]}]})"}) {
    EXPECT_THROW(api.getSupportMaxRestVersion(body, version), Json::Exception) << body;
  }
  EXPECT_EQ(version, "before");
}

TEST(VersionListFailure, IsReportedForATextThatCannotBeRead) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  std::string version = "before";

  EXPECT_FALSE(api.getSupportMaxRestVersion("<html>", version));
  EXPECT_FALSE(api.getSupportMaxRestVersion(std::string(300, '['), version));

  EXPECT_EQ(version, "before");
  EXPECT_THAT(log.texts(4), ElementsAre("Failed to parse the disksInfo string !",
                                        "Failed to parse the disksInfo string !"));
}

}  // namespace
}  // namespace kestrelvisor::test
