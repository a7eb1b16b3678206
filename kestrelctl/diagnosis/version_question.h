#pragma once

#include "kestrelctl/exit_code.h"
#include "kestrelctl/manager_address.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// The one request that a manager answers without a session: which versions of its interface it
// offers.
struct VersionQuestion {
  ManagerAddress manager;
  std::string trusted;                // PEM; empty: the system's trust store
  bool verified = true;               // whether a certificate that is not trusted ends it
  std::chrono::milliseconds limit{};  // above 0
};

struct VersionAnswer {
  bool timedOut = false;
  std::string problem;  // of the transfer, in libcurl's words; empty: there is an answer
  ExitCode exitCode = ExitCode::success;  // with which an operation would end over the problem
  long status = 0;                        // of HTTP
  bool readable = false;                  // a document with a list of versions
  std::vector<std::string> versions;      // as told, without their prefix: "6.5"
  // How far the manager's clock is ahead of this machine's; nothing when it does not tell.
  std::optional<std::chrono::seconds> clockAhead;

  // Whether the engine finds a version in it that it can speak.
  bool isUsable() const;
};

// Asks as the engine does, once. Throws std::bad_alloc.
VersionAnswer ask(const VersionQuestion& question);

}  // namespace kestrelvisor::ctl
