#pragma once

#include "kestrelctl/deadline.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/operation.h"

#include <string>

namespace kestrelvisor::ctl {

// Lets a connection demand the public key that is kept for its manager, if one is. Throws a Failure
// of wrong usage when pins.toml cannot be used, or when the manager may send the connection
// elsewhere: there nobody would ask for the key that is kept for that place.
void demandKeptKey(ConnectionOptions& connection);

// Adds to a refused certificate the pin that is kept and the one that the manager shows now, when
// they are not the same, and what can be done; leaves every other failure alone. Connects to the
// manager for it, until the deadline and for some seconds at most.
void tellPins(const ConnectionOptions& connection, const Deadline& deadline, Failure& failure);

// The same as a failure of its own, once both are known.
Failure otherPublicKey(const ManagerAddress& manager, const std::string& kept,
                       const std::string& shown);

}  // namespace kestrelvisor::ctl
