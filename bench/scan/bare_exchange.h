#pragma once

#include "bench/scan/request_list.h"
#include "bench/scan/target.h"

#include <optional>
#include <string>

namespace kestrelvisor::bench {

// One exchange through libcurl and nothing else: a fresh handle and a fresh connection, with the
// headers, options and time limits of the engine's. Over TLS the host's own function sets the
// options of each handle for the target's certificate, so that nobody's options differ. Collects
// the answer's body into body. Throws std::runtime_error unless the answer is 200.
void bareExchange(const Request& request, const Target& target, std::string& body);

// Opens a session as the manager's user and returns its token.
std::string logIn(const Target& target);

}  // namespace kestrelvisor::bench
