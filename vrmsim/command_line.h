#pragma once

#include "vrmsim/options.h"

#include <optional>
#include <string>

namespace kestrelvisor::vrmsim {

// What the user asked for.
struct Settings {
  SimulatorOptions options;     // the faults included
  std::string certificateFile;  // empty: none is written
  std::string requestLogFile;   // empty: none is written
  bool printInventory = false;
  bool listCertificates = false;
  bool requireFaults = false;  // a fault that never fired is a failure
};

// The outcome of reading the command line: settings to run with, or the status to end with.
struct CommandLine {
  std::optional<Settings> settings;
  int status = 0;
};

// Reads the command line and the files it names. Help and version go to standard output with status
// 0, complaints to standard error with status 2.
CommandLine readCommandLine(int argc, const char* const* argv);

}  // namespace kestrelvisor::vrmsim
