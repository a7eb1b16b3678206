#pragma once

#include <json/value.h>

#include <stdexcept>
#include <string>

namespace kestrelvisor::vrmsim {

// Says in one line where a text is no JSON.
class JsonError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// Reads one JSON value of any kind, strictly: no comments, no key twice, nothing behind it, no
// nesting beyond 100. Throws JsonError.
Json::Value parsedJson(const std::string& text);

}  // namespace kestrelvisor::vrmsim
