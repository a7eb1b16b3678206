#pragma once

#include "kestrelctl/manager_address.h"

#include <map>
#include <string>

// The public keys of managers that a user has seen and keeps to, in pins.toml beside the other
// settings. A pin is "sha256//" and the base64 form of a key's SHA-256.

namespace kestrelvisor::ctl {

// The pin that is kept for a manager; empty when there is none. Throws a Failure of wrong usage
// when the file cannot be used, has anything but pins, or has one under what is no manager's URL:
// whoever has written it counts on it.
std::string keptPin(const ManagerAddress& manager);

// Keeps it in place of whatever stood there. Throws a Failure.
void keepPin(const ManagerAddress& manager, const std::string& pin);

// Returns whether there was anything. Throws a Failure.
bool forgetPin(const ManagerAddress& manager);

// All of them, by the URLs of managers. Throws as keptPin does.
std::map<std::string, std::string> keptPins();

// The file itself; empty when there is no place for it.
std::string pinFile();

}  // namespace kestrelvisor::ctl
