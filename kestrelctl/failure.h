#pragma once

#include "kestrelctl/exit_code.h"
#include "kestrelctl/warning.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl {

// Why a command ends without success, in the words that the user reads.
class Failure : public std::runtime_error {
 public:
  struct Fact {
    std::string label;
    std::string text;
  };

  Failure(ExitCode code, const std::string& what) : std::runtime_error(what), exitCode(code) {}

  ExitCode exitCode;
  std::vector<Fact> facts;  // what is known, in the order in which it is shown
  std::string hint;         // what the user can do; empty: nothing to say
  std::vector<Warning> warnings;

  // What the engine told, for programs that read it.
  std::optional<std::int32_t> operationStatus;
  std::optional<std::uint64_t> detailId;
  std::string managerCode;  // the manager's or the engine's own; empty: none came
  std::string text;         // the words that came with it, without secrets
  bool hadSession = false;  // whether a login had worked before
};

inline Failure wrongUsage(const std::string& what, std::string hint = {}) {
  Failure failure(ExitCode::wrongUsage, what);
  failure.hint = std::move(hint);
  return failure;
}

// A file or standard output does not take what the work has given.
inline Failure cannotBeWritten(const std::string& what, const std::string& reason) {
  Failure failure(ExitCode::partial, what + " cannot be written: " + reason);
  failure.hint = "see to room and rights there, then give the command again";
  return failure;
}

}  // namespace kestrelvisor::ctl
