#include "kestrelctl/worker/failed_transfer.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>

namespace kestrelvisor::ctl {
namespace {

// Transfers that end before the request is on the wire.
constexpr std::array<CURLcode, 9> kNeverSent{
    CURLE_UNSUPPORTED_PROTOCOL,     CURLE_URL_MALFORMAT,      CURLE_COULDNT_RESOLVE_PROXY,
    CURLE_COULDNT_RESOLVE_HOST,     CURLE_COULDNT_CONNECT,    CURLE_SSL_CONNECT_ERROR,
    CURLE_PEER_FAILED_VERIFICATION, CURLE_SSL_CACERT_BADFILE, CURLE_ABORTED_BY_CALLBACK};

}  // namespace

bool mayHaveArrived(std::string_view text) {
  const std::size_t mark = text.find('(');
  const std::string_view words = mark == std::string_view::npos ? "" : text.substr(mark + 1);
  return std::none_of(kNeverSent.begin(), kNeverSent.end(),
                      [&](CURLcode code) { return words.starts_with(curl_easy_strerror(code)); });
}

}  // namespace kestrelvisor::ctl
