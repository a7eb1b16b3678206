#pragma once

#include "kestrelctl/certificates/inspection.h"
#include "kestrelctl/diagnosis/local_ports.h"
#include "kestrelctl/diagnosis/name_lookup.h"
#include "kestrelctl/diagnosis/version_question.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/operation.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// What became of an operation that logs in and asks for the sites.
struct LoginOutcome {
  std::optional<Failure> failure;  // nothing: it worked
  std::string guid;                // the manager's
};

// One manager under examination. Each part of it is looked at when the first check asks for it, and
// once: what no check wants to know is not done.
class Examination {
 public:
  struct Request {
    OperationRequest operation;        // its time limit is that of the whole examination
    std::vector<std::string> proxies;  // variables that were set when kestrelctl was started
  };

  explicit Examination(Request request);

  const ConnectionOptions& options() const { return request_.operation.connection; }
  const std::vector<std::string>& proxies() const { return request_.proxies; }
  // Whether a certificate that is not trusted ends an exchange.
  bool isStrict() const { return strict_; }

  const NameLookup& name();
  const Inspection& connection();
  const VersionAnswer& versions();
  // Throws Interrupted.
  const LoginOutcome& login();
  const std::optional<LocalPorts>& localPorts();

  // Of the operation.
  const std::vector<Warning>& warnings() const { return warnings_; }

 private:
  using Clock = std::chrono::steady_clock;

  std::chrono::milliseconds left() const;
  std::chrono::milliseconds patience() const;
  LoginOutcome logIn();

  Request request_;
  std::string trusted_;
  bool strict_;
  Clock::time_point end_;
  std::optional<NameLookup> name_;
  std::optional<Inspection> connection_;
  std::optional<VersionAnswer> versions_;
  std::optional<LoginOutcome> login_;
  std::optional<std::optional<LocalPorts>> localPorts_;
  std::vector<Warning> warnings_;
};

}  // namespace kestrelvisor::ctl
