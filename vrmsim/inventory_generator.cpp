#include "vrmsim/inventory_generator.h"

#include <array>
#include <cstdio>
#include <random>
#include <stdexcept>

namespace kestrelvisor::vrmsim {
namespace {

// The engine's bits are the same everywhere; the standard's distributions are not.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t below(std::uint64_t limit) { return engine_() % limit; }

  std::string uuid() {
    const std::uint64_t high = (engine_() & ~0xF000ULL) | 0x4000ULL;
    const std::uint64_t low = (engine_() & ~(3ULL << 62)) | (2ULL << 62);
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "%08llx-%04llx-%04llx-%04llx-%012llx",
                  static_cast<unsigned long long>(high >> 32),
                  static_cast<unsigned long long>((high >> 16) & 0xFFFF),
                  static_cast<unsigned long long>(high & 0xFFFF),
                  static_cast<unsigned long long>(low >> 48),
                  static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFULL));
    return text.data();
  }

 private:
  std::mt19937_64 engine_;
};

struct GuestSystem {
  const char* osType;
  OsVersion version;
};

const std::array<GuestSystem, 6> kGuests{{
    {"Windows", {201, "Windows Server 2016 Datacenter 64bit"}},
    {"Windows", {202, "Windows Server 2019 Datacenter 64bit"}},
    {"Linux", {101, "CentOS 7.9 64bit"}},
    {"Linux", {102, "Ubuntu 20.04 server 64bit"}},
    {"Linux", {103, "Debian GNU/Linux 11 64bit"}},
    {"Other", {301, "Other 64bit"}},
}};

constexpr std::array<const char*, 5> kGroups{"KC_general", "KSP_tenant", "KM_infra", "VDI_pool",
                                             ""};
constexpr std::array<const char*, 3> kBuses{"VIRTIO", "SCSI", "IDE"};
constexpr std::array<const char*, 5> kStorageTypes{"LUNPOME", "LOCALPOME", "NAS", "QSTORE",
                                                   "advanceSan"};
constexpr std::array<std::uint32_t, 5> kDiskSizes{20, 40, 80, 120, 500};

std::string numbered(const char* prefix, std::uint64_t number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%s%05llu", prefix,
                static_cast<unsigned long long>(number));
  return text.data();
}

std::string hostAddress(std::uint32_t index) {
  return "10." + std::to_string(64 + index / 62500) + "." + std::to_string(index / 250 % 250) +
         "." + std::to_string(1 + index % 250);
}

void check(const InventorySizes& sizes) {
  if (sizes.standaloneHosts > sizes.hosts) {
    throw std::invalid_argument("more standalone hosts than hosts");
  }
  if (sizes.clusters == 0 && sizes.hosts > sizes.standaloneHosts) {
    throw std::invalid_argument("hosts that are not standalone need a cluster");
  }
  if (sizes.vms > 0 && sizes.hosts == 0 && sizes.clusters == 0) {
    throw std::invalid_argument("virtual machines need a host or a cluster");
  }
  if (sizes.vms > 0 && sizes.disks > 0 && sizes.datastores == 0) {
    throw std::invalid_argument("disks need a datastore");
  }
}

OsCatalogue catalogue() {
  OsCatalogue made;
  for (const GuestSystem& guest : kGuests) {
    const std::string type = guest.osType;
    auto& family = type == "Windows" ? made.x86.windows
                   : type == "Linux" ? made.x86.linux
                                     : made.x86.other;
    family.push_back(guest.version);
  }
  made.arm.linux.push_back({151, "openEuler 22.03 arm 64bit"});
  return made;
}

std::vector<Cluster> makeClusters(const InventorySizes& sizes) {
  std::vector<Cluster> clusters(sizes.clusters);
  for (std::uint32_t i = 0; i < sizes.clusters; ++i) {
    clusters[i].id = std::to_string(100 + i);
    clusters[i].name = numbered("cluster-", i + 1);
    clusters[i].arch = "x86";
    clusters[i].cpuVendor = "Intel";
  }
  return clusters;
}

std::vector<Host> makeHosts(const InventorySizes& sizes, const std::vector<Cluster>& clusters) {
  std::vector<Host> hosts(sizes.hosts);
  const std::uint32_t clustered = sizes.hosts - sizes.standaloneHosts;
  for (std::uint32_t i = 0; i < sizes.hosts; ++i) {
    hosts[i].id = std::to_string(1000 + i);
    hosts[i].name = numbered("cna-", i + 1);
    hosts[i].ip = hostAddress(i);
    if (i < clustered) hosts[i].cluster = clusters[i % clusters.size()].id;
    hosts[i].arch = "x86";
    hosts[i].cpuVendor = "Intel";
  }
  return hosts;
}

// The hosts of one cluster, or those without one.
struct HostGroup {
  std::string cluster;
  std::vector<std::string> hosts;
  std::size_t next = 0;  // whose turn it is to reach a datastore
};

std::vector<HostGroup> groupsOf(const InventorySizes& sizes, const std::vector<Cluster>& clusters,
                                const std::vector<Host>& hosts) {
  std::vector<HostGroup> groups;
  groups.reserve(clusters.size() + 1);
  for (const Cluster& cluster : clusters) groups.push_back({cluster.id, {}});
  if (sizes.standaloneHosts > 0 || groups.empty()) groups.push_back({});
  for (HostGroup& group : groups) {
    for (const Host& host : hosts) {
      if (host.cluster == group.cluster) group.hosts.push_back(host.id);
    }
  }
  return groups;
}

// Datastores are dealt out to the groups in turn.
void connect(Datastore& datastore, HostGroup& group, std::uint32_t hostsPerDatastore) {
  const std::size_t all = group.hosts.size();
  if (all == 0) {
    if (!group.cluster.empty()) datastore.clusters.push_back(group.cluster);
    return;
  }
  if (hostsPerDatastore == 0 || hostsPerDatastore >= all) {
    datastore.hosts = group.hosts;
    return;
  }
  for (std::uint32_t taken = 0; taken < hostsPerDatastore; ++taken) {
    datastore.hosts.push_back(group.hosts[group.next]);
    group.next = (group.next + 1) % all;
  }
}

std::vector<Datastore> makeDatastores(const InventorySizes& sizes,
                                      const std::vector<Cluster>& clusters,
                                      const std::vector<Host>& hosts, Dice& dice) {
  std::vector<HostGroup> groups = groupsOf(sizes, clusters, hosts);
  std::vector<Datastore> datastores(sizes.datastores);
  for (std::uint32_t i = 0; i < sizes.datastores; ++i) {
    Datastore& datastore = datastores[i];
    datastore.id = std::to_string(1 + i);
    datastore.name = numbered("datastore-", i + 1);
    datastore.storageType = kStorageTypes[i % kStorageTypes.size()];
    datastore.actualCapacityGB = static_cast<std::uint32_t>(1024 * (1 + dice.below(16)));
    datastore.actualFreeSizeGB = static_cast<std::uint32_t>(dice.below(datastore.actualCapacityGB));
    datastore.storageUnit = numbered("lun-", i + 1);
    datastore.storageDevice = "array-1";
    connect(datastore, groups[i % groups.size()], sizes.hostsPerDatastore);
  }
  return datastores;
}

Disk makeDisk(const Vm& vm, std::uint32_t number, const std::vector<Datastore>& datastores,
              Dice& dice) {
  Disk disk;
  disk.volume = vm.id.substr(2) + "-" + std::to_string(number);
  disk.uuid = dice.uuid();
  disk.name = vm.name + "-disk-" + std::to_string(number);
  disk.datastore = datastores[dice.below(datastores.size())].id;
  disk.sequenceNum = number;
  disk.quantityGB = kDiskSizes[dice.below(kDiskSizes.size())];
  disk.pciType = kBuses[dice.below(kBuses.size())];
  disk.systemVolume = number == 1;
  disk.bootOrder = number == 1 ? 1 : -1;
  disk.externalUuid = dice.uuid();
  return disk;
}

Nic makeNic(const Vm& vm, Dice& dice) {
  Nic nic;
  nic.id = vm.id + "-1";
  nic.portGroup = "1";
  nic.portGroupName = "production";
  std::array<char, 18> mac{};
  const auto draw = static_cast<unsigned>(dice.below(1U << 24));
  std::snprintf(mac.data(), mac.size(), "28:6e:d4:%02x:%02x:%02x", draw >> 16 & 0xFFU,
                draw >> 8 & 0xFFU, draw & 0xFFU);
  nic.mac = mac.data();
  return nic;
}

Vm makeVm(std::uint32_t index, const InventorySizes& sizes, const Inventory& inventory,
          Dice& dice) {
  const GuestSystem& guest = kGuests[dice.below(kGuests.size())];
  Vm vm;
  vm.id = numbered("i-", index + 1);
  vm.uuid = dice.uuid();
  vm.name = numbered("vm-", index + 1);
  vm.group = kGroups[dice.below(kGroups.size())];
  if (!inventory.hosts.empty()) {
    vm.host = inventory.hosts[index % inventory.hosts.size()].id;
  } else {
    vm.cluster = inventory.clusters[index % inventory.clusters.size()].id;
  }
  vm.cpuQuantity = 1 << dice.below(4);
  vm.memoryMB = 2048U << dice.below(4);
  vm.osType = guest.osType;
  vm.osVersion = guest.version.id;
  vm.guestOSName = guest.version.versionDes;
  vm.hostname = vm.name;
  vm.externalUuid = dice.uuid();
  vm.nics.push_back(makeNic(vm, dice));
  for (std::uint32_t number = 1; number <= sizes.disks; ++number) {
    vm.disks.push_back(makeDisk(vm, number, inventory.datastores, dice));
  }
  return vm;
}

}  // namespace

Inventory generateInventory(const InventorySizes& sizes) {
  check(sizes);
  Dice dice(sizes.seed);
  Inventory inventory;
  inventory.sites.push_back({.id = "4A5F0A21", .name = "generated site", .ip = "", .isSelf = true});
  inventory.osVersions = catalogue();
  inventory.clusters = makeClusters(sizes);
  inventory.hosts = makeHosts(sizes, inventory.clusters);
  inventory.datastores = makeDatastores(sizes, inventory.clusters, inventory.hosts, dice);
  inventory.vms.reserve(sizes.vms);
  for (std::uint32_t i = 0; i < sizes.vms; ++i) {
    inventory.vms.push_back(makeVm(i, sizes, inventory, dice));
  }
  return inventory;
}

}  // namespace kestrelvisor::vrmsim
