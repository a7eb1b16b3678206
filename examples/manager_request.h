#pragma once

// What both example hosts share: a request from the command line, and its operations on an engine.

#include "environment.pb.h"
#include "platform/contract/engine_base.h"

#include <optional>
#include <string>
#include <vector>

namespace example {

// How to reach a manager, and what to do there.
struct ManagerRequest {
  EnvironmentPath path;
  std::vector<std::string> operations;  // "verify", "scan" or "disable=URI"
};

// Reads ADDRESS PORT http|https USER OPERATION... and what the environment names:
//
//   MANAGER_PASSWORD_FILE  file whose first line is the password
//   MANAGER_PASSWORD       the password itself, if no file is named
//   MANAGER_CERT_FILE      certificate to trust, as PEM; without it the system's trust store counts
//
// The password is encrypted under a key that this process makes and keeps to itself. Returns
// nothing, and tells why on standard error, when something is missing.
std::optional<ManagerRequest> readManagerRequest(int argc, char** argv);

// Runs the operations in order and prints what came of each. Returns 0 when all succeeded, else 1.
int runOperations(EngineBase& engine, const ManagerRequest& request);

}  // namespace example
