#include "vrmsim/inventory_change.h"

#include "vrmsim/inventory_file.h"
#include "vrmsim/json_reader.h"

#include <json/json.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace kestrelvisor::vrmsim {
namespace {

Json::Value parsed(const std::string& text) {
  try {
    return parsedJson(text);
  } catch (const JsonError& error) {
    throw InventoryError(std::string("the patch is ") + error.what());
  }
}

void merge(Json::Value& target, const Json::Value& patch) {
  if (!patch.isObject()) {
    target = patch;
    return;
  }
  if (!target.isObject()) target = Json::Value(Json::objectValue);
  for (const std::string& key : patch.getMemberNames()) {
    if (patch[key].isNull()) {
      target.removeMember(key);
    } else {
      merge(target[key], patch[key]);
    }
  }
}

bool removeVm(Inventory& inventory, const std::string& urn) {
  const std::string site = inventory.ownSite();
  return std::erase_if(inventory.vms,
                       [&](const Vm& vm) { return objectUrn(site, "vms", vm.id) == urn; }) > 0;
}

Vm newVm(const Inventory& inventory, std::size_t number) {
  Vm vm;
  vm.id = "added-" + std::to_string(number);
  vm.name = vm.id;
  std::array<char, 37> uuid{};
  std::snprintf(uuid.data(), uuid.size(), "0add0add-0000-4000-8000-%012zx", number);
  vm.uuid = uuid.data();
  if (!inventory.hosts.empty()) {
    vm.host = inventory.hosts.front().id;
  } else if (!inventory.clusters.empty()) {
    vm.cluster = inventory.clusters.front().id;
  }
  Disk disk;
  disk.volume = vm.id;
  disk.uuid = vm.uuid;
  if (!inventory.datastores.empty()) disk.datastore = inventory.datastores.front().id;
  vm.disks.push_back(std::move(disk));
  return vm;
}

void addVms(Inventory& inventory, std::uint64_t count) {
  std::size_t number = 0;
  for (const Vm& vm : inventory.vms) number += vm.id.compare(0, 6, "added-") == 0 ? 1U : 0U;
  for (std::uint64_t i = 0; i < count; ++i) inventory.vms.push_back(newVm(inventory, ++number));
}

}  // namespace

bool changesInventory(const StateChange& change) {
  return !change.inventoryPatch.empty() || !change.removedVms.empty() || change.addedVms > 0;
}

Inventory patchedInventory(const Inventory& inventory, const std::string& patch) {
  Json::Value root = parsed(writeInventory(inventory));
  merge(root, parsed(patch));
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return parseInventory(Json::writeString(builder, root));
}

std::string changeInventoryAsAsked(Inventory& inventory, const StateChange& change) {
  std::string complaint;
  if (!change.inventoryPatch.empty()) {
    try {
      inventory = patchedInventory(inventory, change.inventoryPatch);
    } catch (const InventoryError& error) {
      complaint = std::string("the inventory cannot be edited: ") + error.what();
    }
  }
  for (const std::string& urn : change.removedVms) {
    if (!removeVm(inventory, urn)) complaint += (complaint.empty() ? "" : "; ") + ("no VM " + urn);
  }
  addVms(inventory, change.addedVms);
  return complaint;
}

}  // namespace kestrelvisor::vrmsim
