#pragma once

#include "kestrelctl/comparison/reply_items.h"
#include "kestrelctl/warning.h"

#include <array>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl {

enum class Change { added, removed, moved, resized, renamed };

constexpr std::array<Change, 5> kChanges{Change::added, Change::removed, Change::moved,
                                         Change::resized, Change::renamed};

// "added", "removed" and so on.
std::string changeName(Change change);

// One thing that one reply has otherwise than the other. A thing may have several.
struct Difference {
  Change change = Change::added;
  const Item* before = nullptr;  // null: added
  const Item* after = nullptr;   // null: removed
  std::optional<Place> from;     // of moved: a parent, or a disk's datastore
  std::optional<Place> to;

  // As it is now; of what is gone, as it was.
  const Item& item() const { return after == nullptr ? *before : *after; }
};

// What has changed from one reply to another. Both must outlive it.
//
// Things are the same when their kind and GUID are; of datastores, when their URI is. Where a reply
// has a GUID more than once, those are the same that have one URI too, or of disks one machine, and
// among these those of one name; for the rest the order decides, and what is left over is added or
// removed. A warning tells of it, unless a disk is merely shared by several machines.
class ReplyComparison {
 public:
  ReplyComparison(const ReplyIndex& before, const ReplyIndex& after);
  ReplyComparison(const ReplyComparison&) = delete;
  ReplyComparison& operator=(const ReplyComparison&) = delete;

  // By kind, and within a kind in the order of the first reply; what was added stands last.
  const std::vector<Difference>& differences() const { return differences_; }
  bool isSame() const { return differences_.empty(); }
  // Things, each once: a disk that has moved to another machine and another datastore is one.
  std::size_t count(ItemKind kind, Change change) const;
  const std::vector<Warning>& warnings() const { return warnings_; }

 private:
  // Gathers what a reply has more than once, and the warnings of it.
  void lookAt(const ReplyIndex& index, const std::vector<Item>& items, const char* reply);
  void compareKind(ItemKind kind);
  void compare(const Item& before, const Item& after);
  void addMove(const Item& before, const Item& after, const std::optional<Place>& from,
               const std::optional<Place>& to);
  bool isSamePlace(const std::optional<Place>& one, const std::optional<Place>& other) const;
  void countThings();
  void warnOfOtherSite();

  std::vector<Item> before_;
  std::vector<Item> after_;
  std::set<KindAndKey> repeated_;  // in either reply
  std::vector<Difference> differences_;
  std::map<std::pair<ItemKind, Change>, std::size_t> counts_;
  std::vector<Warning> warnings_;
};

}  // namespace kestrelvisor::ctl
