#pragma once

#include "tests/vrmsim/process.h"

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim::test {

using Arguments = std::vector<std::string>;

// The executable, started and ready.
class RunningSimulator {
 public:
  explicit RunningSimulator(const Arguments& arguments)
      : process(VRMSIM_EXECUTABLE, arguments), readyLine(process.readLine()) {}

  std::uint16_t port() const { return portIn(readyLine); }

  // The number behind the last colon of a line that tells an address.
  static std::uint16_t portIn(const std::string& line) {
    return static_cast<std::uint16_t>(std::stoul(line.substr(line.rfind(':') + 1)));
  }

  int end(int signal = SIGTERM) {
    process.signal(signal);
    return process.wait();
  }

  Process process;
  const std::string readyLine;
};

// A run that ends by itself.
struct Outcome {
  explicit Outcome(const Arguments& arguments) {
    Process process(VRMSIM_EXECUTABLE, arguments);
    output = process.restOfOutput();
    errors = process.errors();
    status = process.wait();
  }
  std::string output;
  std::string errors;
  int status = -1;
};

// The code blocks of one language in a guide, without their fences.
inline std::vector<std::string> blocksOf(const std::string& guide, const std::string& language) {
  const std::string fence = "```" + language + "\n";
  std::vector<std::string> blocks;
  for (std::size_t at = guide.find(fence); at != std::string::npos; at = guide.find(fence, at)) {
    at += fence.size();
    blocks.push_back(guide.substr(at, guide.find("```", at) - at));
  }
  return blocks;
}

}  // namespace kestrelvisor::vrmsim::test
