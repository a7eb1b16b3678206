#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <string_view>

namespace kestrelvisor {

// How many trusted texts share at once.
inline constexpr std::size_t kMostTlsShares = 64;

// Lets the handle share TLS sessions and resolved names with all others that trust the same text;
// the empty one stands for the system's store. libcurl finds a session by host, port and options,
// but does not know of a store that came by a callback: who trusts another text never meets it.
//
// Without memory, or when kMostTlsShares other texts are in use, the handle shares with nobody. The
// result is that of setting the option.
CURLcode shareTls(CURL* curl, std::string_view trusted);

// Lets nobody from now on share with a handle of before.
void forgetTlsShares();

}  // namespace kestrelvisor
