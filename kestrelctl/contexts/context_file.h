#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

// Managers by name, in contexts.toml: a table for each, whose keys are the long names of options
// that say how to reach a manager. There is no place for a secret in it.

namespace kestrelvisor::ctl {

// What options get, by their long names without the dashes: "ca-cert" and the name of a file.
using ContextSettings = std::map<std::string, std::string>;
using Contexts = std::map<std::string, ContextSettings>;

// The options that a context may give, in the order in which they are shown.
const std::vector<std::string>& contextKeys();

// Throws a Failure of wrong usage unless it can be the name of a context: letters, digits, "-", "_"
// and ".".
void checkContextName(const std::string& name);

// All of the user's. Throws a Failure of wrong usage when the file cannot be used, which a key that
// nobody knows and a password make it.
Contexts readContexts();

// Throws a Failure of wrong usage when there is no such context.
ContextSettings contextNamed(const std::string& name);

// Keeps it in place of one of before; what the file holds besides stays. Throws a Failure.
void keepContext(const std::string& name, const ContextSettings& settings);

// Throws a Failure, of wrong usage when there is none.
void forgetContext(const std::string& name);

// The file itself; empty when there is no place for it.
std::string contextFile();

}  // namespace kestrelvisor::ctl
