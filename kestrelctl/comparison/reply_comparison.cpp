#include "kestrelctl/comparison/reply_comparison.h"

#include "kestrelctl/reply_warnings.h"
#include "kestrelctl/terminal_text.h"

#include <utility>

namespace kestrelvisor::ctl {
namespace {

using Items = std::vector<const Item*>;

Items ofKind(const std::vector<Item>& items, ItemKind kind) {
  Items chosen;
  for (const Item& item : items) {
    if (item.kind == kind) chosen.push_back(&item);
  }
  return chosen;
}

// What things are compared by: all texts must be the same.
using Likeness = std::array<std::string_view, 3>;

Likeness byKey(const Item& item) { return {item.key}; }

// Things that share a GUID have each a URI of their own; of a disk that several machines share,
// each machine has one.
Likeness byKeyAndPlace(const Item& item) {
  if (item.kind != ItemKind::disk) return {item.key, item.address};
  return {item.key, item.parent ? item.parent->key : std::string_view()};
}

Likeness byKeyPlaceAndName(const Item& item) {
  Likeness likeness = byKeyAndPlace(item);
  likeness.back() = item.name;
  return likeness;
}

// Finds for things of the old reply those of the new one that are the same.
class Pairing {
 public:
  Pairing(const Items& olds, const Items& news)
      : olds_(olds), news_(news), partners_(olds.size()), isTaken_(news.size()) {}

  // Pairs what is alike and has no partner yet: the first of one reply with the first of the other,
  // and so on.
  template <class LikenessOf>
  void pairBy(LikenessOf likenessOf) {
    std::multimap<Likeness, std::size_t> waiting;
    for (std::size_t i = 0; i < news_.size(); ++i) {
      if (!isTaken_[i]) waiting.emplace(likenessOf(*news_[i]), i);
    }
    for (std::size_t i = 0; i < olds_.size(); ++i) {
      if (partners_[i] != nullptr) continue;
      const Likeness likeness = likenessOf(*olds_[i]);
      const auto first = waiting.lower_bound(likeness);
      if (first == waiting.end() || first->first != likeness) continue;
      partners_[i] = news_[first->second];
      isTaken_[first->second] = true;
      waiting.erase(first);
    }
  }

  // Null: the old reply alone has it.
  const Item* partnerOf(std::size_t old) const { return partners_[old]; }
  bool hasPartner(std::size_t ofNew) const { return isTaken_[ofNew]; }

 private:
  const Items& olds_;
  const Items& news_;
  std::vector<const Item*> partners_;
  std::vector<bool> isTaken_;
};

const Item* firstSite(const std::vector<Item>& items) {
  return !items.empty() && items.front().kind == ItemKind::site ? &items.front() : nullptr;
}

}  // namespace

std::string changeName(Change change) {
  switch (change) {
    case Change::added:
      return "added";
    case Change::removed:
      return "removed";
    case Change::moved:
      return "moved";
    case Change::resized:
      return "resized";
    case Change::renamed:
      return "renamed";
  }
  return {};
}

ReplyComparison::ReplyComparison(const ReplyIndex& before, const ReplyIndex& after)
    : before_(itemsOf(before)), after_(itemsOf(after)) {
  warnOfOtherSite();
  lookAt(before, before_, "the old reply");
  lookAt(after, after_, "the new reply");
  for (const ItemKind kind : kItemKinds) compareKind(kind);
  countThings();
}

std::size_t ReplyComparison::count(ItemKind kind, Change change) const {
  const auto found = counts_.find({kind, change});
  return found == counts_.end() ? 0 : found->second;
}

// The differences of a thing stand together, and those of one change behind each other.
void ReplyComparison::countThings() {
  const Difference* last = nullptr;
  for (const Difference& difference : differences_) {
    const bool isCounted =
        last != nullptr && last->change == difference.change && &last->item() == &difference.item();
    if (!isCounted) ++counts_[{difference.item().kind, difference.change}];
    last = &difference;
  }
}

void ReplyComparison::compareKind(ItemKind kind) {
  const Items olds = ofKind(before_, kind);
  const Items news = ofKind(after_, kind);
  Pairing pairing(olds, news);
  pairing.pairBy(byKeyPlaceAndName);
  pairing.pairBy(byKeyAndPlace);
  pairing.pairBy(byKey);
  for (std::size_t i = 0; i < olds.size(); ++i) {
    if (const Item* const partner = pairing.partnerOf(i)) {
      compare(*olds[i], *partner);
    } else {
      differences_.push_back({Change::removed, olds[i], nullptr, {}, {}});
    }
  }
  for (std::size_t i = 0; i < news.size(); ++i) {
    if (pairing.hasPartner(i)) continue;
    differences_.push_back({Change::added, nullptr, news[i], {}, {}});
  }
}

void ReplyComparison::compare(const Item& before, const Item& after) {
  addMove(before, after, before.parent, after.parent);
  addMove(before, after, before.datastore, after.datastore);
  if (before.sizeKiB != after.sizeKiB) {
    differences_.push_back({Change::resized, &before, &after, {}, {}});
  }
  if (before.name != after.name) {
    differences_.push_back({Change::renamed, &before, &after, {}, {}});
  }
}

void ReplyComparison::addMove(const Item& before, const Item& after,
                              const std::optional<Place>& from, const std::optional<Place>& to) {
  if (isSamePlace(from, to)) return;
  differences_.push_back({Change::moved, &before, &after, from, to});
}

// A URI may change while the thing stays what it is, so it counts only where the GUID says too
// little.
bool ReplyComparison::isSamePlace(const std::optional<Place>& one,
                                  const std::optional<Place>& other) const {
  if (!one || !other) return one.has_value() == other.has_value();
  if (one->kind != other->kind || one->key != other->key) return false;
  return one->address == other->address || repeated_.count({one->kind, one->key}) == 0;
}

void ReplyComparison::lookAt(const ReplyIndex& index, const std::vector<Item>& items,
                             const char* reply) {
  for (Warning& warning : warningsOf(index, reply)) warnings_.push_back(std::move(warning));
  repeated_.merge(repeatedKeys(items));
}

void ReplyComparison::warnOfOtherSite() {
  const Item* const before = firstSite(before_);
  const Item* const after = firstSite(after_);
  if (before == nullptr || after == nullptr || before->key == after->key) return;
  warnings_.push_back({"other-site", "the replies come from two sites: \"" +
                                         std::string(before->name) + "\" and \"" +
                                         std::string(after->name) + "\""});
}

}  // namespace kestrelvisor::ctl
