#include "vrmsim/inventory_file.h"

#include "vrmsim/inventory_fields.h"
#include "vrmsim/json_reader.h"

#include <json/json.h>

#include <fstream>
#include <limits>
#include <set>
#include <sstream>
#include <type_traits>

namespace kestrelvisor::vrmsim {
namespace {

[[noreturn]] void reject(const std::string& path, const std::string& what) {
  throw InventoryError(path + ": " + what);
}

std::string shown(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  const std::string text = Json::writeString(builder, value);
  return text.size() <= 40 ? text : text.substr(0, 37) + "...";
}

void expect(bool right, const Json::Value& value, const std::string& path, const char* kind) {
  if (!right) reject(path, std::string("expected ") + kind + ", found " + shown(value));
}

void readValue(const Json::Value& value, const std::string& path, std::string& out) {
  expect(value.isString(), value, path, "a text");
  out = value.asString();
}

void readValue(const Json::Value& value, const std::string& path, bool& out) {
  expect(value.isBool(), value, path, "true or false");
  out = value.asBool();
}

template <class Number>
requires std::is_integral_v<Number>
void readValue(const Json::Value& value, const std::string& path, Number& out) {
  expect(value.isInt64(), value, path, "an integer");
  const std::int64_t number = value.asInt64();
  const auto lowest = static_cast<std::int64_t>(std::numeric_limits<Number>::min());
  const auto highest = static_cast<std::int64_t>(std::numeric_limits<Number>::max());
  if (number < lowest || number > highest) {
    reject(path, "expected an integer from " + std::to_string(lowest) + " to " +
                     std::to_string(highest) + ", found " + shown(value));
  }
  out = static_cast<Number>(number);
}

template <class Record>
requires std::is_class_v<Record>
void readValue(const Json::Value& value, const std::string& path, Record& out);

template <class Element>
void readValue(const Json::Value& value, const std::string& path, std::vector<Element>& out) {
  expect(value.isArray(), value, path, "a list");
  out.clear();
  for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
    readValue(value[i], path + "[" + std::to_string(i) + "]", out.emplace_back());
  }
}

// Takes each field of a record from one JSON object.
class FieldReader {
 public:
  FieldReader(const Json::Value& object, std::string path)
      : object_(object), path_(std::move(path)) {
    expect(object.isObject(), object, path_.empty() ? "inventory" : path_, "an object");
  }

  template <class Field>
  void operator()(const char* key, Field& field) {
    known_.insert(key);
    if (object_.isMember(key)) readValue(object_[key], pathOf(key), field);
  }

  void rejectUnknownKeys() const {
    for (const std::string& key : object_.getMemberNames()) {
      if (known_.count(key) == 0) reject(pathOf(key), "unknown key");
    }
  }

 private:
  std::string pathOf(const std::string& key) const {
    return path_.empty() ? key : path_ + "." + key;
  }

  const Json::Value& object_;
  const std::string path_;
  std::set<std::string> known_;
};

template <class Record>
requires std::is_class_v<Record>
void readValue(const Json::Value& value, const std::string& path, Record& out) {
  FieldReader reader(value, path);
  fieldsOf(reader, out);
  reader.rejectUnknownKeys();
}

template <class Value>
Json::Value written(Value& value);

template <class Element>
Json::Value written(std::vector<Element>& elements) {
  Json::Value list(Json::arrayValue);
  for (Element& element : elements) list.append(written(element));
  return list;
}

class ObjectWriter {
 public:
  template <class Field>
  void operator()(const char* key, Field& field) {
    object_[key] = written(field);
  }

  Json::Value take() { return std::move(object_); }

 private:
  Json::Value object_{Json::objectValue};
};

void dropDefaults(Json::Value& object, const Json::Value& defaults) {
  for (const std::string& key : object.getMemberNames()) {
    if (object[key] == defaults[key]) object.removeMember(key);
  }
}

template <class Value>
Json::Value written(Value& value) {
  if constexpr (std::is_same_v<Value, std::string> || std::is_same_v<Value, bool>) {
    return value;
  } else if constexpr (std::is_integral_v<Value>) {
    return static_cast<Json::Int64>(value);
  } else {
    ObjectWriter writer;
    fieldsOf(writer, value);
    Json::Value object = writer.take();
    Value defaultValue;
    ObjectWriter defaultWriter;
    fieldsOf(defaultWriter, defaultValue);
    dropDefaults(object, defaultWriter.take());
    return object;
  }
}

// The ids of one list, each of which may stand only once.
template <class Record>
std::set<std::string> uniqueIds(const std::vector<Record>& records, const std::string& list) {
  std::set<std::string> ids;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::string path = list + "[" + std::to_string(i) + "].id";
    if (records[i].id.empty()) reject(path, "an id is missing");
    if (!ids.insert(records[i].id).second) {
      reject(path, "the id \"" + records[i].id + "\" stands twice");
    }
  }
  return ids;
}

void checkReference(const std::set<std::string>& ids, const std::string& id, const char* kind,
                    const std::string& path) {
  if (!id.empty() && ids.count(id) == 0) {
    reject(path, std::string("there is no ") + kind + " \"" + id + "\"");
  }
}

struct KnownIds {
  std::set<std::string> clusters;
  std::set<std::string> hosts;
  std::set<std::string> datastores;
};

void checkSites(const Inventory& inventory) {
  uniqueIds(inventory.sites, "sites");
  int own = 0;
  for (const Site& site : inventory.sites) own += site.isSelf ? 1 : 0;
  if (own != 1) reject("sites", "exactly one site must have isSelf, found " + std::to_string(own));
}

void checkDatastore(const Datastore& datastore, const std::string& path, const KnownIds& ids) {
  for (std::size_t i = 0; i < datastore.hosts.size(); ++i) {
    checkReference(ids.hosts, datastore.hosts[i], "host",
                   path + ".hosts[" + std::to_string(i) + "]");
  }
  for (std::size_t i = 0; i < datastore.clusters.size(); ++i) {
    checkReference(ids.clusters, datastore.clusters[i], "cluster",
                   path + ".clusters[" + std::to_string(i) + "]");
  }
}

void checkVm(const Vm& vm, const std::string& path, const KnownIds& ids) {
  checkReference(ids.hosts, vm.host, "host", path + ".host");
  checkReference(ids.clusters, vm.cluster, "cluster", path + ".cluster");
  if (vm.host.empty() && vm.cluster.empty()) reject(path, "neither host nor cluster is given");
  for (std::size_t i = 0; i < vm.disks.size(); ++i) {
    checkReference(ids.datastores, vm.disks[i].datastore, "datastore",
                   path + ".disks[" + std::to_string(i) + "].datastore");
  }
}

void checkInventory(const Inventory& inventory) {
  checkSites(inventory);
  const KnownIds ids{uniqueIds(inventory.clusters, "clusters"), uniqueIds(inventory.hosts, "hosts"),
                     uniqueIds(inventory.datastores, "datastores")};
  uniqueIds(inventory.vms, "vms");
  for (std::size_t i = 0; i < inventory.hosts.size(); ++i) {
    checkReference(ids.clusters, inventory.hosts[i].cluster, "cluster",
                   "hosts[" + std::to_string(i) + "].cluster");
  }
  for (std::size_t i = 0; i < inventory.datastores.size(); ++i) {
    checkDatastore(inventory.datastores[i], "datastores[" + std::to_string(i) + "]", ids);
  }
  for (std::size_t i = 0; i < inventory.vms.size(); ++i) {
    checkVm(inventory.vms[i], "vms[" + std::to_string(i) + "]", ids);
  }
}

}  // namespace

Inventory parseInventory(const std::string& text) {
  Inventory inventory;
  try {
    readValue(parsedJson(text), "", inventory);
  } catch (const JsonError& error) {
    throw InventoryError(error.what());
  }
  checkInventory(inventory);
  return inventory;
}

Inventory loadInventory(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) throw InventoryError(path + ": cannot be read");
  try {
    return parseInventory(text.str());
  } catch (const InventoryError& error) {
    throw InventoryError(path + ": " + error.what());
  }
}

std::string writeInventory(const Inventory& inventory) {
  Inventory copy = inventory;
  Json::StreamWriterBuilder builder;
  builder["indentation"] = " ";
  return Json::writeString(builder, written(copy)) + "\n";
}

}  // namespace kestrelvisor::vrmsim
