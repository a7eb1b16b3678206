// Adds the records of machines and their disks to the reply.

#include "base/list_room.h"
#include "base/log.h"
#include "engine/kestrelvisor_public.h"
#include "environment.pb.h"

#include <boost/uuid/uuid_io.hpp>

#include <array>
#include <cstdint>
#include <string_view>

namespace {

using Tree = tree<kestrelVisor_TreeNode>;

constexpr std::int32_t kMachineRecordType = 2;
constexpr const char* kUnknownGuest = "unknown";

struct GroupPrefix {
  std::string_view prefix;
  virtualGroupType type;
  std::string_view line;
};

constexpr std::array<GroupPrefix, 4> kGroupPrefixes{{
    {"KC_", VIRTUAL_GROUP_GENERAL, "find general group ,pos is: "},
    {"KSP", VIRTUAL_GROUP_OPEN_STACK, "find open stack group ,pos is: "},
    {"KM_", VIRTUAL_GROUP_KM, "find KM group ,pos is: "},
    {"VDI", VIRTUAL_GROUP_VDI, "find VDI group ,pos is: "},
}};

// The GUIDs of machines and disks carry the site's URN in front.
std::string guidOf(const VRM_INFO& vrm, const std::string& uuid) {
  std::string text = vrm.urn + uuid;
  return EnvProxy_string_to_uuid(text);
}

boost::shared_ptr<VM_INFO> machineOf(const kestrelVisor_TreeNode& node) {
  const auto object = boost::any_cast<boost::shared_ptr<KestrelVisorObj>>(node.object);
  return boost::dynamic_pointer_cast<VM_INFO>(object);
}

// What the node and the projection tell of a machine, without lookups.
machine_record describeMachine(const VRM_INFO& vrm, const kestrelVisor_TreeNode& node,
                               const VMInfoForTreeView& info) {
  machine_record record;
  record.set_vmid(node.index);
  record.set_name(node.name);
  record.set_disknumber(info.diskCount);
  record.set_totalsize(info.totalSize);
  record.set_mo(node.moRef);
  record.set_uuid(info.uuid);
  record.set_canonicaluuid(boost::uuids::to_string(info.uuidValue));
  record.set_objectguid(guidOf(vrm, record.canonicaluuid()));
  record.set_recordtype(kMachineRecordType);
  return record;
}

disk_record describeDisk(const VRM_INFO& vrm, const kestrelVisor_TreeNode& node,
                         const DiskInfoForTreeView& disk) {
  disk_record record;
  record.set_vmid(node.index);
  record.set_diskuuid(disk.uuid);
  record.set_objectguid(guidOf(vrm, disk.uuid));
  record.set_disktype(disk.busType);
  record.set_disknumber(static_cast<std::uint64_t>(disk.sequenceNum));
  record.set_disksize(static_cast<std::uint64_t>(disk.size));
  record.set_reserved(disk.reservedWord1);
  record.set_disknumbercopy(static_cast<std::uint64_t>(disk.sequenceNum));
  record.set_diskname(disk.diskName);
  return record;
}

}  // namespace

virtualGroupType KestrelVisorPublic::getVgroupType(std::string& group) {
  for (const GroupPrefix& known : kGroupPrefixes) {
    if (!group.starts_with(known.prefix)) continue;
    KV_LOG(kTrace, known.line, 0);
    return known.type;
  }
  return VIRTUAL_GROUP_GENERAL;
}

bool KestrelVisorPublic::CreateVMAndDiskTable(const VRM_INFO& vrm, Tree& tree, OsMap& osMap,
                                              ScanEnvironmentReply& reply,
                                              KestrelVisorErrorMessage& err) {
  VMInfoForTreeView info;

  // Lambdas, so that their lines name this function.
  const auto lookUpGuest = [&] {
    std::string guestOS;
    std::string message;
    const bool known =
        restApi.getOSDesFromOSList(osMap, info.osType, info.osVersion, guestOS, message);
    err.setErrorCode(message, CBT_GET_OK);
    return known ? guestOS : std::string(kUnknownGuest);
  };
  const auto lookUpHost = [&] {
    const auto host = hostGuidByUrn.find(info.hostUrn);
    if (host == hostGuidByUrn.end()) return std::string();
    KV_LOG(kTrace, "host GUID : ", host->second, " host moRef : ", host->first);
    return host->second;
  };
  const auto addMachine = [&](const kestrelVisor_TreeNode& node) {
    machine_record record = describeMachine(vrm, node, info);
    record.set_guestos(lookUpGuest());
    record.set_virtualgrouptype(getVgroupType(info.group));
    record.set_hostguid(lookUpHost());
    KV_LOG(kTrace, "machine GUID is :", record.canonicaluuid(),
           " object str is :", vrm.urn + record.canonicaluuid(),
           " machine object GUID is:", record.objectguid(), " vm group is  :", info.group,
           " host urn :", info.hostUrn);
    kestrelvisor::withRoomForOne(*reply.mutable_machine_records()).Add()->Swap(&record);
  };
  const auto addDisk = [&](const kestrelVisor_TreeNode& node, const DiskInfoForTreeView& disk) {
    disk_record record = describeDisk(vrm, node, disk);
    KV_LOG(kTrace, "disk GUID is :", disk.uuid, "  disk object GUID is:", record.objectguid());
    record.set_datastoremoref(restApi.urnToUri(disk.datastoreUrn));
    kestrelvisor::withRoomForOne(*reply.mutable_disk_records()).Add()->Swap(&record);
  };

  Tree::leaf_iterator leaf(tree);
  for (leaf.getLeaf(); !leaf.atEnd(); ++leaf) {
    if (leaf->type != kestrelvisor::kKindMachine) continue;
    const auto machine = machineOf(*leaf);
    if (!machine || !restApi.getTreeViewVMInfoFromVrm(machine->detail, info, err)) {
      KV_LOG(kWarning, "Failed to get VM[", leaf->moRef, "] information !");
      leaf->isValid = false;
      continue;
    }
    addMachine(*leaf);
    for (const DiskInfoForTreeView& disk : info.disks) addDisk(*leaf, disk);
  }
  return true;
}
