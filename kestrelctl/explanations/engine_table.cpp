// Codes that the engine makes itself, beside those that it takes from a manager.

#include "kestrelctl/engine_code.h"
#include "kestrelctl/explanations/tables.h"

namespace kestrelvisor::ctl {
namespace {

constexpr CodeKind kKind = CodeKind::engine;
constexpr const char* kAnyTransfer = "any request: the transfer, after one repetition";
constexpr const char* kForHosts = "the table of codes that hosts share; no step of this engine";
constexpr const char* kOnlyKnown =
    "no step of this engine makes it; the table has it for hosts that meet it elsewhere";
constexpr const char* kReportIt = "nothing: no operation of kestrelctl ends with it";

}  // namespace

const std::vector<Explanation>& engineTable() {
  static const std::vector<Explanation> table{
      {kKind, kNoCode, "no step told a code",
       "a request worked and its answer was not what it should be, or the manager refused in a "
       "form that nobody can read",
       "behind any answer", kUnreadableRemedy, Retry::no},
      {kKind, kRoleRefused, "the user has no administrator role",
       "the login worked, but the user is neither administrator nor sysadmin, or the answer lacked "
       "roles or validity",
       "the login", "give the account the role administrator or sysadmin on the manager",
       Retry::no},
      {kKind, kCouldNotConnect, "no connection to the manager",
       "nobody listens at address and port, or something between refuses the connection",
       kAnyTransfer, kAddressRemedy, Retry::yes},
      {kKind, kTimedOut, "the manager did not answer in time",
       "no connection within 10 seconds, or no whole answer within 600", kAnyTransfer, kLoadRemedy,
       Retry::yes},
      {kKind, kOtherTransferFailure, "the transfer failed otherwise",
       "the text says how: name resolution, certificate, connection cut, \"Unsupported protocol.\" "
       "for a server that is not allowed",
       kAnyTransfer,
       "for a certificate give the right one with --ca-cert FILE; for a server the log names it",
       Retry::depends},
      {kKind, kNotFound, "the manager does not know the request",
       "the answer was the HTTP status 404, without a body", "any request",
       "check that address and port belong to a manager", Retry::no},
      {kKind, "200", "success", "the HTTP status of a good answer", kForHosts, "nothing", Retry::no,
       false},
      {kKind, "404", "the manager cannot be reached", kOnlyKnown, kForHosts, kReportIt, Retry::no,
       false},
      {kKind, "1005", "the manager cannot be reached", kOnlyKnown, kForHosts, kReportIt, Retry::no,
       false},
      {kKind, "2405", "a failure over a certificate", kOnlyKnown, kForHosts, kReportIt, Retry::no,
       false},
      {kKind, "2406", "no certificate of the manager", kOnlyKnown, kForHosts, kReportIt, Retry::no,
       false},
      {kKind, "2407", "a failure over a certificate", kOnlyKnown, kForHosts, kReportIt, Retry::no,
       false},
      {kKind, "connectfailed", "the manager cannot be reached", kOnlyKnown, kForHosts, kReportIt,
       Retry::no},
  };
  return table;
}

}  // namespace kestrelvisor::ctl
