#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// What a manager's name stands for.
struct NameLookup {
  bool isAddress = false;  // nothing had to be looked up
  bool timedOut = false;
  std::vector<std::string> addresses;  // an IPv6 address in brackets
  std::string problem;                 // the resolver's words; empty: there are addresses
};

// Looks a host up and waits no longer than a limit, whatever the system's resolver does.
NameLookup lookUp(const std::string& host, std::chrono::milliseconds limit);

}  // namespace kestrelvisor::ctl
