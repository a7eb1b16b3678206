#include "tests/support/inventory_builders.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::test {
namespace {

constexpr const char* kSiteUri = "/service/sites/1";
constexpr const char* kSiteUrn = "urn:sites:1";

// An element that the manager names by kind and number.
Document named(const std::string& kind, int number) {
  const std::string n = std::to_string(number);
  return Document()
      .with("urn", kSiteUrn + (":" + kind + "s:" + n))
      .with("uri", kSiteUri + ("/" + kind + "s/" + n))
      .with("name", kind + "-" + n);
}

std::string uuidOf(char kind, int number) {
  std::string digits = std::to_string(number);
  digits.insert(0, 12 - digits.size(), '0');
  return std::string(8, kind) + "-0000-4000-8000-" + digits;
}

Json::Value& resolve(Json::Value& root, const std::string& key) {
  Json::Value* place = &root;
  std::istringstream steps(key);
  for (std::string step; std::getline(steps, step, '.');) place = &(*place)[step];
  return *place;
}

}  // namespace

Document Document::with(const std::string& key, const Json::Value& value) const {
  Document copy = *this;
  resolve(copy.value_, key) = value;
  return copy;
}

Document Document::without(const std::string& key) const {
  Document copy = *this;
  const std::size_t dot = key.rfind('.');
  Json::Value& parent =
      dot == std::string::npos ? copy.value_ : resolve(copy.value_, key.substr(0, dot));
  parent.removeMember(dot == std::string::npos ? key : key.substr(dot + 1));
  return copy;
}

std::string Document::text() const {
  return Json::writeString(Json::StreamWriterBuilder(), value_);
}

MachineDocument MachineDocument::withDisks(int count) const {
  MachineDocument copy = *this;
  Documents disks;
  for (int number = 1; number <= count; ++number) disks.push_back(aDisk(number));
  copy.value_["vmConfig"]["disks"] = arrayOf(disks);
  return copy;
}

std::string clusterUrn(int number) { return "urn:sites:1:clusters:" + std::to_string(number); }
std::string hostUrn(int number) { return "urn:sites:1:hosts:" + std::to_string(number); }
std::string machineUuid(int number) { return uuidOf('a', number); }
std::string volumeUuid(int number) { return uuidOf('d', number); }

Document aCluster(int number) { return named("cluster", number); }

Document aHost(int number) {
  return named("host", number)
      .with("ip", "10.0.0." + std::to_string(number))
      .with("physicalCpuQuantity", 2);
}

Document aDatastore(int number) {
  return named("datastore", number)
      .with("storageType", "NAS")
      .with("hosts", Json::arrayValue)
      .with("actualCapacityGB", 100)
      .with("actualFreeSizeGB", 40);
}

Document aDisk(int number) {
  return Document()
      .with("volumeUrn", "urn:sites:1:volumes:" + std::to_string(number))
      .with("volumeUuid", volumeUuid(number))
      .with("diskName", "disk-" + std::to_string(number))
      .with("datastoreUrn", "urn:sites:1:datastores:1")
      .with("sequenceNum", number)
      .with("quantityGB", 10)
      .with("pciType", "VIRTIO");
}

MachineDocument aVm(int number, const std::string& location) {
  return MachineDocument(
      named("vm", number).with("location", location).with("uuid", machineUuid(number)));
}

Json::Value arrayOf(const Documents& elements) {
  Json::Value array(Json::arrayValue);
  for (const Document& element : elements) array.append(element.value());
  return array;
}

std::string listOf(const std::string& key, const Documents& elements) {
  return Document().with(key, arrayOf(elements)).with("total", Json::UInt(elements.size())).text();
}

std::string hostsTarget(const std::string& scope) {
  return std::string(kSiteUri) + "/hosts?scope=" + scope;
}

std::string machineProbeTarget(const std::string& scope) {
  return std::string(kSiteUri) + "/vms?limit=1&offset=0&scope=" + scope;
}

std::string machinePageTarget(const std::string& scope, int offset) {
  return std::string(kSiteUri) + "/vms?limit=100&offset=" + std::to_string(offset) +
         "&scope=" + scope + "&detail=2";
}

std::string discoveryTarget(const std::string& uuid) {
  return std::string(kSiteUri) + "/volumes/compatibility/discovery?uuid=" + uuid +
         "&datestore=1&page=1&offset=0&limit=15";
}

std::string clusterDatastoresTarget(int cluster) {
  return std::string(kSiteUri) + "/datastores?scope=" + clusterUrn(cluster) + "&status=NORMAL";
}

void servesClusters(FakeManager& manager, const Documents& clusters) {
  manager.serves("GET", kClustersTarget, ok(listOf("clusters", clusters)));
}

void servesHosts(FakeManager& manager, const std::string& scope, const Documents& hosts) {
  manager.serves("GET", hostsTarget(scope), ok(listOf("hosts", hosts)));
}

void servesMachines(FakeManager& manager, const std::string& scope, const Documents& machines) {
  const std::string answer = listOf("vms", machines);
  manager.serves("GET", machineProbeTarget(scope), ok(answer));
  manager.serves("GET", machinePageTarget(scope), ok(answer));
}

void servesDatastores(FakeManager& manager, const Documents& datastores) {
  manager.serves("GET", kDatastoresTarget, ok(listOf("datastores", datastores)));
}

void servesNoGuests(FakeManager& manager) {
  manager.serves("GET", kGuestsTarget, ok("{}"));
  manager.serves("GET", kArmGuestsTarget, ok("{}"));
}

}  // namespace kestrelvisor::test
