#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kestrelvisor::ctl {

// The local ports that connections to a port elsewhere can have.
struct LocalPorts {
  std::size_t all = 0;
  std::size_t used = 0;  // by connections to such a port, those included that have just ended

  std::size_t free() const { return all > used ? all - used : 0; }
};

// Reads them from a folder like /proc; nothing when the system does not tell.
std::optional<LocalPorts> readLocalPorts(std::uint16_t remotePort,
                                         const std::string& folder = "/proc");

}  // namespace kestrelvisor::ctl
