#include "kestrelctl/manager_address.h"

#include "kestrelctl/failure.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <memory>

namespace kestrelvisor::ctl {
namespace {

constexpr std::string_view kHttps = "https://";
constexpr std::string_view kHttp = "http://";

Failure badAddress(const std::string& what) {
  return wrongUsage("--manager: " + what,
                    "write https://HOST:PORT, an IPv6 address in brackets: https://[::1]:7443");
}

bool startsWithIgnoringCase(std::string_view text, std::string_view start) {
  const auto same = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
  return text.size() >= start.size() && std::equal(start.begin(), start.end(), text.begin(),
                                                   [&](char b, char a) { return same(a, b); });
}

// Takes the scheme away; returns whether it stands for HTTPS.
bool takeScheme(std::string_view& text) {
  for (const std::string_view scheme : {kHttps, kHttp}) {
    if (!startsWithIgnoringCase(text, scheme)) continue;
    text.remove_prefix(scheme.size());
    return scheme == kHttps;
  }
  if (text.find("://") != std::string_view::npos) {
    throw badAddress("only https:// and http:// are known");
  }
  return true;
}

void refuseStrangeCharacters(std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == '\r' || byte == '\n') throw badAddress("a line end in the address");
    if (byte <= ' ' || byte == 0x7F)
      throw badAddress("a blank or control character in the address");
    if (c == '@') {
      throw wrongUsage("--manager: \"@\" in the address", "name the user with --user");
    }
  }
  if (text.find_first_of("/?#\\\"<>^`{|}") != std::string_view::npos) {
    throw badAddress("the address is a host and a port, without a path");
  }
}

std::uint16_t readPort(std::string_view text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || stop != end || port == 0) {
    throw badAddress("the port must be a number from 1 to 65535");
  }
  return port;
}

// Returns what stands behind the closing bracket. The address gets its shortest form, as libcurl
// writes it; a zone stays as it is.
std::string_view takeBracketed(std::string_view text, ManagerAddress& address) {
  const std::size_t close = text.find(']');
  if (close == std::string_view::npos) throw badAddress("\"[\" without \"]\"");
  const std::string inside(text.substr(1, close - 1));
  const std::size_t zone = std::min(inside.find('%'), inside.size());
  in6_addr bytes{};
  if (inet_pton(AF_INET6, inside.substr(0, zone).c_str(), &bytes) != 1) {
    throw badAddress("no IPv6 address stands in the brackets");
  }
  std::array<char, INET6_ADDRSTRLEN> shortest{};
  inet_ntop(AF_INET6, &bytes, shortest.data(), shortest.size());
  address.host = "[" + std::string(shortest.data()) + inside.substr(zone) + "]";
  return text.substr(close + 1);
}

// libcurl takes 127.1 and 0x7f000001 for the address 127.0.0.1: what is shown is where it goes.
std::string wholeIpv4(const std::string& host) {
  in_addr bytes{};
  if (inet_aton(host.c_str(), &bytes) == 0) return host;
  std::array<char, INET_ADDRSTRLEN> whole{};
  inet_ntop(AF_INET, &bytes, whole.data(), whole.size());
  return whole.data();
}

struct UrlCleanup {
  void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
  void operator()(char* text) const noexcept { curl_free(text); }
};

// A name in the form in which it is looked up and stands in certificates: bücher.example is sent as
// xn--bcher-kva.example.
std::string asciiName(const std::string& host) {
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (std::all_of(host.begin(), host.end(), isAscii)) return host;
  // Asked for the host alone libcurl loses memory when it cannot convert it.
  constexpr std::string_view kBefore = "https://";
  constexpr std::string_view kBehind = "/";
  const std::unique_ptr<CURLU, UrlCleanup> url(curl_url());
  char* text = nullptr;
  if (curl_url_set(url.get(), CURLUPART_SCHEME, "https", 0) != CURLUE_OK ||
      curl_url_set(url.get(), CURLUPART_HOST, host.c_str(), 0) != CURLUE_OK ||
      curl_url_get(url.get(), CURLUPART_URL, &text, CURLU_PUNYCODE) != CURLUE_OK) {
    throw wrongUsage("--manager: \"" + host + "\" is no name that can be looked up",
                     "write it in its form of letters without marks, xn--...; other letters need "
                     "a locale that has them");
  }
  const std::unique_ptr<char, UrlCleanup> owner(text);
  const std::string_view whole(text);
  return std::string(whole.substr(kBefore.size(), whole.size() - kBefore.size() - kBehind.size()));
}

// Likewise for a name or an IPv4 address.
std::string_view takeName(std::string_view text, ManagerAddress& address) {
  const std::size_t colon = text.find(':');
  if (colon != text.rfind(':')) throw badAddress("an IPv6 address needs brackets");
  if (text.find_first_of("[]") != std::string_view::npos) throw badAddress("a stray bracket");
  if (text.find('%') != std::string_view::npos) throw badAddress("\"%\" in a name");
  address.host = asciiName(wholeIpv4(std::string(text.substr(0, colon))));
  return colon == std::string_view::npos ? std::string_view() : text.substr(colon);
}

struct AddressListFree {
  void operator()(addrinfo* list) const noexcept { freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, AddressListFree>;

AddressList resolved(const std::string& host, std::string& problem) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int error = getaddrinfo(host.c_str(), nullptr, &wanted, &list);
  if (error == 0) return AddressList(list);
  problem = gai_strerror(error);
  return nullptr;
}

std::string numericHost(const addrinfo& address) {
  std::array<char, NI_MAXHOST> text{};
  if (getnameinfo(address.ai_addr, address.ai_addrlen, text.data(), text.size(), nullptr, 0,
                  NI_NUMERICHOST) != 0) {
    return {};
  }
  return address.ai_family == AF_INET6 ? "[" + std::string(text.data()) + "]" : text.data();
}

bool isLoopbackOfIpv4(const std::string& host) {
  constexpr std::uint32_t kNetwork = 127;  // 127.0.0.0/8
  in_addr bytes{};
  return inet_pton(AF_INET, host.c_str(), &bytes) == 1 && ntohl(bytes.s_addr) >> 24U == kNetwork;
}

bool isLoopbackOfIpv6(const std::string& host) {
  in6_addr bytes{};
  if (host.size() < 2 || host.front() != '[') return false;
  return inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &bytes) == 1 &&
         IN6_IS_ADDR_LOOPBACK(&bytes);
}

}  // namespace

std::string ManagerAddress::url() const {
  return std::string(https ? kHttps : kHttp) + host + ":" + std::to_string(port);
}

std::string ManagerAddress::plainHost() const {
  if (host.front() != '[') return host.back() == '.' ? host.substr(0, host.size() - 1) : host;
  return host.substr(1, host.find_first_of("%]") - 1);
}

bool ManagerAddress::isLoopback() const {
  constexpr std::string_view kName = "localhost";
  const bool named = host.size() == kName.size() && startsWithIgnoringCase(host, kName);
  return named || isLoopbackOfIpv4(host) || isLoopbackOfIpv6(host);
}

ManagerAddress readManagerAddress(std::string_view text) {
  ManagerAddress address;
  address.https = takeScheme(text);
  if (!text.empty() && text.back() == '/') text.remove_suffix(1);
  refuseStrangeCharacters(text);
  const bool bracketed = !text.empty() && text.front() == '[';
  const std::string_view port = bracketed ? takeBracketed(text, address) : takeName(text, address);
  if (address.host.empty()) throw badAddress("no host is named");
  if (port.empty()) return address;
  if (port.front() != ':') throw badAddress("what follows \"]\" is no port");
  address.port = readPort(port.substr(1));
  return address;
}

std::vector<std::string> addressesOf(const std::string& name, std::string& problem) {
  problem.clear();
  const AddressList list = resolved(name, problem);
  std::vector<std::string> addresses;
  for (const addrinfo* entry = list.get(); entry != nullptr; entry = entry->ai_next) {
    const std::string address = numericHost(*entry);
    if (!address.empty()) addresses.push_back(address);
  }
  return addresses;
}

// A name that cannot be resolved has no addresses; the engine's first request tells why.
std::vector<std::string> serversOf(const ManagerAddress& address) {
  const std::string port = ":" + std::to_string(address.port);
  std::vector<std::string> servers{address.host + port};
  if (address.host.front() == '[') return servers;
  std::string problem;
  for (const std::string& host : addressesOf(address.host, problem)) servers.push_back(host + port);
  return servers;
}

}  // namespace kestrelvisor::ctl
