#include "kestrelctl/explanations/tables.h"

namespace kestrelvisor::ctl {
namespace {

constexpr CodeKind kKind = CodeKind::exit;

}  // namespace

const std::vector<Explanation>& exitTable() {
  static const std::vector<Explanation> table{
      {kKind, "0", "success", "the command has done what it was asked for",
       "at the end of every command", "nothing", Retry::no, false},
      {kKind, "1", "differences found", "the two replies are not the same",
       "at the end of diff, and of no other command", "read the differences", Retry::no, false},
      {kKind, "2", "wrong usage",
       "the command line cannot be understood, a file that it names cannot be used, or a question "
       "was not answered with yes; the manager was asked for nothing",
       "before the first request", "correct the command line; COMMAND --help shows its options",
       Retry::no},
      {kKind, "3", "done, but something is missing",
       "with --strict machines were left out; otherwise, of any command, a result or a file could "
       "not be written",
       "at the end of a command",
       "read the warnings, which tell of the machines; see to room and rights where the result or "
       "the file goes",
       Retry::yes},
      {kKind, "4", "the manager refuses the login",
       "the manager does not know the user or the password, or the user lacks the role",
       "the login, with which every operation starts", kLoginRemedy, Retry::no},
      {kKind, "5", "the manager cannot be reached",
       "no connection came about, it broke, or the manager points at a server that is not allowed",
       "any request, mostly the first", kAddressRemedy, Retry::yes},
      {kKind, "6", "the manager's certificate is not trusted",
       "the certificate has expired, belongs to another name, or nobody who is trusted has signed "
       "it",
       "the start of every connection over HTTPS", kCertificateRemedy, Retry::no},
      {kKind, "7", "the manager did not answer in time",
       "no connection within 10 seconds, no whole answer within 600, or the time that --timeout "
       "gives has passed",
       "any request", kLoadRemedy, Retry::yes},
      {kKind, "8", "the manager refused the request or failed",
       "the manager answered with a code of its own, or with an HTTP status other than 200",
       "any request after the connection", kLookUpRemedy, Retry::depends},
      {kKind, "9", "the manager's answer cannot be read",
       "the answer is no JSON, lacks what is needed or holds something of the wrong type, or the "
       "engine ended with an exception",
       "behind any answer", kUnreadableRemedy, Retry::no},
      {kKind, "128+n", "ended by signal n", "a signal ended kestrelctl: 128 is added to its number",
       "at any time", "find out who sent the signal", Retry::depends},
      {kKind, "129", "ended by the signal HUP (1)", "the terminal was closed", "at any time",
       "give the command again", Retry::yes},
      {kKind, "130", "ended by the signal INT (2)", "somebody pressed Ctrl-C", "at any time",
       "give the command again", Retry::yes},
      {kKind, "137", "ended by the signal KILL (9)",
       "somebody, or the system for want of memory, ended it at once", "at any time",
       "look into the system's log; sessions may be left open on the manager", Retry::depends},
      {kKind, "141", "ended by the signal PIPE (13)",
       "whoever read the results has gone before their end", "when results are written",
       "nothing, if the reader had all that it wanted", Retry::no},
      {kKind, "143", "ended by the signal TERM (15)",
       "somebody, a scheduler perhaps, asked it to end", "at any time",
       "ask whoever started it for more time", Retry::depends},
  };
  return table;
}

}  // namespace kestrelvisor::ctl
