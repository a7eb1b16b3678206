#pragma once

#include "environment.pb.h"
#include "kestrelctl/accounting.h"
#include "kestrelctl/manager_address.h"
#include "kestrelctl/password_source.h"
#include "kestrelctl/warning.h"
#include "kestrelctl/watch/progress_mode.h"
#include "kestrelctl/watch/scan_counts.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// How to reach a manager, and as whom.
struct ConnectionOptions {
  ManagerAddress manager;
  std::string user;
  PasswordSource password;
  std::string certificateFile;    // empty: the system's trust store
  std::optional<bool> strictTls;  // nothing: what the configuration file says
  bool keepAddress = false;       // replace what the manager reports by the host that was named
  bool followAddress = false;     // let the manager report any address
  bool useEnvironment = false;    // obey the variables of libcurl and OpenSSL
  std::string publicKeyPin;       // the manager's public key must be this one; empty: any
};

struct LogSettings {
  static constexpr int kNothing = 5;

  std::optional<int> level;  // nothing: none on the terminal, 1 and above in a file
  std::string file;          // empty: standard error

  bool goesToTalk() const { return file.empty() && level.value_or(kNothing) < kNothing; }
};

enum class OperationKind { verify, scan, disableCbt };

// What the engine is asked to do with a manager.
struct OperationRequest {
  OperationKind kind = OperationKind::verify;
  ConnectionOptions connection;
  LogSettings log;
  std::string machineUri;                              // of disableCbt
  bool keepsTesterDump = false;                        // of scan
  ProgressMode progress = ProgressMode::automatic;     // of scan: how whoever asks shows it
  std::optional<std::chrono::milliseconds> timeLimit;  // of all of it, logouts included
};

// What it gave, each operation its own part.
struct OperationResult {
  std::string guid;                      // of verify: the manager's
  ScanEnvironmentReply reply;            // of scan
  std::string testerDump;                // of scan: what the engine printed, when it was to be kept
  std::optional<Accounting> accounting;  // of scan
  std::vector<Warning> warnings;
};

// What an operation is called when it fails: "scanning".
std::string nameOf(OperationKind kind, const std::string& machineUri = {});

// Fetches the password and lets the engine work, in a process of its own; progress gets the counts
// of a scan meanwhile. Throws a Failure or Interrupted, which have the warnings
// then. A Failure over another public key than the one that is kept tells both.
OperationResult perform(const OperationRequest& request, const ProgressSink& progress = {});

}  // namespace kestrelvisor::ctl
