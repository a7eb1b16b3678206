#pragma once

#include "kestrelctl/manager_address.h"

#include <string>

// The public keys of managers that a user has seen and keeps to, in pins.toml beside the other
// settings. A pin is "sha256//" and the base64 form of a key's SHA-256.

namespace kestrelvisor::ctl {

// The pin that is kept for a manager; empty when there is none. Throws a Failure of wrong usage
// when the file cannot be used or what stands there is no pin.
std::string keptPin(const ManagerAddress& manager);

// Keeps it in place of one of before. Throws a Failure.
void keepPin(const ManagerAddress& manager, const std::string& pin);

// Returns whether there was one. Throws a Failure.
bool forgetPin(const ManagerAddress& manager);

// The file itself; empty when there is no place for it.
std::string pinFile();

}  // namespace kestrelvisor::ctl
