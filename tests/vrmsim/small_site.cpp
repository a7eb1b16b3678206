#include "tests/vrmsim/small_site.h"

namespace kestrelvisor::vrmsim::test {
namespace {

Cluster cluster(const std::string& id) {
  Cluster made;
  made.id = id;
  made.name = "cluster " + id;
  return made;
}

Host host(const std::string& id, const std::string& clusterId) {
  Host made;
  made.id = id;
  made.name = "host " + id;
  made.ip = "10.0.0." + id.substr(1);
  made.cluster = clusterId;
  return made;
}

Datastore datastore(const std::string& id, const std::vector<std::string>& hosts) {
  Datastore made;
  made.id = id;
  made.name = "store " + id;
  made.hosts = hosts;
  return made;
}

Vm vm(const std::string& id, const std::string& hostId, const std::string& datastoreId) {
  Vm made;
  made.id = id;
  made.uuid = "00000000-0000-4000-8000-0000000000" + id;
  made.name = "machine " + id;
  made.host = hostId;
  Disk disk;
  disk.volume = id + "-1";
  disk.uuid = "volume of " + id;
  disk.datastore = datastoreId;
  disk.externalUuid = "external " + id;
  made.disks.push_back(disk);
  return made;
}

std::vector<Vm> machines() {
  Vm onCluster = vm("v4", "", "d1");
  onCluster.cluster = "c1";
  Vm pattern = vm("t1", "h2", "d1");
  pattern.isTemplate = true;
  Vm linked = vm("l1", "h2", "d1");
  linked.isLinkClone = true;
  return {
      vm("v1", "h1", "d1"), vm("v2", "h1", "d1"), vm("v3", "h3", "d2"), onCluster, pattern, linked};
}

}  // namespace

Inventory smallSite() {
  Inventory inventory;
  inventory.sites = {{"S1", "here", "", true}, {"S2", "there", "10.9.9.9", false}};
  inventory.osVersions.x86.windows = {{1, "Windows"}};
  inventory.osVersions.x86.linux = {{2, "Linux"}};
  inventory.osVersions.arm.linux = {{2, "Linux on arm"}};
  inventory.clusters = {cluster("c1"), cluster("c2")};
  inventory.clusters[0].arch = "arm";
  inventory.hosts = {host("h1", "c1"), host("h2", "c1"), host("h3", "")};
  inventory.datastores = {datastore("d1", {"h1", "h2"}), datastore("d2", {"h3"}),
                          datastore("d3", {"h1"}), datastore("d4", {})};
  inventory.datastores[1].storageType = "tapePome";
  inventory.datastores[2].status = "ABNORMAL";
  inventory.datastores[3].clusters = {"c2"};
  inventory.vms = machines();
  return inventory;
}

}  // namespace kestrelvisor::vrmsim::test
