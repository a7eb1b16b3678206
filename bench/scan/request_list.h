#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::bench {

// One request that a scan makes.
struct Request {
  std::string method;
  std::string target;
  std::vector<std::string> headers;  // "Name:value" in the order of the wire, without Host
};

// The name of the header whose value a log shows as a fingerprint only.
inline constexpr std::string_view kTokenHeader = "X-Auth-Token";

// The requests of a manager's request log, with the client's own token in the place of the
// fingerprints. Throws std::invalid_argument for a text that is no such log, a request that has a
// body or was not answered with 200 included: a list that is run again must not change anything.
std::vector<Request> readRequestList(std::string_view log, const std::string& token);

// A line of that log without what differs from run to run: the time, the manager's port, and the
// counts of connections and requests that came before the list.
std::string withoutChance(const std::string& line, unsigned long long requestsBefore);

}  // namespace kestrelvisor::bench
