#pragma once

#include "kestrelctl/explanations/explanation.h"
#include "kestrelctl/failure.h"

#include <string_view>

namespace kestrelvisor::ctl {

// The explanation that fits a failure best: that of its code, its status or its exit code, in this
// order.
const Explanation& adviceFor(const Failure& failure);

// What an exit code stands for.
const Explanation& explanationOfExit(ExitCode code);

// How kestrelctl ends after a transfer of which the engine has only libcurl's words.
ExitCode exitCodeOfTransfer(std::string_view text);

// The result of libcurl whose words begin a text, as they do after a failed transfer; null when
// there is none.
const Explanation* transferTold(std::string_view text);

}  // namespace kestrelvisor::ctl
