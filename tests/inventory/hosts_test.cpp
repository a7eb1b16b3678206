#include "inventory/inventory_records.h"
#include "platform/contract/helpers.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostQuery : public ::testing::Test {
 protected:
  bool list(const std::string& scope) { return api_.getCnaFromVrm(vrm_, scope, hosts_, error_); }
  void knows(const Documents& hosts) {
    servesHosts(manager_, "default", hosts);
    servesDatastores(manager_, {});
  }
  const CNA_INFO& first() const { return dynamic_cast<const CNA_INFO&>(*hosts_.front()); }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& host : hosts_) names.push_back(host->name);
    return names;
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  std::list<boost::shared_ptr<KestrelVisorObj>> hosts_;
  KestrelVisor_rest_api api_;
};

TEST_F(HostQuery, AsksForTheHostsOfAScopeAndForTheSitesDatastoresForEach) {
  servesHosts(manager_, clusterUrn(3), {aHost(1), aHost(2)});
  servesDatastores(manager_, {});

  EXPECT_TRUE(list(clusterUrn(3)));

  EXPECT_THAT(manager_.lines(),
              ElementsAre("POST /service/session",
                          "GET /service/sites/1/hosts?scope=urn:sites:1:clusters:3",
                          "GET /service/sites/1/datastores?status=NORMAL",
                          "GET /service/sites/1/datastores?status=NORMAL"));
}

TEST_F(HostQuery, AsksForAllHostsOfTheSiteWithoutAScope) {
  manager_.serves("GET", "/service/sites/1/hosts", ok(listOf("hosts", {})));
  EXPECT_TRUE(list(""));
  EXPECT_THAT(manager_.lines(), ElementsAre("POST /service/session", "GET /service/sites/1/hosts"));
}

TEST_F(HostQuery, ReadsEveryFieldOfAHost) {
  knows({aHost(1)
             .with("description", "first")
             .with("clusterUrn", "urn:c")
             .with("clusterName", "c")
             .with("arch", "arm")
             .with("cpuVendor", "V")
             .with("physicalCpuQuantity", 48)});

  ASSERT_TRUE(list("default"));

  EXPECT_EQ(first().type, 5);
  EXPECT_EQ(first().urn, "urn:sites:1:hosts:1");
  EXPECT_EQ(first().uri, "/service/sites/1/hosts/1");
  EXPECT_EQ(first().name, "host-1");
  EXPECT_EQ(first().ip, "10.0.0.1");
  EXPECT_EQ(first().description, "first");
  EXPECT_EQ(first().clusterUrn, "urn:c");
  EXPECT_EQ(first().clusterName, "c");
  EXPECT_EQ(first().arch, "arm");
  EXPECT_EQ(first().cpuVendor, "V");
  EXPECT_EQ(first().cpuNumber, 48);
  EXPECT_EQ(first().vrmUrn, "urn:sites:1");
  EXPECT_EQ(first().vrmName, "site");
  EXPECT_EQ(first().vrmIp, manager_.address());
}

TEST_F(HostQuery, FillsTheBaseFieldsFromNameAndUri) {
  knows({aHost(1)});

  ASSERT_TRUE(list("default"));

  std::string uri = "/service/sites/1/hosts/1";
  const std::string guid = EnvProxy_string_to_uuid(uri);
  const KestrelVisorObj& base = first();
  EXPECT_EQ(base.name, "host-1");
  EXPECT_EQ(base.objectStr, uri);
  EXPECT_EQ(base.oldGuid, guid);
  EXPECT_EQ(base.guid, guid);
}

TEST_F(HostQuery, TakesX86WithoutVendorAndCpusWhenTheManagerTellsNone) {
  knows({aHost(1).without("physicalCpuQuantity")});
  ASSERT_TRUE(list("default"));
  EXPECT_EQ(first().arch, "x86");
  EXPECT_EQ(first().cpuVendor, "");
  EXPECT_EQ(first().cpuNumber, 0);
}

// The line is older than the reading of the number, so it always tells 0.
TEST_F(HostQuery, LogsCountArchitectureVendorAndAGuidLineWithoutTheCpuNumber) {
  knows({aHost(1).with("arch", "arm").with("cpuVendor", "V").with("physicalCpuQuantity", 48)});

  ASSERT_TRUE(list("default"));

  std::vector<std::pair<int, std::string>> own;
  for (const auto& record : log_.records()) {
    if (record.function != "KestrelVisor_rest_api::getCnaFromVrm()") continue;
    EXPECT_EQ(record.tag, "KestrelVisorEngine");
    own.emplace_back(record.level, record.text);
  }
  const std::string guidLine =
      "object str is :/service/sites/1/hosts/1 object GUID is:" + first().guid +
      " CPU number is : 0";
  EXPECT_THAT(own, ElementsAre(std::pair(2, "cna Count = 1"),
                               std::pair(1, "Cna urn:urn:sites:1:hosts:1arch :arm"),
                               std::pair(1, "Cna urn:urn:sites:1:hosts:1cpuVendor :V"),
                               std::pair(0, guidLine)));
}

TEST_F(HostQuery, SucceedsWithoutHosts) {
  knows({});
  EXPECT_TRUE(list("default"));
  EXPECT_THAT(hosts_, IsEmpty());
  EXPECT_TRUE(log_.has(2, "cna Count = 0"));
}

TEST_F(HostQuery, PicksTheDatastoresThatNameTheHost) {
  knows({aHost(1)});
  Json::Value both(Json::arrayValue);
  both.append(hostUrn(2));
  both.append(hostUrn(1));
  Json::Value other(Json::arrayValue);
  other.append(hostUrn(2));
  servesDatastores(manager_, {aDatastore(1).with("hosts", both), aDatastore(2).with("hosts", other),
                              aDatastore(3).without("hosts")});

  ASSERT_TRUE(list("default"));

  ASSERT_EQ(first().datastores.size(), 1U);
  EXPECT_EQ(first().datastores.front()->name, "datastore-1");
}

TEST_F(HostQuery, FailsWithTheManagersCodeWhenTheListIsRefused) {
  manager_.serves("GET", hostsTarget("default"), refusal(500, "10000123"));
  EXPECT_FALSE(list("default"));
  EXPECT_EQ(error_.errorCode, "10000123");
  EXPECT_TRUE(log_.has(4, "Failed to get cna jsonObj"));
}

TEST_F(HostQuery, KeepsEarlierHostsWhenALaterDatastoreQueryFails) {
  knows({aHost(1), aHost(2), aHost(3)});
  manager_.answers("GET", kDatastoresTarget, 2, refusal(500, "10000123"));

  EXPECT_FALSE(list("default"));

  EXPECT_THAT(names(), ElementsAre("host-1"));
  EXPECT_EQ(error_.errorCode, "00000000");
  EXPECT_TRUE(log_.has(2, "Failed to query the Data Stores"));
}

TEST_F(HostQuery, ThrowsForACpuNumberOfTheWrongType) {
  knows({aHost(1).with("physicalCpuQuantity", "two")});
  EXPECT_THROW(list("default"), Json::Exception);
  EXPECT_THAT(hosts_, IsEmpty());
}

}  // namespace
