// Asks a manager which REST versions it offers, before any login.

#include "base/log.h"
#include "platform/contract/security.h"
#include "rest/exchange.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"
#include "rest/manager_url.h"

#include <cstdlib>
#include <list>
#include <string_view>

namespace {

// The header of the one request without version, token, content type and language.
curl_slist* headersWithoutVersion(KestrelVisor_rest_api& api, void* curl) {
  kestrelvisor::CurlHeaders headers(
      curl_slist_append(nullptr, api.getAcceptWithoutVersion().c_str()));
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
  return headers.release();
}

// Version texts without their prefix ("v1.2" stands for 1.2), in the manager's order.
std::list<std::string> strippedVersions(const Json::Value& versions) {
  std::list<std::string> stripped;
  for (const Json::Value& element : versions) {
    stripped.push_back(element["version"].asString().substr(1));  // throws for an empty text
  }
  return stripped;
}

}  // namespace

bool KestrelVisor_rest_api::getKestrelVisorSupportRestVersion(VRM_INFO& vrm, std::string& version,
                                                              KestrelVisorErrorMessage& err) {
  const std::string url = kestrelvisor::managerUrl(vrm, "/service/versions");
  kestrelvisor::Exchange exchange(*this);
  if (!exchange.init()) {
    KV_LOG(kError, "Init curlHandle failed, url=", url);
    return false;
  }
  void* const curl = exchange.handle();
  exchange.takeHeaders(headersWithoutVersion(*this, curl));
  setCurlUrl(curl, url);
  setCurlSendMethod(SEND_METHOD_GET, curl, "");
  if (vrm.useHttps == 1) SecuritySS::enrichSSL(curl, vrm.vrmCert);
  setCurlTimeOut(curl);
  exchange.collectBody();

  std::string code;
  std::string message;
  const auto reportFailure = [&](std::string_view what) {
    KV_LOG(kError, what, url);
    err.setErrorCode(code, CBT_GET_OK);
    err.setErrorDescription(message);
    return false;
  };
  if (!exchange.perform(vrm, code, message)) {
    return reportFailure("Send message to VRM failed, url=");
  }
  // A first attempt that was repeated leaves no trace here.
  code.clear();
  message.clear();
  std::string response;
  if (!exchange.finish(response, code, message)) {
    return reportFailure("Parse return information failed, url=");
  }

  const bool found = getSupportMaxRestVersion(response, version);
  protocolVersion = version;
  if (!found) KV_LOG(kError, "Get support max rest version failed, url=", url);
  return found;
}

bool KestrelVisor_rest_api::getSupportMaxRestVersion(const std::string& body,
                                                     std::string& version) {
  Json::Value root;
  if (!CJsonUtils::StringToJson(body, root)) {
    KV_LOG(kError, "Failed to parse the disksInfo string !");
    return false;
  }
  const Json::Value& versions = kestrelvisor::asDocument(root)["versions"];
  if (!versions.isValidIndex(0)) {  // a text or a number counts as empty too
    KV_LOG(kWarning, "The versions size is 0 !");
    return true;
  }
  // The last positive entry wins, not the greatest: the manager's order decides.
  for (const std::string& entry : strippedVersions(versions)) {
    if (std::strtod(entry.c_str(), nullptr) > 0.0) version = entry;
    KV_LOG(kTrace, "The version is:", entry);
  }
  KV_LOG(kInfo, "The Maximum version is:", version);
  return true;
}
