#pragma once

#include "tests/kestrelctl/program.h"

#include <string>

namespace kestrelvisor::ctl::test {

// Holds what a finished run wrote for programs against docs/schemas: the result or the error of
// -o json and -o jsonl, and the lines of --progress jsonl. talk is its standard error.
void expectPromisedOutput(const Arguments& arguments, int status, const std::string& output,
                          const std::string& talk);

}  // namespace kestrelvisor::ctl::test
