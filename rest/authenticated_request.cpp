// What every query stands on: a token, a request, one new login when the session is gone.

#include "base/log.h"
#include "platform/contract/bounded_memory.h"
#include "rest/document_request.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::string_view kSessionGone = "10000002";
constexpr std::size_t kUrlBufferSize = 1024;
constexpr std::string_view kUriHead = "/service";
constexpr std::string_view kUrnHead = "urn";

void initialiseLibcurl() {
  static const CURLcode once = curl_global_init(CURL_GLOBAL_DEFAULT);
  static_cast<void>(once);  // a failure shows up as null handles, which every exchange reports
}

}  // namespace

KestrelVisor_rest_api::KestrelVisor_rest_api()
    : protocolVersion(kestrelvisor::kDefaultRestVersion),
      protocolCharset(kestrelvisor::kCharset),
      protocolLanguage(kestrelvisor::kLanguage) {
  // OpenSSL's exit handler must be registered before this object's: the logouts need OpenSSL.
  initialiseLibcurl();
}

KestrelVisor_rest_api::~KestrelVisor_rest_api() {
  for (auto& [address, session] : tokenMap) {
    try {
      logOutFromVrm(session.vrmInfo, session.certToken);
    } catch (...) {
      // The process may be ending: the other sessions still get their logout.
      continue;
    }
  }
}

bool KestrelVisor_rest_api::sendMessageToVrm(VRM_INFO& vrm, const KestrelVisorCertToken& token,
                                             const SEND_METHOD& method, const std::string& url,
                                             const std::string& body,
                                             KestrelVisorErrorMessage& err) {
  std::string dropped;
  return sendMessageToVrmRetry(vrm, token, method, url, body, dropped, err);
}

bool KestrelVisor_rest_api::sendMessageToVrmRetry(VRM_INFO& vrm, const KestrelVisorCertToken& token,
                                                  const SEND_METHOD& method, const std::string& url,
                                                  const std::string& body, std::string& response,
                                                  KestrelVisorErrorMessage& err) {
  if (sendMessageToVrm(vrm, token, method, url, body, response, err)) return true;
  if (err.errorCode != kSessionGone) {
    KV_LOG(kError, "sendMessageToVrmRetry failed");
    return false;
  }
  // The manager has ended the session already: there is nothing to log out from.
  tokenMap.erase(vrm.vrmIp);
  KestrelVisorCertToken freshToken;
  if (!checkLoginAgainAndCert(vrm, err, freshToken)) {
    KV_LOG(kError, "checkLoginAgainAndCert failed");
    return false;
  }
  if (sendMessageToVrm(vrm, freshToken, method, url, body, response, err)) return true;
  KV_LOG(kError, "sendMessageToVrmRetry failed");
  return false;
}

bool kestrelvisor::requestDocument(KestrelVisor_rest_api& api, VRM_INFO& vrm,
                                   const std::string& uri, KestrelVisorErrorMessage& err,
                                   std::string& text) {
  constexpr std::string_view kTold = "KestrelVisor_rest_api::getJSonObjFromKestrelVisor()";
  KestrelVisorCertToken token;
  if (!api.checkLoginAgainAndCert(vrm, err, token)) {
    KV_LOG_BY(kTold, kModuleTag, kError, "checkLoginAgainAndCert failed ");
    return false;
  }
  std::array<char, kUrlBufferSize> url{};
  const char* const scheme = vrm.useHttps != 0 ? "https" : "http";
  if (snprintf_s(url.data(), url.size(), url.size() - 1, "%s://%s:%d%s", scheme, vrm.vrmIp.c_str(),
                 vrm.vrmPort, uri.c_str()) < 0) {
    KV_LOG_BY(kTold, kModuleTag, kError, "snprintf_s faild!");
    return false;
  }
  if (!api.sendMessageToVrmRetry(vrm, token, SEND_METHOD_GET, url.data(), "", text, err)) {
    // Any failed query ends the session; the next one logs in anew.
    api.logoutFromKestrelVisor(vrm, token);
    return false;
  }
  return true;
}

bool KestrelVisor_rest_api::getJSonObjFromKestrelVisor(VRM_INFO& vrm, const std::string& uri,
                                                       const std::string& key,
                                                       KestrelVisorErrorMessage& err,
                                                       Json::Value& root) {
  std::string text;
  return kestrelvisor::requestDocument(*this, vrm, uri, err, text) &&
         getJSonObjFromJsonStr(key, text, root);
}

bool KestrelVisor_rest_api::getJSonObjFromJsonStr(const std::string& key, const std::string& text,
                                                  Json::Value& root) {
  if (!CJsonUtils::StringToJson(text, root)) {
    KV_LOG(kError, "getJSonObjFromJsonStr: parse the string is faild!");
    return false;
  }
  if (key.empty()) {
    KV_LOG(kInfo, "getJSonObjFromJsonStr: Just return all the jsonObj. GetJSonObjFromJsonStr OK!");
    return true;
  }
  const Json::Value* const value = kestrelvisor::findKey(root, key);
  if (value == nullptr || value->isNull()) {
    KV_LOG(kError, "getJSonObjFromJsonStr:get root[\"", key, "\"] is null!");
    return false;
  }
  KV_LOG(kInfo, "getJSonObjFromJsonStr OK!");
  return true;
}

std::string KestrelVisor_rest_api::uriToUrn(const std::string& uri) {
  if (uri.find('/') == std::string::npos) return uri;
  std::string urn(uri);
  urn.replace(0, kUriHead.size(), kUrnHead);  // by length, whatever stands there
  std::ranges::replace(urn, '/', ':');
  return urn;
}

std::string KestrelVisor_rest_api::urnToUri(const std::string& urn) {
  if (urn.find(':') == std::string::npos) return urn;
  std::string uri(urn);
  uri.replace(0, kUrnHead.size(), kUriHead);  // by length, whatever stands there
  std::ranges::replace(uri, ':', '/');
  return uri;
}
