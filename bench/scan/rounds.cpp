#include "bench/scan/rounds.h"

namespace kestrelvisor::bench {
namespace {

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

Json::Value measureRounds(const std::vector<Contender>& contenders, const Manager& manager,
                          int rounds) {
  // Nobody's first run counts: it logs in, and fills caches.
  for (const Contender& contender : contenders) contender.run();

  Json::Value result;
  for (int round = 0; round < rounds; ++round) {
    Json::Value& costs = result["rounds"].append(Json::objectValue);
    for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
      // Each begins a round once, so that what comes before it is nobody's disadvantage.
      const std::size_t place = (turn + static_cast<std::size_t>(round)) % contenders.size();
      const Contender& contender = contenders[place];
      costs[contender.name] = withManagersSide(contender, manager);
    }
  }
  const ManagerCounts counts = manager.counts();
  result["fullHandshakes"] = Json::UInt64{counts.handshakes - counts.resumed};
  return result;
}

}  // namespace kestrelvisor::bench
