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

// Thrown where a part is asked for that is not known yet, and no time is left to look at it.
struct TimeUsedUp {};

// One manager under examination. Each part of it is looked at when the first check asks for it, and
// once: what no check wants to know is not done.
class Examination {
 public:
  struct Request {
    OperationRequest operation;        // its time limit is that of the whole examination
    std::vector<std::string> proxies;  // variables that were set when kestrelctl was started
    std::string proxy;                 // that of them by which libcurl goes to the manager, if any
  };

  // From then on all of this process keeps to the public key in the request. Throws a Failure of
  // wrong usage.
  explicit Examination(Request request);

  const ConnectionOptions& options() const { return request_.operation.connection; }
  const std::vector<std::string>& proxies() const { return request_.proxies; }
  const std::string& proxy() const { return request_.proxy; }
  // Whether a certificate that is not trusted ends an exchange.
  bool isStrict() const { return strict_; }

  // These throw TimeUsedUp.
  const NameLookup& name();
  const Inspection& connection();
  const VersionAnswer& versions();
  // Throws Interrupted, too.
  const LoginOutcome& login();
  const std::optional<LocalPorts>& localPorts();

  // Of the operation.
  const std::vector<Warning>& warnings() const { return warnings_; }

 private:
  using Clock = std::chrono::steady_clock;

  // Throws TimeUsedUp.
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
