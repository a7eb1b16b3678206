#pragma once

#include "kestrelctl/warning.h"

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

// Fetches the password; the caller wipes it. A line end that closes it does not belong to it. The
// environment variable is overwritten and removed. question is what the terminal shows. Returns
// what speaks against the source.
//
// Throws a Failure that says what is wrong with the source, never with a part of the password.
std::vector<Warning> fetchPassword(const PasswordSource& source, const std::string& question,
                                   std::string& password);

}  // namespace kestrelvisor::ctl
