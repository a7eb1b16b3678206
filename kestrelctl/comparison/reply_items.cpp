#include "kestrelctl/comparison/reply_items.h"

#include <algorithm>

namespace kestrelvisor::ctl {
namespace {

std::string_view keyOf(const IndexedObject& object) {
  return object.machine != nullptr ? object.machine->objectguid() : object.row->guid();
}

Place placeOf(const IndexedObject& object) {
  return {itemKindOf(object), keyOf(object), object.row->name(), addressOf(object)};
}

Item itemOf(const ReplyIndex& index, const IndexedObject& object) {
  Item item;
  item.kind = itemKindOf(object);
  item.key = keyOf(object);
  item.name = object.row->name();
  item.address = addressOf(object);
  if (object.parent) item.parent = placeOf(index.objects()[*object.parent]);
  if (object.machine != nullptr) item.sizeKiB = object.machine->totalsize();
  return item;
}

// A datastore that is not part of the reply has its URI for a name.
Place datastoreOf(const ReplyIndex& index, const disk_record& disk) {
  const datastore_record* const datastore = index.datastoreOf(disk);
  const std::string& uri = disk.datastoremoref();
  return {ItemKind::datastore, uri, datastore == nullptr ? uri : datastore->name(), uri};
}

Item itemOf(const ReplyIndex& index, const SelectedDisk& selected) {
  const disk_record& disk = *selected.disk;
  Item item;
  item.kind = ItemKind::disk;
  item.key = disk.objectguid();
  item.name = disk.diskname();
  item.address = addressOf(disk);
  if (selected.machine) item.parent = placeOf(index.objects()[*selected.machine]);
  item.datastore = datastoreOf(index, disk);
  item.sizeKiB = disk.disksize();
  return item;
}

Item itemOf(const datastore_record& datastore) {
  Item item;
  item.kind = ItemKind::datastore;
  item.key = datastore.mo_reference();
  item.name = datastore.name();
  item.address = addressOf(datastore);
  item.sizeKiB = datastore.size();
  return item;
}

// Keys that more than one item has with the same addition.
template <class AdditionOf>
std::set<KindAndKey> repeatedOf(const std::vector<Item>& items, AdditionOf additionOf) {
  std::vector<std::pair<KindAndKey, std::string_view>> all;
  all.reserve(items.size());
  for (const Item& item : items) all.push_back({{item.kind, item.key}, additionOf(item)});
  std::sort(all.begin(), all.end());
  std::set<KindAndKey> repeated;
  for (std::size_t i = 1; i < all.size(); ++i) {
    if (all[i] == all[i - 1]) repeated.insert(all[i].first);
  }
  return repeated;
}

}  // namespace

std::vector<Item> itemsOf(const ReplyIndex& index) {
  std::vector<Item> items;
  for (const IndexedObject& object : index.objects()) items.push_back(itemOf(index, object));
  const ReplySelection all = everythingOf(index);
  for (const datastore_record* datastore : all.datastores) items.push_back(itemOf(*datastore));
  for (const SelectedDisk& disk : all.disks) items.push_back(itemOf(index, disk));
  std::stable_sort(items.begin(), items.end(),
                   [](const Item& a, const Item& b) { return a.kind < b.kind; });
  return items;
}

std::set<KindAndKey> repeatedKeys(const std::vector<Item>& items) {
  return repeatedOf(items, [](const Item&) { return std::string_view(); });
}

std::set<KindAndKey> confusingKeys(const std::vector<Item>& items) {
  return repeatedOf(items, [](const Item& item) {
    const bool mayBeShared = item.kind == ItemKind::disk && !item.key.empty() && item.parent;
    return mayBeShared ? item.parent->key : std::string_view();
  });
}

}  // namespace kestrelvisor::ctl
