#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// The environment variable that stands in for an option: KESTRELVISOR_CA_CERT for "ca-cert". Empty
// for an option without a long name.
std::string twinOf(const CLI::Option& option);

// Gives a command --context, and its options the values that the command line leaves to them: those
// of their environment variables first, then those of the context. What excludes an option of the
// command line is left alone. To be called before the command declares its options.
//
// sources gets the variables and the context that have given a value; it must outlive the command's
// application. Reading the command line throws a Failure of wrong usage when a variable or the
// context cannot be used.
void addTwins(CLI::App& command, std::vector<std::string>& sources);

}  // namespace kestrelvisor::ctl
