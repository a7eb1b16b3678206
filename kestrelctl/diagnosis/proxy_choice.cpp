#include "kestrelctl/diagnosis/proxy_choice.h"

#include "kestrelctl/ascii.h"
#include "kestrelctl/environment_variable.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr std::array<const char*, 4> kOfHttps{"https_proxy", "HTTPS_PROXY", "all_proxy",
                                              "ALL_PROXY"};
constexpr std::array<const char*, 3> kOfHttp{"http_proxy", "all_proxy", "ALL_PROXY"};
constexpr std::array<const char*, 2> kExceptions{"no_proxy", "NO_PROXY"};

// The first that is set; null when none is.
template <class Names>
const char* firstSet(const Names& names) {
  const auto found = std::find_if(names.begin(), names.end(), isSet);
  return found == names.end() ? nullptr : *found;
}

std::vector<std::string> wordsOf(std::string_view text) {
  constexpr std::string_view kGaps = ", \t";
  std::vector<std::string> words;
  for (std::size_t begin = text.find_first_not_of(kGaps); begin != std::string_view::npos;
       begin = text.find_first_not_of(kGaps, begin)) {
    const std::size_t end = std::min(text.find_first_of(kGaps, begin), text.size());
    words.emplace_back(text.substr(begin, end - begin));
    begin = end;
  }
  return words;
}

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), lowerCase);
  return text;
}

// "example.com" and ".example.com" both stand for the name itself and for all below it.
bool namesHost(const std::string& word, const std::string& host) {
  std::string_view wanted = word;
  if (wanted.back() == '.') wanted.remove_suffix(1);
  if (!wanted.empty() && wanted.front() == '.') wanted.remove_prefix(1);
  if (wanted.size() > host.size()) return false;
  const std::size_t start = host.size() - wanted.size();
  return host.substr(start) == wanted && (start == 0 || host[start - 1] == '.');
}

struct AddressBytes {
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  std::size_t bits = 0;  // 0: it is none
};

AddressBytes addressIn(const std::string& text) {
  constexpr std::size_t kIpv4Bits = 32;
  constexpr std::size_t kIpv6Bits = 128;
  AddressBytes address;
  if (inet_pton(AF_INET, text.c_str(), address.bytes.data()) == 1) address.bits = kIpv4Bits;
  if (inet_pton(AF_INET6, text.c_str(), address.bytes.data()) == 1) address.bits = kIpv6Bits;
  return address;
}

bool bitOf(const AddressBytes& address, std::size_t place) {
  return (address.bytes[place / 8] >> (7 - place % 8) & 1U) != 0;
}

// "10.1.2.3", or "10.1.0.0/16" for a network.
bool holdsAddress(const std::string& word, const AddressBytes& host) {
  const std::size_t slash = std::min(word.find('/'), word.size());
  const AddressBytes network = addressIn(word.substr(0, slash));
  if (network.bits != host.bits) return false;
  const std::size_t told = slash == word.size() ? 0 : std::strtoul(&word[slash + 1], nullptr, 10);
  const std::size_t size = told == 0 ? host.bits : told;
  if (size > host.bits) return false;
  for (std::size_t place = 0; place < size; ++place) {
    if (bitOf(network, place) != bitOf(host, place)) return false;
  }
  return true;
}

// By libcurl's rules.
bool isException(const ManagerAddress& manager) {
  const char* const variable = firstSet(kExceptions);
  if (variable == nullptr) return false;
  const std::string text = lowered(std::getenv(variable));
  if (text == "*") return true;
  const std::string host = lowered(manager.plainHost());
  const AddressBytes address = addressIn(host);
  const std::vector<std::string> words = wordsOf(text);
  return std::any_of(words.begin(), words.end(), [&](const std::string& word) {
    return address.bits == 0 ? namesHost(word, host) : holdsAddress(word, address);
  });
}

}  // namespace

std::string proxyVariableFor(const ManagerAddress& manager) {
  const char* const variable = manager.https ? firstSet(kOfHttps) : firstSet(kOfHttp);
  return variable == nullptr || isException(manager) ? std::string() : variable;
}

}  // namespace kestrelvisor::ctl
