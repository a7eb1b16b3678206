#pragma once

#include "environment.pb.h"
#include "kestrelctl/log_evidence.h"
#include "kestrelctl/operation.h"
#include "kestrelctl/outcome.h"
#include "kestrelctl/warning.h"

#include <functional>
#include <streambuf>
#include <string>

namespace kestrelvisor::ctl {

// One manager, driven through the engine as any host does it. One at a time in a process.
//
// Every operation throws a Failure when it does not work.
class EngineSession {
 public:
  // Prepares engine and request. Of the network only the manager's name is looked up. From here on
  // the process sends requests to this manager alone, unless the options say otherwise.
  // warn gets what the user should know, each thing once, the moment it is known: an operation that
  // is ended from outside has told its own by then.
  explicit EngineSession(
      const ConnectionOptions& options, WarningSink warn = [](const Warning&) {});
  ~EngineSession();
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;

  // Encrypts the password, as the engine wants it, under a key of this process alone unless the
  // environment names one; the caller wipes the plain text. To be called once, before the
  // operations.
  void usePassword(const std::string& password);

  // Returns the manager's GUID.
  std::string verify();

  // Fills an empty reply. What the engine prints meanwhile goes to testerDump, and how far it is to
  // progress, if there is one. Returns what became of the manager's machines.
  Accounting scan(ScanEnvironmentReply& reply, std::streambuf& testerDump,
                  const ProgressSink& progress = {});

  void disableCbt(const std::string& machineUri);

 private:
  using Operation = std::function<EnvProxyResult(std::string& description)>;

  // Calls the engine and looks at what its log tells.
  void run(const std::string& what, const Operation& operation);
  void tellPassedCertificate(const LogEvidence& evidence);

  EnvironmentPath path_;
  Attempt attempt_;
  WarningSink warn_;
  bool hasPassedCertificate_ = false;  // and has told so
};

}  // namespace kestrelvisor::ctl
