#pragma once

#include "kestrelctl/failure.h"
#include "kestrelctl/operation.h"

#include <string>

namespace kestrelvisor::ctl {

// Adds to a refused certificate the pin that is kept and the one that the manager shows now, when
// they are not the same, and what can be done; leaves every other failure alone. Connects to the
// manager for it, for some seconds at most.
void tellPins(const ConnectionOptions& connection, Failure& failure);

// The same as a failure of its own, once both are known.
Failure otherPublicKey(const ManagerAddress& manager, const std::string& kept,
                       const std::string& shown);

}  // namespace kestrelvisor::ctl
