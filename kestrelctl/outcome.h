#pragma once

#include "kestrelctl/failure.h"
#include "kestrelctl/log_evidence.h"
#include "platform/contract/env_proxy_result.h"

#include <exception>
#include <string>

namespace kestrelvisor::ctl {

// What the engine was asked to do, in the words of an error message: "verifying", the manager's
// URL, the user.
struct Attempt {
  std::string what;
  std::string managerUrl;
  std::string user;
};

// Makes a failed result into what the user reads, its exit code included. description is the text
// that the operation handed back beside the result.
Failure failureOf(const Attempt& attempt, const EnvProxyResult& result,
                  const std::string& description, const LogEvidence& evidence);

// Likewise for an exception that left the engine.
Failure failureOfException(const Attempt& attempt, const std::string& what);

// Likewise for an operation that was ended on our side.
Failure failureOfEnd(const Attempt& attempt, const Failure& end);

}  // namespace kestrelvisor::ctl
