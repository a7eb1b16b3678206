// Compares the expansion's one forward pass with the recursion that it stands for: same requests in
// the same order, same nodes, same lines on failure. Trees are random, but always the same.

#include "engine/kestrelvisor_public.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

using namespace kestrelvisor::test;

using Tree = tree<kestrelVisor_TreeNode>;

constexpr int kGroup = 4;
constexpr int kHost = 5;
constexpr int kCluster = 6;
constexpr int kMachine = 7;
constexpr int kOther = 9;
constexpr std::size_t kNoFailure = ~std::size_t{0};

struct Object {
  int type;
  std::string uri;

  std::string urn() const {
    std::string urn = "urn" + uri.substr(std::string("/service").size());
    std::replace(urn.begin(), urn.end(), '/', ':');
    return urn;
  }
};

// What a manager would answer: the children of each node.
struct Site {
  std::vector<Object> top;
  std::map<std::string, std::vector<Object>> hosts;     // by URN of a cluster or group
  std::map<std::string, std::vector<Object>> machines;  // by URN of any other node
};

class SiteMaker {
 public:
  explicit SiteMaker(std::uint32_t seed) : random_(seed) {}

  Site make() {
    Site site;
    constexpr std::array kKinds{kCluster, kHost, kGroup, kOther, kMachine};
    for (std::uint32_t left = upTo(4); left > 0; --left) {
      site.top.push_back(make(kKinds.at(upTo(kKinds.size()))));
    }
    for (const Object& object : site.top) grow(site, object);
    return site;
  }

 private:
  std::uint32_t upTo(std::size_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  Object make(int type) { return {type, "/service/sites/1/nodes/" + std::to_string(++made_)}; }
  void grow(Site& site, const Object& object) {
    if (object.type == kGroup || object.type == kCluster) {
      std::vector<Object> hosts;
      for (std::uint32_t left = upTo(3); left > 0; --left) hosts.push_back(make(kHost));
      site.hosts[object.urn()] = hosts;
      for (const Object& host : hosts) grow(site, host);
    }
    if (object.type != kGroup && object.type != kMachine) {
      for (std::uint32_t left = upTo(3); left > 0; --left) {
        site.machines[object.urn()].push_back(make(kMachine));
      }
    }
  }

  std::mt19937 random_;
  int made_ = 0;
};

// What one expansion leaves behind.
struct Outcome {
  bool done = false;
  std::vector<std::string> requests;
  std::vector<std::string> lines;
  std::vector<std::string> nodes;  // one text for each, in position order
  std::map<std::string, std::string> hosts;

  bool operator==(const Outcome&) const = default;
};

std::string describeNode(std::uint64_t index, std::uint64_t parent,
                         const std::vector<std::uint64_t>& ancestors, const Object& object,
                         bool leaf, bool needExpand) {
  std::ostringstream text;
  text << index << ' ' << static_cast<std::int64_t>(parent) << " [";
  for (const std::uint64_t ancestor : ancestors) text << ancestor << ' ';
  text << "] " << object.type << ' ' << object.uri << (leaf ? " leaf" : "");
  // The mark of an inner node is never read again.
  if (leaf) text << (needExpand ? " open" : " done");
  return text.str();
}

// --- The recursion, over a site. ---

class Recursion {
 public:
  Recursion(const Site& site, std::size_t failingRequest)
      : site_(site), failingRequest_(failingRequest) {
    nodes_.push_back({{1, "/service/sites/1"}, ++lastIndex_, kNoParent, {}, {}, true});
    attach(0, site.top);
  }

  Outcome run() {
    outcome_.done = createTablesSub();
    for (const Node& node : nodes_) {
      outcome_.nodes.push_back(describeNode(node.index, node.parentIndex, node.ancestors,
                                            node.object, node.children.empty(), node.needExpand));
    }
    return outcome_;
  }

 private:
  static constexpr std::uint64_t kNoParent = ~std::uint64_t{0};
  struct Node {
    Object object;
    std::uint64_t index;
    std::uint64_t parentIndex;
    std::vector<std::uint64_t> ancestors;
    std::vector<std::size_t> children;
    bool needExpand;
  };

  bool request(const std::string& target) {
    outcome_.requests.push_back("GET " + target);
    return outcome_.requests.size() - 1 != failingRequest_;
  }

  bool getHosts(const std::string& urn, std::vector<Object>& children) {
    if (!request(hostsTarget(urn))) return false;
    const auto found = site_.hosts.find(urn);
    if (found == site_.hosts.end()) return true;
    for (const Object& host : found->second) {
      if (!request(kDatastoresTarget)) return false;
      children.push_back(host);
    }
    return true;
  }

  bool getMachines(const std::string& urn, std::vector<Object>& children) {
    if (!request(machineProbeTarget(urn))) return false;
    const auto found = site_.machines.find(urn);
    if (found == site_.machines.end()) return true;
    if (!request(machinePageTarget(urn))) return false;
    children.insert(children.end(), found->second.begin(), found->second.end());
    return true;
  }

  void attach(std::size_t parent, const std::vector<Object>& children) {
    if (children.empty()) nodes_[parent].needExpand = false;
    for (const Object& child : children) {
      std::vector<std::uint64_t> ancestors = nodes_[parent].ancestors;
      if (nodes_[parent].parentIndex != kNoParent) ancestors.push_back(nodes_[parent].parentIndex);
      nodes_[parent].children.push_back(nodes_.size());
      nodes_.push_back({child, ++lastIndex_, nodes_[parent].index, ancestors, {}, true});
    }
  }

  static std::string guidOf(const Object& object) {
    std::string uri = object.uri;
    return EnvProxy_string_to_uuid(uri);
  }

  std::size_t nextLeaf(std::size_t position) const {
    while (position < nodes_.size() && !nodes_[position].children.empty()) ++position;
    return position;
  }

  bool fail(const std::string& line) {
    outcome_.lines.push_back(line);
    return false;
  }

  bool createTablesSub() {
    std::vector<Object> children;
    for (std::size_t leaf = nextLeaf(0); leaf < nodes_.size(); leaf = nextLeaf(leaf + 1)) {
      if (!nodes_[leaf].needExpand) continue;
      children.clear();
      const Object object = nodes_[leaf].object;
      if (object.type == kGroup || object.type == kCluster) {
        if (!getHosts(object.urn(), children)) return fail("Failed to get cna from " + object.uri);
      }
      if (object.type != kMachine && object.type != kGroup) {
        if (!getMachines(object.urn(), children)) {
          return fail("Failed to get vm info from " + object.uri);
        }
      }
      if (object.type == kHost) outcome_.hosts[object.urn()] = guidOf(object);
      if (!children.empty()) {
        attach(leaf, children);
        if (!createTablesSub()) return fail("Failed to create sub tree of " + object.uri);
      } else {
        nodes_[leaf].needExpand = false;
      }
    }
    return true;
  }

  const Site& site_;
  std::size_t failingRequest_;
  std::uint64_t lastIndex_ = 0;
  std::vector<Node> nodes_;
  Outcome outcome_;
};

// --- The engine, over a manager that serves the same site. ---

Document documentOf(const Object& object) {
  return Document().with("urn", object.urn()).with("uri", object.uri).with("name", object.uri);
}

void serve(FakeManager& manager, const Site& site, const std::vector<std::string>& requests) {
  // Every list that is asked for has an answer, empty ones too.
  for (const std::string& line : requests) {
    manager.serves("GET", line.substr(4), ok(R"({"hosts":[],"total":0})"));
  }
  servesDatastores(manager, {});
  for (const auto& [urn, hosts] : site.hosts) {
    Documents documents;
    for (const Object& host : hosts) documents.push_back(documentOf(host));
    servesHosts(manager, urn, documents);
  }
  for (const auto& [urn, machines] : site.machines) {
    Documents documents;
    for (const Object& machine : machines) {
      documents.push_back(documentOf(machine).with("location", urn).with("uuid", machineUuid(1)));
    }
    servesMachines(manager, urn, documents);
  }
}

// Refuses the nth of the requests.
void refuse(FakeManager& manager, const std::vector<std::string>& requests, std::size_t nth) {
  if (nth == kNoFailure) return;
  const auto last = requests.begin() + static_cast<std::ptrdiff_t>(nth) + 1;
  const auto call = std::count(requests.begin(), last, requests[nth]);
  manager.answers("GET", requests[nth].substr(4), static_cast<int>(call), refusal(500, "10000123"));
}

KestrelVisorPublic::ObjectList objectsOf(const std::vector<Object>& top) {
  KestrelVisorPublic::ObjectList objects;
  for (const Object& one : top) {
    boost::shared_ptr<KestrelVisorObj> object = boost::make_shared<KestrelVisorObj>();
    if (one.type == kHost) object = boost::make_shared<CNA_INFO>();
    if (one.type == kCluster) object = boost::make_shared<CLUSTER_INFO>();
    object->type = one.type;
    object->objectStr = one.uri;
    object->guid = EnvProxy_string_to_uuid(object->objectStr);
    objects.push_back(object);
  }
  return objects;
}

Tree plant(KestrelVisorPublic& engine, ObjectIndex& index, const Site& site) {
  Tree tree;
  kestrelVisor_TreeNode root;
  root.index = index.getIndex();
  root.type = 1;
  root.moRef = "/service/sites/1";
  const Tree::iterator position = tree.add_root(root);
  KestrelVisorPublic::ObjectList top = objectsOf(site.top);
  engine.AddChildNodesToTree(index, position, tree, top);
  return tree;
}

Outcome expand(const Site& site, const std::vector<std::string>& requests, std::size_t failing) {
  FakeManager manager;
  serve(manager, site, requests);
  refuse(manager, requests, failing);
  VRM_INFO vrm = manager.connection();
  KestrelVisorErrorMessage error;
  KestrelVisorPublic engine;
  ObjectIndex index;
  Tree tree = plant(engine, index, site);
  const LogCapture log;

  Outcome outcome;
  outcome.done = engine.CreateTablesSub(vrm, index, tree, error);

  outcome.hosts = engine.hostGuidByUrn;
  for (const std::string& line : manager.lines()) {
    if (line.starts_with("GET ")) outcome.requests.push_back(line);
  }
  for (const auto& record : log.records()) {
    const bool own = record.function == "KestrelVisorPublic::CreateTablesSub()";
    if (own && record.level == 2) outcome.lines.push_back(record.text);
  }
  for (std::uint64_t position = 0; position < tree.end; ++position) {
    const kestrelVisor_TreeNode& node = tree.node(position);
    outcome.nodes.push_back(describeNode(node.index, node.parentIndex, node.indirectParents,
                                         {node.type, node.moRef}, tree.isLeaf(position),
                                         node.needExpand));
  }
  return outcome;
}

void expectSame(const Outcome& expected, const Outcome& actual) {
  EXPECT_EQ(actual.done, expected.done);
  EXPECT_EQ(actual.requests, expected.requests);
  EXPECT_EQ(actual.lines, expected.lines);
  EXPECT_EQ(actual.nodes, expected.nodes);
  EXPECT_EQ(actual.hosts, expected.hosts);
}

constexpr std::uint32_t kTreesOfOneCase = 25;

class Expansion : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(Expansion, DoesWhatTheRecursionDoesWhateverRequestFails) {
  const std::uint32_t start = GetParam() * kTreesOfOneCase;
  for (std::uint32_t seed = start; seed < start + kTreesOfOneCase && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const Site site = SiteMaker(seed).make();
    const Outcome whole = Recursion(site, kNoFailure).run();
    expectSame(whole, expand(site, whole.requests, kNoFailure));
    for (std::size_t failing = 0; failing < whole.requests.size() && !HasFailure(); ++failing) {
      SCOPED_TRACE(failing);
      const Outcome broken = Recursion(site, failing).run();
      EXPECT_FALSE(broken.done);
      expectSame(broken, expand(site, whole.requests, failing));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(RandomTrees, Expansion, ::testing::Range(0U, 10U));

// The comparison above is worth little if the trees are all alike.
TEST(ExpansionModel, MakesTreesOfManyShapes) {
  std::size_t deepest = 0;
  std::size_t longestReport = 0;
  for (std::uint32_t seed = 0; seed < 10 * kTreesOfOneCase; ++seed) {
    const Site site = SiteMaker(seed).make();
    const Outcome whole = Recursion(site, kNoFailure).run();
    for (std::size_t failing = 0; failing < whole.requests.size(); ++failing) {
      longestReport = std::max(longestReport, Recursion(site, failing).run().lines.size());
    }
    deepest = std::max(deepest, whole.nodes.size());
  }
  EXPECT_GT(deepest, 12U);
  EXPECT_GT(longestReport, 4U);
}

}  // namespace
