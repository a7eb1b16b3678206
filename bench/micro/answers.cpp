// From the bytes of an answer to records, and the log statement.

#include "base/log.h"
#include "bench/micro/samples.h"
#include "inventory/datastores.h"
#include "inventory/machine_detail.h"
#include "platform/reference/logging.h"
#include "rest/exchange.h"
#include "rest/json_utils.h"
#include "rest/rewriting.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/support/literal_forms.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <list>
#include <string>

namespace {

using namespace kestrelvisor::bench;
using kestrelvisor::fuzz::PlainClient;
using kestrelvisor::fuzz::ScriptedManager;

namespace fuzz = kestrelvisor::fuzz;
namespace literal = kestrelvisor::test::literal;

constexpr int kPageSize = 100;
constexpr int kForever = 1 << 30;

void countItems(benchmark::State& state, std::int64_t inOneRound) {
  state.SetItemsProcessed(state.iterations() * inOneRound);
}

// --- The receive buffer: bytes in pieces as libcurl hands them on. ---

using Receive = std::size_t (*)(char*, std::size_t, std::size_t, void*);

void receiveAnswer(benchmark::State& state, Receive receive) {
  constexpr std::size_t kPiece = 16384;
  const auto size = static_cast<std::size_t>(state.range(0));
  std::string piece(kPiece, 'x');
  // Once a large block was freed, the allocator keeps its like: not only for those who come later.
  benchmark::DoNotOptimize(std::string(8000000, 'x').data());
  for (auto _ : state) {
    kestrelvisor::ReceiveBuffer buffer;
    for (std::size_t left = size; left > 0; left -= std::min(left, kPiece)) {
      receive(piece.data(), 1, std::min(left, kPiece), &buffer.chunk());
    }
    benchmark::DoNotOptimize(buffer.chunk().memory);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK_CAPTURE(receiveAnswer, engine, KestrelVisor_rest_api::writeMemoryCallback)
    ->Arg(300)
    ->Arg(150000)
    ->Arg(1000000)
    ->Arg(2000000);
BENCHMARK_CAPTURE(receiveAnswer, literal, literal::receive)
    ->Arg(300)
    ->Arg(150000)
    ->Arg(1000000)
    ->Arg(2000000);

// --- Machines. ---

// From the answer, which a text gives, to objects: the engine's own part of a page.
void readPage(benchmark::State& state, KestrelVisor_rest_api& client) {
  const std::string page = pageText(kPageSize);
  VRM_INFO vrm = fuzz::connection();
  const ScriptedManager manager(page, ScriptedManager::Sessions::granted, kForever);
  for (auto _ : state) {
    std::list<boost::shared_ptr<VM_INFO>> machines;
    KestrelVisorErrorMessage error;
    client.getVmInfoFromVrmSub(vrm, kHostUrn, machines, "limit=100", error);
    if (machines.size() != kPageSize) state.SkipWithError("a page was not read");
  }
  countItems(state, kPageSize);
}
void readPageInPlace(benchmark::State& state) {
  PlainClient client;
  readPage(state, client.api);
}
void readPageLiterally(benchmark::State& state) {
  fuzz::Client derived;
  readPage(state, derived);
}
BENCHMARK(readPageInPlace);
BENCHMARK(readPageLiterally);

// What no reader of the page can save.
void parsePage(benchmark::State& state) {
  const std::string page = pageText(kPageSize);
  for (auto _ : state) {
    Json::Value root;
    benchmark::DoNotOptimize(CJsonUtils::StringToJson(page, root));
  }
  countItems(state, kPageSize);
}
BENCHMARK(parsePage);

void scanPageForRepairs(benchmark::State& state) {
  const std::string page = pageText(kPageSize);
  for (auto _ : state) benchmark::DoNotOptimize(kestrelvisor::survivesRewriting(page));
  countItems(state, kPageSize);
}
BENCHMARK(scanPageForRepairs);

Json::Value parsed(const std::string& text) {
  Json::Value document;
  CJsonUtils::StringToJson(text, document);
  return document;
}

void readMachineFromElement(benchmark::State& state) {
  const Json::Value element = parsed(machineText(1));
  for (auto _ : state) {
    VM_DETAIL detail;
    kestrelvisor::readMachineDetail(element, detail);
    benchmark::DoNotOptimize(detail);
  }
}
BENCHMARK(readMachineFromElement);

void readMachineFromText(benchmark::State& state) {
  const std::string text = machineText(1);
  PlainClient client;
  for (auto _ : state) {
    VM_DETAIL detail;
    client.api.getVMDetail(text, &detail);
    benchmark::DoNotOptimize(detail);
  }
}
BENCHMARK(readMachineFromText);

void readMachineLiterally(benchmark::State& state) {
  const Json::Value element = parsed(machineText(1));
  PlainClient client;
  for (auto _ : state) {
    VM_DETAIL detail;
    literal::readMachine(client.api, element, detail);
    benchmark::DoNotOptimize(detail);
  }
}
BENCHMARK(readMachineLiterally);

// --- Datastores: the arguments are their number and that of the hosts that reach each. ---

std::string datastoresOf(const benchmark::State& state) {
  return datastoresText(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}

void readDatastores(benchmark::State& state) {
  const std::string answer = datastoresOf(state);
  PlainClient client;
  for (auto _ : state) {
    datastores_t found;
    client.api.toDataStores(answer, found);
    benchmark::DoNotOptimize(found);
  }
  countItems(state, state.range(0));
}
BENCHMARK(readDatastores)->Args({500, 1})->Args({500, 200});

void readDatastoresLiterally(benchmark::State& state) {
  const std::string answer = datastoresOf(state);
  PlainClient client;
  for (auto _ : state) {
    datastores_t found;
    literal::toDataStores(client.api, answer, found);
    benchmark::DoNotOptimize(found);
  }
  countItems(state, state.range(0));
}
BENCHMARK(readDatastoresLiterally)->Args({500, 1})->Args({500, 200});

// With the exchange, which a text answers: once with nothing read before, once with the same
// answer.
void datastoresOfOneHost(benchmark::State& state, bool repeats) {
  const std::string answer = datastoresOf(state);
  PlainClient client;
  VRM_INFO vrm = fuzz::connection();
  const ScriptedManager manager(answer, ScriptedManager::Sessions::granted, kForever);
  kestrelvisor::DatastoreList list;
  for (auto _ : state) {
    datastores_t out;
    std::string errorCode;
    if (!repeats) list = kestrelvisor::DatastoreList();
    kestrelvisor::appendDatastoresOfHost(client.api, vrm, kHostUrn, out, errorCode, list);
    if (out.empty()) state.SkipWithError("no datastore was found");
  }
  countItems(state, state.range(0));
}
BENCHMARK_CAPTURE(datastoresOfOneHost, fresh, false)->Args({500, 1})->Args({500, 200});
BENCHMARK_CAPTURE(datastoresOfOneHost, byteEqual, true)->Args({500, 1})->Args({500, 200});

// --- The log statement. ---

// Sets the threshold while it lives; what is written goes nowhere.
class Threshold {
 public:
  explicit Threshold(int level) { set(level); }
  ~Threshold() { set(kNothing); }
  Threshold(const Threshold&) = delete;
  Threshold& operator=(const Threshold&) = delete;

 private:
  static constexpr int kNothing = 5;

  static void set(int level) {
    kestrelvisor::LogOptions options;
    options.threshold = level;
    options.file = "/dev/null";
    std::string problem;
    kestrelvisor::configureLogging(options, problem);
  }
};

void logStatement(benchmark::State& state) {
  const Threshold threshold(static_cast<int>(state.range(0)));
  const std::string piece = "urn:sites:1:vms:1000001";
  for (auto _ : state) KV_LOG(kInfo, "object str is :", piece);
}
BENCHMARK(logStatement)->ArgName("threshold")->Arg(0)->Arg(3);

// The host's part of that statement: its own stream, which takes the same pieces.
void logStream(benchmark::State& state) {
  const Threshold threshold(static_cast<int>(state.range(0)));
  const std::string piece = "urn:sites:1:vms:1000001";
  for (auto _ : state) {
    LogProxy record(kestrelvisor::kInfo, kestrelvisor::kModuleTag, 0, "logStream()", __LINE__);
    record << 0 << "object str is :" << piece << "";
  }
}
BENCHMARK(logStream)->ArgName("threshold")->Arg(0)->Arg(3);

void logStatementLiterally(benchmark::State& state) {
  const Threshold threshold(static_cast<int>(state.range(0)));
  const std::string piece = "urn:sites:1:vms:1000001";
  for (auto _ : state) {
    literal::log(kestrelvisor::kInfo, __PRETTY_FUNCTION__, __LINE__, "object str is :", piece);
  }
}
BENCHMARK(logStatementLiterally)->ArgName("threshold")->Arg(0)->Arg(3);

}  // namespace
