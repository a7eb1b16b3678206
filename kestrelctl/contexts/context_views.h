#pragma once

#include "kestrelctl/console.h"
#include "kestrelctl/contexts/context_file.h"
#include "kestrelctl/output_format.h"

#include <string>

namespace kestrelvisor::ctl {

// A line for each context.
std::string contextTable(const Contexts& contexts, const Rendering& rendering);

// A line for each setting of one.
std::string contextText(const ContextSettings& settings, const Rendering& rendering);

// A document for programs; form is json, jsonl or yaml.
std::string contextDocument(const Contexts& contexts, OutputFormat form);

}  // namespace kestrelvisor::ctl
