#include "vrmsim/inventory_generator.h"

#include "tests/support/test_headers.h"
#include "vrmsim/digest.h"
#include "vrmsim/inventory_file.h"

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {
namespace {

using ::testing::ElementsAre;

TEST(InventoryGenerator, MakesWhatWasAskedFor) {
  InventorySizes sizes;
  sizes.clusters = 4;
  sizes.hosts = 10;
  sizes.standaloneHosts = 3;
  sizes.vms = 25;
  sizes.disks = 3;
  sizes.datastores = 7;

  const Inventory inventory = generateInventory(sizes);

  EXPECT_EQ(inventory.clusters.size(), 4U);
  EXPECT_EQ(inventory.hosts.size(), 10U);
  EXPECT_EQ(inventory.datastores.size(), 7U);
  EXPECT_EQ(inventory.vms.size(), 25U);
  int standalone = 0;
  for (const Host& host : inventory.hosts) standalone += host.cluster.empty() ? 1 : 0;
  EXPECT_EQ(standalone, 3);
  for (const Vm& vm : inventory.vms) EXPECT_EQ(vm.disks.size(), 3U);
}

// Guards against a draw that depends on the machine or on the order of evaluation.
TEST(InventoryGenerator, GivesTheSameBytesForTheSameSeedEverywhere) {
  EXPECT_EQ(sha256Hex(writeInventory(generateInventory({}))),
            "8744b492b72f5430b29a0d4dde66a12ac42fdb8d76c80d44a78d5ae1cccd0344");
}

TEST(InventoryGenerator, GivesOtherBytesForAnotherSeed) {
  InventorySizes other;
  other.seed = 2;

  EXPECT_NE(generateInventory(other), generateInventory({}));
}

TEST(InventoryGenerator, GivesEveryMachineAndVolumeAUuidOfItsOwn) {
  const Inventory inventory = generateInventory({});

  std::set<std::string> uuids;
  for (const Vm& vm : inventory.vms) {
    uuids.insert(vm.uuid);
    for (const Disk& disk : vm.disks) uuids.insert(disk.uuid);
  }

  EXPECT_EQ(uuids.size(), inventory.vms.size() * 3);
  for (const std::string& uuid : uuids) {
    EXPECT_THAT(uuid, ::testing::MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-"
                                              "[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
  }
}

TEST(InventoryGenerator, MakesASiteThatAFileMayHold) {
  InventorySizes sizes;
  sizes.clusters = 5;  // more than datastores and hosts
  sizes.hosts = 2;
  sizes.standaloneHosts = 0;
  sizes.datastores = 4;
  const Inventory inventory = generateInventory(sizes);

  EXPECT_EQ(parseInventory(writeInventory(inventory)), inventory);
}

// The hosts of each datastore by their numbers, with four hosts in the one cluster and two beside
// it.
std::vector<std::vector<int>> hostsOfDatastores(std::uint32_t hostsPerDatastore) {
  InventorySizes sizes;
  sizes.clusters = 1;
  sizes.hosts = 6;
  sizes.standaloneHosts = 2;
  sizes.datastores = 6;
  sizes.hostsPerDatastore = hostsPerDatastore;
  std::vector<std::vector<int>> reached;
  for (const Datastore& datastore : generateInventory(sizes).datastores) {
    std::vector<int>& hosts = reached.emplace_back();
    for (const std::string& host : datastore.hosts) hosts.push_back(std::stoi(host) - 1000);
  }
  return reached;
}

TEST(InventoryGenerator, LetsAllHostsOfAClusterReachItsDatastores) {
  const std::vector<int> clustered{0, 1, 2, 3};
  const std::vector<int> others{4, 5};

  EXPECT_THAT(hostsOfDatastores(0),
              ElementsAre(clustered, others, clustered, others, clustered, others));
}

TEST(InventoryGenerator, LetsSoManyHostsReachEachDatastoreGoingRound) {
  EXPECT_THAT(hostsOfDatastores(1), ElementsAre(ElementsAre(0), ElementsAre(4), ElementsAre(1),
                                                ElementsAre(5), ElementsAre(2), ElementsAre(4)));
  // All of the two: their order stays.
  EXPECT_THAT(hostsOfDatastores(3),
              ElementsAre(ElementsAre(0, 1, 2), ElementsAre(4, 5), ElementsAre(3, 0, 1),
                          ElementsAre(4, 5), ElementsAre(2, 3, 0), ElementsAre(4, 5)));
}

TEST(InventoryGenerator, TakesMoreHostsThanThereAreForAll) {
  EXPECT_EQ(hostsOfDatastores(4), hostsOfDatastores(0));
  EXPECT_EQ(hostsOfDatastores(5), hostsOfDatastores(0));
}

TEST(InventoryGenerator, PutsMachinesOnClustersWhenThereIsNoHost) {
  InventorySizes sizes;
  sizes.hosts = 0;
  sizes.standaloneHosts = 0;

  for (const Vm& vm : generateInventory(sizes).vms) {
    EXPECT_EQ(vm.host, "");
    EXPECT_NE(vm.cluster, "");
  }
}

TEST(InventoryGenerator, RefusesSizesThatContradictEachOther) {
  InventorySizes tooManyStandalone;
  tooManyStandalone.standaloneHosts = 13;
  InventorySizes noCluster;
  noCluster.clusters = 0;
  InventorySizes nowhere;
  nowhere.clusters = nowhere.hosts = nowhere.standaloneHosts = 0;
  InventorySizes noDatastore;
  noDatastore.datastores = 0;

  for (const InventorySizes& sizes : {tooManyStandalone, noCluster, nowhere, noDatastore}) {
    EXPECT_THROW(generateInventory(sizes), std::invalid_argument);
  }
}

}  // namespace
}  // namespace kestrelvisor::vrmsim
