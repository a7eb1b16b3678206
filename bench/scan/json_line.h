#pragma once

#include <json/json.h>

#include <string>

namespace kestrelvisor::bench {

// How processes of the measurement talk: a value on a line, with the line's end.
std::string jsonLine(const Json::Value& value);

// Throws Json::Exception for what is no JSON.
Json::Value readJsonLine(const std::string& line);

}  // namespace kestrelvisor::bench
