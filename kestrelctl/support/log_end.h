#pragma once

#include <string>

namespace kestrelvisor::ctl {

// The last lines of a log.
struct LogEnd {
  std::string path;     // empty: no log is known
  std::string text;     // whole lines, 1 MiB at most; secrets in it are whole or not there at all
  std::string problem;  // why there is no text; empty when there is
};

// Reads nothing but regular files: a pipe or a device may keep its reader waiting for ever.
LogEnd endOfLog(const std::string& path);

}  // namespace kestrelvisor::ctl
