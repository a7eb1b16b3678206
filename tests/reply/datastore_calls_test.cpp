#include "platform/contract/helpers.h"
#include "reply/proto_buffer_utility.h"
#include "tests/support/test_headers.h"
#include "tree/tree.h"
#include "tree/tree_node.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Tree = tree<kestrelVisor_TreeNode>;

struct DatastoreCall {
  unsigned long computer;
  std::size_t datastores;
  std::string text;
  unsigned long nextId;
  std::size_t knownIds;
};

std::vector<DatastoreCall>& calls() {
  static std::vector<DatastoreCall> made;
  return made;
}

}  // namespace

// The host's function as this process has it: it shows the calls that add nothing to a reply, too.
void dumpDataStore(ScanEnvironmentReply&, std::map<std::string, unsigned long>& datastoreIds,
                   unsigned long& nextDatastoreId, unsigned long computerResourceId,
                   std::list<_datstore_ManagedObjectReference> datastores, std::string& text) {
  calls().push_back(
      {computerResourceId, datastores.size(), text, nextDatastoreId, datastoreIds.size()});
  datastoreIds["uri-" + std::to_string(computerResourceId)] = nextDatastoreId++;
}

namespace {

class DatastoreCalls : public ::testing::Test {
 protected:
  DatastoreCalls() { calls().clear(); }

  // Adds below the last node, or as the root.
  void add(std::int32_t type, std::uint64_t index, std::size_t datastores) {
    kestrelVisor_TreeNode node;
    node.type = type;
    node.index = index;
    node.datastores.resize(datastores);
    if (tree_.end == 0) {
      tree_.add_root(node);
    } else {
      tree_.add_child(tree_.end - 1, node);
    }
  }
  void dump(std::string text = "") {
    ProtoBufferUtility<kestrelVisor_TreeNode>::dumpToTreeTable(tree_, reply_, text);
  }
  static std::vector<unsigned long> computers() {
    std::vector<unsigned long> computers;
    for (const DatastoreCall& call : calls()) computers.push_back(call.computer);
    return computers;
  }

  Tree tree_;
  ScanEnvironmentReply reply_;
};

TEST_F(DatastoreCalls, AreMadeForEachClusterAndHostInTreeOrder) {
  add(1, 10, 1);
  add(6, 30, 1);
  add(5, 20, 2);

  dump();

  EXPECT_THAT(computers(), ElementsAre(30, 20));
  EXPECT_EQ(calls()[0].datastores, 1U);
  EXPECT_EQ(calls()[1].datastores, 2U);
}

TEST_F(DatastoreCalls, AreMadeForAHostWithoutDatastoresToo) {
  add(5, 1, 0);

  dump();

  ASSERT_THAT(computers(), ElementsAre(1));
  EXPECT_EQ(calls()[0].datastores, 0U);
}

TEST_F(DatastoreCalls, AreNotMadeForAMachine) {
  add(7, 1, 1);

  dump();

  EXPECT_THAT(computers(), IsEmpty());
}

TEST_F(DatastoreCalls, AreNotMadeForAnInvalidNode) {
  add(5, 1, 1);
  tree_.node(0).isValid = false;

  dump();

  EXPECT_THAT(computers(), IsEmpty());
}

TEST_F(DatastoreCalls, ShareOneMapAndOneCounterThroughADumpAlone) {
  add(6, 1, 1);
  add(5, 2, 1);

  dump();
  dump();

  std::vector<std::pair<unsigned long, std::size_t>> states;
  for (const DatastoreCall& call : calls()) states.emplace_back(call.nextId, call.knownIds);
  EXPECT_THAT(states, ElementsAre(std::pair(0U, 0U), std::pair(1U, 1U), std::pair(0U, 0U),
                                  std::pair(1U, 1U)));
}

TEST_F(DatastoreCalls, CarryTheTextOfTheDump) {
  add(5, 1, 1);

  dump("handed through");

  ASSERT_EQ(calls().size(), 1U);
  EXPECT_EQ(calls()[0].text, "handed through");
}

}  // namespace
