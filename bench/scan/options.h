#pragma once

#include <string>
#include <vector>

namespace kestrelvisor::bench {

// What the program is asked on its command line.
struct Options {
  std::string task;  // "measure", "wiping", "host", "once", "record" or "list"
  std::string simulator;
  std::string shape;
  std::string transport = "http";    // as kTransports tells
  std::string allocators = "plain";  // as kAllocators tells
  std::string requests;              // file with the list of requests
  std::string output;                // file, or a folder for "record" and "list"
  std::string systemStore;           // file that stands where the system's trust store does
  std::vector<std::string> peers;    // command lines without their last words
  int rounds = 7;
};

// Over HTTPS the manager's certificate is the trusted text, unless the transport says that the
// system's trust store is asked. Only "https-shared" and "https-system" leave it to the host
// whether exchanges share TLS sessions; "https" forbids it.
inline constexpr const char* kTransports[] = {"http", "https", "https-shared", "https-system"};

// Of libcurl and OpenSSL: as they come, or those of useWipingAllocators.
inline constexpr const char* kAllocators[] = {"plain", "wiping"};

// Throws std::invalid_argument for words that do not fit.
Options readOptions(int argc, const char* const* argv);

}  // namespace kestrelvisor::bench
