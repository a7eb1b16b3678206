#pragma once

#include "bench/scan/request_list.h"

#include <optional>
#include <string>

namespace kestrelvisor::bench {

// Where requests go. Over https the host's own function sets the TLS options of each handle for
// this certificate text, so that nobody's options differ.
struct Target {
  std::string url;
  std::string certificate;
};

// One exchange through libcurl and nothing else: a fresh handle and a fresh connection, with the
// headers, options and time limits of the engine's. Collects the answer's body into body. Throws
// std::runtime_error unless the answer is 200.
void bareExchange(const Request& request, const Target& target, std::string& body);

// Opens a session as the manager's user and returns its token.
std::string logIn(const Target& target);

}  // namespace kestrelvisor::bench
