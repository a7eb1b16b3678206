#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// The environment variable that stands in for an option: KESTRELVISOR_CA_CERT for "ca-cert". Empty
// for an option without a long name.
std::string twinOf(const CLI::Option& option);

// Gives a command --context, and its options the values that the command line leaves to them: those
// of the context that it names first, then those of their environment variables, then those of the
// context that KESTRELVISOR_CONTEXT names, where a manager is asked. What excludes an option that
// has a value already is left alone, and so are options that are not configurable(). To be called
// before the command declares its options.
//
// sources gets the variables and the context that have given a value; it must outlive the command's
// application. Reading the command line throws a Failure of wrong usage when a variable or the
// context cannot be used.
void addTwins(CLI::App& command, std::vector<std::string>& sources);

// Whether a context has a use for the command as far as its command line has been read: it asks a
// manager.
bool usesContext(const CLI::App& command);

}  // namespace kestrelvisor::ctl
