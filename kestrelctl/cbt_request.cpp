#include "kestrelctl/cbt_request.h"

#include "base/vrm_info.h"
#include "engine/kestrelvisor_engine.h"
#include "platform/contract/helpers.h"

#include <curl/curl.h>

#include <memory>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kAction = "/action/CBTbackup";
constexpr std::uint16_t kPortOfHttp = 80;
constexpr std::uint16_t kPortOfHttps = 443;

struct CurlFree {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
  void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
  void operator()(char* text) const noexcept { curl_free(text); }
};
using HeaderList = std::unique_ptr<curl_slist, CurlFree>;
using Url = std::unique_ptr<CURLU, CurlFree>;
using CurlText = std::unique_ptr<char, CurlFree>;

PlannedRequest::Header headerOf(const std::string& line) {
  const std::size_t colon = line.find(':');
  return {line.substr(0, colon), line.substr(colon + 1)};
}

// As libcurl writes it: an international name in ASCII, an address without its zone. A host that
// libcurl cannot read goes nowhere; it is shown as it is.
std::string hostOnTheWire(const ManagerAddress& manager) {
  const Url url(curl_url());
  char* text = nullptr;
  if (curl_url_set(url.get(), CURLUPART_URL, manager.url().c_str(), 0) != CURLUE_OK ||
      curl_url_get(url.get(), CURLUPART_HOST, &text, CURLU_PUNYCODE) != CURLUE_OK) {
    return manager.host;
  }
  return CurlText(text).get();
}

// What libcurl puts in front of the others: it leaves out the port that the scheme implies.
PlannedRequest::Header hostHeader(const ManagerAddress& manager) {
  const std::uint16_t implied = manager.https ? kPortOfHttps : kPortOfHttp;
  const std::string port = manager.port == implied ? "" : ":" + std::to_string(manager.port);
  return {"Host", " " + hostOnTheWire(manager) + port};
}

// The engine's own headers. Without a handle it sets them on nothing and hands them out all the
// same.
void addEngineHeaders(PlannedRequest& request) {
  KestrelVisor_rest_api api;
  VRM_INFO vrm;
  vrm.restVersion = kRestVersionWord;
  KestrelVisorCertToken token;
  token.authToken = std::string(kTokenWord);
  const HeaderList list(api.setCurlHeader(token, nullptr, vrm));
  for (const curl_slist* entry = list.get(); entry != nullptr; entry = entry->next) {
    request.headers.push_back(headerOf(entry->data));
  }
}

}  // namespace

PlannedRequest cbtRequest(const ManagerAddress& manager, const std::string& machineUri) {
  PlannedRequest request;
  request.method = "DELETE";
  request.url = FormatFullUrl(manager.url() + machineUri + kAction);
  request.headers.push_back(hostHeader(manager));
  addEngineHeaders(request);
  return request;
}

}  // namespace kestrelvisor::ctl
