#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestrelvisor::bench {

// What the generator of the simulated manager is asked for. The same sizes give the same site.
struct Shape {
  const char* name;
  std::uint32_t clusters;
  std::uint32_t hosts;  // in all
  std::uint32_t standaloneHosts;
  std::uint32_t machines;
  std::uint32_t disks;  // of each machine
  std::uint32_t datastores;
  std::uint32_t hostsPerDatastore;  // 0: all of its cluster

  std::uint32_t allDisks() const { return machines * disks; }
  // Nodes of the reply that are no machines: the site, its clusters and its hosts.
  std::uint32_t nonMachines() const { return 1 + clusters + hosts; }
  // The options of the simulator's command line.
  std::vector<std::string> simulatorOptions() const;
};

// Throws std::invalid_argument, with the names that there are, for another name.
const Shape& shapeNamed(const std::string& name);

}  // namespace kestrelvisor::bench
