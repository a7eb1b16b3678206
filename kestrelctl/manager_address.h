#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

inline constexpr std::uint16_t kDefaultManagerPort = 7443;

// Where a manager is.
struct ManagerAddress {
  bool https = true;
  std::string host;  // name or address; an IPv6 address in brackets
  std::uint16_t port = kDefaultManagerPort;

  std::string url() const;
  // As a certificate holds it: without the brackets and the zone of an IPv6 address, and without
  // the root's dot of a name.
  std::string plainHost() const;
  // Whether it is this machine itself, by what is written: a name but "localhost" is not looked up.
  bool isLoopback() const;
};

// Reads "https://HOST:PORT" or "http://HOST:PORT"; without a scheme HTTPS is meant, without a port
// the default one. An address gets the form in which it is sent: 127.1 becomes 127.0.0.1, and a
// name beyond ASCII its international form, by the locale. Throws a Failure that says what is
// wrong.
ManagerAddress readManagerAddress(std::string_view text);

// Returns the addresses that a name resolves to, an IPv6 address in brackets. When there are none
// the list is empty and problem tells why. May take as long as the system's resolver wants.
std::vector<std::string> addressesOf(const std::string& name, std::string& problem);

// Returns the servers that an address stands for, as "HOST:PORT": the one that it names and, for a
// name, those that it resolves to.
std::vector<std::string> serversOf(const ManagerAddress& address);

}  // namespace kestrelvisor::ctl
