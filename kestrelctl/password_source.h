#pragma once

#include "kestrelctl/deadline.h"
#include "kestrelctl/warning.h"

#include <chrono>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// Where the user wants the password to come from. With none of these it is the environment
// variable KESTRELVISOR_PASSWORD, or else the terminal.
struct PasswordSource {
  std::string file;
  bool standardInput = false;
  std::string command;  // for /bin/sh, which prints it
};

struct FetchedPassword {
  std::vector<Warning> warnings;                  // what speaks against the source
  std::chrono::steady_clock::duration typing{0};  // how long a person was asked
};

// Fetches the password; the caller wipes it. A line end that closes it does not belong to it. The
// environment variable is overwritten and removed. question is what the terminal shows. Whoever
// types has no deadline.
//
// Throws a Failure that says what is wrong with the source, never with a part of the password, and
// Interrupted when a signal comes before the password.
FetchedPassword fetchPassword(const PasswordSource& source, const std::string& question,
                              const Deadline& deadline, std::string& password);

}  // namespace kestrelvisor::ctl
