#pragma once

#include "kestrelctl/exit_code.h"
#include "kestrelctl/explanations/explanation.h"

#include <vector>

// The knowledge itself, a table for each kind of code.

namespace kestrelvisor::ctl {

// What can be done about a failure that several codes tell of.
inline constexpr const char* kLoginRemedy =
    "check user name and password; the account must be one for the manager's interface";
inline constexpr const char* kCertificateRemedy =
    "name the manager's certificate or its CA with --ca-cert FILE, and reach the manager by a name "
    "that the certificate holds as a subject alternative name";
inline constexpr const char* kAddressRemedy =
    "check scheme, address and port, and whether this machine may reach them";
inline constexpr const char* kLoadRemedy =
    "try again later; look at the manager's load and at the network between";
inline constexpr const char* kLookUpRemedy =
    "look the code up on the manager; --log-level info shows the requests";
inline constexpr const char* kMachineGoneRemedy =
    "scan again: the machine is gone or its URI has changed";
inline constexpr const char* kDatabaseRemedy = "try again; then ask the manager's administrator";
inline constexpr const char* kDatastoreRemedy =
    "move the machine to a datastore that supports it, or leave the tracking on";
inline constexpr const char* kTaskRemedy = "try again later; look at the manager's task list";
inline constexpr const char* kTemplateRemedy = "nothing: a template has no tracking to switch off";
inline constexpr const char* kLinkedCloneRemedy = "nothing: a linked clone does not support it";
inline constexpr const char* kUnreadableRemedy =
    "check that address and port belong to a manager; --log-level info shows its answers";

const std::vector<Explanation>& exitTable();
const std::vector<Explanation>& statusTable();
const std::vector<Explanation>& detailTable();
const std::vector<Explanation>& engineTable();
const std::vector<Explanation>& managerTable();
const std::vector<Explanation>& httpTable();
const std::vector<Explanation>& numberTable();
const std::vector<Explanation>& curlTable();
// How kestrelctl ends after a transfer with a result of that table.
ExitCode exitCodeOf(const Explanation& transfer);
const std::vector<Explanation>& blocksTable();

}  // namespace kestrelvisor::ctl
