#pragma once

namespace kestrelvisor::ctl {

// How the progress of a scan is told on standard error.
enum class ProgressMode {
  automatic,  // a line that changes, on a terminal; else nothing
  none,
  jsonl,  // an object on each line, for programs
};

}  // namespace kestrelvisor::ctl
