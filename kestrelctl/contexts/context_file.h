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

// Whether the option of one of these is a switch: its setting is "true" or "false".
bool isSwitch(const std::string& key);

// Throws a Failure of wrong usage unless it can be the name of a context: letters, digits, "-", "_"
// and ".".
void checkContextName(const std::string& name);

// All of the user's. Throws a Failure of wrong usage when the file cannot be used, which a key that
// nobody knows and a password make it.
Contexts readContexts();

// Throws a Failure of wrong usage when there is no such context.
ContextSettings contextNamed(const std::string& name);

// Whether a context may take the place of one of the same name.
enum class Replacing { no, yes };

// Keeps a context; what the file holds besides stays. Throws a Failure, of wrong usage when one of
// that name would have to give way.
void keepContext(const std::string& name, const ContextSettings& settings, Replacing replacing);

// Returns what it held. Throws a Failure, of wrong usage when there is none.
ContextSettings forgetContext(const std::string& name);

// The file itself; empty when there is no place for it.
std::string contextFile();

}  // namespace kestrelvisor::ctl
