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

// A line for each code of a kind, and one for each kind. The wide table has more columns.
std::string codeTable(CodeKind kind, OutputFormat form, const Rendering& rendering);
std::string kindTable(const Rendering& rendering);

// A line for each code: its kind and itself, as explain takes them.
std::string codeNames(const std::vector<const Explanation*>& rows);

// For programs; form is json, jsonl or yaml.
std::string explanationDocument(const std::vector<const Explanation*>& rows, OutputFormat form);

}  // namespace kestrelvisor::ctl
