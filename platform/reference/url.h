#pragma once

#include <string_view>

namespace kestrelvisor {

// Makes FormatFullUrl replace the host of every URL by the given name or address and leave the
// rest, port included, as it is. For managers whose sites report addresses that the client cannot
// reach. An empty text switches this off, which is the default.
//
// host is a name, an IPv4 address, or an IPv6 address with or without brackets. Returns false, and
// changes nothing, when it holds a character that cannot stand in a host.
bool keepToHost(std::string_view host);

}  // namespace kestrelvisor
