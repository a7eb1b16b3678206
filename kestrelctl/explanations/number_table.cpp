// Numbers into which the engine turns codes for hosts that want numbers.

#include "kestrelctl/explanations/tables.h"

namespace kestrelvisor::ctl {
namespace {

constexpr CodeKind kKind = CodeKind::number;
constexpr const char* kLog = "verify: the line \"Failed to validate credential,Error Code: \"";
constexpr const char* kForHosts = "the table of codes that hosts share";
constexpr const char* kExplainCode = "explain the code that comes with it";

}  // namespace

const std::vector<Explanation>& numberTable() {
  static const std::vector<Explanation> table{
      {kKind, "0", "success",
       "the code was 200 or 10100110; after the second the engine goes on as if the step had "
       "worked",
       kForHosts, "nothing", Retry::no, false},
      {kKind, "1077949019", "any other failure",
       "the code was 10000002, 10100112 or one that the table does not hold", kLog, kExplainCode,
       Retry::depends},
      {kKind, "1080000001", "no certificate of the manager", "the code was 2406", kForHosts,
       kExplainCode, Retry::no},
      {kKind, "1080000002", "a failure over a certificate", "the code was 2405", kForHosts,
       kExplainCode, Retry::no},
      {kKind, "1080000003", "a failure over a certificate", "the code was 2407", kForHosts,
       kExplainCode, Retry::no},
      {kKind, "1138754051", "user name or password is wrong", "the code was 10100101 or 10100103",
       kLog, kLoginRemedy, Retry::no},
      {kKind, "1138754052", "passed on from the manager", "the code was 10100109", kLog,
       kExplainCode, Retry::depends},
      {kKind, "1138754053", "passed on from the manager", "the code was 10100113 or 10100116", kLog,
       kExplainCode, Retry::depends},
      {kKind, "1138754054", "the manager cannot be reached",
       "the code was 2000, 2001, 404, 1005 or connectfailed", kLog, kAddressRemedy, Retry::yes},
      {kKind, "1138754056", "passed on from the manager", "the code was 10100108", kLog,
       kExplainCode, Retry::depends},
      {kKind, "1138754061", "the user has no administrator role", "the code was 1006", kLog,
       kExplainCode, Retry::no},
      {kKind, "1138754062", "passed on from the manager", "the code was 10000001", kLog,
       kExplainCode, Retry::depends},
      {kKind, "1138754063", "passed on from the manager", "the code was 10100307", kLog,
       kExplainCode, Retry::depends},
      {kKind, "1138754065", "passed on from the manager", "the code was 10100117", kLog,
       kExplainCode, Retry::depends},
  };
  return table;
}

}  // namespace kestrelvisor::ctl
