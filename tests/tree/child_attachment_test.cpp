#include "engine/kestrelvisor_public.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Tree = tree<kestrelVisor_TreeNode>;

boost::shared_ptr<ST_DATASTORE_INFO> datastoreObject(int number) {
  const auto datastore = boost::make_shared<ST_DATASTORE_INFO>();
  datastore->uri = "/d/" + std::to_string(number);
  datastore->name = "d" + std::to_string(number);
  return datastore;
}

class ChildAttachment : public ::testing::Test {
 protected:
  ChildAttachment() {
    kestrelVisor_TreeNode root;
    root.index = index_.getIndex();
    tree_.add_root(root);
  }
  // Below the root, as the driver does; and below any other node.
  void attachToRoot(KestrelVisorPublic::ObjectList children) {
    engine_.AddChildNodesToTree(index_, Tree::iterator(tree_, 0), tree_, children);
  }
  void attachTo(std::uint64_t position, KestrelVisorPublic::ObjectList children) {
    Tree::leaf_iterator parent(tree_);
    parent.position = position;
    engine_.AddChildNodesToTree(index_, parent, tree_, children);
  }

  LogCapture log_;
  Tree tree_;
  ObjectIndex index_;
  KestrelVisorPublic engine_;
};

TEST_F(ChildAttachment, OfNothingMarksTheRootAsExpanded) {
  attachToRoot({});
  EXPECT_FALSE(tree_.node(0).needExpand);
  EXPECT_EQ(tree_.end, 1U);
}

TEST_F(ChildAttachment, OfNothingMarksAnyParentAsExpanded) {
  attachToRoot({hostObject(1)});
  attachTo(1, {});
  EXPECT_TRUE(tree_.node(0).needExpand);
  EXPECT_FALSE(tree_.node(1).needExpand);
  EXPECT_EQ(tree_.end, 2U);
}

TEST_F(ChildAttachment, TakesTheBaseFieldsOfAnObject) {
  attachToRoot({hostObject(3)});

  const kestrelVisor_TreeNode& node = tree_.node(1);
  EXPECT_EQ(node.type, 5);
  EXPECT_EQ(node.name, "host-3");
  EXPECT_EQ(node.moRef, "/service/sites/1/hosts/3");
  EXPECT_EQ(node.objectStr, "/service/sites/1/hosts/3");
  EXPECT_EQ(node.GUID, "old-host-3");
  EXPECT_EQ(node.objectGUID, "guid-host-3");
  EXPECT_TRUE(node.needExpand);
  EXPECT_TRUE(node.isValid);
  EXPECT_TRUE(node.DRS);
  EXPECT_EQ(node.description, "");
}

TEST_F(ChildAttachment, NumbersChildrenInListOrderBehindTheParent) {
  attachToRoot({clusterObject(1), hostObject(2), machineObject(3)});
  ASSERT_EQ(tree_.end, 4U);
  const std::uint64_t root = tree_.node(0).index;
  for (std::uint64_t position = 1; position < 4; ++position) {
    EXPECT_EQ(tree_.node(position).index, root + position);
    EXPECT_EQ(tree_.node(position).parentIndex, root);
  }
  EXPECT_EQ(tree_.node(1).name, "cluster-1");
  EXPECT_EQ(tree_.node(3).name, "vm-3");
}

TEST_F(ChildAttachment, NamesTheParentByItsNumberAndNotByItsPosition) {
  index_.getIndex();  // the numbers run ahead of the positions
  attachToRoot({clusterObject(1)});
  attachTo(1, {hostObject(1)});
  EXPECT_EQ(tree_.node(2).parentIndex, tree_.node(1).index);
  EXPECT_NE(tree_.node(2).parentIndex, 1U);
}

TEST_F(ChildAttachment, ListsAncestorsAboveTheParentFromTheRootDown) {
  attachToRoot({clusterObject(1)});
  attachTo(1, {hostObject(1)});
  attachTo(2, {machineObject(1)});
  EXPECT_THAT(tree_.node(1).indirectParents, IsEmpty());
  EXPECT_THAT(tree_.node(2).indirectParents, ElementsAre(tree_.node(0).index));
  EXPECT_THAT(tree_.node(3).indirectParents, ElementsAre(tree_.node(0).index, tree_.node(1).index));
}

TEST_F(ChildAttachment, TakesTheFactsOfAHost) {
  const auto host = hostObject(1);
  host->ip = "10.0.0.1";
  host->cpuNumber = 48;
  host->arch = "arm";
  host->cpuVendor = "V";
  host->datastores = {datastoreObject(1)};

  attachToRoot({host});

  EXPECT_EQ(tree_.node(1).ip, "10.0.0.1");
  EXPECT_EQ(tree_.node(1).cpu_num, 48);
  EXPECT_EQ(tree_.node(1).arch, "arm");
  EXPECT_EQ(tree_.node(1).cpuVendor, "V");
  EXPECT_THAT(tree_.node(1).datastores, SizeIs(1));
}

TEST_F(ChildAttachment, TakesTheFactsOfACluster) {
  const auto cluster = clusterObject(1);
  cluster->arch = "arm";
  cluster->cpuVendor = "V";
  cluster->datastores = {datastoreObject(1)};

  attachToRoot({cluster});

  EXPECT_EQ(tree_.node(1).ip, "");
  EXPECT_EQ(tree_.node(1).cpu_num, 0);
  EXPECT_EQ(tree_.node(1).arch, "arm");
  EXPECT_EQ(tree_.node(1).cpuVendor, "V");
  EXPECT_THAT(tree_.node(1).datastores, SizeIs(1));
}

TEST_F(ChildAttachment, LeavesAHostAndAClusterWithoutDatastoresWithoutDatastores) {
  attachToRoot({hostObject(1), clusterObject(1)});
  EXPECT_THAT(tree_.node(1).datastores, IsEmpty());
  EXPECT_THAT(tree_.node(2).datastores, IsEmpty());
}

TEST_F(ChildAttachment, LeavesTheHostsFieldsOfAMachineAtTheirDefaults) {
  attachToRoot({hostObject(1)});
  attachTo(1, {machineObject(1)});
  const kestrelVisor_TreeNode& node = tree_.node(2);
  EXPECT_EQ(node.ip, "");
  EXPECT_EQ(node.cpu_num, 0);
  EXPECT_EQ(node.arch, "");
  EXPECT_EQ(node.cpuVendor, "");
  EXPECT_THAT(node.datastores, IsEmpty());
}

// The three differences of the overloads.

TEST_F(ChildAttachment, KeepsTheObjectBelowAnyNodeButTheRoot) {
  attachToRoot({hostObject(1)});
  const boost::shared_ptr<KestrelVisorObj> machine = machineObject(1);
  attachTo(1, {machine});
  EXPECT_TRUE(tree_.node(1).object.empty());
  EXPECT_EQ(boost::any_cast<boost::shared_ptr<KestrelVisorObj>>(tree_.node(2).object), machine);
}

TEST_F(ChildAttachment, WritesTheHostLineOfItsOverload) {
  const auto host = hostObject(1);
  host->cpuNumber = 4;
  host->cpuVendor = "V";
  attachToRoot({host});
  attachTo(1, {host});
  EXPECT_THAT(log_.texts(1),
              ElementsAre("nodeInfo.cpu_num:4nodeInfo.arch: x86, nodeInfo.cpuVendor:V",
                          "nodeInfo.cpu_num:4, nodeInfo.arch: x86, nodeInfo.cpuVendor=V"));
  EXPECT_EQ(log_.records()[0].function, "KestrelVisorPublic::AddChildNodesToTree()");
  EXPECT_EQ(log_.records()[0].tag, "KestrelVisorEngine");
}

TEST_F(ChildAttachment, WritesTheClusterLineOfItsOverload) {
  const auto cluster = clusterObject(1);
  cluster->cpuVendor = "V";
  attachToRoot({cluster});
  attachTo(1, {cluster});
  EXPECT_THAT(log_.texts(1), ElementsAre("cluster nodeInfo.arch: x86, cluster nodeInfo.cpuVendor:V",
                                         "cluster nodeInfo.arch: x86, cluster nodeInfo.arch:V"));
}

// A cluster by its class, a host by its claim.
TEST_F(ChildAttachment, EndsAtAnObjectThatClaimsToBeAHostAndIsNone) {
  const auto impostor = clusterObject(9);
  impostor->type = 5;

  attachToRoot({hostObject(1), impostor, hostObject(2)});

  EXPECT_EQ(tree_.end, 2U);
  EXPECT_TRUE(log_.has(4, "Invalid parameter of cna !"));
  EXPECT_TRUE(tree_.node(0).needExpand);
  // Its number was taken and stays unused.
  EXPECT_EQ(index_.getIndex(), tree_.node(1).index + 2);
}

TEST_F(ChildAttachment, EndsAtSuchAnObjectBelowAnyNode) {
  attachToRoot({clusterObject(1)});
  const auto impostor = machineObject(9);
  impostor->type = 5;

  attachTo(1, {impostor, hostObject(2)});

  EXPECT_EQ(tree_.end, 2U);
  EXPECT_TRUE(log_.has(4, "Invalid parameter of cna !"));
}

TEST_F(ChildAttachment, ReadsTheParentAnewWhileTheTreeGrows) {
  KestrelVisorPublic::ObjectList children;
  for (int number = 0; number < 300; ++number) children.push_back(machineObject(number));
  attachToRoot({clusterObject(1)});
  attachTo(1, children);
  ASSERT_EQ(tree_.end, 302U);
  for (std::uint64_t position = 2; position < tree_.end; ++position) {
    EXPECT_EQ(tree_.node(position).parentIndex, tree_.node(1).index);
    EXPECT_THAT(tree_.node(position).indirectParents, ElementsAre(tree_.node(0).index));
  }
}

TEST(NodeDatastore, IsFilledFromTheRecordWithSizesShiftedBy20Bits) {
  const auto datastore = datastoreObject(1);
  datastore->storageType = EN_DATASTORAGE_TYPE_ADVANCE_SAN;
  datastore->actualCapacityGB = 4294967295U;
  datastore->actualFreeSizeGB = 1;
  kestrelVisor_TreeNode node;
  KestrelVisorPublic engine;

  engine.addDatastore({datastore}, node);

  ASSERT_THAT(node.datastores, SizeIs(1));
  EXPECT_EQ(node.datastores.front().uri, "/d/1");
  EXPECT_EQ(node.datastores.front().name, "d1");
  EXPECT_EQ(node.datastores.front().capacity, "4503599626321920");
  EXPECT_EQ(node.datastores.front().freeSpace, "1048576");
  EXPECT_EQ(node.datastores.front().type, 2U);
}

TEST(NodeDatastore, IsAppendedUnsortedAndMoreThanOnce) {
  kestrelVisor_TreeNode node;
  KestrelVisorPublic engine;
  engine.addDatastore({datastoreObject(2), datastoreObject(1), datastoreObject(2)}, node);
  std::vector<std::string> names;
  for (const auto& datastore : node.datastores) names.push_back(datastore.name);
  EXPECT_THAT(names, ElementsAre("d2", "d1", "d2"));
}

}  // namespace
