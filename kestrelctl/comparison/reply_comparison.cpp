#include "kestrelctl/comparison/reply_comparison.h"

#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <set>
#include <unordered_map>

namespace kestrelvisor::ctl {
namespace {

// The things of one reply that share a key, and how many of them have been dealt with.
struct Namesakes {
  std::vector<const Item*> items;
  std::size_t taken = 0;

  const Item* take() { return taken < items.size() ? items[taken++] : nullptr; }
};
using NamesakesByKey = std::unordered_map<std::string_view, Namesakes>;

std::vector<const Item*> ofKind(const std::vector<Item>& items, ItemKind kind) {
  std::vector<const Item*> chosen;
  for (const Item& item : items) {
    if (item.kind == kind) chosen.push_back(&item);
  }
  return chosen;
}

NamesakesByKey byKey(const std::vector<const Item*>& items) {
  NamesakesByKey result;
  for (const Item* item : items) result[item->key].items.push_back(item);
  return result;
}

bool isSamePlace(const std::optional<Place>& one, const std::optional<Place>& other) {
  if (!one || !other) return one.has_value() == other.has_value();
  return one->isSame(*other);
}

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
  warnOfRepeatedKeys("the old reply", before_);
  warnOfRepeatedKeys("the new reply", after_);
  for (const ItemKind kind : kItemKinds) compareKind(kind);
  for (const Difference& difference : differences_) {
    ++counts_[{difference.item().kind, difference.change}];
  }
}

std::size_t ReplyComparison::count(ItemKind kind, Change change) const {
  const auto found = counts_.find({kind, change});
  return found == counts_.end() ? 0 : found->second;
}

void ReplyComparison::compareKind(ItemKind kind) {
  const std::vector<const Item*> news = ofKind(after_, kind);
  NamesakesByKey newByKey = byKey(news);
  for (const Item* before : ofKind(before_, kind)) {
    const auto namesakes = newByKey.find(before->key);
    const Item* const after = namesakes == newByKey.end() ? nullptr : namesakes->second.take();
    if (after == nullptr) {
      differences_.push_back({Change::removed, before, nullptr, {}, {}});
    } else {
      compare(*before, *after);
    }
  }
  // Of the new things, those are added that no old one has taken.
  std::unordered_map<std::string_view, std::size_t> passed;
  for (const Item* after : news) {
    if (++passed[after->key] <= newByKey[after->key].taken) continue;
    differences_.push_back({Change::added, nullptr, after, {}, {}});
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

void ReplyComparison::warnOfRepeatedKeys(const char* reply, const std::vector<Item>& items) {
  std::set<std::pair<ItemKind, std::string_view>> keys;
  std::set<std::pair<ItemKind, std::string_view>> repeated;
  for (const Item& item : items) {
    if (!keys.insert({item.kind, item.key}).second) repeated.insert({item.kind, item.key});
  }
  if (repeated.empty()) return;
  const auto& [kind, key] = *repeated.begin();
  warnings_.push_back(
      {"repeated-guid", std::string(reply) + " has " + counted(repeated.size(), "GUID") +
                            " more than once, the first of a " + itemKindName(kind) + ": \"" +
                            std::string(key) +
                            "\"; things that share one are compared in their order"});
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
