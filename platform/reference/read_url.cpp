#include "platform/reference/read_url.h"

#include <algorithm>

namespace kestrelvisor {

ReadUrl::ReadUrl(const char* url) : handle_(curl_url()) {
  constexpr unsigned kAsForATransfer = CURLU_GUESS_SCHEME | CURLU_NON_SUPPORT_SCHEME;
  good_ = handle_ != nullptr &&
          curl_url_set(handle_.get(), CURLUPART_URL, url, kAsForATransfer) == CURLUE_OK;
}

std::string ReadUrl::server() const {
  std::string host = part(CURLUPART_HOST).value_or("");
  std::transform(host.begin(), host.end(), host.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  if (const auto zone = part(CURLUPART_ZONEID)) host += "%" + *zone;
  return host + ":" + part(CURLUPART_PORT, CURLU_DEFAULT_PORT).value_or("");
}

std::optional<std::string> ReadUrl::part(CURLUPart which, unsigned flags) const {
  char* text = nullptr;
  if (!good_ || curl_url_get(handle_.get(), which, &text, flags) != CURLUE_OK) return std::nullopt;
  const std::unique_ptr<char, Free> owner(text);
  return std::string(text);
}

}  // namespace kestrelvisor
