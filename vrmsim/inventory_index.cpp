#include "vrmsim/inventory_index.h"

#include <set>

namespace kestrelvisor::vrmsim {
namespace {

template <class Record>
std::unordered_map<std::string, std::size_t> positionsById(const std::vector<Record>& records) {
  std::unordered_map<std::string, std::size_t> positions;
  positions.reserve(records.size());
  for (std::size_t i = 0; i < records.size(); ++i) positions.emplace(records[i].id, i);
  return positions;
}

template <class Record>
const Record* found(const std::vector<Record>& records,
                    const std::unordered_map<std::string, std::size_t>& positions,
                    const std::string& id) {
  const auto at = positions.find(id);
  return at == positions.end() ? nullptr : &records[at->second];
}

template <class Map>
const InventoryIndex::Positions* scoped(const Map& map, const std::string& scope) {
  const auto at = map.find(scope);
  return at == map.end() ? nullptr : &at->second;
}

}  // namespace

InventoryIndex::InventoryIndex(Inventory inventory)
    : inventory_(std::move(inventory)),
      site_(inventory_.ownSite()),
      clusters_(positionsById(inventory_.clusters)),
      hosts_(positionsById(inventory_.hosts)),
      datastores_(positionsById(inventory_.datastores)),
      vms_(positionsById(inventory_.vms)) {
  indexHosts();
  indexVms();
  indexDatastores();
}

void InventoryIndex::indexHosts() {
  hostsByScope_["default"];
  for (const Cluster& cluster : inventory_.clusters) hostsByScope_[urn("clusters", cluster.id)];
  for (std::size_t i = 0; i < inventory_.hosts.size(); ++i) {
    const std::string& cluster = inventory_.hosts[i].cluster;
    hostsByScope_[cluster.empty() ? "default" : urn("clusters", cluster)].push_back(i);
  }
}

void InventoryIndex::indexVms() {
  for (const Cluster& cluster : inventory_.clusters) vmsByScope_[urn("clusters", cluster.id)];
  for (const Host& host : inventory_.hosts) vmsByScope_[urn("hosts", host.id)];
  for (std::size_t i = 0; i < inventory_.vms.size(); ++i) {
    const Vm& machine = inventory_.vms[i];
    if (!machine.host.empty()) vmsByScope_[urn("hosts", machine.host)].push_back(i);
    const std::string& cluster = clusterOf(machine);
    if (!cluster.empty()) vmsByScope_[urn("clusters", cluster)].push_back(i);
    for (std::size_t disk = 0; disk < machine.disks.size(); ++disk) {
      disksByUuid_[machine.disks[disk].uuid].emplace_back(i, disk);
    }
  }
}

void InventoryIndex::indexDatastores() {
  for (const Cluster& cluster : inventory_.clusters) {
    datastoresByScope_[urn("clusters", cluster.id)];
  }
  for (const Host& host : inventory_.hosts) datastoresByScope_[urn("hosts", host.id)];
  for (std::size_t i = 0; i < inventory_.datastores.size(); ++i) {
    const Datastore& store = inventory_.datastores[i];
    std::set<std::string> clusters(store.clusters.begin(), store.clusters.end());
    for (const std::string& id : store.hosts) {
      datastoresByScope_[urn("hosts", id)].push_back(i);
      const Host* const member = host(id);
      if (member != nullptr && !member->cluster.empty()) clusters.insert(member->cluster);
    }
    for (const std::string& id : clusters) datastoresByScope_[urn("clusters", id)].push_back(i);
  }
}

const InventoryIndex::Positions* InventoryIndex::hostsOf(const std::string& scope) const {
  return scoped(hostsByScope_, scope);
}

const InventoryIndex::Positions* InventoryIndex::vmsOf(const std::string& scope) const {
  return scoped(vmsByScope_, scope);
}

const InventoryIndex::Positions* InventoryIndex::datastoresOf(const std::string& scope) const {
  return scoped(datastoresByScope_, scope);
}

std::vector<InventoryIndex::DiskPosition> InventoryIndex::disksOf(
    const std::string& volumeUuid) const {
  const auto at = disksByUuid_.find(volumeUuid);
  return at == disksByUuid_.end() ? std::vector<DiskPosition>{} : at->second;
}

const Vm* InventoryIndex::vm(std::string_view id) const {
  return found(inventory_.vms, vms_, std::string(id));
}

const Host* InventoryIndex::host(const std::string& id) const {
  return found(inventory_.hosts, hosts_, id);
}

const Cluster* InventoryIndex::cluster(const std::string& id) const {
  return found(inventory_.clusters, clusters_, id);
}

const Datastore* InventoryIndex::datastore(const std::string& id) const {
  return found(inventory_.datastores, datastores_, id);
}

const std::string& InventoryIndex::clusterOf(const Vm& vm) const {
  if (!vm.cluster.empty()) return vm.cluster;
  const Host* const on = host(vm.host);
  return on == nullptr ? vm.cluster : on->cluster;
}

std::string InventoryIndex::locationOf(const Vm& vm) const {
  if (!vm.host.empty()) return urn("hosts", vm.host);
  return vm.cluster.empty() ? std::string() : urn("clusters", vm.cluster);
}

}  // namespace kestrelvisor::vrmsim
