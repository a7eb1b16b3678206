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

struct ListFree {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListFree>;

PlannedRequest::Header headerOf(const std::string& line) {
  const std::size_t colon = line.find(':');
  return {line.substr(0, colon), line.substr(colon + 1)};
}

// What libcurl puts in front of the others: it leaves out the port that the scheme implies.
PlannedRequest::Header hostHeader(const ManagerAddress& manager) {
  const std::uint16_t implied = manager.https ? kPortOfHttps : kPortOfHttp;
  const std::string port = manager.port == implied ? "" : ":" + std::to_string(manager.port);
  return {"Host", " " + manager.host + port};
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
