#pragma once

#include "kestrelctl/diagnosis/examination.h"
#include "kestrelctl/diagnosis/finding.h"

// The checks themselves, in their order. Each may throw Interrupted and TimeUsedUp.

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

// Of a manager that takes no client without a certificate.
Finding clientCertificateDemanded();

}  // namespace kestrelvisor::ctl
