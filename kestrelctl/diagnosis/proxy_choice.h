#pragma once

#include "kestrelctl/manager_address.h"

#include <string>

namespace kestrelvisor::ctl {

// The variable of this process's environment whose proxy libcurl goes over to a manager; empty when
// it goes there straight: none is set for the manager's scheme, or no_proxy names the manager.
std::string proxyVariableFor(const ManagerAddress& manager);

}  // namespace kestrelvisor::ctl
