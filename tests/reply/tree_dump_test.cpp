#include "reply/proto_buffer_utility.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tree/tree.h"
#include "tree/tree_node.h"

namespace {

using kestrelvisor::test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Tree = tree<kestrelVisor_TreeNode>;

// A valid node whose texts follow from its number.
kestrelVisor_TreeNode aNode(std::int32_t type, std::uint64_t index) {
  const std::string n = std::to_string(index);
  kestrelVisor_TreeNode node;
  node.type = type;
  node.index = index;
  node.name = "name-" + n;
  node.moRef = "ref-" + n;
  node.GUID = "old-" + n;
  node.objectGUID = "guid-" + n;
  node.ip = "ip-" + n;
  node.moRefOfKind9 = "nine-" + n;
  node.moRefOfKind12 = "twelve-" + n;
  return node;
}

_datstore_ManagedObjectReference aReference(const std::string& uri, const std::string& name = "d") {
  _datstore_ManagedObjectReference reference;
  reference.uri = uri;
  reference.name = name;
  reference.capacity = "100";
  reference.freeSpace = "40";
  return reference;
}

class TreeDump : public ::testing::Test {
 protected:
  // Adds below the last node, or as the root.
  kestrelVisor_TreeNode& add(kestrelVisor_TreeNode node) {
    if (tree_.end == 0) return *tree_.add_root(node);
    const kestrelVisor_TreeNode& parent = tree_.node(tree_.end - 1);
    node.indirectParents = parent.indirectParents;
    if (parent.parentIndex != ObjectTreeNode::kNoParent) {
      node.indirectParents.push_back(parent.parentIndex);
    }
    node.parentIndex = parent.index;
    return tree_.node(tree_.add_child(tree_.end - 1, node));
  }
  void dump() {
    std::string text;
    ProtoBufferUtility<kestrelVisor_TreeNode>::dumpToTreeTable(tree_, reply_, text);
  }
  // ID, ParentID or "-" when it is not set, and DirectParent of each row.
  std::vector<std::string> rows() const {
    std::vector<std::string> rows;
    for (const tree_record& row : reply_.tree_records()) {
      rows.push_back(std::to_string(row.id()) + ' ' +
                     (row.has_parentid() ? std::to_string(row.parentid()) : "-") + ' ' +
                     (row.directparent() ? "direct" : "indirect"));
    }
    return rows;
  }

  LogCapture log_;
  Tree tree_;
  ScanEnvironmentReply reply_;
};

TEST_F(TreeDump, OfAnEmptyTreeAddsNothing) {
  dump();
  EXPECT_EQ(reply_.ByteSizeLong(), 0U);
  EXPECT_THAT(log_.texts(), ElementsAre("begin to dump the tree record to protobuf message ",
                                        "end of dumping the tree record to protobuf message"));
}

TEST_F(TreeDump, OfARootAddsOneRowWithoutAParentAndOneRecord) {
  add(aNode(1, 1));

  dump();

  EXPECT_THAT(rows(), ElementsAre("1 - direct"));
  EXPECT_EQ(reply_.tree_records(0).parentid(), 0U);
  EXPECT_EQ(reply_.non_vm_records_size(), 1);
}

TEST_F(TreeDump, FillsEveryFieldOfARow) {
  add(aNode(6, 5));

  dump();

  const tree_record& row = reply_.tree_records(0);
  EXPECT_EQ(row.id(), 5U);
  EXPECT_EQ(row.type(), 6);
  EXPECT_EQ(row.name(), "name-5");
  EXPECT_EQ(row.guid(), "guid-5");
  EXPECT_TRUE(row.directparent());
}

TEST_F(TreeDump, OrdersRowsByNodeTheDirectOneFirstThenFromTheRootDown) {
  add(aNode(1, 1));
  add(aNode(6, 2));
  add(aNode(5, 3));
  add(aNode(7, 4));

  dump();

  EXPECT_THAT(rows(), ElementsAre("1 - direct", "2 1 direct", "3 2 direct", "3 1 indirect",
                                  "4 3 direct", "4 1 indirect", "4 2 indirect"));
}

TEST_F(TreeDump, RepeatsTheFieldsOfANodeInItsIndirectRows) {
  add(aNode(1, 1));
  add(aNode(6, 2));
  add(aNode(5, 3));

  dump();

  const tree_record& row = reply_.tree_records(3);
  EXPECT_EQ(row.id(), 3U);
  EXPECT_EQ(row.type(), 5);
  EXPECT_EQ(row.name(), "name-3");
  EXPECT_EQ(row.guid(), "guid-3");
  EXPECT_TRUE(row.has_directparent());
}

TEST_F(TreeDump, LeavesTheParentUnsetForAnAncestorThatIsNone) {
  add(aNode(7, 9)).indirectParents = {ObjectTreeNode::kNoParent, 3};
  dump();
  EXPECT_THAT(rows(), ElementsAre("9 - direct", "9 - indirect", "9 3 indirect"));
}

TEST_F(TreeDump, WritesOneLineForEachNodeWithTheParentAsAnUnsignedNumber) {
  add(aNode(1, 1));
  add(aNode(6, 2));

  dump();

  EXPECT_THAT(log_.texts(1),
              ElementsAre("begin to dump the tree record to protobuf message ",
                          "current node index:1,name:name-1,type:1,GUID:old-1parentindex:"
                          "18446744073709551615 has 0 indirect parent node",
                          "current node index:2,name:name-2,type:6,GUID:old-2parentindex:1 has 0 "
                          "indirect parent node",
                          "end of dumping the tree record to protobuf message"));
  for (const auto& record : log_.records()) EXPECT_EQ(record.tag, "EnvEngine");
}

TEST_F(TreeDump, LeavesAnInvalidNodeOutButNeitherItsNumberNorItsChildren) {
  add(aNode(1, 1));
  add(aNode(5, 2)).isValid = false;
  tree_.node(1).datastores = {aReference("u")};
  add(aNode(7, 3));

  dump();

  EXPECT_THAT(rows(), ElementsAre("1 - direct", "3 2 direct", "3 1 indirect"));
  EXPECT_EQ(reply_.non_vm_records_size(), 1);
  EXPECT_EQ(reply_.datastore_records_size(), 0);
  EXPECT_THAT(log_.texts(3), ElementsAre("The tree node[name-2,ref-2] is invalid !"));
  EXPECT_EQ(log_.withText("The tree node[name-2,ref-2] is invalid !").front().tag, "EnvEngine");
}

TEST_F(TreeDump, LeavesTheTreeAsItWas) {
  add(aNode(5, 1)).datastores = {aReference("u")};
  dump();
  EXPECT_EQ(tree_.end, 1U);
  EXPECT_EQ(tree_.node(0).datastores.size(), 1U);
  EXPECT_TRUE(tree_.node(0).needExpand);
}

TEST_F(TreeDump, SharesADatastoreOfTwoNodesByItsUri) {
  add(aNode(6, 1)).datastores = {aReference("u", "first")};
  add(aNode(5, 2)).datastores = {aReference("v"), aReference("u", "second")};

  dump();

  ASSERT_EQ(reply_.datastore_records_size(), 2);
  EXPECT_EQ(reply_.datastore_records(0).id(), 0U);
  EXPECT_EQ(reply_.datastore_records(0).mo_reference(), "u");
  EXPECT_EQ(reply_.datastore_records(0).name(), "first");
  EXPECT_EQ(reply_.datastore_records(0).size(), 100U);
  EXPECT_EQ(reply_.datastore_records(0).freesize(), 40U);
  EXPECT_EQ(reply_.datastore_records(1).id(), 1U);
  std::vector<std::pair<std::uint64_t, std::uint64_t>> relations;
  for (const auto& relation : reply_.resource_relation_records()) {
    relations.emplace_back(relation.computer_resource_id(), relation.storage_resource_id());
  }
  EXPECT_THAT(relations, ElementsAre(std::pair(1U, 0U), std::pair(2U, 1U), std::pair(2U, 0U)));
}

TEST_F(TreeDump, NumbersDatastoresAnewInEachDump) {
  add(aNode(5, 1)).datastores = {aReference("u")};
  dump();
  dump();
  ASSERT_EQ(reply_.datastore_records_size(), 2);
  EXPECT_EQ(reply_.datastore_records(1).id(), 0U);
}

TEST_F(TreeDump, AddsNoDatastoreForAHostWithoutAny) {
  add(aNode(5, 1));
  dump();
  EXPECT_EQ(reply_.datastore_records_size(), 0);
  EXPECT_EQ(reply_.resource_relation_records_size(), 0);
}

// --- Kinds of node. ---

struct KindRow {
  std::int32_t type;
  bool hasDatastores;
  bool hasNonVmRecord;
  const char* ip;
  const char* reference;
};
class TreeDumpKind : public TreeDump, public ::testing::WithParamInterface<KindRow> {};

TEST_P(TreeDumpKind, DecidesWhichRecordsANodeGets) {
  add(aNode(GetParam().type, 1)).datastores = {aReference("u")};

  dump();

  EXPECT_THAT(rows(), ElementsAre("1 - direct"));
  EXPECT_EQ(reply_.datastore_records_size(), GetParam().hasDatastores ? 1 : 0);
  EXPECT_EQ(reply_.resource_relation_records_size(), GetParam().hasDatastores ? 1 : 0);
  ASSERT_EQ(reply_.non_vm_records_size(), GetParam().hasNonVmRecord ? 1 : 0);
  if (!GetParam().hasNonVmRecord) return;
  EXPECT_EQ(reply_.non_vm_records(0).ip(), GetParam().ip);
  EXPECT_EQ(reply_.non_vm_records(0).default_moref(), GetParam().reference);
  EXPECT_EQ(reply_.non_vm_records(0).object_type(), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(TreeDump, TreeDumpKind,
                         ::testing::Values(KindRow{1, false, true, "ip-1", "ref-1"},
                                           KindRow{4, false, true, "ip-1", "ref-1"},
                                           KindRow{5, true, true, "ip-1", "ref-1"},
                                           KindRow{6, true, true, "ip-1", "ref-1"},
                                           KindRow{7, false, false, "", ""},
                                           KindRow{9, false, true, "ip-1", "nine-1"},
                                           KindRow{12, true, true, "ip-1", "twelve-1"},
                                           KindRow{13, true, true, "ip-1", "twelve-1"},
                                           KindRow{14, true, true, "name-1", "twelve-1"},
                                           KindRow{23, false, false, "", ""},
                                           KindRow{1000, false, true, "ip-1", "ref-1"}),
                         [](const auto& row) { return "Kind" + std::to_string(row.param.type); });

TEST(NonVmRecord, HoldsEveryFieldOfAHost) {
  kestrelVisor_TreeNode host = aNode(5, 3);
  host.cpu_num = -2;
  host.arch = "arm";
  host.cpuVendor = "V";
  ScanEnvironmentReply reply;

  dumpNonVmObjects(host, reply);

  ASSERT_EQ(reply.non_vm_records_size(), 1);
  const non_vm_record& record = reply.non_vm_records(0);
  EXPECT_EQ(record.non_vm_object_id(), 3U);
  EXPECT_EQ(record.object_type(), 5);
  EXPECT_EQ(record.mo_reference(), "ref-3");
  EXPECT_EQ(record.objectguid(), "guid-3");
  EXPECT_EQ(record.default_moref(), "ref-3");
  EXPECT_EQ(record.ip(), "ip-3");
  EXPECT_EQ(record.cpu_num(), -2);
  EXPECT_EQ(record.arch(), "arm");
  EXPECT_EQ(record.cpuvendor(), "V");
  EXPECT_TRUE(record.drs());
}

TEST(NonVmRecord, SetsEveryFieldEvenToEmpty) {
  ScanEnvironmentReply reply;
  kestrelVisor_TreeNode node;
  node.DRS = false;
  dumpNonVmObjects(node, reply);
  const non_vm_record& record = reply.non_vm_records(0);
  EXPECT_TRUE(record.has_ip() && record.has_arch() && record.has_cpuvendor() &&
              record.has_cpu_num() && record.has_default_moref() && record.has_mo_reference());
  EXPECT_TRUE(record.has_drs());
  EXPECT_FALSE(record.drs());
}

TEST(NonVmRecord, FallsBackToTheNameOnlyForKind12WithoutAnAddress) {
  for (const auto& [type, ip] : {std::pair(12, "name-1"), std::pair(13, ""), std::pair(5, ""),
                                 std::pair(6, ""), std::pair(14, "name-1")}) {
    kestrelVisor_TreeNode node = aNode(type, 1);
    node.ip.clear();
    ScanEnvironmentReply reply;
    dumpNonVmObjects(node, reply);
    EXPECT_EQ(reply.non_vm_records(0).ip(), ip) << type;
  }
}

}  // namespace
