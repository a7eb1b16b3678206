#pragma once

#include "kestrelctl/completion/command_tree.h"

#include <CLI/CLI.hpp>

namespace kestrelvisor::ctl {

// Reads off a command what shells need to complete it.
CompletedCommand describe(const CLI::App& command);

}  // namespace kestrelvisor::ctl
