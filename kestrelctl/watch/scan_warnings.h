#pragma once

#include "environment.pb.h"
#include "kestrelctl/accounting.h"
#include "kestrelctl/warning.h"
#include "kestrelctl/watch/machine_ledger.h"

#include <vector>

// What the user should know of a scan although it worked. Each function adds no warning when there
// is nothing to say.

namespace kestrelvisor::ctl {

Warning warningOfNoOwnSite();

void addGuestWarning(const std::vector<MachineLedger::UnknownSystem>& systems,
                     std::vector<Warning>& warnings);

// Machines that are missing, with the reason or without one.
void addMachineWarnings(const Accounting& accounting, std::vector<Warning>& warnings);

// Machines that stand in the reply more than once.
void addRepetitionWarning(const ScanEnvironmentReply& reply, std::vector<Warning>& warnings);

}  // namespace kestrelvisor::ctl
