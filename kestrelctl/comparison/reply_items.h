#pragma once

#include "kestrelctl/item_kind.h"
#include "kestrelctl/reply_selection.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl {

// What something stands in or on, told as an Item is. Texts live in the reply.
struct Place {
  ItemKind kind = ItemKind::other;
  std::string_view key;
  std::string_view name;
  std::string_view address;
};

// One thing of a reply, as a comparison sees it. Texts live in the reply.
struct Item {
  ItemKind kind = ItemKind::other;
  std::string_view key;  // GUID; of a datastore, which has none, the URI
  std::string_view name;
  std::string_view address;              // see addressOf
  std::optional<Place> parent;           // of a disk its machine; nothing: none
  std::optional<Place> datastore;        // of a disk
  std::optional<std::uint64_t> sizeKiB;  // of machines, disks and datastores
};

// All things of a reply, in the order of kItemKinds, within a kind in that of the reply.
std::vector<Item> itemsOf(const ReplyIndex& index);

// A kind and what names a thing among those of its kind.
using KindAndKey = std::pair<ItemKind, std::string_view>;

// What more than one item of a list has.
std::set<KindAndKey> repeatedKeys(const std::vector<Item>& items);
// Likewise, but that several machines share a disk is no confusion.
std::set<KindAndKey> confusingKeys(const std::vector<Item>& items);

}  // namespace kestrelvisor::ctl
