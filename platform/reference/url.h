#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor {

// Makes FormatFullUrl replace the host of every URL by the given name or address and leave the
// rest, port included, as it is. For managers whose sites report addresses that the client cannot
// reach. An empty text switches this off, which is the default.
//
// host is a name, an IPv4 address, or an IPv6 address with or without brackets. Returns false, and
// changes nothing, when it holds a character that cannot stand in a host.
bool keepToHost(std::string_view host);

// What FormatFullUrl returns for a URL that it refuses. libcurl knows no such scheme: the exchange
// fails before any connection, with CURLE_UNSUPPORTED_PROTOCOL.
inline constexpr std::string_view kRefusedUrl = "refused-by-host://refused/";

// Makes FormatFullUrl refuse every URL that does not lead to one of these servers, as libcurl would
// read it and after keepToHost has had its turn, and every URL with a user in it. An error line in
// the log names the server. Paths and addresses come from the manager: without this a manager
// decides where passwords' digests and tokens go. An empty list switches this off, which is the
// default.
//
// A server is "HOST:PORT", an IPv6 address in brackets. All servers of sessions that are open need
// to be named, or their logouts are refused too. Returns false, and changes nothing, when one of
// the texts is no server.
bool allowOnlyServers(const std::vector<std::string>& servers);

}  // namespace kestrelvisor
