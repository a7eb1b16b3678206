#pragma once

#include "kestrelctl/item_kind.h"
#include "kestrelctl/reply_selection.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// What is looked for. All conditions that are set must hold; of the patterns of one condition any
// may. A pattern is the shell's: * ? [a-z] and \ in front of what stands for itself. A thing that
// does not have what a condition is about does not meet it.
struct ReplyFilter {
  using Patterns = std::vector<std::string>;

  std::set<ItemKind> kinds;  // empty: all
  Patterns names;
  Patterns guestSystems;         // of a machine, and so of its disks
  std::set<std::string> groups;  // of a machine, as groupNameOf tells them, and so of its disks
  Patterns hosts;                // that a machine runs on, or that reach a datastore
  Patterns clusters;             // that a host or machine stands in, or that reach a datastore
  Patterns datastores;  // of a disk, of one of a machine's, or reached by a host or cluster
  std::optional<long double> moreThanBytes;  // of machines, disks and datastores
  std::optional<long double> lessThanBytes;
  bool ignoresCase = false;
};

// What a reply holds of that.
ReplySelection found(const ReplyIndex& index, const ReplyFilter& filter);

}  // namespace kestrelvisor::ctl
