#pragma once

#include "kestrelctl/accounting.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// Why machines that a backup may need are missing: "1 with an unreadable UUID, 2 whose data were
// not told". Empty when none is.
std::string lossesOf(const Accounting& accounting);

// The closing lines of a scan: "1,000 machines at the manager: 997 recorded, 2 templates, 1 linked
// clone."
std::vector<std::string> accountingSummary(const Accounting& accounting);

}  // namespace kestrelvisor::ctl
