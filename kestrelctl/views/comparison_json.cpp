#include "kestrelctl/views/comparison_json.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/views/record_json.h"

namespace kestrelvisor::ctl {
namespace {

Json::Value textJson(std::string_view text) { return jsonOf(std::string(text)); }

Json::Value placeJson(const std::optional<Place>& place) {
  if (!place) return {};
  Json::Value value = emptyJsonObject();
  value["kind"] = itemKindName(place->kind);
  value[place->kind == ItemKind::datastore ? "uri" : "guid"] = textJson(place->key);
  value["name"] = textJson(place->name);
  return value;
}

Json::Value sizeJson(const Item& item) {
  return item.sizeKiB ? jsonNumber(*item.sizeKiB) : Json::Value();
}

// What is new or gone is told whole: nothing of it stands in the other reply.
void addWhole(const Item& item, Json::Value& value) {
  value["parent"] = placeJson(item.parent);
  value["sizeKiB"] = sizeJson(item);
}

}  // namespace

Json::Value differenceJson(const Difference& difference) {
  const Item& item = difference.item();
  Json::Value value = emptyJsonObject();
  value["change"] = changeName(difference.change);
  value["kind"] = itemKindName(item.kind);
  value["name"] = textJson(item.name);
  value["guid"] = item.kind == ItemKind::datastore ? Json::Value() : textJson(item.key);
  value["uri"] = item.kind == ItemKind::disk ? Json::Value() : textJson(item.address);
  switch (difference.change) {
    case Change::added:
    case Change::removed:
      addWhole(item, value);
      break;
    case Change::moved:
      value["oldParent"] = placeJson(difference.from);
      value["newParent"] = placeJson(difference.to);
      break;
    case Change::resized:
      value["oldSizeKiB"] = sizeJson(*difference.before);
      value["newSizeKiB"] = sizeJson(*difference.after);
      break;
    case Change::renamed:
      value["oldName"] = textJson(difference.before->name);
      value["newName"] = textJson(difference.after->name);
      break;
  }
  return value;
}

Json::Value comparisonSummaryJson(const ReplyComparison& comparison) {
  Json::Value value = emptyJsonObject();
  value["identical"] = comparison.isSame();
  Json::Value& counts = value["counts"] = emptyJsonObject();
  for (const ItemKind kind : kItemKinds) {
    Json::Value& ofKind = counts[itemKindName(kind)] = emptyJsonObject();
    for (const Change change : kChanges) {
      ofKind[changeName(change)] = jsonNumber(comparison.count(kind, change));
    }
  }
  value["warnings"] = jsonOf(comparison.warnings());
  return value;
}

}  // namespace kestrelvisor::ctl
