// From records to the tree, and from the tree to the reply.

#include "bench/micro/samples.h"
#include "environment.pb.h"
#include "reply/proto_buffer_utility.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/support/literal_forms.h"
#include "tests/tree/inventory_objects.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iostream>
#include <string>

namespace {

using namespace kestrelvisor::bench;
using kestrelvisor::fuzz::ScriptedManager;

namespace fuzz = kestrelvisor::fuzz;
namespace literal = kestrelvisor::test::literal;

using Tree = literal::Tree;
using ObjectList = KestrelVisorPublic::ObjectList;

constexpr int kForever = 1 << 30;

void countItems(benchmark::State& state, std::int64_t inOneRound) {
  state.SetItemsProcessed(state.iterations() * inOneRound);
}

// A tree with a root and one host below it.
Tree planted(ObjectIndex& index) {
  Tree tree;
  kestrelVisor_TreeNode node;
  node.index = index.getIndex();
  node.type = 1;
  tree.add_root(node);
  node.index = index.getIndex();
  node.parentIndex = tree.node(0).index;
  node.type = kestrelvisor::kKindHost;
  tree.add_child(0, node);
  return tree;
}

ObjectList machines(std::int64_t count) {
  ObjectList objects;
  for (int number = 1; number <= count; ++number) {
    objects.push_back(kestrelvisor::test::machineObject(number));
  }
  return objects;
}

// --- Attaching machines to one host. ---

void attachByEngine(KestrelVisorPublic& engine, ObjectIndex& index, std::uint64_t parent,
                    Tree& tree, ObjectList& children) {
  Tree::leaf_iterator leaf(tree);
  leaf.position = parent;
  engine.AddChildNodesToTree(index, leaf, tree, children);
}

void attachNodes(benchmark::State& state, decltype(attachByEngine) attach) {
  KestrelVisorPublic engine;
  ObjectList children = machines(state.range(0));
  for (auto _ : state) {
    ObjectIndex index;
    Tree tree = planted(index);
    attach(engine, index, 1, tree, children);
    benchmark::DoNotOptimize(tree.end);
  }
  countItems(state, state.range(0));
}
BENCHMARK_CAPTURE(attachNodes, engine, attachByEngine)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK_CAPTURE(attachNodes, literal, literal::attach)->RangeMultiplier(10)->Range(1000, 100000);

// Hosts that reach many datastores, each of which a node keeps.
void attachHosts(benchmark::State& state, decltype(attachByEngine) attach) {
  constexpr int kHosts = 200;
  KestrelVisorPublic engine;
  ObjectList children;
  for (int number = 1; number <= kHosts; ++number) {
    const auto host = kestrelvisor::test::hostObject(number);
    for (int datastore = 0; datastore < state.range(0); ++datastore) {
      host->datastores.push_back(boost::make_shared<ST_DATASTORE_INFO>());
      host->datastores.back()->uri = "/service/sites/1/datastores/" + std::to_string(datastore);
    }
    children.push_back(host);
  }
  for (auto _ : state) {
    ObjectIndex index;
    Tree tree = planted(index);
    attach(engine, index, 1, tree, children);
    benchmark::DoNotOptimize(tree.end);
  }
  countItems(state, kHosts * state.range(0));
}
BENCHMARK_CAPTURE(attachHosts, engine, attachByEngine)->Arg(500);
BENCHMARK_CAPTURE(attachHosts, literal, literal::attach)->Arg(500);

// --- Expanding hosts with one machine each; a text answers every request. ---

bool expandByEngine(KestrelVisorPublic& engine, VRM_INFO& vrm, ObjectIndex& index, Tree& tree,
                    KestrelVisorErrorMessage& err) {
  return engine.CreateTablesSub(vrm, index, tree, err);
}

void expandHosts(benchmark::State& state, decltype(expandByEngine) expand) {
  const std::string answer = pageText(1);
  const ScriptedManager manager(answer, ScriptedManager::Sessions::granted, kForever);
  VRM_INFO vrm = fuzz::connection();
  KestrelVisorPublic engine;
  engine.restApi.tokenMap = fuzz::Client().tokenMap;
  for (auto _ : state) {
    ObjectIndex index;
    Tree tree = planted(index);
    tree.node(1).moRef = "/service/sites/1/hosts/1";
    for (std::int64_t host = 1; host < state.range(0); ++host) {
      tree.add_child(0, kestrelVisor_TreeNode(tree.node(1)));
    }
    KestrelVisorErrorMessage error;
    if (!expand(engine, vrm, index, tree, error)) state.SkipWithError("a request failed");
  }
  engine.restApi.tokenMap.clear();
  countItems(state, state.range(0));
}
BENCHMARK_CAPTURE(expandHosts, engine, expandByEngine)->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(expandHosts, literal, literal::expand)->Arg(100)->Arg(1000);

// --- The reply. ---

Tree treeOf(std::int64_t count) {
  KestrelVisorPublic engine;
  ObjectIndex index;
  Tree tree = planted(index);
  ObjectList children = machines(count);
  attachByEngine(engine, index, 1, tree, children);
  return tree;
}

void addRecords(benchmark::State& state) {
  Tree tree = treeOf(state.range(0));
  for (auto _ : state) {
    ScanEnvironmentReply reply;
    std::string text;
    ProtoBufferUtility<kestrelVisor_TreeNode>::dumpToTreeTable(tree, reply, text);
    benchmark::DoNotOptimize(reply.tree_records_size());
  }
  countItems(state, state.range(0));
}
BENCHMARK(addRecords)->Arg(10000);

void addRecordsLiterally(benchmark::State& state) {
  const Tree tree = treeOf(state.range(0));
  for (auto _ : state) {
    ScanEnvironmentReply reply;
    literal::addTreeRecords(tree, reply);
    benchmark::DoNotOptimize(reply.tree_records_size());
  }
  countItems(state, state.range(0));
}
BENCHMARK(addRecordsLiterally)->Arg(10000);

// Lines go to a file that takes nothing, each with a write of its own.
void printRows(benchmark::State& state, void (*print)(const ScanEnvironmentReply&)) {
  Tree tree = treeOf(state.range(0));
  ScanEnvironmentReply reply;
  literal::addTreeRecords(tree, reply);
  std::ofstream nowhere("/dev/null");
  std::streambuf* const before = std::cout.rdbuf(nowhere.rdbuf());
  for (auto _ : state) print(reply);
  std::cout.rdbuf(before);
  countItems(state, reply.tree_records_size());
}
BENCHMARK_CAPTURE(printRows, engine, kestrelvisor::printTreeRecords)->Arg(10000);
BENCHMARK_CAPTURE(printRows, literal, [](const ScanEnvironmentReply& reply) {
  literal::printTreeRecords(reply, std::cout);
})->Arg(10000);

}  // namespace
