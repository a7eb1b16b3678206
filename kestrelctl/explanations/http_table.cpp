// HTTP statuses of answers. One without a body becomes the code itself, but for 404.

#include "kestrelctl/explanations/tables.h"

namespace kestrelvisor::ctl {
namespace {

constexpr CodeKind kKind = CodeKind::http;
constexpr const char* kStep = "any request: the manager's answer";
constexpr const char* kServerLog = "look at the manager's log; try again later";
constexpr const char* kNotAManager =
    "check that address and port belong to a manager, and that no proxy answers in its place";

}  // namespace

const std::vector<Explanation>& httpTable() {
  static const std::vector<Explanation> table{
      {kKind, "200", "a good answer", "the manager did what it was asked for", kStep, "nothing",
       Retry::no, false},
      {kKind, "1xx", "an answer that is not the last",
       "a server ended the exchange with an answer that another one should follow", kStep,
       kNotAManager, Retry::no},
      {kKind, "2xx", "good, but not as agreed",
       "only 200 counts as success: 201, 202 and 204 are failures like any other status", kStep,
       kNotAManager, Retry::no},
      {kKind, "3xx", "a redirection",
       "the server points at another place; redirections are not followed", kStep,
       "name the manager itself with --manager, with its scheme and port", Retry::no},
      {kKind, "401", "not logged in",
       "the server wants credentials, or takes none of the session's", kStep, kLoginRemedy,
       Retry::no},
      {kKind, "403", "forbidden", "the account may not do this", kStep,
       "give the account the role administrator or sysadmin on the manager", Retry::no},
      {kKind, "404", "not found",
       "the server does not know the request; without a body it becomes the code 2404", kStep,
       kNotAManager, Retry::no},
      {kKind, "429", "too many requests", "the server takes no more requests for now", kStep,
       "try again later, with fewer scans at a time", Retry::yes},
      {kKind, "4xx", "the request is refused", "the server finds the request at fault", kStep,
       kNotAManager, Retry::no},
      {kKind, "502", "a bad gateway", "a proxy in front of the manager had no good answer from it",
       kStep, kServerLog, Retry::yes},
      {kKind, "503", "not available", "the manager is starting, ending or overloaded", kStep,
       kServerLog, Retry::yes},
      {kKind, "504", "a gateway's time limit",
       "a proxy in front of the manager had no answer from it in time", kStep, kServerLog,
       Retry::yes},
      {kKind, "5xx", "the server failed", "the manager, or a proxy in front of it, failed", kStep,
       kServerLog, Retry::depends},
  };
  return table;
}

}  // namespace kestrelvisor::ctl
