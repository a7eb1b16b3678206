#pragma once

#include "kestrelctl/failure.h"
#include "kestrelctl/output_format.h"

#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// The form in which a command line wants its errors: json, jsonl or yaml when that is what its
// results are to come in, nothing otherwise. What it leaves open KESTRELVISOR_OUTPUT tells. The
// command line need not be one that can be understood.
std::optional<OutputFormat> errorFormOf(int argc, const char* const* argv);

// A failure as one object for programs.
std::string errorDocument(const Failure& failure, OutputFormat form);

// The end by a signal, told as a failure.
Failure failureOfSignal(int number, const std::vector<Warning>& warnings);

}  // namespace kestrelvisor::ctl
