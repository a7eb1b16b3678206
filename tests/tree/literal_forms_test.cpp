// Compares what the engine does by shorter ways with the literal forms: the receive buffer, the log
// statement, the attachment of nodes, the expansion, the reply's records and the testers' rows.
// What they are given is random, but always the same.

#include "tests/support/literal_forms.h"

#include "base/log.h"
#include "environment.pb.h"
#include "reply/proto_buffer_utility.h"
#include "rest/clock.h"
#include "rest/exchange.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/support/log_capture.h"
#include "tests/support/record_text.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <random>

namespace {

using namespace kestrelvisor::test;
using kestrelvisor::LogRecord;
using kestrelvisor::fuzz::ScriptedManager;
using literal::Tree;
using ObjectList = KestrelVisorPublic::ObjectList;

namespace fuzz = kestrelvisor::fuzz;

std::string textOf(const Tree& tree) {
  RecordText out;
  for (std::uint64_t position = 0; position < tree.end; ++position) {
    const kestrelVisor_TreeNode& node = tree.node(position);
    out.add(node.type, node.index, node.name, node.objectStr, node.parentIndex, node.GUID, node.DRS,
            node.objectGUID, node.ip, node.isValid, node.cpu_num, node.arch, node.cpuVendor,
            node.description, node.moRef, node.needExpand, tree.isLeaf(position),
            node.object.empty());
    for (const std::uint64_t ancestor : node.indirectParents) out.add("above", ancestor);
    for (const auto& one : node.datastores) {
      out.add("datastore", one.uri, one.name, one.capacity, one.freeSpace, one.type);
    }
    const auto [first, last] = boost::out_edges(position, tree.graph);
    for (auto edge = first; edge != last; ++edge) out.add(boost::target(*edge, tree.graph));
  }
  return out.text();
}

// One compiler names a template's function by its parameter, the other by its argument.
std::string functionOf(const LogRecord& record) {
  constexpr std::string_view kInstantiated = "<kestrelVisor_TreeNode>";
  std::string name = record.function;
  const std::size_t at = name.find(kInstantiated);
  return at == std::string::npos ? name : name.replace(at, kInstantiated.size(), "<T>");
}

std::vector<std::string> linesOf(const LogCapture& log) {
  std::vector<std::string> lines;
  for (const auto& record : log.records()) {
    lines.push_back(std::to_string(record.level) + ' ' + record.tag + ' ' + functionOf(record) +
                    ' ' + record.text);
  }
  return lines;
}

Tree planted(ObjectIndex& index) {
  Tree tree;
  kestrelVisor_TreeNode root;
  root.index = index.getIndex();
  root.type = 1;
  root.moRef = "/service/sites/1";
  tree.add_root(root);
  return tree;
}

void attachByEngine(KestrelVisorPublic& engine, ObjectIndex& index, std::uint64_t parent,
                    Tree& tree, ObjectList& children) {
  Tree::leaf_iterator leaf(tree);
  leaf.position = parent;
  engine.AddChildNodesToTree(index, leaf, tree, children);
}

// --- Random objects. ---

class ObjectMaker {
 public:
  explicit ObjectMaker(std::uint32_t seed) : random_(seed) {}

  std::size_t upTo(std::size_t limit) { return random_() % limit; }

  ObjectList children() {
    ObjectList objects;
    for (std::size_t left = upTo(40); left > 0; --left) objects.push_back(object());
    return objects;
  }

 private:
  boost::shared_ptr<KestrelVisorObj> object() {
    const auto number = static_cast<int>(upTo(1000));
    boost::shared_ptr<KestrelVisorObj> made;
    if (upTo(3) == 0) {
      const auto host = hostObject(number);
      host->cpuNumber = number;
      host->ip = text();
      host->datastores = datastores();
      made = host;
    } else if (upTo(3) == 0) {
      const auto cluster = clusterObject(number);
      cluster->cpuVendor = text();
      cluster->datastores = datastores();
      made = cluster;
    } else {
      made = machineObject(number);
      if (upTo(50) == 0) made->type = kestrelvisor::kKindHost;  // but is none
    }
    made->name = text();
    return made;
  }
  datastores_t datastores() {
    datastores_t list;
    for (std::size_t left = upTo(4); left > 0; --left) {
      list.push_back(boost::make_shared<ST_DATASTORE_INFO>());
      list.back()->uri = text();
      list.back()->actualCapacityGB = static_cast<std::uint32_t>(random_());
    }
    return list;
  }
  // Of any bytes, and longer than what a string keeps in itself, or not.
  std::string text() {
    std::string bytes(upTo(40), ' ');
    for (char& c : bytes) c = static_cast<char>(upTo(256));
    return bytes;
  }

  std::mt19937 random_;
};

TEST(LiteralForms, OfTheAttachmentGiveTheSameNodesAndLines) {
  for (std::uint32_t seed = 0; seed < 30; ++seed) {
    SCOPED_TRACE(seed);
    std::array<std::string, 2> trees;
    std::array<std::vector<std::string>, 2> lines;
    for (const bool inFull : {false, true}) {
      KestrelVisorPublic engine;
      ObjectMaker maker(seed);
      ObjectIndex index;
      Tree tree = planted(index);
      const LogCapture log;
      for (int round = 0; round < 12; ++round) {
        const std::uint64_t parent = maker.upTo(tree.end);
        ObjectList children = maker.children();
        (inFull ? literal::attach : attachByEngine)(engine, index, parent, tree, children);
      }
      trees.at(inFull) = textOf(tree);
      lines.at(inFull) = linesOf(log);
    }
    ASSERT_EQ(trees[0], trees[1]);
    ASSERT_EQ(lines[0], lines[1]);
  }
}

// --- The expansion: one text answers every request, until the manager goes away. ---

constexpr const char* kAnswer = R"({"total":1,
  "hosts":[{"urn":"urn:sites:1:hosts:1","uri":"/service/sites/1/hosts/1","name":"h"},
           {"urn":"urn:sites:1:hosts:2","uri":"/service/sites/1/hosts/2","name":"i"}],
  "vms":[{"urn":"v","uri":"/v","name":"v","location":"urn:sites:1:hosts:1","uuid":"u"},
         {"urn":"w","uri":"/w","name":"w","location":"urn:sites:1:clusters:1","uuid":"x"}]})";

struct Expanded {
  bool done = false;
  std::string nodes;
  std::map<std::string, std::string> hosts;
  std::vector<std::string> lines;
  int transfers = 0;

  bool operator==(const Expanded&) const = default;
};

Expanded expanded(const ObjectList& top, int transfersUntilGone, bool inFull) {
  const ScriptedManager manager(kAnswer, ScriptedManager::Sessions::granted, transfersUntilGone);
  VRM_INFO vrm = fuzz::connection();
  KestrelVisorErrorMessage error;
  KestrelVisorPublic engine;
  engine.restApi.tokenMap = fuzz::Client().tokenMap;
  ObjectIndex index;
  Tree tree = planted(index);
  ObjectList children = top;
  attachByEngine(engine, index, 0, tree, children);

  const LogCapture log;
  Expanded outcome;
  outcome.done = inFull ? literal::expand(engine, vrm, index, tree, error)
                        : engine.CreateTablesSub(vrm, index, tree, error);
  outcome.nodes = textOf(tree);
  outcome.hosts = engine.hostGuidByUrn;
  outcome.lines = linesOf(log);
  outcome.transfers = manager.transfers();
  engine.restApi.tokenMap.clear();
  return outcome;
}

TEST(LiteralForms, OfTheExpansionAskTheSameAndGiveTheSameTreeAndLinesWheneverTheManagerGoesAway) {
  kestrelvisor::setClock([] { return static_cast<std::time_t>(fuzz::kNow); });
  for (const ObjectList& top :
       {ObjectList{hostObject(1)}, ObjectList{clusterObject(1)},
        ObjectList{clusterObject(1), hostObject(1), machineObject(1), hostObject(2)},
        ObjectList{hostObject(1), hostObject(1), hostObject(1), clusterObject(2)}}) {
    const Expanded whole = expanded(top, 1000, true);
    EXPECT_TRUE(whole.done);
    EXPECT_EQ(whole, expanded(top, 1000, false));
    for (int transfers = 0; transfers < whole.transfers && !HasFailure(); ++transfers) {
      SCOPED_TRACE(transfers);
      const Expanded broken = expanded(top, transfers, true);
      EXPECT_FALSE(broken.done);
      EXPECT_EQ(broken, expanded(top, transfers, false));
    }
  }
  kestrelvisor::setClock(nullptr);
}

// --- The reply. ---

Tree randomTree(std::uint32_t seed) {
  KestrelVisorPublic engine;
  ObjectMaker maker(seed);
  ObjectIndex index;
  Tree tree = planted(index);
  for (int round = 0; round < 8; ++round) {
    ObjectList children = maker.children();
    attachByEngine(engine, index, maker.upTo(tree.end), tree, children);
  }
  // As hosts of this family know them: of any kind, and machines that are left out.
  for (std::uint64_t position = 0; position < tree.end; ++position) {
    kestrelVisor_TreeNode& node = tree.node(position);
    if (maker.upTo(4) == 0) node.type = static_cast<std::int32_t>(maker.upTo(25));
    node.moRefOfKind9 = "of kind 9";
    node.moRefOfKind12 = "of kind 12";
    node.isValid = maker.upTo(8) != 0;
  }
  return tree;
}

TEST(LiteralForms, OfTheReplyGiveTheSameRecordsAndLines) {
  for (std::uint32_t seed = 0; seed < 30; ++seed) {
    SCOPED_TRACE(seed);
    Tree tree = randomTree(seed);
    std::array<std::string, 2> replies;
    std::array<std::vector<std::string>, 2> lines;
    for (const bool inFull : {false, true}) {
      const LogCapture log;
      ScanEnvironmentReply reply;
      std::string text;
      inFull ? literal::addTreeRecords(tree, reply)
             : ProtoBufferUtility<kestrelVisor_TreeNode>::dumpToTreeTable(tree, reply, text);
      replies.at(inFull) = reply.SerializePartialAsString();
      lines.at(inFull) = linesOf(log);
    }
    ASSERT_EQ(replies[0], replies[1]);
    ASSERT_EQ(lines[0], lines[1]);
  }
}

TEST(LiteralForms, OfTheTestersRowsGiveTheSameBytes) {
  for (std::uint32_t seed = 0; seed < 30; ++seed) {
    SCOPED_TRACE(seed);
    ScanEnvironmentReply reply;
    literal::addTreeRecords(randomTree(seed), reply);
    std::ostringstream inFull;
    literal::printTreeRecords(reply, inFull);
    std::ostringstream printed;
    std::streambuf* const before = std::cout.rdbuf(printed.rdbuf());
    kestrelvisor::printTreeRecords(reply);
    std::cout.rdbuf(before);
    ASSERT_EQ(printed.str(), inFull.str());
  }
}

// --- The receive buffer and the log statement. ---

TEST(LiteralForms, OfTheReceiveBufferHoldTheSameBytes) {
  std::mt19937 random;
  for (int answer = 0; answer < 50; ++answer) {
    kestrelvisor::ReceiveBuffer buffer;
    kestrelvisor::ReceiveBuffer inFull;
    for (std::size_t pieces = random() % 20; pieces > 0; --pieces) {
      std::string piece(random() % 2000, ' ');
      for (char& c : piece) c = static_cast<char>(random());
      EXPECT_EQ(KestrelVisor_rest_api::writeMemoryCallback(piece.data(), 1, piece.size(),
                                                           &buffer.chunk()),
                literal::receive(piece.data(), 1, piece.size(), &inFull.chunk()));
    }
    ASSERT_EQ(buffer.chunk().size, inFull.chunk().size);
    if (buffer.chunk().memory == nullptr) continue;
    EXPECT_EQ(std::string_view(buffer.chunk().memory, buffer.chunk().size + 1),
              std::string_view(inFull.chunk().memory, inFull.chunk().size + 1));
  }
}

TEST(LiteralForms, OfTheLogStatementWriteTheSameRecord) {
  const LogCapture log;
  const std::string piece = "a piece";
  KV_LOG(kInfo, "text:", piece);
  literal::log(kestrelvisor::kInfo, __PRETTY_FUNCTION__, __LINE__, "text:", piece);
  const std::vector<std::string> lines = linesOf(log);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], lines[1]);
}

}  // namespace
