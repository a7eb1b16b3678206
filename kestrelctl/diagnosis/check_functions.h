#pragma once

#include "kestrelctl/diagnosis/examination.h"
#include "kestrelctl/diagnosis/finding.h"

// The checks themselves, in their order. Each may throw Interrupted.

namespace kestrelvisor::ctl {

Finding checkName(Examination& examination);
Finding checkConnection(Examination& examination);
Finding checkTlsVersion(Examination& examination);
Finding checkChain(Examination& examination);
Finding checkHostName(Examination& examination);
Finding checkDaysLeft(Examination& examination);
Finding checkVersions(Examination& examination);
Finding checkLogin(Examination& examination);
Finding checkRole(Examination& examination);
Finding checkSites(Examination& examination);
Finding checkClock(Examination& examination);
Finding checkProxies(Examination& examination);
Finding checkPorts(Examination& examination);

}  // namespace kestrelvisor::ctl
