#include "bench/scan/bare_exchange.h"
#include "bench/scan/child_process.h"
#include "bench/scan/files.h"
#include "bench/scan/libcurl_seam.h"
#include "bench/scan/process_figures.h"
#include "bench/scan/tasks.h"

#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrelvisor::bench {
namespace {

// What one contender has cost in one round. The client counts its transfers where it can; a peer is
// a process of its own, of which the manager alone knows.
struct Cost {
  double wall = 0;
  double cpu = 0;
  std::uint64_t transfers = 0;
};

struct Contender {
  std::string name;
  std::function<Cost()> run;
};

Cost costOf(const std::function<void()>& work) {
  const std::uint64_t transfers = transfersBegun();
  const double cpu = cpuSeconds();
  const double wall = wallSeconds();
  work();
  return {wallSeconds() - wall, cpuSeconds() - cpu, transfersBegun() - transfers};
}

void runBare(const std::vector<Request>& requests, const Target& target) {
  for (const Request& request : requests) {
    std::string body;
    bareExchange(request, target, body);
  }
}

void runBareAndParse(const std::vector<Request>& requests, const Target& target) {
  const Json::CharReaderBuilder builder;
  for (const Request& request : requests) {
    std::string body;
    bareExchange(request, target, body);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    if (!reader->parse(body.data(), body.data() + body.size(), &root, nullptr)) {
      throw std::runtime_error(request.target + ": a body that cannot be read");
    }
  }
}

// The last part of a path: "urllib" of "python3 peers.py urllib".
std::string lastWord(const std::string& words) { return words.substr(words.rfind(' ') + 1); }

std::vector<std::string> splitAtBlanks(const std::string& words) {
  std::istringstream stream(words);
  return {std::istream_iterator<std::string>(stream), {}};
}

// The peer's own clocks leave out what its start takes.
Cost runPeer(const std::string& words, const Options& options, const Target& target,
             const std::string& token) {
  ChildProcess process(splitAtBlanks(words));
  Json::Value question;
  question["url"] = target.url;
  question["token"] = token;
  question["requests"] = options.requests;
  Json::StreamWriterBuilder onOneLine;
  onOneLine["indentation"] = "";
  process.write(Json::writeString(onOneLine, question) + "\n");
  Json::Value cost;
  std::istringstream(process.readLine()) >> cost;
  return {cost["wall"].asDouble(), cost["cpu"].asDouble(), cost["exchanges"].asUInt64()};
}

std::vector<Contender> contenders(const EngineHost& host, const Options& options,
                                  const Target& target, const std::string& token) {
  const std::vector<Request> requests = readRequestList(readFile(options.requests), token);
  std::vector<Contender> all;
  all.push_back({"bare", [=] { return costOf([&] { runBare(requests, target); }); }});
  all.push_back({"parse", [=] { return costOf([&] { runBareAndParse(requests, target); }); }});
  all.push_back({"engine", [&host] {
                   ScanEnvironmentReply reply;
                   return costOf([&] { host.scan(reply); });
                 }});
  for (const std::string& peer : options.peers) {
    all.push_back(
        {lastWord(peer), [=, &options] { return runPeer(peer, options, target, token); }});
  }
  return all;
}

Json::Value withManagersSide(const Contender& contender, const Manager& manager) {
  const ManagerCounts before = manager.counts();
  const double managerCpu = manager.cpuSeconds();
  const Cost cost = contender.run();
  Json::Value line;
  line["managerCpu"] = manager.cpuSeconds() - managerCpu;
  const ManagerCounts after = manager.counts();
  line["wall"] = cost.wall;
  line["cpu"] = cost.cpu;
  line["transfers"] = Json::UInt64{cost.transfers};
  line["connections"] = Json::UInt64{after.connections - before.connections};
  line["requests"] = Json::UInt64{after.requests - before.requests};
  line["handshakes"] = Json::UInt64{after.handshakes - before.handshakes};
  line["resumed"] = Json::UInt64{after.resumed - before.resumed};
  return line;
}

}  // namespace

Json::Value measure(const Manager& manager, const EngineHost& host, const Options& options) {
  const bool system = options.transport == "https-system";
  const Target target{manager.url(), system ? std::string() : manager.certificate()};
  const std::string token = logIn(target);
  const std::vector<Contender> all = contenders(host, options, target, token);

  // Nobody's first run counts: it logs in, and fills caches.
  for (const Contender& contender : all) contender.run();

  Json::Value result;
  result["requests"] = Json::UInt64{readRequestList(readFile(options.requests), token).size()};
  for (int round = 0; round < options.rounds; ++round) {
    Json::Value& costs = result["rounds"].append(Json::objectValue);
    for (std::size_t turn = 0; turn < all.size(); ++turn) {
      // Each begins a round once, so that what comes before it is nobody's disadvantage.
      const Contender& contender = all[(turn + static_cast<std::size_t>(round)) % all.size()];
      costs[contender.name] = withManagersSide(contender, manager);
    }
  }
  const ManagerCounts counts = manager.counts();
  result["fullHandshakes"] = Json::UInt64{counts.handshakes - counts.resumed};
  return result;
}

}  // namespace kestrelvisor::bench
