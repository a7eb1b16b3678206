#include "bench/scan/bare_exchange.h"

#include "bench/scan/manager.h"
#include "platform/contract/security.h"

#include <curl/curl.h>
#include <openssl/sha.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace kestrelvisor::bench {
namespace {

constexpr long kConnectTimeoutSeconds = 10;
constexpr long kTransferTimeoutSeconds = 600;
constexpr long kGood = 200;

struct Cleanup {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Handle = std::unique_ptr<CURL, Cleanup>;
using Headers = std::unique_ptr<curl_slist, Cleanup>;

std::size_t append(char* text, std::size_t size, std::size_t count, void* target) {
  static_cast<std::string*>(target)->append(text, size * count);
  return size * count;
}

Headers headersOf(const Request& request) {
  curl_slist* list = nullptr;
  for (const std::string& header : request.headers) list = curl_slist_append(list, header.c_str());
  return Headers(list);
}

void setMethod(CURL* curl, const std::string& method) {
  if (method == "GET") {
    curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
  } else {
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.c_str());
  }
}

void setLimits(CURL* curl) {
  curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT, kTransferTimeoutSeconds);
  curl_easy_setopt(curl, CURLOPT_VERBOSE, 0L);
}

void prepare(CURL* curl, const Request& request, const Target& target, curl_slist* headers,
             std::string& body) {
  const std::string url = target.url + request.target;
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  setMethod(curl, request.method);
  if (target.tls()) {
    std::string certificate = target.certificate;
    SecuritySS::enrichSSL(curl, certificate);
  }
  setLimits(curl);
  body.clear();
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, append);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
}

void perform(CURL* curl, const std::string& target) {
  const CURLcode result = curl_easy_perform(curl);
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  if (result == CURLE_OK && status == kGood) return;
  throw std::runtime_error(target + ": " + curl_easy_strerror(result) + ", status " +
                           std::to_string(status));
}

std::string digestOf(std::string_view password) {
  std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
  SHA256(reinterpret_cast<const unsigned char*>(password.data()), password.size(), digest.data());
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : digest) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text;
}

}  // namespace

void bareExchange(const Request& request, const Target& target, std::string& body) {
  const Handle curl(curl_easy_init());
  const Headers headers = headersOf(request);
  prepare(curl.get(), request, target, headers.get(), body);
  perform(curl.get(), request.target);
}

std::string logIn(const Target& target) {
  const Request request{
      "POST",
      "/service/session",
      {"Accept:application/json;version=6.5; charset=UTF-8", std::string("X-Auth-User:") + kUser,
       "X-Auth-Key:" + digestOf(kPassword), "X-Auth-UserType:2"}};
  const Handle curl(curl_easy_init());
  const Headers headers = headersOf(request);
  std::string body;
  prepare(curl.get(), request, target, headers.get(), body);
  perform(curl.get(), request.target);
  curl_header* token = nullptr;
  if (curl_easy_header(curl.get(), std::string(kTokenHeader).c_str(), 0, CURLH_HEADER, -1,
                       &token) != CURLHE_OK) {
    throw std::runtime_error("the login brought no token");
  }
  return token->value;
}

}  // namespace kestrelvisor::bench
