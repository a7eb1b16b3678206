#include "kestrelctl/reply_index.h"

#include <algorithm>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kDeepestLevel = 32;

}  // namespace

ReplyIndex::ReplyIndex(const ScanEnvironmentReply& reply) : reply_(reply) {
  addObjects();
  linkParents();
  countDescendants();
  joinRecords();
  joinDisks();
  joinDatastores();
}

// Rows of indirect parents repeat an object; its first direct row stands for it.
void ReplyIndex::addObjects() {
  for (const tree_record& row : reply_.tree_records()) {
    if (!row.directparent()) continue;
    if (positionById_.emplace(row.id(), objects_.size()).second) {
      objects_.emplace_back().row = &row;
    } else {
      ++strays_.rows;
    }
  }
  for (const tree_record& row : reply_.tree_records()) {
    if (!row.directparent() && find(row.id()) == nullptr) ++strays_.rows;
  }
}

// A parent stands before its children, and sites have few levels; whatever else a reply claims
// makes a root, so that no walk runs in a circle or deeper than a stack.
void ReplyIndex::linkParents() {
  std::vector<std::size_t> levels(objects_.size(), 0);
  for (std::size_t position = 0; position < objects_.size(); ++position) {
    IndexedObject& object = objects_[position];
    const auto parent = object.row->has_parentid() ? positionById_.find(object.row->parentid())
                                                   : positionById_.end();
    if (parent == positionById_.end() || parent->second >= position ||
        levels[parent->second] == kDeepestLevel) {
      roots_.push_back(position);
      continue;
    }
    object.parent = parent->second;
    levels[position] = levels[parent->second] + 1;
    objects_[parent->second].children.push_back(position);
  }
}

void ReplyIndex::countDescendants() {
  below_.resize(objects_.size());
  // Backwards: an object's own counts are complete before its parent takes them.
  for (std::size_t position = objects_.size(); position-- > 0;) {
    const IndexedObject& object = objects_[position];
    if (!object.parent) continue;
    std::map<ObjectKind, std::size_t>& counts = below_[*object.parent];
    ++counts[object.kind()];
    for (const auto& [kind, count] : below_[position]) counts[kind] += count;
  }
}

// The first record of an object is its own.
void ReplyIndex::joinRecords() {
  for (const machine_record& machine : reply_.machine_records()) {
    IndexedObject* const object = find(machine.vmid());
    if (object != nullptr && object->machine == nullptr) {
      object->machine = &machine;
    } else {
      ++strays_.machines;
    }
  }
  for (const non_vm_record& other : reply_.non_vm_records()) {
    IndexedObject* const object = find(other.non_vm_object_id());
    if (object != nullptr && object->other == nullptr) {
      object->other = &other;
    } else {
      ++strays_.others;
    }
  }
}

void ReplyIndex::joinDisks() {
  for (const disk_record& disk : reply_.disk_records()) {
    IndexedObject* const object = find(disk.vmid());
    if (object != nullptr) object->disks.push_back(&disk);
    if (object == nullptr || object->machine == nullptr) ++strays_.disks;
  }
}

void ReplyIndex::joinDatastores() {
  std::map<std::uint64_t, const datastore_record*> byId;
  for (const datastore_record& datastore : reply_.datastore_records()) {
    byId.emplace(datastore.id(), &datastore);
    datastoreByUri_.emplace(datastore.mo_reference(), &datastore);
  }
  for (const resource_relation_record& relation : reply_.resource_relation_records()) {
    const auto datastore = byId.find(relation.storage_resource_id());
    const auto user = positionById_.find(relation.computer_resource_id());
    if (datastore == byId.end() || user == positionById_.end()) {
      ++strays_.relations;
      continue;
    }
    objects_[user->second].datastores.push_back(datastore->second);
    usersByDatastore_[datastore->first].push_back(user->second);
  }
}

IndexedObject* ReplyIndex::find(std::uint64_t id) {
  const auto position = positionOf(id);
  return position ? &objects_[*position] : nullptr;
}

std::optional<std::size_t> ReplyIndex::positionOf(std::uint64_t id) const {
  const auto found = positionById_.find(id);
  if (found == positionById_.end()) return std::nullopt;
  return found->second;
}

const IndexedObject* ReplyIndex::above(const IndexedObject& object, ObjectKind kind) const {
  for (auto position = object.parent; position; position = objects_[*position].parent) {
    if (objects_[*position].is(kind)) return &objects_[*position];
  }
  return nullptr;
}

std::size_t ReplyIndex::count(ObjectKind kind) const {
  return static_cast<std::size_t>(
      std::count_if(objects_.begin(), objects_.end(),
                    [kind](const IndexedObject& object) { return object.is(kind); }));
}

std::size_t ReplyIndex::countBelow(std::size_t position, ObjectKind kind) const {
  const auto found = below_[position].find(kind);
  return found == below_[position].end() ? 0 : found->second;
}

const datastore_record* ReplyIndex::datastoreOf(const disk_record& disk) const {
  const auto found = datastoreByUri_.find(disk.datastoremoref());
  return found == datastoreByUri_.end() ? nullptr : found->second;
}

const std::vector<std::size_t>& ReplyIndex::usersOf(const datastore_record& datastore) const {
  static const std::vector<std::size_t> kNobody;
  const auto found = usersByDatastore_.find(datastore.id());
  return found == usersByDatastore_.end() ? kNobody : found->second;
}

std::size_t ReplyIndex::countUsers(const datastore_record& datastore, ObjectKind kind) const {
  const std::vector<std::size_t>& users = usersOf(datastore);
  return static_cast<std::size_t>(
      std::count_if(users.begin(), users.end(),
                    [&](std::size_t position) { return objects_[position].is(kind); }));
}

}  // namespace kestrelvisor::ctl
