#pragma once

#include "vrmsim/inventory.h"

#include <stdexcept>
#include <string>

namespace kestrelvisor::vrmsim {

// Says what is wrong with an inventory and where: "vms[3].disks[0].quantityGB: ...".
class InventoryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads an inventory from JSON text. A key that is left out takes the record's default; an unknown
// key, a value of the wrong type, an id that stands twice and a reference to an object that is not
// there throw InventoryError.
Inventory parseInventory(const std::string& text);

// Reads the file at path; throws InventoryError, which then begins with the path.
Inventory loadInventory(const std::string& path);

// The text that parseInventory turns into the same inventory again. Values at their default are
// left out.
std::string writeInventory(const Inventory& inventory);

}  // namespace kestrelvisor::vrmsim
