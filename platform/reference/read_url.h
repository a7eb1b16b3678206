#pragma once

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

namespace kestrelvisor {

// A URL as libcurl reads it when it connects. All parts of one that is not good are missing.
class ReadUrl {
 public:
  explicit ReadUrl(const char* url);

  bool good() const { return good_; }
  bool namesUser() const { return part(CURLUPART_USER).has_value(); }
  bool namesPort() const { return part(CURLUPART_PORT).has_value(); }

  // The host as it is looked up: international names in ASCII, an IPv6 address in brackets and
  // without its zone. Nothing when there is none or it cannot be written so.
  std::optional<std::string> host() const { return part(CURLUPART_HOST, CURLU_PUNYCODE); }

  // Host, zone and port, however the URL spells them.
  std::string server() const;

 private:
  struct Free {
    void operator()(CURLU* handle) const noexcept { curl_url_cleanup(handle); }
    void operator()(char* text) const noexcept { curl_free(text); }
  };

  std::optional<std::string> part(CURLUPart which, unsigned flags = 0) const;

  std::unique_ptr<CURLU, Free> handle_;
  bool good_ = false;
};

}  // namespace kestrelvisor
