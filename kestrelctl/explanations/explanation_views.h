#pragma once

#include "kestrelctl/console.h"
#include "kestrelctl/explanations/explanation.h"
#include "kestrelctl/output_format.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// All that is known, for people.
std::string explanationText(const std::vector<const Explanation*>& rows,
                            const Rendering& rendering);

// A line for each code of a kind, and one for each kind.
std::string codeTable(CodeKind kind, const Rendering& rendering);
std::string kindTable(const Rendering& rendering);

// For programs; form is json or jsonl.
std::string explanationDocument(const std::vector<const Explanation*>& rows, OutputFormat form);

}  // namespace kestrelvisor::ctl
