#pragma once

#include "kestrelctl/operation.h"

namespace kestrelvisor::ctl {

// Scans, and shows on standard error how far it is, as the request wants. Throws what perform
// throws.
OperationResult scanWithProgress(const OperationRequest& request);

}  // namespace kestrelvisor::ctl
