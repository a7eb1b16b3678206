#pragma once

#include "kestrelctl/manager_address.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// Words that stand for what only the manager can tell.
inline constexpr const char* kTokenWord = "TOKEN";               // of the session
inline constexpr const char* kRestVersionWord = "REST_VERSION";  // that both sides know

// A request as it would go over the wire.
struct PlannedRequest {
  struct Header {
    std::string name;
    std::string value;  // with the blank in front of it, if there is one
  };

  std::string method;
  std::string url;
  std::vector<Header> headers;  // in the order of the wire
  std::string body;
};

// The one request that switches changed-block tracking off on a machine; nothing is sent. A manager
// that reports another address for its own site gets it there.
PlannedRequest cbtRequest(const ManagerAddress& manager, const std::string& machineUri);

}  // namespace kestrelvisor::ctl
