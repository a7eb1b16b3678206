#pragma once

#include "vrmsim/inventory.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kestrelvisor::vrmsim {

// One inventory, never changed, with the ways in which requests look things up.
class InventoryIndex {
 public:
  using Positions = std::vector<std::size_t>;
  using DiskPosition = std::pair<std::size_t, std::size_t>;  // of the VM, of the disk in it

  explicit InventoryIndex(Inventory inventory);

  const Inventory& inventory() const { return inventory_; }
  const std::string& site() const { return site_; }

  // Where the things are that a scope's urn covers, in the inventory's order; null when the urn
  // names nothing of that kind. Hosts: a cluster's, or those without a cluster for "default". VMs:
  // a host's, or a cluster's, those on its hosts included. Datastores: a host's or a cluster's.
  const Positions* hostsOf(const std::string& scope) const;
  const Positions* vmsOf(const std::string& scope) const;
  const Positions* datastoresOf(const std::string& scope) const;

  // Disks whose volume has the uuid, in the inventory's order.
  std::vector<DiskPosition> disksOf(const std::string& volumeUuid) const;

  // Null when there is none.
  const Vm* vm(std::string_view id) const;
  const Host* host(const std::string& id) const;
  const Cluster* cluster(const std::string& id) const;
  const Datastore* datastore(const std::string& id) const;

  // The id of the cluster of the VM or of its host; empty when there is none.
  const std::string& clusterOf(const Vm& vm) const;

  // The urn of the host or the cluster that the VM is located on.
  std::string locationOf(const Vm& vm) const;

  std::string urn(const char* collection, const std::string& id) const {
    return objectUrn(site_, collection, id);
  }
  std::string uri(const char* collection, const std::string& id) const {
    return objectUri(site_, collection, id);
  }

 private:
  using ById = std::unordered_map<std::string, std::size_t>;
  using ByScope = std::unordered_map<std::string, Positions>;

  void indexHosts();
  void indexVms();
  void indexDatastores();

  const Inventory inventory_;
  const std::string site_;
  ById clusters_;
  ById hosts_;
  ById datastores_;
  ById vms_;
  ByScope hostsByScope_;
  ByScope vmsByScope_;
  ByScope datastoresByScope_;
  std::unordered_map<std::string, std::vector<DiskPosition>> disksByUuid_;
};

}  // namespace kestrelvisor::vrmsim
