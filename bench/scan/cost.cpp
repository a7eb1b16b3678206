#include "bench/scan/cost.h"

#include "bench/scan/json_line.h"
#include "bench/scan/libcurl_seam.h"
#include "bench/scan/process_figures.h"

namespace kestrelvisor::bench {

Cost costOf(const std::function<void()>& work) {
  const std::uint64_t transfers = transfersBegun();
  const double cpu = cpuSeconds();
  const double wall = wallSeconds();
  work();
  return {wallSeconds() - wall, cpuSeconds() - cpu, transfersBegun() - transfers};
}

std::string costLine(const Cost& cost) {
  Json::Value line;
  line["wall"] = cost.wall;
  line["cpu"] = cost.cpu;
  line["exchanges"] = Json::UInt64{cost.transfers};
  return jsonLine(line);
}

Cost readCost(const std::string& line) {
  const Json::Value cost = readJsonLine(line);
  return {cost["wall"].asDouble(), cost["cpu"].asDouble(), cost["exchanges"].asUInt64()};
}

}  // namespace kestrelvisor::bench
