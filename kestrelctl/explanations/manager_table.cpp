// Codes of the manager that the engine knows. What a manager means by one it tells in its text;
// what stands here is what becomes of it.

#include "kestrelctl/explanations/tables.h"

namespace kestrelvisor::ctl {
namespace {

constexpr CodeKind kKind = CodeKind::manager;
constexpr const char* kAnyRequest = "any request that the manager refuses";
constexpr const char* kLogin = "the login, mostly";
constexpr const char* kCbtStep = "disable-cbt: the request that deletes the machine's CBT action";
constexpr const char* kPassedOn = "the manager refused a request; its text says why";
constexpr const char* kResident =
    "the manager refused a request; its text says why. Hosts find the code in a list of the engine "
    "that no operation consults";

}  // namespace

const std::vector<Explanation>& managerTable() {
  static const std::vector<Explanation> table{
      {kKind, "10000001", "passed on to the host as 1138754062", kPassedOn, kAnyRequest,
       kLookUpRemedy, Retry::depends},
      {kKind, "10000002", "the session is gone",
       "the manager does not know the session any more; the engine has logged in anew once already",
       "any request behind the login",
       "try again; then see whether something ends the account's sessions", Retry::yes},
      {kKind, "10000004", "the manager's database failed",
       "the manager could not use its database; from disable-cbt it is status 96", kAnyRequest,
       kDatabaseRemedy, Retry::yes},
      {kKind, "10000005", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10000006", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10000008", "the object does not exist",
       "the manager knows nothing of this URI; from disable-cbt it is status 95", kAnyRequest,
       kMachineGoneRemedy, Retry::no},
      {kKind, "10000009", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10100101", "the login is refused",
       "the user name or the password is wrong, or the user is not of the interface type", kLogin,
       kLoginRemedy, Retry::no},
      {kKind, "10100103", "the login is refused",
       "the user name or the password is wrong, or the user is not of the interface type", kLogin,
       kLoginRemedy, Retry::no},
      {kKind, "10100108", "passed on to the host as 1138754056", kPassedOn, kLogin, kLookUpRemedy,
       Retry::depends},
      {kKind, "10100109", "passed on to the host as 1138754052", kPassedOn, kLogin, kLookUpRemedy,
       Retry::depends},
      {kKind, "10100110", "does not stop an operation",
       "the manager answered with it, and the engine went on as if the step had worked", kLogin,
       "nothing; should the operation fail later, look this code up first", Retry::depends},
      {kKind, "10100112", "passed on to the host as 1077949019", kPassedOn, kLogin, kLookUpRemedy,
       Retry::depends},
      {kKind, "10100113", "passed on to the host as 1138754053", kPassedOn, kLogin, kLookUpRemedy,
       Retry::depends},
      {kKind, "10100116", "passed on to the host as 1138754053", kPassedOn, kLogin, kLookUpRemedy,
       Retry::depends},
      {kKind, "10100117", "passed on to the host as 1138754065", kPassedOn, kLogin, kLookUpRemedy,
       Retry::depends},
      {kKind, "10100307", "passed on to the host as 1138754063", kPassedOn, kAnyRequest,
       kLookUpRemedy, Retry::depends},
      {kKind, "10300112", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10300153", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10300162", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10300318", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10300402", "a task was released",
       "the manager has let go of a task; the log holds it as a warning", kAnyRequest,
       "look at the manager's task list, then try again", Retry::yes},
      {kKind, "10300427", "the machine is a template",
       "templates have no changed-block tracking; it is status 100", kCbtStep, kTemplateRemedy,
       Retry::no},
      {kKind, "10300428", "the machine is a linked clone",
       "linked clones do not support it; it is status 101", kCbtStep, kLinkedCloneRemedy,
       Retry::no},
      {kKind, "10300502", "in the list of resident codes", kResident, kAnyRequest, kLookUpRemedy,
       Retry::depends},
      {kKind, "10430044", "the machine's datastore does not support it",
       "a disk of the machine lies on a datastore without changed-block tracking; it is status 98",
       kCbtStep, kDatastoreRemedy, Retry::no},
      {kKind, "10430045", "the manager could not switch it off",
       "the manager tried and failed; it is status 99", kCbtStep, kTaskRemedy, Retry::yes},
      {kKind, "11000000", "the manager's internal error",
       "the manager failed; from disable-cbt it is status 97", kAnyRequest, kLookUpRemedy,
       Retry::depends},
  };
  return table;
}

}  // namespace kestrelvisor::ctl
