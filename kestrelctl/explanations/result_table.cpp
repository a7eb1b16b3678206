// What an operation of the engine hands to its host: a status, and details.

#include "kestrelctl/explanations/tables.h"

namespace kestrelvisor::ctl {
namespace {

constexpr CodeKind kStatus = CodeKind::status;
constexpr CodeKind kDetail = CodeKind::detail;
constexpr const char* kCbtStep = "disable-cbt: the request that deletes the machine's CBT action";

}  // namespace

const std::vector<Explanation>& statusTable() {
  static const std::vector<Explanation> table{
      {kStatus, "0", "success", "the operation has come to its end", "every operation", "nothing",
       Retry::no, false},
      {kStatus, "1", "a parameter or the site's data is missing",
       "the request lacks a parameter, or the manager's versions or sites could not be read",
       "disable-cbt: the preparation", "the log names the parameter, or the request that failed",
       Retry::depends},
      {kStatus, "95", "the machine does not exist",
       "the manager knows no machine of this URI (its code 10000008)", kCbtStep, kMachineGoneRemedy,
       Retry::no},
      {kStatus, "96", "the manager's database failed",
       "the manager could not use its database (its code 10000004)", kCbtStep, kDatabaseRemedy,
       Retry::yes},
      {kStatus, "97", "the manager's internal error, or one that is not known",
       "the manager failed (its code 11000000), or sent a code that has no status of its own",
       kCbtStep, kLookUpRemedy, Retry::depends},
      {kStatus, "98", "the machine's datastore does not support it",
       "a disk of the machine lies on a datastore without changed-block tracking (the manager's "
       "code 10430044)",
       kCbtStep, kDatastoreRemedy, Retry::no},
      {kStatus, "99", "the manager could not switch it off",
       "the manager tried and failed (its code 10430045)", kCbtStep, kTaskRemedy, Retry::yes},
      {kStatus, "100", "the machine is a template",
       "templates have no changed-block tracking (the manager's code 10300427)", kCbtStep,
       kTemplateRemedy, Retry::no},
      {kStatus, "101", "the machine is a linked clone",
       "linked clones do not support it (the manager's code 10300428)", kCbtStep,
       kLinkedCloneRemedy, Retry::no},
      {kStatus, "104", "the scan failed",
       "a request failed or an answer could not be read; detail 20111 holds text and code",
       "scan: any step; the reply is as it was", "explain the code that comes with it",
       Retry::depends},
      {kStatus, "107", "address or credentials could not be verified",
       "a request failed or the login was refused; detail 20086 holds text and code",
       "verify: the preparation or the login", "explain the code that comes with it",
       Retry::depends},
  };
  return table;
}

const std::vector<Explanation>& detailTable() {
  static const std::vector<Explanation> table{
      {kDetail, "20063", "what a scan found",
       "the scan worked; the parameters are the numbers of machines and of other objects",
       "scan: its end", "nothing", Retry::no, false},
      {kDetail, "20086", "why a verification failed",
       "it comes with status 107; the parameter is \"TEXT The error code is CODE.\"",
       "verify: the preparation or the login", "explain the code in the text", Retry::depends},
      {kDetail, "20111", "why a scan failed",
       "it comes with status 104; the parameter is \"TEXTThe error code is CODE.\", with no blank "
       "between the two",
       "scan: any step", "explain the code in the text", Retry::depends},
  };
  return table;
}

}  // namespace kestrelvisor::ctl
