#pragma once

#include "kestrelctl/failure.h"

#include <CLI/CLI.hpp>

namespace kestrelvisor::ctl {

// Why a command line cannot be understood, in plain words, with what was meant where that can be
// told. command is the one that was named, else the whole program; error is what its parser threw.
Failure usageFailure(const CLI::App& command, const CLI::ParseError& error);

}  // namespace kestrelvisor::ctl
