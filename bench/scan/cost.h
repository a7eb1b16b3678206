#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace kestrelvisor::bench {

// What some work has cost the client. It counts its transfers where it can.
struct Cost {
  double wall = 0;  // seconds, as CPU
  double cpu = 0;
  std::uint64_t transfers = 0;
};

// What work costs this process.
Cost costOf(const std::function<void()>& work);

// A process of its own tells its cost on a line of JSON, which ends there.
std::string costLine(const Cost& cost);
Cost readCost(const std::string& line);

}  // namespace kestrelvisor::bench
