#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrelvisor::vrmsim {

using Header = std::pair<std::string, std::string>;  // name and value, as they stand on the wire

struct HttpRequest {
  std::uint64_t connection = 0;  // counted from 1
  bool tls = false;
  std::string localAddress;  // the address that the client reached, without a port
  std::string method;
  std::string target;
  std::vector<Header> headers;
  std::string body;
  std::string defect;  // why the request could not be read; empty: it could

  // The value of the first header of that name, whatever its letters' case; empty if there is none.
  std::string_view header(std::string_view name) const;
};

struct HttpReply {
  int status = 200;
  std::vector<Header> headers;  // beyond those that every reply carries
  std::string body;
  std::string complaint;  // not sent: what the operator should be told
};

// A target's path and the parameters behind its "?".
struct Target {
  std::string path;
  std::vector<std::pair<std::string, std::string>> parameters;  // values percent-decoded

  // Null when the target has no such parameter.
  const std::string* parameter(std::string_view name) const;
};

Target parseTarget(const std::string& target);

// All headers of a reply in the order in which they go out, those that tell its length included.
std::vector<Header> headersOf(const HttpReply& reply, const std::vector<Header>& length,
                              bool keepAlive);

// Status line and headers, up to and with the empty line.
std::string headText(int status, const std::vector<Header>& headers);

// Names of headers are the same whatever their letters' case.
bool sameName(std::string_view one, std::string_view other);

}  // namespace kestrelvisor::vrmsim
