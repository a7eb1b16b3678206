#include "tests/engine/engine_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ManagerPreparation : public EngineTest {
 protected:
  ManagerPreparation() : vrm(manager.connection()) {
    for (std::string* text : {&vrm.urn, &vrm.uri, &vrm.name, &vrm.restVersion}) text->clear();
  }

  VRM_INFO vrm;
  KestrelVisorErrorMessage error;
};

TEST_F(ManagerPreparation, AsksForVersionsAndThenForSites) {
  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 0);

  EXPECT_THAT(manager.lines(),
              ElementsAre("GET /service/versions", "POST /service/session", "GET /service/sites"));
  EXPECT_EQ(vrm.restVersion, "6.5");
}

TEST_F(ManagerPreparation, TakesTheOwnSiteIntoTheRecord) {
  manager.serves("GET", kSites, ownSite("127.0.0.77"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 0);

  EXPECT_EQ(vrm.urn, "urn:sites:1");
  EXPECT_EQ(vrm.uri, "/service/sites/1");
  EXPECT_EQ(vrm.name, "near");
  EXPECT_EQ(vrm.vrmIp, "127.0.0.77");
  EXPECT_TRUE(vrm.isSelf);
  EXPECT_EQ(vrm.vrmPort, manager.port());
  EXPECT_EQ(vrm.clientUsername, manager.connection().clientUsername);
}

TEST_F(ManagerPreparation, LeavesTheRecordWhenNoSiteIsTheManagersOwn) {
  manager.serves("GET", kSites,
                 ok(R"({"sites":[{"urn":"u","uri":"/x","name":"n","ip":"i","isSelf":false}]})"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 0);

  EXPECT_THAT(vrm.urn, IsEmpty());
  EXPECT_THAT(vrm.uri, IsEmpty());
  EXPECT_THAT(vrm.name, IsEmpty());
  EXPECT_EQ(vrm.vrmIp, manager.address());
  EXPECT_FALSE(vrm.isSelf);
}

TEST_F(ManagerPreparation, TakesTheFirstOfTwoOwnSites) {
  manager.serves("GET", kSites,
                 ok(R"({"sites":[{"urn":"u1","uri":"/1","name":"a","ip":"i1","isSelf":true},)"
                    R"({"urn":"u2","uri":"/2","name":"b","ip":"i2","isSelf":true}]})"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 0);

  EXPECT_EQ(vrm.uri, "/1");
  EXPECT_EQ(vrm.vrmIp, "i1");
}

TEST_F(ManagerPreparation, ReturnsTheNumberOfAFailedVersionQuery) {
  manager.serves("GET", kVersions, refusal(403, "10100109", "locked"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 1138754052);

  EXPECT_TRUE(log.has(4, "Query the protected environment REST version failed, reason:locked"));
  EXPECT_THAT(manager.lines(), ElementsAre("GET /service/versions"));
}

TEST_F(ManagerPreparation, UnreadableVersionsGiveTheDefaultNumberAndText) {
  manager.serves("GET", kVersions, ok("<html>"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 1077949019);

  EXPECT_TRUE(
      log.has(4, "Query the protected environment REST version failed, reason:internal error."));
}

TEST_F(ManagerPreparation, ReturnsTheNumberOfAFailedSiteQuery) {
  manager.serves("GET", kSites, refusal(500, "10100108"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 1138754056);

  EXPECT_TRUE(log.has(4, "Get VRM information failed !"));
  EXPECT_EQ(error.errorCode, "10100108");
}

TEST_F(ManagerPreparation, GoesOnAfterAVersionQueryWhoseCodeStandsForSuccess) {
  manager.serves("GET", kVersions, refusal(500, "10100110"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 0);

  EXPECT_TRUE(engine.fillVrmInfo(vrm, error));
  EXPECT_THAT(vrm.uri, IsEmpty());
}

TEST_F(ManagerPreparation, GoesOnAfterASiteQueryWhoseCodeStandsForSuccess) {
  manager.serves("GET", kSites, refusal(500, "10100110"));

  EXPECT_EQ(engine.HandleGetVRMInfo(vrm, error), 0);

  EXPECT_THAT(vrm.uri, IsEmpty());
  EXPECT_EQ(vrm.restVersion, "6.5");
}

TEST_F(ManagerPreparation, AsAYesOrNoTellsTheAddressOfAFailure) {
  manager.serves("GET", kSites, refusal(500, "10100108"));

  EXPECT_FALSE(engine.fillVrmInfo(vrm, error));

  const auto records = log.withText("Get VRM Info error! VRM_IP=[127.0.0.1]");
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].level, 4);
  EXPECT_EQ(records[0].tag, "KESTRELVISOR_API");
  EXPECT_EQ(records[0].function, "KestrelVisorEngine::fillVrmInfo()");
}

TEST_F(ManagerPreparation, AsAYesOrNoIsSilentOnSuccess) {
  EXPECT_TRUE(engine.fillVrmInfo(vrm, error));

  EXPECT_THAT(log.texts(4), IsEmpty());
}

}  // namespace
}  // namespace kestrelvisor::test
