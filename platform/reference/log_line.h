#pragma once

#include "platform/reference/logging.h"

#include <chrono>
#include <string>

namespace kestrelvisor {

// The two forms of a record on one line, without the line's end; LogFormat describes them.
std::string textLine(const LogRecord& record, std::chrono::system_clock::time_point time);
std::string jsonLine(const LogRecord& record, std::chrono::system_clock::time_point time);

}  // namespace kestrelvisor
