#include "platform/reference/url.h"

#include "base/log.h"
#include "platform/contract/helpers.h"
#include "platform/reference/platform_tag.h"
#include "platform/reference/read_url.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <string>
#include <utility>

namespace kestrelvisor {
namespace {

// Never destroyed: the logouts at process exit format their URLs too.
struct UrlRules {
  std::mutex mutex;
  std::string keptHost;                     // empty: the URL's own
  std::vector<std::string> allowedServers;  // in libcurl's spelling; empty: all
};

UrlRules& urlRules() {
  static UrlRules* const rules = new UrlRules;
  return *rules;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isUnreserved(char c) {
  return isDigit(c) || isLetter(c) || std::string_view("-._~").find(c) != std::string_view::npos;
}

bool isIpv6(std::string_view text) {
  in6_addr address;
  return inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1;
}

// Returns the address in brackets, its zone set off as URLs want it, or an empty text when the text
// is no bare IPv6 address.
std::string bracketed(std::string_view text) {
  const std::size_t percent = text.find('%');
  const std::string_view address = text.substr(0, percent);
  if (address.find('\0') != std::string_view::npos || !isIpv6(address)) return {};
  if (percent == std::string_view::npos) return "[" + std::string(address) + "]";

  std::string_view zone = text.substr(percent + 1);
  if (zone.size() > 2 && zone.substr(0, 2) == "25") zone.remove_prefix(2);
  if (zone.empty() || !std::all_of(zone.begin(), zone.end(), isUnreserved)) return {};
  return "[" + std::string(address) + "%25" + std::string(zone) + "]";
}

// The two parts of what a URL names as its server. port has its colon; either may be empty.
struct Server {
  std::string host;
  std::string port;
};

// Splits "host:port". Of a bare IPv6 address the last group is the port, because that is how
// "scheme://address:port/path" is put together; only when the rest is no address there is no port.
Server splitServer(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos || text.back() == ']') return {std::string(text), {}};

  const std::string_view host = text.substr(0, colon);
  const std::string_view port = text.substr(colon);
  const bool isPort = std::all_of(port.begin() + 1, port.end(), isDigit);
  if (std::string address = bracketed(host); isPort && !address.empty())
    return {std::move(address), std::string(port)};
  if (std::string address = bracketed(text); !address.empty()) return {std::move(address), {}};
  return {std::string(host), std::string(port)};
}

std::string_view withoutBrackets(std::string_view host) {
  const bool hasBrackets = host.size() > 2 && host.front() == '[' && host.back() == ']';
  return hasBrackets ? host.substr(1, host.size() - 2) : host;
}

bool canStandInHost(char c) {
  return static_cast<unsigned char>(c) > ' ' && c != '\x7f' &&
         std::string_view("/?#@\\\"<>^`{|}").find(c) == std::string_view::npos;
}

// Brackets a bare IPv6 address and keeps to the host that is set; other texts stay as they are.
std::string formatted(const std::string& url) {
  constexpr std::string_view kSchemeEnd = "://";
  const std::size_t scheme = url.find_first_of(":/?#");
  if (scheme == std::string::npos || url.compare(scheme, kSchemeEnd.size(), kSchemeEnd) != 0)
    return url;

  std::size_t start = scheme + kSchemeEnd.size();
  const std::size_t end = std::min(url.find_first_of("/?#", start), url.size());
  if (const std::size_t user = url.substr(start, end - start).rfind('@'); user != std::string::npos)
    start += user + 1;
  if (start == end) return url;

  Server server = splitServer(std::string_view(url).substr(start, end - start));
  {
    UrlRules& rules = urlRules();
    const std::lock_guard lock(rules.mutex);
    if (!rules.keptHost.empty()) server.host = rules.keptHost;
  }
  return url.substr(0, start) + server.host + server.port + url.substr(end);
}

// Returns what speaks against a URL, or an empty text. Of the URL it names the server alone: what
// stands before "@" may be a password, and paths are the manager's words.
std::string objectionTo(const std::string& url) {
  std::vector<std::string> allowed;
  {
    UrlRules& rules = urlRules();
    const std::lock_guard lock(rules.mutex);
    allowed = rules.allowedServers;
  }
  if (allowed.empty()) return {};

  const ReadUrl read(url.c_str());
  if (!read.good()) return "cannot be read, so nobody knows where it leads";
  const std::string server = read.server();
  if (std::find(allowed.begin(), allowed.end(), server) == allowed.end()) {
    return "leads to " + server + ", which is not allowed";
  }
  return read.namesUser() ? "holds a user for " + server : std::string();
}

}  // namespace

bool keepToHost(std::string_view host) {
  if (!std::all_of(host.begin(), host.end(), canStandInHost)) return false;
  std::string address = bracketed(withoutBrackets(host));
  if (address.empty() && host.find_first_of(":[]") != std::string_view::npos) return false;

  UrlRules& rules = urlRules();
  const std::lock_guard lock(rules.mutex);
  rules.keptHost = address.empty() ? std::string(host) : std::move(address);
  return true;
}

bool allowOnlyServers(const std::vector<std::string>& servers) {
  std::vector<std::string> allowed;
  for (const std::string& server : servers) {
    if (!std::all_of(server.begin(), server.end(), canStandInHost)) return false;
    const Server parts = splitServer(server);
    const ReadUrl read(("https://" + parts.host + parts.port).c_str());
    if (!read.good() || !read.namesPort()) return false;
    allowed.push_back(read.server());
  }
  UrlRules& rules = urlRules();
  const std::lock_guard lock(rules.mutex);
  rules.allowedServers = std::move(allowed);
  return true;
}

}  // namespace kestrelvisor

std::string FormatFullUrl(const std::string& url) {
  std::string result = kestrelvisor::formatted(url);
  const std::string objection = kestrelvisor::objectionTo(result);
  if (objection.empty()) return result;
  KV_LOG_AS(kestrelvisor::kPlatformTag, kError, "Request refused: its URL ", objection,
            ". An address that is the manager's own must be allowed, or replaced by the one that "
            "was asked for; anything else is an attempt to get at the session.");
  return std::string(kestrelvisor::kRefusedUrl);
}
