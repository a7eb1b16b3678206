// Projects a machine to what a backup may see of it.

#include "base/log.h"
#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::int64_t kKibPerGib = 1048576;

struct Bus {
  std::string_view pciType;
  std::int32_t busType;
};

constexpr std::array<Bus, 3> kBuses{{{"IDE", 1}, {"SCSI", 2}, {"VIRTIO", 5}}};

const Bus* findBus(std::string_view pciType) {
  for (const Bus& bus : kBuses) {
    if (bus.pciType == pciType) return &bus;
  }
  return nullptr;
}

boost::uuids::uuid parseUuid(const std::string& text) {
  return boost::uuids::string_generator()(text);
}

DiskInfoForTreeView project(const ST_VDI_INFO& vdi, std::int32_t busType) {
  DiskInfoForTreeView disk;
  SetDefaultValueForDiskInfoForTreeView(disk);
  disk.uuid = boost::uuids::to_string(parseUuid(vdi.volumeUuid));
  disk.diskName = vdi.diskName;
  disk.sequenceNum = static_cast<std::int32_t>(vdi.sequenceNum);
  disk.size = std::int64_t{static_cast<std::int32_t>(vdi.quantityGB)} * kKibPerGib;
  disk.busType = busType;
  disk.datastoreUrn = vdi.datastoreUrn;
  disk.externalUuid = vdi.externalUuid;
  return disk;
}

}  // namespace

bool KestrelVisor_rest_api::checkUUID(const std::string& uuid) {
  try {
    parseUuid(uuid);
    return true;
  } catch (const std::runtime_error&) {
    return false;
  }
}

bool KestrelVisor_rest_api::getTreeViewVMInfoFromVrm(const VM_DETAIL& detail,
                                                     VMInfoForTreeView& view,
                                                     KestrelVisorErrorMessage&) {
  SetDefaultValueForVMInfoForTreeView(view);
  if (!checkUUID(detail.uuid)) {
    KV_LOG(kWarning, "The uuid[", detail.uuid, "] of VM[", detail.urn, "] is invalid !");
    return false;
  }
  KV_LOG(kTrace, "location_ref:", detail.location, " ", "host_name:", detail.hostUrn,
         " status:", detail.status);
  const std::string& host = detail.hostUrn.empty() ? detail.location : detail.hostUrn;
  view.hostUrn = host.empty() ? std::string() : uriToUrn(host);
  view.osType = detail.osOptions.osType;
  view.osVersion = detail.osOptions.osVersion;
  view.uri = detail.uri;
  view.totalSize = 0;
  for (const ST_VDI_INFO& vdi : detail.vmConfig.disks) {
    const Bus* const bus = findBus(vdi.pciType);
    const bool backedUp = checkUUID(vdi.volumeUuid) && !vdi.indepDisk &&
                          vdi.storageProtocol != kestrelvisor::kFlagSet && bus != nullptr;
    if (!backedUp) {
      KV_LOG(kWarning, "skip disk,The uuid[", vdi.volumeUuid, "] of volume[", vdi.volumeUrn,
             "] is invalid !", " disk type is :", vdi.pciType, " disk mode is:", vdi.indepDisk,
             ", storageProtocol:", vdi.storageProtocol);
      continue;
    }
    view.disks.push_back(project(vdi, bus->busType));
    view.totalSize += static_cast<std::uint64_t>(view.disks.back().size);
  }
  view.diskCount = view.disks.size();
  view.uuid = detail.uuid;
  view.uuidValue = parseUuid(detail.uuid);
  view.group = detail.group;
  return true;
}
