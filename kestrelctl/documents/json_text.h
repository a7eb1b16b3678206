#pragma once

#include "kestrelctl/accounting.h"
#include "kestrelctl/output_format.h"
#include "kestrelctl/warning.h"

#include <json/value.h>
#include <json/writer.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What documents for programs have in common.

namespace kestrelvisor::ctl {

// How documents are written: in UTF-8, indented lines for json, a line for jsonl.
Json::StreamWriterBuilder jsonWriter(OutputFormat form);

// A document as it is printed, in YAML for yaml.
std::string jsonText(const Json::Value& document, OutputFormat form);

Json::Value emptyJsonList();
Json::Value emptyJsonObject();

// Sizes and numbers are unsigned and have 64 bits.
Json::Value jsonNumber(std::uint64_t number);

// Null for what is not known.
template <class Number>
Json::Value jsonOrNull(const std::optional<Number>& number) {
  return number ? Json::Value(*number) : Json::Value();
}

// A text of a stranger, made valid UTF-8.
Json::Value jsonOf(const std::string& text);

// A list of {"kind", "text"}, empty when there are none.
Json::Value jsonOf(const std::vector<Warning>& warnings);

// One number for each place where a machine can have gone, and what remains.
Json::Value jsonOf(const Accounting& accounting);

}  // namespace kestrelvisor::ctl
