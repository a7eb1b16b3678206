#pragma once

#include <string>

namespace kestrelvisor::ctl {

// Where the user wants the password to come from. With neither of the two it is the environment
// variable KESTRELVISOR_PASSWORD, or else the terminal.
struct PasswordSource {
  std::string file;
  bool standardInput = false;
};

// Fetches the password; the caller wipes it. A line end that closes it does not belong to it. The
// environment variable is overwritten and removed. question is what the terminal shows.
//
// Throws a Failure that says what is wrong with the source, never with a part of the password.
void fetchPassword(const PasswordSource& source, const std::string& question,
                   std::string& password);

}  // namespace kestrelvisor::ctl
