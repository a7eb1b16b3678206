#include "inventory/inventory_records.h"
#include "platform/contract/helpers.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/catalogue/faults.h"
#include "tests/catalogue/log_script.h"
#include "tests/support/fake_manager.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::test {
namespace {

constexpr const char* kSite = "/service/sites/1";

constexpr const char* kClusterUri = "/service/sites/1/clusters/1";
constexpr const char* kClusterUrn = "urn:sites:1:clusters:1";
constexpr const char* kClusters =
    R"({"clusters":[{"urn":"urn:sites:1:clusters:1","uri":"/service/sites/1/clusters/1",)"
    R"("name":"east","arch":"arm","cpuVendor":"Acme"}]})";
constexpr const char* kClusterDatastores =
    "/service/sites/1/datastores?scope=urn:sites:1:clusters:1&status=NORMAL";

constexpr const char* kHostUri = "/service/sites/1/hosts/1";
constexpr const char* kHostUrn = "urn:sites:1:hosts:1";
constexpr const char* kHosts =
    R"({"hosts":[{"urn":"urn:sites:1:hosts:1","uri":"/service/sites/1/hosts/1",)"
    R"("name":"node","arch":"arm","cpuVendor":"Acme","physicalCpuQuantity":8}]})";
constexpr const char* kHostDatastores = "/service/sites/1/datastores?status=NORMAL";

constexpr const char* kDatastores =
    R"({"total":2,"datastores":[{"storageType":"NAS"},{"storageType":"tape"}]})";

constexpr const char* kUuid = "6f2c7d1e-0f0a-4c57-9d5b-0a4a0c9f3e11";
constexpr const char* kMachines =
    R"({"vms":[{"location":"urn:sites:1:hosts:1","uri":"/service/sites/1/vms/1",)"
    R"("uuid":"6f2c7d1e-0f0a-4c57-9d5b-0a4a0c9f3e11","vmConfig":{)"
    R"("properties":{"cdRomBootOrder":2},"disks":[)"
    R"({"pciType":"IDE","volumeUuid":"v-1","datastoreUrn":"urn:odd","bootOrder":3,)"
    R"("storageProtocol":1},)"
    R"({"pciType":"SCSI","volumeUuid":"v-2","datastoreUrn":"urn:sites:1:datastores:5"}],)"
    R"("nics":[{"bootOrder":4}]}}]})";
constexpr const char* kProbe = "/service/sites/1/vms?limit=1&offset=0&scope=urn:sites:1:hosts:1";
constexpr const char* kPage =
    "/service/sites/1/vms?limit=100&offset=0&scope=urn:sites:1:hosts:1&detail=2";
constexpr const char* kDiscovery =
    "/service/sites/1/volumes/compatibility/discovery?uuid=v-2&datestore=5&page=1&offset=0&"
    "limit=15";

using Objects = std::list<boost::shared_ptr<KestrelVisorObj>>;

std::string guidOf(std::string text) { return EnvProxy_string_to_uuid(text); }

Script& typesOfDatastores(Script& script) {
  return script.line("datastore.type", {"NAS"})
      .line("datastore.type", {"tape"})
      .line("datastore.notSupported", {"tape"});
}

void querySites(VRM_INFO vrm) {
  KestrelVisor_rest_api api;
  std::list<VRM_INFO> sites;
  KestrelVisorErrorMessage error;
  api.getAllVRMsInfoInADomain(vrm, true, sites, error);
}

Script sitesThatFail() {
  FakeManager manager;
  manager.serves("GET", "/service/sites", status(500));
  querySites(manager.connection());
  Script script(manager.connection());
  return script.loggedIn().queryRefused("/service/sites").line("sites.failed");
}

void queryClusters(VRM_INFO vrm) {
  KestrelVisor_rest_api api;
  Objects clusters;
  KestrelVisorErrorMessage error;
  api.getClusterFromVrm(vrm, clusters, error);
}

// Up to the datastores of the one cluster.
Script& clusterRead(Script& script) {
  return script.loggedIn()
      .answered(std::string(kSite) + "/clusters", kClusters)
      .line("json.ok")
      .line("clusters.count", {"1"})
      .line("clusters.arch", {kClusterUrn, "arm"})
      .line("clusters.vendor", {kClusterUrn, "Acme"})
      .line("clusters.object", {kClusterUri, guidOf(kClusterUri)})
      .sessionReused();
}

Script clusters() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/clusters", ok(kClusters));
  manager.serves("GET", kClusterDatastores, ok(kDatastores));
  queryClusters(manager.connection());
  Script script(manager.connection());
  clusterRead(script).answered(kClusterDatastores, kDatastores);
  return typesOfDatastores(script).loggedOut();
}

Script clustersThatFail() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/clusters", status(500));
  queryClusters(manager.connection());
  Script script(manager.connection());
  script.loggedIn().queryRefused(std::string(kSite) + "/clusters");
  return script.line("clusters.failed");
}

Script clusterWithoutMemory() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/clusters", ok(kClusters));
  const NoMemoryAfterLine fault("Cluster Count=1", sizeof(CLUSTER_INFO));
  queryClusters(manager.connection());
  Script script(manager.connection());
  script.loggedIn().answered(std::string(kSite) + "/clusters", kClusters).line("json.ok");
  return script.line("clusters.count", {"1"}).line("clusters.noMemory").loggedOut();
}

Script clusterWithoutDatastores() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/clusters", ok(kClusters));
  manager.serves("GET", kClusterDatastores, status(500));
  queryClusters(manager.connection());
  Script script(manager.connection());
  clusterRead(script).refused(kClusterDatastores);
  return script.line("clusters.noDatastores").loggedOut();
}

void queryHosts(VRM_INFO vrm) {
  KestrelVisor_rest_api api;
  Objects hosts;
  KestrelVisorErrorMessage error;
  api.getCnaFromVrm(vrm, "", hosts, error);
}

// Up to the datastores of the one host.
Script& hostRead(Script& script) {
  return script.loggedIn()
      .answered(std::string(kSite) + "/hosts", kHosts)
      .line("json.ok")
      .line("hosts.count", {"1"})
      .line("hosts.arch", {kHostUrn, "arm"})
      .line("hosts.vendor", {kHostUrn, "Acme"})
      .line("hosts.object", {kHostUri, guidOf(kHostUri), "0"})
      .sessionReused();
}

Script hosts() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/hosts", ok(kHosts));
  manager.serves("GET", kHostDatastores, ok(kDatastores));
  queryHosts(manager.connection());
  Script script(manager.connection());
  hostRead(script).answered(kHostDatastores, kDatastores);
  return typesOfDatastores(script).loggedOut();
}

Script hostsThatFail() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/hosts", status(500));
  queryHosts(manager.connection());
  Script script(manager.connection());
  script.loggedIn().queryRefused(std::string(kSite) + "/hosts");
  return script.line("hosts.failed");
}

Script hostWithoutMemory() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/hosts", ok(kHosts));
  const NoMemoryAfterLine fault("cna Count = 1", sizeof(CNA_INFO));
  queryHosts(manager.connection());
  Script script(manager.connection());
  script.loggedIn().answered(std::string(kSite) + "/hosts", kHosts).line("json.ok");
  return script.line("hosts.count", {"1"}).line("hosts.noMemory").loggedOut();
}

Script hostWithoutDatastores() {
  FakeManager manager;
  manager.serves("GET", std::string(kSite) + "/hosts", ok(kHosts));
  manager.serves("GET", kHostDatastores, status(500));
  queryHosts(manager.connection());
  Script script(manager.connection());
  hostRead(script).refused(kHostDatastores);
  return script.line("hosts.noDatastores").loggedOut();
}

Script datastoresThatCannotBeRead() {
  KestrelVisor_rest_api api;
  datastores_t datastores;
  api.toDataStores("nothing", datastores);
  return Script().line("datastores.unreadable");
}

Script datastoreWithoutMemory() {
  KestrelVisor_rest_api api;
  datastores_t datastores;
  failNextRecord(sizeof(ST_DATASTORE_INFO));
  api.toDataStores(kDatastores, datastores);
  return Script().line("datastores.noMemory");
}

Script datastoreThatCannotBeRead() {
  KestrelVisor_rest_api api;
  ST_DATASTORE_INFO datastore;
  api.getDatastoreInfo("nothing", datastore);
  return Script().line("datastore.unreadable");
}

void queryMachines(KestrelVisor_rest_api& api, VRM_INFO vrm) {
  Objects machines;
  KestrelVisorErrorMessage error;
  api.getVMFromVrm(vrm, kHostUrn, machines, error);
}

void queryMachines(const VRM_INFO& vrm) {
  KestrelVisor_rest_api api;
  queryMachines(api, vrm);
}

Script& probed(Script& script) {
  return script.loggedIn()
      .answered(kProbe, R"({"total":1})")
      .line("json.ok")
      .line("machines.total", {"1"})
      .sessionReused();
}

Script& pageRead(Script& script, const std::string& page) {
  return probed(script).answered(kPage, page).line("json.ok").line("page.count", {"1"});
}

// Both passes over the disks, and the lookup of the first one.
Script& machineRead(Script& script) {
  pageRead(script, kMachines).line("machine.cdRom", {"2"});
  for (int pass = 0; pass < 2; ++pass) {
    script.line("machine.diskBoot", {"v-1", "3"}).line("machine.diskProtocol", {"1"});
  }
  return script.line("machine.nicBoot", {"4"})
      .line("lookup.badUrn", {"2", "urn:odd"})
      .sessionReused();
}

Script& machineTaken(Script& script) {
  const std::string text = std::string("urn:sites:1") + kUuid;
  return script.line("machines.object", {text, guidOf(text)})
      .line("machines.oldGuid", {kUuid, guidOf(text)})
      .line("machines.page", {"0", "1"})
      .line("machines.done");
}

Script machines() {
  FakeManager manager;
  manager.serves("GET", kProbe, ok(R"({"total":1})"));
  manager.serves("GET", kPage, ok(kMachines));
  manager.serves("GET", kDiscovery, ok(R"({"volumes":[]})"));
  queryMachines(manager.connection());
  Script script(manager.connection());
  machineRead(script).answered(kDiscovery, R"({"volumes":[]})").line("json.ok");
  return machineTaken(script).loggedOut();
}

Script lookupThatFails() {
  FakeManager manager;
  manager.serves("GET", kProbe, ok(R"({"total":1})"));
  manager.serves("GET", kPage, ok(kMachines));
  manager.serves("GET", kDiscovery, status(500));
  queryMachines(manager.connection());
  Script script(manager.connection());
  machineRead(script).queryRefused(kDiscovery).line("lookup.failed");
  return machineTaken(script);
}

Script pageWithoutMachines() {
  FakeManager manager;
  manager.serves("GET", kProbe, ok(R"({"total":1})"));
  manager.serves("GET", kPage, ok(R"({"vms":[]})"));
  queryMachines(manager.connection());
  Script script(manager.connection());
  probed(script).answered(kPage, R"({"vms":[]})").line("json.ok").line("page.count", {"0"});
  return script.line("machines.emptyPage", {"0"}).line("machines.done").loggedOut();
}

Script machinesThatFail() {
  FakeManager manager;
  manager.serves("GET", kProbe, status(500));
  queryMachines(manager.connection());
  Script script(manager.connection());
  return script.loggedIn().queryRefused(kProbe).line("machines.failed");
}

Script pageThatFails() {
  FakeManager manager;
  manager.serves("GET", kProbe, ok(R"({"total":1})"));
  manager.serves("GET", kPage, status(500));
  queryMachines(manager.connection());
  Script script(manager.connection());
  return probed(script).queryRefused(kPage).line("page.failed").line("machines.pageFailed");
}

Script machineWithoutMemory() {
  FakeManager manager;
  manager.serves("GET", kProbe, ok(R"({"total":1})"));
  manager.serves("GET", kPage, ok(kMachines));
  const NoMemoryAfterLine fault("getAllVMInfo: Vm Count = 1", sizeof(VM_INFO));
  queryMachines(manager.connection());
  Script script(manager.connection());
  pageRead(script, kMachines).line("page.noMemory").line("machines.pageFailed");
  return script.loggedOut();
}

// What the manager sent once can be read again, so only another reading fails.
class ClientThatReadsNoMachine : public KestrelVisor_rest_api {
 public:
  bool getVMDetail(const std::string&, VM_DETAIL*) override { return false; }
};

Script machineThatCannotBeRead() {
  FakeManager manager;
  manager.serves("GET", kProbe, ok(R"({"total":1})"));
  manager.serves("GET", kPage, ok(kMachines));
  {
    ClientThatReadsNoMachine api;
    queryMachines(api, manager.connection());
  }
  Script script(manager.connection());
  pageRead(script, kMachines).line("page.unreadable").line("machines.pageFailed");
  return script.loggedOut();
}

Script guestsOfBothKinds() {
  FakeManager manager;
  const std::string path = std::string(kSite) + "/vms/osversions";
  manager.serves("GET", path, ok("{}"));
  manager.serves("GET", path + "?arch=arm", ok("{}"));
  VRM_INFO vrm = manager.connection();
  {
    KestrelVisor_rest_api api;
    std::map<std::string, std::map<int, std::string>> guests;
    KestrelVisorErrorMessage error;
    api.getOSListFromVrm(vrm, guests, error);
  }
  Script script(vrm);
  script.line("guests.filter", {"/vms/osversions"}).loggedIn().answered(path, "{}");
  script.line("json.whole").line("guests.filter", {"/vms/osversions"}).sessionReused();
  return script.answered(path + "?arch=arm", "{}").line("json.whole").loggedOut();
}

Script guestsThatFail() {
  FakeManager manager;
  const std::string path = std::string(kSite) + "/vms/osversions";
  manager.serves("GET", path, status(500));
  VRM_INFO vrm = manager.connection();
  KestrelVisor_rest_api api;
  std::map<std::string, std::map<int, std::string>> guests;
  KestrelVisorErrorMessage error;
  api.getOSListfromVrmByArch(vrm, guests, error, 0);
  Script script(vrm);
  script.line("guests.filter", {"/vms/osversions"}).loggedIn().queryRefused(path);
  return script.line("guests.failed");
}

Script guestWithoutType() {
  KestrelVisor_rest_api api;
  std::map<std::string, std::map<int, std::string>> guests;
  std::string description;
  std::string message;
  api.getOSDesFromOSList(guests, "", 1, description, message);
  return Script().line("guest.noType").line("guest.unknown");
}

VM_DETAIL machineForAView() {
  VM_DETAIL detail;
  detail.urn = "urn:sites:1:vms:1";
  detail.location = "urn:sites:1:hosts:1";
  detail.hostUrn = "/service/sites/1/hosts/1";
  detail.status = "running";
  detail.uuid = kUuid;
  ST_VDI_INFO& disk = detail.vmConfig.disks.emplace_back();
  disk.volumeUuid = kUuid;
  disk.volumeUrn = "urn:sites:1:volumes:1";
  disk.pciType = "SCSI";
  disk.indepDisk = true;
  return detail;
}

void project(const VM_DETAIL& detail) {
  KestrelVisor_rest_api api;
  VMInfoForTreeView view;
  KestrelVisorErrorMessage error;
  api.getTreeViewVMInfoFromVrm(detail, view, error);
}

Script diskThatIsLeftOut() {
  project(machineForAView());
  return Script()
      .line("view.place", {"urn:sites:1:hosts:1", "/service/sites/1/hosts/1", "running"})
      .line("view.skipped", {kUuid, "urn:sites:1:volumes:1", "SCSI", "1", "None"});
}

Script machineWithoutUuid() {
  VM_DETAIL detail = machineForAView();
  detail.uuid = "none";
  project(detail);
  return Script().line("view.badUuid", {"none", "urn:sites:1:vms:1"});
}

constexpr Scenario kScenarios[] = {
    {"SitesThatFail", sitesThatFail},
    {"Clusters", clusters},
    {"ClustersThatFail", clustersThatFail},
    {"ClusterWithoutMemory", clusterWithoutMemory},
    {"ClusterWithoutDatastores", clusterWithoutDatastores},
    {"Hosts", hosts},
    {"HostsThatFail", hostsThatFail},
    {"HostWithoutMemory", hostWithoutMemory},
    {"HostWithoutDatastores", hostWithoutDatastores},
    {"DatastoresThatCannotBeRead", datastoresThatCannotBeRead},
    {"DatastoreWithoutMemory", datastoreWithoutMemory},
    {"DatastoreThatCannotBeRead", datastoreThatCannotBeRead},
    {"Machines", machines},
    {"LookupThatFails", lookupThatFails},
    {"PageWithoutMachines", pageWithoutMachines},
    {"MachinesThatFail", machinesThatFail},
    {"PageThatFails", pageThatFails},
    {"MachineWithoutMemory", machineWithoutMemory},
    {"MachineThatCannotBeRead", machineThatCannotBeRead},
    {"GuestsOfBothKinds", guestsOfBothKinds},
    {"GuestsThatFail", guestsThatFail},
    {"GuestWithoutType", guestWithoutType},
    {"DiskThatIsLeftOut", diskThatIsLeftOut},
    {"MachineWithoutUuid", machineWithoutUuid},
};

}  // namespace

std::span<const Scenario> inventoryScenarios() { return kScenarios; }

}  // namespace kestrelvisor::test
