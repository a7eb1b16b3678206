#include "kestrelctl/reply_selection.h"

#include <algorithm>
#include <cstdint>

namespace kestrelvisor::ctl {
namespace {

const std::string& noText() {
  static const std::string kNone;
  return kNone;
}

}  // namespace

ReplySelection everythingOf(const ReplyIndex& index) {
  ReplySelection all;
  for (std::size_t position = 0; position < index.objects().size(); ++position) {
    const bool isMachine = index.objects()[position].machine != nullptr;
    (isMachine ? all.machines : all.objects).push_back(position);
  }
  for (const disk_record& disk : index.reply().disk_records()) {
    all.disks.push_back({&disk, index.positionOf(disk.vmid())});
  }
  for (const datastore_record& datastore : index.reply().datastore_records()) {
    all.datastores.push_back(&datastore);
  }
  return all;
}

const std::string& addressOf(const IndexedObject& object) {
  if (object.machine != nullptr) return object.machine->mo();
  return object.other == nullptr ? noText() : object.other->mo_reference();
}

const std::string& addressOf(const disk_record& disk) { return disk.objectguid(); }

const std::string& addressOf(const datastore_record& datastore) { return datastore.mo_reference(); }

const std::string& guestSystemOf(const IndexedObject& object) {
  return object.machine == nullptr ? noText() : object.machine->guestos();
}

std::string groupNameOf(const machine_record& machine) {
  const std::size_t type = static_cast<std::uint32_t>(machine.virtualgrouptype());
  return kGroupNames[std::min(type, kGroupNames.size() - 1)];
}

std::string busNameOf(const disk_record& disk) {
  switch (disk.disktype()) {
    case 1:
      return "IDE";
    case 2:
      return "SCSI";
    case 5:
      return "VIRTIO";
    default:
      return "other";
  }
}

}  // namespace kestrelvisor::ctl
