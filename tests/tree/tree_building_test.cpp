#include "engine/kestrelvisor_public.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Tree = tree<kestrelVisor_TreeNode>;

constexpr const char* kDriver = "KestrelVisorPublic::CreateTreeTables()";
constexpr const char* kExpansion = "KestrelVisorPublic::CreateTablesSub()";

class TreeBuilding : public ::testing::Test {
 protected:
  bool build() {
    tree_ = Tree();
    return engine_.CreateTreeTables(vrm_, tree_, osMap_, error_);
  }
  // A site that answers every list with nothing.
  void isEmpty() {
    servesNoGuests(manager_);
    servesClusters(manager_, {});
    servesHosts(manager_, "default", {});
    servesDatastores(manager_, {});
  }
  // A cluster with one host and a machine of its own, a machine on that host, a host without
  // cluster and machines.
  void hasEveryKind() {
    isEmpty();
    servesClusters(manager_, {aCluster(1)});
    manager_.serves("GET", clusterDatastoresTarget(1), ok(listOf("datastores", {})));
    servesHosts(manager_, "default", {aHost(1)});
    servesHosts(manager_, clusterUrn(1), {aHost(2)});
    servesMachines(manager_, clusterUrn(1), {aVm(1, clusterUrn(1))});
    manager_.serves("GET", machineProbeTarget(hostUrn(1)), ok(R"({"total":0})"));
    servesMachines(manager_, hostUrn(2), {aVm(2, hostUrn(2))});
  }
  std::vector<std::string> names() {
    std::vector<std::string> names;
    for (Tree::iterator node(tree_); !node.atEnd(); ++node) names.push_back(node->name);
    return names;
  }
  std::vector<std::string> lines(const std::string& function, int level) const {
    std::vector<std::string> texts;
    for (const auto& record : log_.records()) {
      if (record.function == function && record.level == level) texts.push_back(record.text);
    }
    return texts;
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  KestrelVisorPublic::OsMap osMap_;
  Tree tree_;
  KestrelVisorPublic engine_;
};

TEST_F(TreeBuilding, TakesTheRootFromTheConnection) {
  vrm_.type = 42;
  KestrelVisorObj object;
  object.oldGuid = "kept";
  engine_.HandleGetObjInfo(vrm_, object);
  EXPECT_EQ(object.type, 42);
  EXPECT_EQ(object.objectStr, "/service/sites/1");
  EXPECT_EQ(object.name, "site");
  EXPECT_EQ(object.oldGuid, "kept");
}

TEST_F(TreeBuilding, MakesARootWithoutParentAndObject) {
  isEmpty();

  ASSERT_TRUE(build());

  std::string uri = "/service/sites/1";
  const std::string guid = EnvProxy_string_to_uuid(uri);
  const kestrelVisor_TreeNode& root = tree_.node(0);
  EXPECT_EQ(root.index, 1U);
  EXPECT_EQ(root.type, 1);
  EXPECT_EQ(root.name, "site");
  EXPECT_EQ(root.moRef, uri);
  EXPECT_EQ(root.objectStr, "");
  EXPECT_EQ(root.GUID, guid);
  EXPECT_EQ(root.objectGUID, guid);
  EXPECT_EQ(root.parentIndex, ObjectTreeNode::kNoParent);
  EXPECT_THAT(root.indirectParents, IsEmpty());
  EXPECT_TRUE(root.object.empty());
  EXPECT_THAT(lines(kDriver, 0),
              ElementsAre("object str is :/service/sites/1 object GUID is:" + guid));
}

TEST_F(TreeBuilding, OfAnEmptySiteIsTheRootAloneWithoutFurtherQueries) {
  isEmpty();
  EXPECT_TRUE(build());
  EXPECT_EQ(tree_.end, 1U);
  EXPECT_FALSE(tree_.node(0).needExpand);
  EXPECT_THAT(
      manager_.lines(),
      ElementsAre("POST /service/session", "GET /service/sites/1/vms/osversions",
                  "GET /service/sites/1/vms/osversions?arch=arm", "GET /service/sites/1/clusters",
                  "GET /service/sites/1/hosts?scope=default"));
}

TEST_F(TreeBuilding, OfAnEmptySiteWhoseRootIsAClusterOrGroupQueriesNothingMoreEither) {
  for (const int type : {4, 6}) {
    vrm_.type = type;
    isEmpty();
    EXPECT_TRUE(build());
    EXPECT_EQ(tree_.end, 1U);
    EXPECT_EQ(tree_.node(0).type, type);
  }
  EXPECT_EQ(manager_.lines().size(), 9U);
}

TEST_F(TreeBuilding, AsksLevelByLevelAndHangsEachObjectWhereItBelongs) {
  hasEveryKind();

  ASSERT_TRUE(build());

  EXPECT_THAT(names(), ElementsAre("site", "cluster-1", "host-1", "host-2", "vm-1", "vm-2"));
  EXPECT_EQ(tree_.node(3).parentIndex, tree_.node(1).index);
  EXPECT_EQ(tree_.node(4).parentIndex, tree_.node(1).index);
  EXPECT_EQ(tree_.node(5).parentIndex, tree_.node(3).index);
  const std::vector<std::string> expected{"POST /service/session",
                                          std::string("GET ") + kGuestsTarget,
                                          std::string("GET ") + kArmGuestsTarget,
                                          std::string("GET ") + kClustersTarget,
                                          "GET " + clusterDatastoresTarget(1),
                                          "GET " + hostsTarget("default"),
                                          std::string("GET ") + kDatastoresTarget,
                                          "GET " + hostsTarget(clusterUrn(1)),
                                          std::string("GET ") + kDatastoresTarget,
                                          "GET " + machineProbeTarget(clusterUrn(1)),
                                          "GET " + machinePageTarget(clusterUrn(1)),
                                          "GET " + machineProbeTarget(hostUrn(1)),
                                          "GET " + machineProbeTarget(hostUrn(2)),
                                          "GET " + machinePageTarget(hostUrn(2))};
  EXPECT_THAT(manager_.lines(), ElementsAreArray(expected));
}

TEST_F(TreeBuilding, GivesTheTreesNodesTheGuidsOfTheirKinds) {
  hasEveryKind();
  ASSERT_TRUE(build());

  const auto uuidOf = [](std::string text) { return EnvProxy_string_to_uuid(text); };
  for (const std::uint64_t position : {std::uint64_t{1}, std::uint64_t{2}}) {
    const kestrelVisor_TreeNode& node = tree_.node(position);
    EXPECT_EQ(node.GUID, uuidOf(node.moRef));
    EXPECT_EQ(node.objectGUID, node.GUID);
    EXPECT_EQ(node.objectStr, node.moRef);
  }
  EXPECT_EQ(tree_.node(5).GUID, machineUuid(2));
  EXPECT_EQ(tree_.node(5).objectGUID, uuidOf("urn:sites:1" + machineUuid(2)));
}

TEST_F(TreeBuilding, LeavesNoLeafToExpand) {
  hasEveryKind();
  ASSERT_TRUE(build());
  Tree::leaf_iterator leaf(tree_);
  for (leaf.getLeaf(); !leaf.atEnd(); ++leaf) EXPECT_FALSE(leaf->needExpand) << leaf->name;
  EXPECT_TRUE(tree_.node(1).needExpand);  // inner nodes keep their mark
}

TEST_F(TreeBuilding, KeepsObjectsBelowTheFirstLevelOnly) {
  hasEveryKind();
  ASSERT_TRUE(build());
  EXPECT_TRUE(tree_.node(1).object.empty());
  EXPECT_TRUE(tree_.node(2).object.empty());
  EXPECT_FALSE(tree_.node(3).object.empty());
  EXPECT_FALSE(tree_.node(4).object.empty());
}

TEST_F(TreeBuilding, RemembersEveryHostByItsUrnWithOrWithoutMachines) {
  hasEveryKind();
  ASSERT_TRUE(build());
  const std::map<std::string, std::string> expected{{hostUrn(1), tree_.node(2).objectGUID},
                                                    {hostUrn(2), tree_.node(3).objectGUID}};
  EXPECT_EQ(engine_.hostGuidByUrn, expected);
  EXPECT_THAT(lines(kExpansion, 0),
              Contains("host id :" + tree_.node(2).objectGUID +
                       " urn : urn:sites:1:hosts:1 moRef:/service/sites/1/hosts/1"));
}

TEST_F(TreeBuilding, KeepsTheHostsOfEarlierScansAndOverwritesTheSameUrn) {
  engine_.hostGuidByUrn = {{"urn:gone", "old"}, {hostUrn(1), "old"}};
  hasEveryKind();
  ASSERT_TRUE(build());
  EXPECT_EQ(engine_.hostGuidByUrn.size(), 3U);
  EXPECT_EQ(engine_.hostGuidByUrn["urn:gone"], "old");
  EXPECT_EQ(engine_.hostGuidByUrn[hostUrn(1)], tree_.node(2).objectGUID);
}

TEST_F(TreeBuilding, NumbersTheNodesOfASecondScanFromTheStart) {
  hasEveryKind();
  ASSERT_TRUE(build());
  ASSERT_TRUE(build());
  for (std::uint64_t position = 0; position < tree_.end; ++position) {
    EXPECT_EQ(tree_.node(position).index, position + 1);
  }
}

TEST_F(TreeBuilding, FailsBeforeTheRootWhenAGuestListIsRefused) {
  isEmpty();
  manager_.serves("GET", kArmGuestsTarget, refusal(500, "10000123"));
  EXPECT_FALSE(build());
  EXPECT_EQ(tree_.end, 0U);
  EXPECT_EQ(error_.errorCode, "10000123");
  EXPECT_THAT(lines(kDriver, 2), ElementsAre("Failed to get os type that the VRM supported."));
}

TEST_F(TreeBuilding, KeepsTheRootAloneWhenTheClustersAreRefused) {
  isEmpty();
  manager_.serves("GET", kClustersTarget, refusal(500, "10000123"));
  EXPECT_FALSE(build());
  EXPECT_EQ(tree_.end, 1U);
  EXPECT_THAT(lines(kDriver, 2), ElementsAre("Failed to get cluster infos from vrm:site"));
}

TEST_F(TreeBuilding, KeepsTheRootAloneWhenTheHostsWithoutClusterAreRefused) {
  hasEveryKind();
  manager_.serves("GET", hostsTarget("default"), refusal(500, "10000123"));
  EXPECT_FALSE(build());
  EXPECT_EQ(tree_.end, 1U);
  EXPECT_THAT(lines(kDriver, 2),
              ElementsAre("Failed to get CNA infos that belonged to vrm directly."));
}

TEST_F(TreeBuilding, DropsTheHostsOfAClusterWhoseMachinesAreRefused) {
  hasEveryKind();
  manager_.serves("GET", machineProbeTarget(clusterUrn(1)), refusal(500, "10000123"));
  EXPECT_FALSE(build());
  EXPECT_THAT(names(), ElementsAre("site", "cluster-1", "host-1"));
  EXPECT_EQ(error_.errorCode, "10000123");
  EXPECT_THAT(lines(kExpansion, 2),
              ElementsAre("Failed to get vm info from /service/sites/1/clusters/1"));
}

TEST_F(TreeBuilding, TellsEveryLevelAboveAFailure) {
  hasEveryKind();
  manager_.serves("GET", machinePageTarget(hostUrn(2)), refusal(500, "10000123"));
  EXPECT_FALSE(build());
  EXPECT_THAT(lines(kExpansion, 2),
              ElementsAre("Failed to get vm info from /service/sites/1/hosts/2",
                          "Failed to create sub tree of /service/sites/1/clusters/1"));
}

}  // namespace
