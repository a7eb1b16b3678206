#pragma once

#include "kestrelctl/exit_code.h"

#include <string>
#include <utility>

namespace kestrelvisor::ctl {

enum class Verdict { pass, warn, fail, skip };

// What a check has found.
struct Finding {
  Verdict verdict = Verdict::skip;
  std::string text;                       // a sentence without its full stop
  std::string remedy;                     // what the user can do; of warn and fail
  ExitCode exitCode = ExitCode::success;  // of fail: how an operation would end over it
};

inline Finding passed(std::string text) { return {Verdict::pass, std::move(text), {}, {}}; }
inline Finding skipped(std::string text) { return {Verdict::skip, std::move(text), {}, {}}; }
inline Finding warned(std::string text, std::string remedy) {
  return {Verdict::warn, std::move(text), std::move(remedy), {}};
}
inline Finding failed(ExitCode code, std::string text, std::string remedy) {
  return {Verdict::fail, std::move(text), std::move(remedy), code};
}

}  // namespace kestrelvisor::ctl
