#pragma once

#include "environment.pb.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

enum class ObjectKind : std::int32_t { site = 1, host = 5, cluster = 6, machine = 7 };

// One object of the environment, with all that the reply's lists say about it. Positions count in
// ReplyIndex::objects.
struct IndexedObject {
  const tree_record* row = nullptr;                 // its own row, the one that names its parent
  const machine_record* machine = nullptr;          // of a machine
  const non_vm_record* other = nullptr;             // of anything else
  std::optional<std::size_t> parent;                // nothing: a root
  std::vector<std::size_t> children;                // in the reply's order
  std::vector<const disk_record*> disks;            // of a machine, in the reply's order
  std::vector<const datastore_record*> datastores;  // that a host or cluster reaches

  ObjectKind kind() const { return static_cast<ObjectKind>(row->type()); }
  bool is(ObjectKind wanted) const { return kind() == wanted; }
};

// Records of a reply that belong to nothing in it, so that they cannot be shown in their place:
// what they point at is not there, or another record has taken it.
struct StrayRecords {
  std::size_t rows = 0;  // of the tree
  std::size_t machines = 0;
  std::size_t others = 0;     // of objects that are no machines
  std::size_t disks = 0;      // without a machine
  std::size_t relations = 0;  // of datastores with those who reach them

  std::size_t total() const { return rows + machines + others + disks + relations; }
};

// Joins the lists of a reply, which must outlive it. Records that point nowhere join nothing.
class ReplyIndex {
 public:
  explicit ReplyIndex(const ScanEnvironmentReply& reply);

  const ScanEnvironmentReply& reply() const { return reply_; }
  // All objects in the reply's order: an object stands behind its parent.
  const std::vector<IndexedObject>& objects() const { return objects_; }
  const std::vector<std::size_t>& roots() const { return roots_; }
  std::size_t count(ObjectKind kind) const;
  // Objects of a kind anywhere below another.
  std::size_t countBelow(std::size_t position, ObjectKind kind) const;
  // The position of the object with an id; nothing when the reply does not hold it.
  std::optional<std::size_t> positionOf(std::uint64_t id) const;
  // The nearest object of a kind above another; null when there is none.
  const IndexedObject* above(const IndexedObject& object, ObjectKind kind) const;
  // Null when the disk's datastore is not part of the reply.
  const datastore_record* datastoreOf(const disk_record& disk) const;
  // Positions of the hosts and clusters that reach a datastore, in the reply's order.
  const std::vector<std::size_t>& usersOf(const datastore_record& datastore) const;
  std::size_t countUsers(const datastore_record& datastore, ObjectKind kind) const;
  const StrayRecords& strays() const { return strays_; }

 private:
  void addObjects();
  void linkParents();
  void countDescendants();
  void joinRecords();
  void joinDisks();
  void joinDatastores();
  IndexedObject* find(std::uint64_t id);

  const ScanEnvironmentReply& reply_;
  std::vector<IndexedObject> objects_;
  std::vector<std::size_t> roots_;
  std::vector<std::map<ObjectKind, std::size_t>> below_;
  std::map<std::uint64_t, std::size_t> positionById_;
  std::map<std::string, const datastore_record*> datastoreByUri_;
  std::map<std::uint64_t, std::vector<std::size_t>> usersByDatastore_;
  StrayRecords strays_;
};

}  // namespace kestrelvisor::ctl
