#pragma once

#include "kestrelctl/cbt_request.h"
#include "kestrelctl/operation.h"
#include "kestrelctl/output_format.h"

#include <string>

namespace kestrelvisor::ctl {

// What operations gave, as documents for programs; form is json or jsonl.

std::string verifyDocument(const OperationRequest& request, const OperationResult& result,
                           OutputFormat form);

std::string disableCbtDocument(const OperationRequest& request, const OperationResult& result,
                               OutputFormat form);

// A request that was not sent.
std::string dryRunDocument(const OperationRequest& request, const PlannedRequest& planned,
                           OutputFormat form);

}  // namespace kestrelvisor::ctl
