#pragma once

#include "kestrelctl/operation.h"

namespace kestrelvisor::ctl {

// Scans, and shows on standard error how far it is, as the request wants. The warnings tell of the
// reply too. Throws what perform throws.
OperationResult scanWithProgress(const OperationRequest& request);

}  // namespace kestrelvisor::ctl
