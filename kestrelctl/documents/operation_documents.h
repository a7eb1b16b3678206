#pragma once

#include "kestrelctl/cbt_request.h"
#include "kestrelctl/operation.h"
#include "kestrelctl/output_format.h"
#include "kestrelctl/warning.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// What commands gave, as documents for programs; form is json, jsonl or yaml.

std::string verifyDocument(const OperationRequest& request, const OperationResult& result,
                           OutputFormat form);

std::string disableCbtDocument(const OperationRequest& request, const OperationResult& result,
                               OutputFormat form);

// A request that was not sent.
std::string dryRunDocument(const OperationRequest& request, const PlannedRequest& planned,
                           OutputFormat form);

// A password that was encrypted.
std::string cipherDocument(const std::string& cipher, const std::vector<Warning>& warnings,
                           OutputFormat form);

}  // namespace kestrelvisor::ctl
