#pragma once

#include "kestrelctl/reply_index.h"

#include <array>
#include <string>

namespace kestrelvisor::ctl {

// Everything that a reply holds one by one, from the outside to the inside.
enum class ItemKind { site, cluster, host, other, datastore, machine, disk };

constexpr std::array<ItemKind, 7> kItemKinds{
    ItemKind::site,      ItemKind::cluster, ItemKind::host, ItemKind::other,
    ItemKind::datastore, ItemKind::machine, ItemKind::disk};

// "site", "machine" and so on; "other" for an object of a kind without a name.
std::string itemKindName(ItemKind kind);

ItemKind itemKindOf(ObjectKind kind);
ItemKind itemKindOf(const IndexedObject& object);

}  // namespace kestrelvisor::ctl
