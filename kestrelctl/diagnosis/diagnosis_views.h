#pragma once

#include "kestrelctl/console.h"
#include "kestrelctl/diagnosis/checks.h"
#include "kestrelctl/operation.h"
#include "kestrelctl/output_format.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

struct CheckResult {
  const Check& check;
  Finding finding;
};

// The lines of one check for people.
std::string findingText(const CheckResult& result, const Rendering& rendering);

// How it ended, in a sentence.
std::string diagnosisSummary(const std::vector<CheckResult>& results);

// That of the first check that failed; success when none did.
ExitCode exitCodeOf(const std::vector<CheckResult>& results);

// A document for programs; form is json, jsonl or yaml.
std::string diagnosisDocument(const ConnectionOptions& connection,
                              const std::vector<CheckResult>& results,
                              const std::vector<Warning>& warnings, OutputFormat form);

}  // namespace kestrelvisor::ctl
