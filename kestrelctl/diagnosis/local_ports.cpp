#include "kestrelctl/diagnosis/local_ports.h"

#include <charconv>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

struct Range {
  unsigned int first = 1;
  unsigned int last = 0;

  bool has(unsigned int port) const { return port >= first && port <= last; }
};

// The port of an address like "0100007F:1D13"; nothing for another text.
std::optional<unsigned int> portOf(std::string_view address) {
  constexpr int kHexadecimal = 16;
  const std::size_t colon = address.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  unsigned int port = 0;
  const char* const end = address.data() + address.size();
  const auto [stop, error] = std::from_chars(address.data() + colon + 1, end, port, kHexadecimal);
  if (error != std::errc() || stop != end) return std::nullopt;
  return port;
}

// Each line has a number, the local address, the remote one and more.
void addUsed(const std::string& table, unsigned int remotePort, const Range& range,
             std::set<unsigned int>& used) {
  std::ifstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string number;
    std::string local;
    std::string remote;
    words >> number >> local >> remote;
    const auto port = portOf(local);
    if (port && range.has(*port) && portOf(remote) == remotePort) used.insert(*port);
  }
}

}  // namespace

std::optional<LocalPorts> readLocalPorts(std::uint16_t remotePort, const std::string& folder) {
  Range range;
  std::ifstream file(folder + "/sys/net/ipv4/ip_local_port_range");
  if (!(file >> range.first >> range.last) || range.first > range.last) return std::nullopt;
  std::set<unsigned int> used;
  for (const char* const table : {"/net/tcp", "/net/tcp6"}) {
    addUsed(folder + table, remotePort, range, used);
  }
  return LocalPorts{range.last - range.first + 1, used.size()};
}

}  // namespace kestrelvisor::ctl
