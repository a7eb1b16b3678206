// Answers about the inventory.

#include "inventory/inventory_records.h"
#include "rest/json_utils.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/fuzz/targets.h"
#include "tests/support/record_text.h"

#include <algorithm>
#include <list>
#include <map>
#include <string>

namespace kestrelvisor::fuzz {
namespace {

using Objects = std::list<boost::shared_ptr<KestrelVisorObj>>;

constexpr const char* kScope = "urn:sites:1:hosts:1";
constexpr const char* kUntouched = "untouched";

// Records are made for as many datastores as an answer announces. Tests of their own show where
// that ends; here such an answer would only be slow.
constexpr unsigned int kMostDatastores = 100;

// Whether a text may hold a number of more than two digits.
bool mayHoldLargeNumber(std::string_view text) {
  int digits = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (digits > 0 && (text[i] == 'e' || text[i] == 'E')) return true;
    digits = digit ? digits + 1 : 0;
    if (digits > 2) return true;
  }
  return false;
}

bool announcesTooMany(std::string_view answer) {
  if (!mayHoldLargeNumber(answer)) return false;
  Json::Value root;
  if (!CJsonUtils::StringToJson(std::string(answer), root)) return false;
  const Json::Value* const total = findKey(root, "total");
  return total != nullptr && total->isConvertibleTo(Json::uintValue) &&
         total->asUInt() > kMostDatastores;
}

void requireSupported(const datastores_t& datastores) {
  for (const auto& datastore : datastores) {
    require(datastore->storageType != EN_DATASTORAGE_TYPE_NOT_SUPPORT,
            "a list never holds a datastore that is not supported");
  }
}

bool isDiskBus(const std::string& bus) { return bus == "IDE" || bus == "VIRTIO" || bus == "SCSI"; }

void requireProjection(const VM_DETAIL& detail, const VMInfoForTreeView& view) {
  std::uint64_t size = 0;
  for (const DiskInfoForTreeView& disk : view.disks) {
    require(disk.uuid.size() == 36, "a projected disk has the canonical form of its uuid");
    require(disk.busType == 1 || disk.busType == 2 || disk.busType == 5, "its bus is known");
    size += static_cast<std::uint64_t>(disk.size);
  }
  require(view.totalSize == size, "the total is the sum of the disks");
  require(view.diskCount == view.disks.size(), "the count is that of the disks");
  require(view.disks.size() <= detail.vmConfig.disks.size(), "no disk is projected twice");
  require(view.uuid == detail.uuid, "a projected machine keeps its uuid");
}

// What a client makes of a script: the records, and how the listing ends.
std::string listMachines(KestrelVisor_rest_api& client, std::string_view script) {
  const ScriptedManager manager(script);
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  Objects found;
  std::string end;
  try {
    end = client.getVMFromVrm(vrm, kScope, found, error) ? "good" : "failed";
  } catch (const Json::Exception& problem) {
    end = problem.what();
  }
  for (const auto& object : found) end += test::textOf(dynamic_cast<const VM_INFO&>(*object));
  return end + error.errorCode + error.errorDescription;
}

}  // namespace

bool scriptAnnouncesTooManyDatastores(std::string_view script) {
  while (!script.empty()) {
    const std::size_t start = std::min(script.find_first_of("{["), script.size());
    const std::size_t end = std::min(script.find("\n----\n"), script.size());
    const std::string_view body = script.substr(start, std::max(end, start) - start);
    if (announcesTooMany(body.substr(0, body.find('\0')))) return true;  // a body ends there
    script.remove_prefix(std::min(end + 6, script.size()));
  }
  return false;
}

void sites(std::string_view input) {
  Client client;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  std::list<VRM_INFO> all(1);
  all.front().name = kUntouched;
  std::list<VRM_INFO> own;
  bool listed = false;
  const bool good = endsWithout<Json::Exception>([&] {
    const ScriptedManager manager(input);
    listed = client.getAllVRMsInfoInADomain(vrm, false, all, error);
  });
  if (!good) return client.requireToWork();
  if (!listed) {
    require(all.size() == 1 && all.front().name == kUntouched, "a failure leaves the list alone");
    return;
  }
  {
    const ScriptedManager manager(input);
    if (!client.getAllVRMsInfoInADomain(vrm, true, own, error)) return;
  }
  require(own.size() <= 1, "a manager serves at most one site itself");
  const auto self = std::ranges::find_if(all, [](const VRM_INFO& site) { return site.isSelf; });
  require(own.empty() == (self == all.end()), "its own site is one of all");
  if (!own.empty()) require(own.front().urn == self->urn, "its own site is the first of them");
}

void clusters(std::string_view input) {
  if (scriptAnnouncesTooManyDatastores(input)) return;
  Client client;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  Objects found;
  const bool good = endsWithout<Json::Exception>([&] {
    const ScriptedManager manager(input);
    client.getClusterFromVrm(vrm, found, error);
  });
  for (const auto& object : found) {
    const auto& cluster = dynamic_cast<const CLUSTER_INFO&>(*object);
    require(object->objectStr == cluster.uri, "a cluster is known by its uri");
    requireSupported(cluster.datastores);
  }
  if (!good) client.requireToWork();
}

void hosts(std::string_view input) {
  if (scriptAnnouncesTooManyDatastores(input)) return;
  Client client;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  Objects found;
  const bool good = endsWithout<Json::Exception>([&] {
    const ScriptedManager manager(input);
    client.getCnaFromVrm(vrm, "default", found, error);
  });
  for (const auto& object : found) {
    const auto& host = dynamic_cast<const CNA_INFO&>(*object);
    require(object->objectStr == host.uri, "a host is known by its uri");
    requireSupported(host.datastores);
    for (const auto& datastore : host.datastores) {
      require(datastore->hosts.find(host.urn) != std::string::npos,
              "a host's datastores name the host");
    }
  }
  if (!good) client.requireToWork();
}

void datastores(std::string_view input) {
  if (announcesTooMany(input)) return;
  const std::string text(input);
  Client client;
  datastores_t found;
  bool read = false;
  const bool good = endsWithout<Json::Exception>([&] { read = client.toDataStores(text, found); });
  Json::Value root;
  const bool readable = CJsonUtils::StringToJson(text, root);
  if (good) require(read == readable, "only a text that cannot be read fails");
  if (good && readable) {
    const Json::Value* const total = findKey(root, "total");
    require(found.size() == (total == nullptr ? 0 : total->asUInt()), "the total decides");
  }
  ST_DATASTORE_INFO one;
  one.name = kUntouched;
  endsWithout<Json::Exception>([&] {
    if (!client.getDatastoreInfo(text, one)) {
      require(one.name == kUntouched, "an unreadable datastore leaves the record alone");
    }
  });
}

void machinePage(std::string_view input) {
  Client rewriting;
  PlainClient inPlace;
  require(listMachines(rewriting, input) == listMachines(inPlace.api, input),
          "a machine that is read in place is the one that is written out and parsed again");
  Client client;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  Objects found;
  const bool good = endsWithout<Json::Exception>([&] {
    const ScriptedManager manager(input);
    client.getVMFromVrm(vrm, kScope, found, error);
  });
  for (const auto& object : found) {
    const VM_DETAIL& detail = dynamic_cast<const VM_INFO&>(*object).detail;
    require(detail.location == kScope, "machines of other places stay out");
    require(!detail.isTemplate && !detail.isLinkClone, "templates and linked clones stay out");
    require(object->oldGuid == detail.uuid, "a machine is known by its uuid");
  }
  if (!good) client.requireToWork();
}

void machineDetail(std::string_view input) {
  const std::string text(input);
  Client client;
  VM_DETAIL detail;
  SetDefaultValueForVMDetail(detail);
  detail.urn = kUntouched;
  bool read = false;
  if (!endsWithout<Json::Exception>([&] { read = client.getVMDetail(text, &detail); })) return;
  if (!read) return require(detail.urn == kUntouched, "an unreadable text leaves the record alone");
  for (const ST_VDI_INFO& disk : detail.vmConfig.disks) {
    require(isDiskBus(disk.pciType), "a disk on another bus stays out");
  }
  VMInfoForTreeView view;
  KestrelVisorErrorMessage error;
  const bool projected = client.getTreeViewVMInfoFromVrm(detail, view, error);
  require(projected == client.checkUUID(detail.uuid), "only a bad uuid keeps a machine out");
  if (projected) requireProjection(detail, view);
}

// The first line is the URN of the datastore of the first disk; the others answer.
void volumes(std::string_view input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  VM_DETAIL detail;
  detail.vmConfig.disks.resize(3);
  auto disk = detail.vmConfig.disks.begin();
  disk->datastoreUrn = input.substr(0, end);
  disk->volumeUuid = "dddddddd-0000-4000-8000-000000000001";
  (++disk)->datastoreUrn = "no urn";
  disk->externalUuid = kUntouched;
  (++disk)->datastoreUrn = "urn:sites:1:datastores:1";
  disk->volumeUuid = "dddddddd-0000-4000-8000-000000000002";

  Client client;
  VRM_INFO vrm = connection();
  const bool good = endsWithout<Json::Exception>([&] {
    const ScriptedManager manager(input.substr(std::min(end + 1, input.size())));
    client.getDiskDetailInfoFromVrm(vrm, detail);
  });
  require(std::next(detail.vmConfig.disks.begin())->externalUuid == kUntouched,
          "a disk without a URN keeps what it had");
  if (!good) client.requireToWork();
}

void guestSystems(std::string_view input) {
  Client client;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  std::map<std::string, std::map<int, std::string>> catalogue;
  bool fetched = false;
  const bool good = endsWithout<Json::Exception>([&] {
    const ScriptedManager manager(input);
    fetched = client.getOSListFromVrm(vrm, catalogue, error);
  });
  if (!good) return client.requireToWork();
  require(catalogue.empty() || catalogue.size() == 3, "a list brings its three families");
  if (fetched) require(catalogue.size() == 3, "a fetched list is there");

  const std::map<int, std::string> linux = catalogue["linux"];
  for (const auto& [number, text] : linux) {
    std::string description;
    std::string message;
    require(client.getOSDesFromOSList(catalogue, "Linux", number, description, message) ==
                    !text.empty() &&
                description == text,
            "a number is found as the manager told it");
  }
}

}  // namespace kestrelvisor::fuzz
