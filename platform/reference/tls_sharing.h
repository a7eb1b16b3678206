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
// callback of CURLOPT_SSL_CTX_FUNCTION is given the share. The result is that of setting options.
CURLcode shareTls(CURL* curl, std::string_view trusted);

// Lets no other handle have a share. Takes what the callback of CURLOPT_SSL_CTX_FUNCTION was given,
// null included.
void retireTlsShare(void* share) noexcept;

// Lets nobody from now on share with a handle of before.
void forgetTlsShares();

}  // namespace kestrelvisor
