#pragma once

#include "vrmsim/inventory.h"

#include <cstdint>

namespace kestrelvisor::vrmsim {

struct InventorySizes {
  std::uint32_t clusters = 3;
  std::uint32_t hosts = 12;           // in all; spread evenly over the clusters
  std::uint32_t standaloneHosts = 2;  // how many of the hosts belong to no cluster
  std::uint32_t vms = 60;             // spread evenly over the hosts, or over the clusters if none
  std::uint32_t disks = 2;            // of each VM
  std::uint32_t datastores = 6;
  // How many hosts of its cluster, or of those without one, reach each datastore: the next ones
  // each time, going round. 0, or more than there are: all of them.
  std::uint32_t hostsPerDatastore = 0;
  std::uint64_t seed = 1;
};

// Makes an inventory of these sizes. Every VM and every disk is one that a backup sees. The same
// sizes and seed give the same inventory on every machine. Throws std::invalid_argument for sizes
// that contradict each other.
Inventory generateInventory(const InventorySizes& sizes);

}  // namespace kestrelvisor::vrmsim
