#include "inventory/inventory_records.h"
#include "platform/contract/helpers.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <boost/pointer_cast.hpp>

namespace {

using namespace kestrelvisor::test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class ClusterQuery : public ::testing::Test {
 protected:
  bool list() { return api_.getClusterFromVrm(vrm_, clusters_, error_); }
  // Clusters without datastores.
  void knows(const Documents& clusters) {
    servesClusters(manager_, clusters);
    for (int number = 1; number <= static_cast<int>(clusters.size()); ++number) {
      manager_.serves("GET", clusterDatastoresTarget(number), ok(listOf("datastores", {})));
    }
  }
  const CLUSTER_INFO& first() const {
    return dynamic_cast<const CLUSTER_INFO&>(*clusters_.front());
  }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& cluster : clusters_) names.push_back(cluster->name);
    return names;
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  std::list<boost::shared_ptr<KestrelVisorObj>> clusters_;
  KestrelVisor_rest_api api_;
};

TEST_F(ClusterQuery, AsksForTheClustersAndThenForTheDatastoresOfEach) {
  knows({aCluster(1), aCluster(2)});

  EXPECT_TRUE(list());

  EXPECT_THAT(
      manager_.lines(),
      ElementsAre("POST /service/session", "GET /service/sites/1/clusters",
                  "GET /service/sites/1/datastores?scope=urn:sites:1:clusters:1&status=NORMAL",
                  "GET /service/sites/1/datastores?scope=urn:sites:1:clusters:2&status=NORMAL"));
}

TEST_F(ClusterQuery, ReadsEveryFieldOfACluster) {
  knows({aCluster(1).with("description", "first").with("arch", "arm").with("cpuVendor", "V")});

  ASSERT_TRUE(list());

  EXPECT_EQ(first().type, 6);
  EXPECT_EQ(first().urn, "urn:sites:1:clusters:1");
  EXPECT_EQ(first().uri, "/service/sites/1/clusters/1");
  EXPECT_EQ(first().name, "cluster-1");
  EXPECT_EQ(first().description, "first");
  EXPECT_EQ(first().arch, "arm");
  EXPECT_EQ(first().cpuVendor, "V");
  EXPECT_EQ(first().vrmUrn, "urn:sites:1");
  EXPECT_EQ(first().vrmName, "site");
  EXPECT_EQ(first().vrmIp, manager_.address());
}

TEST_F(ClusterQuery, FillsTheBaseFieldsFromNameAndUri) {
  knows({aCluster(1)});

  ASSERT_TRUE(list());

  std::string uri = "/service/sites/1/clusters/1";
  const std::string guid = EnvProxy_string_to_uuid(uri);
  const KestrelVisorObj& base = first();
  EXPECT_EQ(base.name, "cluster-1");
  EXPECT_EQ(base.objectStr, uri);
  EXPECT_EQ(base.oldGuid, guid);
  EXPECT_EQ(base.guid, guid);
}

TEST_F(ClusterQuery, TakesX86AndNoVendorWhenTheManagerTellsNeither) {
  knows({aCluster(1)});
  ASSERT_TRUE(list());
  EXPECT_EQ(first().arch, "x86");
  EXPECT_EQ(first().cpuVendor, "");
  EXPECT_THAT(log_.texts(1), Not(Contains(StartsWith("clusterUrn urn:"))));
}

TEST_F(ClusterQuery, TakesAnArchitectureOfNullAsEmpty) {
  knows({aCluster(1).with("arch", Json::nullValue)});
  ASSERT_TRUE(list());
  EXPECT_EQ(first().arch, "");
}

TEST_F(ClusterQuery, LogsCountArchitectureVendorAndGuidInOrder) {
  knows({aCluster(1).with("arch", "arm").with("cpuVendor", "V")});

  ASSERT_TRUE(list());

  std::vector<std::string> own;
  for (const auto& record : log_.records()) {
    if (record.function != "KestrelVisor_rest_api::getClusterFromVrm()") continue;
    EXPECT_EQ(record.level, 1);
    EXPECT_EQ(record.tag, "KestrelVisorEngine");
    own.push_back(record.text);
  }
  EXPECT_THAT(own, ElementsAre("Cluster Count=1", "clusterUrn urn:urn:sites:1:clusters:1arch :arm",
                               "clusterUrn urn:urn:sites:1:clusters:1cpuVendor :V",
                               "object str is :/service/sites/1/clusters/1 object GUID is:" +
                                   first().guid));
}

TEST_F(ClusterQuery, SucceedsWithoutClusters) {
  knows({});
  EXPECT_TRUE(list());
  EXPECT_THAT(clusters_, IsEmpty());
  EXPECT_TRUE(log_.has(1, "Cluster Count=0"));
}

TEST_F(ClusterQuery, AppendsBehindWhatTheListHolds) {
  clusters_.push_back(boost::shared_ptr<KestrelVisorObj>(new KestrelVisorObj));
  clusters_.front()->name = "earlier";
  knows({aCluster(1), aCluster(2)});
  EXPECT_TRUE(list());
  EXPECT_THAT(names(), ElementsAre("earlier", "cluster-1", "cluster-2"));
}

TEST_F(ClusterQuery, KeepsTheSupportedDatastoresOfTheCluster) {
  knows({aCluster(1)});
  manager_.serves("GET", clusterDatastoresTarget(1),
                  ok(listOf("datastores", {aDatastore(1), aDatastore(2).with("storageType", "X"),
                                           aDatastore(3).with("storageType", "QSTORE")})));

  ASSERT_TRUE(list());

  ASSERT_EQ(first().datastores.size(), 2U);
  EXPECT_EQ(first().datastores.front()->name, "datastore-1");
  EXPECT_EQ(first().datastores.back()->name, "datastore-3");
}

TEST_F(ClusterQuery, FailsWithTheManagersCodeWhenTheListIsRefused) {
  manager_.serves("GET", kClustersTarget, refusal(500, "10000123"));

  EXPECT_FALSE(list());

  EXPECT_EQ(error_.errorCode, "10000123");
  EXPECT_TRUE(log_.has(4, "Failed to get cluster jsonObj"));
}

TEST_F(ClusterQuery, KeepsEarlierClustersWhenALaterDatastoreQueryFails) {
  knows({aCluster(1), aCluster(2), aCluster(3)});
  manager_.serves("GET", clusterDatastoresTarget(2), refusal(500, "10000123"));

  EXPECT_FALSE(list());

  EXPECT_THAT(names(), ElementsAre("cluster-1"));
  EXPECT_EQ(error_.errorCode, "00000000");
  EXPECT_TRUE(log_.has(4, "Failed to query the Data Stores"));
  EXPECT_THAT(manager_.lines(), Not(Contains("GET " + clusterDatastoresTarget(3))));
}

TEST_F(ClusterQuery, ThrowsForANameOfTheWrongType) {
  knows({aCluster(1).with("name", Json::objectValue)});
  EXPECT_THROW(list(), Json::Exception);
  EXPECT_THAT(clusters_, IsEmpty());
}

}  // namespace
