#pragma once

#include "kestrelctl/reply_index.h"

#include <array>
#include <optional>
#include <vector>

namespace kestrelvisor::ctl {

// A disk with the position of its machine; nothing when the reply does not hold that.
struct SelectedDisk {
  const disk_record* disk = nullptr;
  std::optional<std::size_t> machine;
};

// What is to be shown of a reply, each list in the reply's order. Positions count in
// ReplyIndex::objects.
struct ReplySelection {
  std::vector<std::size_t> machines;  // those with a machine's record
  std::vector<std::size_t> objects;   // everything else of the tree
  std::vector<SelectedDisk> disks;
  std::vector<const datastore_record*> datastores;

  std::size_t size() const {
    return objects.size() + machines.size() + disks.size() + datastores.size();
  }
};

ReplySelection everythingOf(const ReplyIndex& index);

// What other commands take as an argument, and what tells one thing from another: the URI on the
// manager; of a disk, which has none, the GUID. Empty when the manager told none.
const std::string& addressOf(const IndexedObject& object);
const std::string& addressOf(const disk_record& disk);
const std::string& addressOf(const datastore_record& datastore);

// Empty for what is no machine.
const std::string& guestSystemOf(const IndexedObject& object);

// What a machine's group can be called; the last stands for all that have no name.
inline constexpr std::array<const char*, 5> kGroupNames{"general", "open stack", "KM", "VDI",
                                                        "other"};
std::string groupNameOf(const machine_record& machine);

// "IDE", "SCSI", "VIRTIO" or "other".
std::string busNameOf(const disk_record& disk);

}  // namespace kestrelvisor::ctl
