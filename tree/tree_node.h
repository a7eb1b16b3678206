#pragma once

#include "inventory/inventory_records.h"

#include <boost/any.hpp>

#include <cstdint>
#include <list>
#include <string>
#include <type_traits>
#include <vector>

// What the reply needs of one inventory object, by value.
//
// Once a node stands in the tree only needExpand and isValid change.
class ObjectTreeNode {
 public:
  static constexpr std::uint64_t kNoParent = ~std::uint64_t{0};

  std::int32_t type = kestrelvisor::kKindNotSet;  // 5 host, 6 cluster, 7 virtual machine
  std::uint64_t index = 0;  // from ObjectIndex; identifies the node in every record of the reply
  std::string name;
  std::string objectStr;  // the object's URI; empty on the root
  std::uint64_t parentIndex = kNoParent;
  std::vector<std::uint64_t> indirectParents;  // ancestors above the parent, the root first
  std::string GUID;                            // the object's oldGuid
  bool DRS = true;
  std::string objectGUID;  // the object's guid
  std::string ip;          // a host's
  bool isValid = true;     // false: must not reach the reply
  std::int32_t cpu_num = 0;
  std::string arch;       // a host's or cluster's
  std::string cpuVendor;  // a host's or cluster's
  std::string description;
  std::string moRef;       // the object's URI
  bool needExpand = true;  // its children have not been looked for yet
  std::list<_datstore_ManagedObjectReference> datastores;  // a host's or cluster's
  std::string moRefOfKind9;   // the reply reads it for type 9; no node of this engine has one
  std::string moRefOfKind12;  // likewise for types 12 to 14
};

// A node of the environment tree. It keeps the object below hosts and clusters alive; a copy shares
// it. Reading an empty object with boost::any_cast throws boost::bad_any_cast.
class kestrelVisor_TreeNode : public ObjectTreeNode {
 public:
  boost::any object;  // empty, or a boost::shared_ptr<KestrelVisorObj>
};

// The tree's vector moves its nodes when it grows, and copies those that may refuse.
static_assert(std::is_nothrow_move_constructible_v<kestrelVisor_TreeNode>);
static_assert(std::is_nothrow_move_assignable_v<kestrelVisor_TreeNode>);
