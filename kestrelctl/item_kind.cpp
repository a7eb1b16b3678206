#include "kestrelctl/item_kind.h"

namespace kestrelvisor::ctl {

std::string itemKindName(ItemKind kind) {
  switch (kind) {
    case ItemKind::site:
      return "site";
    case ItemKind::cluster:
      return "cluster";
    case ItemKind::host:
      return "host";
    case ItemKind::other:
      return "other";
    case ItemKind::datastore:
      return "datastore";
    case ItemKind::machine:
      return "machine";
    case ItemKind::disk:
      return "disk";
  }
  return {};
}

ItemKind itemKindOf(ObjectKind kind) {
  switch (kind) {
    case ObjectKind::site:
      return ItemKind::site;
    case ObjectKind::host:
      return ItemKind::host;
    case ObjectKind::cluster:
      return ItemKind::cluster;
    case ObjectKind::machine:
      return ItemKind::machine;
  }
  return ItemKind::other;
}

ItemKind itemKindOf(const IndexedObject& object) { return itemKindOf(object.kind()); }

}  // namespace kestrelvisor::ctl
