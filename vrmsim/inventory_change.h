#pragma once

#include "vrmsim/fault_rule.h"
#include "vrmsim/inventory.h"

#include <string>

namespace kestrelvisor::vrmsim {

// Whether the change concerns the inventory at all.
bool changesInventory(const StateChange& change);

// Patches the inventory, removes VMs, and adds new ones with one disk each, on the first host.
// Returns what could not be done and why; empty: all was. What cannot be done leaves the inventory
// alone.
std::string changeInventoryAsAsked(Inventory& inventory, const StateChange& change);

// Applies a JSON merge patch (RFC 7396) to the inventory as its file would be. Throws
// InventoryError when the patch cannot be read or the outcome is no inventory.
Inventory patchedInventory(const Inventory& inventory, const std::string& patch);

}  // namespace kestrelvisor::vrmsim
