#pragma once

#include "tests/support/fake_manager.h"

#include <json/json.h>

#include <string>
#include <utility>
#include <vector>

namespace kestrelvisor::test {

// One element of a manager's answer, with good defaults for a site "/service/sites/1". A test
// states only what matters to it. Keys may lead into inner objects: "vmConfig.cpu.quantity".
class Document {
 public:
  Document with(const std::string& key, const Json::Value& value) const;
  Document without(const std::string& key) const;

  const Json::Value& value() const { return value_; }
  std::string text() const;

 protected:
  Json::Value value_{Json::objectValue};
};

class MachineDocument : public Document {
 public:
  explicit MachineDocument(Document machine) : Document(std::move(machine)) {}

  // Disks numbered from 1.
  MachineDocument withDisks(int count) const;
};

using Documents = std::vector<Document>;

// Number n is part of urn, uri, name and uuid. A host reaches no datastore and a machine has no
// disk unless told.
Document aCluster(int number);
Document aHost(int number);
Document aDatastore(int number);
Document aDisk(int number);
MachineDocument aVm(int number, const std::string& location);

std::string clusterUrn(int number);
std::string hostUrn(int number);
std::string machineUuid(int number);
std::string volumeUuid(int number);

Json::Value arrayOf(const Documents& elements);
// {"key": [elements], "total": their number}
std::string listOf(const std::string& key, const Documents& elements);

// Targets of the queries of the site.
std::string hostsTarget(const std::string& scope);
std::string machineProbeTarget(const std::string& scope);
std::string machinePageTarget(const std::string& scope, int offset = 0);
std::string discoveryTarget(const std::string& uuid);
inline constexpr const char* kClustersTarget = "/service/sites/1/clusters";
inline constexpr const char* kDatastoresTarget = "/service/sites/1/datastores?status=NORMAL";
inline constexpr const char* kGuestsTarget = "/service/sites/1/vms/osversions";
inline constexpr const char* kArmGuestsTarget = "/service/sites/1/vms/osversions?arch=arm";
std::string clusterDatastoresTarget(int cluster);

// Make a manager answer the queries of a whole level.
void servesClusters(FakeManager& manager, const Documents& clusters);
void servesHosts(FakeManager& manager, const std::string& scope, const Documents& hosts);
// Probe and, for at least one machine, the first page.
void servesMachines(FakeManager& manager, const std::string& scope, const Documents& machines);
// Normal datastores of the whole site.
void servesDatastores(FakeManager& manager, const Documents& datastores);
// Empty lists of guest systems.
void servesNoGuests(FakeManager& manager);

}  // namespace kestrelvisor::test
