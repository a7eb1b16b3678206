#include "engine/kestrelvisor_public.h"
#include "environment.pb.h"
#include "platform/contract/helpers.h"
#include "tests/catalogue/log_script.h"
#include "tests/support/fake_manager.h"
#include "tests/support/test_headers.h"

#include <boost/make_shared.hpp>

namespace kestrelvisor::test {
namespace {

using Tree = tree<kestrelVisor_TreeNode>;

constexpr const char* kSite = "/service/sites/1";
constexpr const char* kGuests = "/service/sites/1/vms/osversions";
constexpr const char* kArmGuests = "/service/sites/1/vms/osversions?arch=arm";
constexpr const char* kClustersPath = "/service/sites/1/clusters";
constexpr const char* kFreeHostsPath = "/service/sites/1/hosts?scope=default";

constexpr const char* kClusterUri = "/service/sites/1/clusters/1";
constexpr const char* kClusterDatastores =
    "/service/sites/1/datastores?scope=urn:sites:1:clusters:1&status=NORMAL";
constexpr const char* kClusterHosts = "/service/sites/1/hosts?scope=urn:sites:1:clusters:1";
constexpr const char* kOneCluster =
    R"({"clusters":[{"urn":"urn:sites:1:clusters:1","uri":"/service/sites/1/clusters/1",)"
    R"("name":"east"}]})";

constexpr const char* kHostUri = "/service/sites/1/hosts/1";
constexpr const char* kHostUrn = "urn:sites:1:hosts:1";
constexpr const char* kHostDatastores = "/service/sites/1/datastores?status=NORMAL";
constexpr const char* kHostProbe =
    "/service/sites/1/vms?limit=1&offset=0&scope=urn:sites:1:hosts:1";
constexpr const char* kClusterProbe =
    "/service/sites/1/vms?limit=1&offset=0&scope=urn:sites:1:clusters:1";
constexpr const char* kOneHost =
    R"({"hosts":[{"urn":"urn:sites:1:hosts:1","uri":"/service/sites/1/hosts/1","name":"node",)"
    R"("physicalCpuQuantity":8}]})";

constexpr const char* kNoClusters = R"({"clusters":[]})";
constexpr const char* kNoHosts = R"({"hosts":[]})";
constexpr const char* kNoDatastores = R"({"total":0})";
constexpr const char* kNoMachines = R"({"total":0})";

std::string guidOf(std::string text) { return EnvProxy_string_to_uuid(text); }

// A manager whose site holds nothing; scenarios put something there, or let a route fail.
void servesEmptySite(FakeManager& manager) {
  manager.serves("GET", kGuests, ok("{}"));
  manager.serves("GET", kArmGuests, ok("{}"));
  manager.serves("GET", kClustersPath, ok(kNoClusters));
  manager.serves("GET", kFreeHostsPath, ok(kNoHosts));
  manager.serves("GET", kClusterDatastores, ok(kNoDatastores));
  manager.serves("GET", kHostDatastores, ok(kNoDatastores));
}

// Builds the tree, with a client that ends before the script is read.
void buildTree(VRM_INFO vrm) {
  KestrelVisorPublic engine;
  Tree environment;
  KestrelVisorPublic::OsMap guests;
  KestrelVisorErrorMessage error;
  engine.CreateTreeTables(vrm, environment, guests, error);
}

Script& guestsRead(Script& script) {
  script.line("guests.filter", {"/vms/osversions"}).loggedIn().answered(kGuests, "{}");
  script.line("json.whole").line("guests.filter", {"/vms/osversions"}).sessionReused();
  return script.answered(kArmGuests, "{}").line("json.whole");
}

// Up to the query of the clusters.
Script& rootMade(Script& script) {
  return guestsRead(script).line("tree.root", {kSite, guidOf(kSite)}).sessionReused();
}

Script& noClusters(Script& script) {
  return script.answered(kClustersPath, kNoClusters).line("json.ok").line("clusters.count", {"0"});
}

Script& oneCluster(Script& script) {
  return script.answered(kClustersPath, kOneCluster)
      .line("json.ok")
      .line("clusters.count", {"1"})
      .line("clusters.object", {kClusterUri, guidOf(kClusterUri)})
      .sessionReused()
      .answered(kClusterDatastores, kNoDatastores);
}

Script& noHosts(Script& script, const std::string& path) {
  return script.answered(path, kNoHosts).line("json.ok").line("hosts.count", {"0"});
}

Script& oneHost(Script& script, const std::string& path) {
  return script.answered(path, kOneHost)
      .line("json.ok")
      .line("hosts.count", {"1"})
      .line("hosts.object", {kHostUri, guidOf(kHostUri), "0"})
      .sessionReused()
      .answered(kHostDatastores, kNoDatastores);
}

Script& noMachines(Script& script, const std::string& probe) {
  return script.answered(probe, kNoMachines).line("json.ok").line("machines.total", {"0"});
}

Script& hostRemembered(Script& script) {
  return script.line("tree.host", {guidOf(kHostUri), kHostUrn, kHostUri});
}

Script siteWithoutGuests() {
  FakeManager manager;
  servesEmptySite(manager);
  manager.serves("GET", kGuests, status(500));
  buildTree(manager.connection());
  Script script(manager.connection());
  script.line("guests.filter", {"/vms/osversions"}).loggedIn().queryRefused(kGuests);
  script.line("guests.failed").line("guests.filter", {"/vms/osversions"}).loggedIn();
  return script.answered(kArmGuests, "{}").line("json.whole").line("tree.noGuests").loggedOut();
}

Script siteWhoseClustersFail() {
  FakeManager manager;
  servesEmptySite(manager);
  manager.serves("GET", kClustersPath, status(500));
  buildTree(manager.connection());
  Script script(manager.connection());
  rootMade(script).queryRefused(kClustersPath).line("clusters.failed");
  return script.line("tree.noClusters", {"site"});
}

Script siteWhoseFreeHostsFail() {
  FakeManager manager;
  servesEmptySite(manager);
  manager.serves("GET", kFreeHostsPath, status(500));
  buildTree(manager.connection());
  Script script(manager.connection());
  noClusters(rootMade(script)).sessionReused().queryRefused(kFreeHostsPath);
  return script.line("hosts.failed").line("tree.noFreeHosts");
}

Script emptySite() {
  FakeManager manager;
  servesEmptySite(manager);
  buildTree(manager.connection());
  Script script(manager.connection());
  noClusters(rootMade(script)).sessionReused();
  return noHosts(script, kFreeHostsPath).loggedOut();
}

Script freeHost() {
  FakeManager manager;
  servesEmptySite(manager);
  manager.serves("GET", kFreeHostsPath, ok(kOneHost));
  manager.serves("GET", kHostProbe, ok(kNoMachines));
  buildTree(manager.connection());
  Script script(manager.connection());
  noClusters(rootMade(script)).sessionReused();
  oneHost(script, kFreeHostsPath).line("attach.rootHost", {"8", "x86", ""}).sessionReused();
  return hostRemembered(noMachines(script, kHostProbe)).loggedOut();
}

Script clusterWhoseHostsFail() {
  FakeManager manager;
  servesEmptySite(manager);
  manager.serves("GET", kClustersPath, ok(kOneCluster));
  manager.serves("GET", kClusterHosts, status(500));
  buildTree(manager.connection());
  Script script(manager.connection());
  oneCluster(rootMade(script)).sessionReused();
  noHosts(script, kFreeHostsPath).line("attach.rootCluster", {"x86", ""}).sessionReused();
  script.queryRefused(kClusterHosts).line("hosts.failed");
  return script.line("tree.noHosts", {kClusterUri});
}

// The host below the cluster fails, so the cluster's sub tree does too.
Script hostWhoseMachinesFail() {
  FakeManager manager;
  servesEmptySite(manager);
  manager.serves("GET", kClustersPath, ok(kOneCluster));
  manager.serves("GET", kClusterHosts, ok(kOneHost));
  manager.serves("GET", kClusterProbe, ok(kNoMachines));
  manager.serves("GET", kHostProbe, status(500));
  buildTree(manager.connection());
  Script script(manager.connection());
  oneCluster(rootMade(script)).sessionReused();
  noHosts(script, kFreeHostsPath).line("attach.rootCluster", {"x86", ""}).sessionReused();
  oneHost(script, kClusterHosts).sessionReused();
  noMachines(script, kClusterProbe).line("attach.host", {"8", "x86", ""}).sessionReused();
  script.queryRefused(kHostProbe).line("machines.failed");
  script.line("tree.noMachines", {kHostUri});
  return script.line("tree.noSubTree", {kClusterUri});
}

// A tree with a root alone.
Tree rootOnly() {
  Tree environment;
  environment.add_root(kestrelVisor_TreeNode());
  return environment;
}

template <class Iterator>
void attach(const boost::shared_ptr<KestrelVisorObj>& object) {
  KestrelVisorPublic engine;
  Tree environment = rootOnly();
  ObjectIndex index;
  KestrelVisorPublic::ObjectList children{object};
  engine.AddChildNodesToTree(index, Iterator(environment), environment, children);
}

Script objectThatIsNoHost() {
  const auto object = boost::make_shared<KestrelVisorObj>();
  object->type = 5;
  attach<Tree::iterator>(object);
  attach<Tree::leaf_iterator>(object);
  return Script().line("attach.notAHost").line("attach.notAHost");
}

Script hostsAtBothPlaces() {
  const auto host = boost::make_shared<CNA_INFO>();
  host->type = 5;
  host->cpuNumber = 4;
  host->arch = "arm";
  host->cpuVendor = "Acme";
  attach<Tree::iterator>(host);
  attach<Tree::leaf_iterator>(host);
  return Script()
      .line("attach.rootHost", {"4", "arm", "Acme"})
      .line("attach.host", {"4", "arm", "Acme"});
}

Script clustersAtBothPlaces() {
  const auto cluster = boost::make_shared<CLUSTER_INFO>();
  cluster->type = 6;
  cluster->arch = "arm";
  cluster->cpuVendor = "Acme";
  attach<Tree::iterator>(cluster);
  attach<Tree::leaf_iterator>(cluster);
  return Script()
      .line("attach.rootCluster", {"arm", "Acme"})
      .line("attach.cluster", {"arm", "Acme"});
}

Script groupsOfMachines() {
  KestrelVisorPublic engine;
  for (std::string group : {"KC_a", "KSP", "KM_a", "VDI", "xKC_", ""}) engine.getVgroupType(group);
  return Script().line("group.general").line("group.openStack").line("group.km").line("group.vdi");
}

constexpr Scenario kScenarios[] = {
    {"SiteWithoutGuests", siteWithoutGuests},
    {"SiteWhoseClustersFail", siteWhoseClustersFail},
    {"SiteWhoseFreeHostsFail", siteWhoseFreeHostsFail},
    {"EmptySite", emptySite},
    {"FreeHost", freeHost},
    {"ClusterWhoseHostsFail", clusterWhoseHostsFail},
    {"HostWhoseMachinesFail", hostWhoseMachinesFail},
    {"ObjectThatIsNoHost", objectThatIsNoHost},
    {"HostsAtBothPlaces", hostsAtBothPlaces},
    {"ClustersAtBothPlaces", clustersAtBothPlaces},
    {"GroupsOfMachines", groupsOfMachines},
};

}  // namespace

std::span<const Scenario> treeScenarios() { return kScenarios; }

}  // namespace kestrelvisor::test
