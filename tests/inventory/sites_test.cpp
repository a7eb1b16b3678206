#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSitesTarget = "/service/sites";

Document aSite(int number, bool isSelf) {
  const std::string n = std::to_string(number);
  return Document()
      .with("urn", "urn:sites:" + n)
      .with("uri", "/service/sites/" + n)
      .with("name", "site-" + n)
      .with("ip", "10.1.0." + n)
      .with("isSelf", isSelf);
}

class SitesQuery : public ::testing::Test {
 protected:
  bool list(bool onlySelf) { return api_.getAllVRMsInfoInADomain(vrm_, onlySelf, sites_, error_); }
  void knows(const Documents& sites) {
    manager_.serves("GET", kSitesTarget, ok(listOf("sites", sites)));
  }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const VRM_INFO& site : sites_) names.push_back(site.name);
    return names;
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  std::list<VRM_INFO> sites_;
  KestrelVisor_rest_api api_;
};

TEST_F(SitesQuery, AsksForAllSitesAndNotBelowTheConnectionsOwn) {
  knows({});
  EXPECT_TRUE(list(false));
  EXPECT_THAT(manager_.lines(), ElementsAre("POST /service/session", "GET /service/sites"));
}

TEST_F(SitesQuery, ReadsEveryFieldOfASite) {
  knows({aSite(4, true)});

  ASSERT_TRUE(list(false));

  ASSERT_EQ(sites_.size(), 1U);
  const VRM_INFO& site = sites_.front();
  EXPECT_EQ(site.urn, "urn:sites:4");
  EXPECT_EQ(site.uri, "/service/sites/4");
  EXPECT_EQ(site.name, "site-4");
  EXPECT_EQ(site.vrmIp, "10.1.0.4");
  EXPECT_TRUE(site.isSelf);
}

TEST_F(SitesQuery, LeavesAllOtherFieldsAtTheHostsDefaultsWithoutCredentials) {
  knows({aSite(4, true)});

  ASSERT_TRUE(list(false));

  const VRM_INFO& site = sites_.front();
  EXPECT_EQ(site.type, 1);
  EXPECT_EQ(site.clientUsername, "");
  EXPECT_EQ(site.clientPassword, "");
  EXPECT_EQ(site.vrmCert, "");
  EXPECT_EQ(site.vrmPort, 0);
  EXPECT_EQ(site.restVersion, "");
  EXPECT_EQ(site.objectStr, "");
}

TEST_F(SitesQuery, ListsAllSitesEachWithItsOwnMark) {
  knows({aSite(1, false), aSite(2, true), aSite(3, false)});

  ASSERT_TRUE(list(false));

  EXPECT_THAT(names(), ElementsAre("site-1", "site-2", "site-3"));
  EXPECT_FALSE(sites_.front().isSelf);
  EXPECT_TRUE(std::next(sites_.begin())->isSelf);
  EXPECT_FALSE(sites_.back().isSelf);
}

TEST_F(SitesQuery, FindsTheManagersOwnSite) {
  knows({aSite(1, false), aSite(2, true)});
  EXPECT_TRUE(list(true));
  EXPECT_THAT(names(), ElementsAre("site-2"));
}

TEST_F(SitesQuery, KeepsOnlyTheFirstOfTwoOwnSites) {
  knows({aSite(1, true), aSite(2, true)});
  EXPECT_TRUE(list(true));
  EXPECT_THAT(names(), ElementsAre("site-1"));
}

TEST_F(SitesQuery, SucceedsWithAnEmptyListWhenNoSiteIsTheManagersOwn) {
  sites_.emplace_back();
  knows({aSite(1, false), aSite(2, false).without("isSelf")});
  EXPECT_TRUE(list(true));
  EXPECT_THAT(sites_, IsEmpty());
}

TEST_F(SitesQuery, EmptiesTheListWhenThereIsNoSite) {
  sites_.emplace_back();
  knows({});
  EXPECT_TRUE(list(false));
  EXPECT_THAT(sites_, IsEmpty());
}

TEST_F(SitesQuery, KeepsTheListWhenTheRequestFails) {
  sites_.emplace_back().name = "kept";
  manager_.serves("GET", kSitesTarget, refusal(500, "10000123", "no"));

  EXPECT_FALSE(list(false));

  EXPECT_THAT(names(), ElementsAre("kept"));
  EXPECT_EQ(error_.errorCode, "10000123");
  ASSERT_TRUE(log_.has(2, "Failed to get vrm jsonObj"));
  const auto record = log_.withText("Failed to get vrm jsonObj").front();
  EXPECT_EQ(record.tag, "KestrelVisorEngine");
  EXPECT_EQ(record.function, "KestrelVisor_rest_api::getAllVRMsInfoInADomain()");
}

TEST_F(SitesQuery, ProvesCredentialsByOneQueryForTheOwnSite) {
  knows({aSite(1, false)});
  EXPECT_TRUE(api_.verifyAuth(vrm_, error_));
  EXPECT_THAT(manager_.lines(), ElementsAre("POST /service/session", "GET /service/sites"));
}

TEST_F(SitesQuery, DisprovesCredentialsWhenTheQueryFails) {
  manager_.serves("GET", kSitesTarget, refusal(500, "10000123"));
  EXPECT_FALSE(api_.verifyAuth(vrm_, error_));
}

}  // namespace
