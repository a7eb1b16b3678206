// Opens and closes sessions: one POST with a password digest, one DELETE.

#include "base/log.h"
#include "platform/contract/security.h"
#include "rest/exchange.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"
#include "rest/manager_url.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace {

using kestrelvisor::Exchange;
using kestrelvisor::kSessionOverHttp;
using kestrelvisor::kSessionOverHttps;
using kestrelvisor::kStatusOk;
using kestrelvisor::ReceiveBuffer;
using kestrelvisor::WipeOnExit;

constexpr int kThousandths = 1000;

// Roles that may back up.
constexpr std::array<std::string_view, 4> kAcceptedRoles{"administrator", "sysadmin",
                                                         "Administrator", "Sysadmin"};

std::string sessionUrl(KestrelVisor_rest_api& api, const VRM_INFO& vrm) {
  std::string url;
  api.constructURLCurl(url, vrm.vrmIp, vrm.vrmPort,
                       vrm.useHttps != 0 ? kSessionOverHttps : kSessionOverHttp);
  return url;
}

// Sends the DELETE that ends the session of a token.
bool endSession(KestrelVisor_rest_api& api, VRM_INFO& vrm, const KestrelVisorCertToken& token,
                KestrelVisorErrorMessage& err) {
  std::string response;
  return api.sendMessageToVrm(vrm, token, SEND_METHOD_DELETE, sessionUrl(api, vrm), "", response,
                              err);
}

std::string digestOf(const std::string& secret) {
  std::string copy(secret);
  const WipeOnExit wipe(copy);
  std::string digest;
  kestrelvisor_engine_sha256(copy.c_str(), digest);
  return digest;
}

// A login answer needs both its parts: there is no session without them.
const char* textOf(const MemoryStruct& chunk, const char* part) {
  if (chunk.memory == nullptr) {
    throw std::logic_error(std::string("login answer 200 without a ") + part);
  }
  return chunk.memory;
}

}  // namespace

bool KestrelVisor_rest_api::logIn(VRM_INFO& vrm, std::string& httpCode, std::string& errorCode,
                                  KestrelVisorCertToken& token, std::string& errorMsg) {
  wipeString(token.authToken);
  std::string digest = digestOf(vrm.clientPassword);
  const WipeOnExit wipeDigest(digest);
  const std::string url = sessionUrl(*this, vrm);

  const std::string noBody;  // libcurl keeps its address until the transfer ends
  ReceiveBuffer header;
  header.chunk().secret = true;  // the session's token comes in there
  Exchange exchange(*this);
  if (!exchange.init()) {
    KV_LOG(kError, "Init curlHandle failed, url=", url);
    return false;
  }
  void* const curl = exchange.handle();
  KestrelVisorErrorMessage unused;
  getAPIVersion(vrm, unused);
  curl_slist* const headers = setCurlLoginHeader(token, curl, vrm, digest);
  if (headers == nullptr) {
    KV_LOG(kError, "Init curlHeader failed, url=", url);
    return false;
  }
  exchange.takeHeaders(headers);
  setCurlUrl(curl, url);
  setCurlSendMethod(SEND_METHOD_POST, curl, noBody);
  curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, writeMemoryCallback);
  curl_easy_setopt(curl, CURLOPT_HEADERDATA, &header.chunk());
  exchange.collectBody();
  if (vrm.useHttps == 1) SecuritySS::enrichSSL(curl, vrm.vrmCert);
  setCurlTimeOut(curl);

  std::string transferMessage;  // a failed transfer leaves errorMsg as it is
  if (!exchange.perform(vrm, errorCode, transferMessage)) {
    KV_LOG(kError, "Send mssage to VRM failed, url=", url);
    return false;
  }
  wipeString(digest);
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  httpCode = std::to_string(status);
  bool good = false;
  if (httpCode == kStatusOk) {
    std::string headerText = textOf(header.chunk(), "header");
    const WipeOnExit wipeHeader(headerText);
    good = processLoginReponseCodeOK(headerText, textOf(exchange.body(), "body"), errorCode,
                                     errorMsg, token);
  } else {
    processReponseCodeNOK("KestrelVisor_rest_api::logIn", exchange.body(), httpCode, errorCode,
                          errorMsg);
  }
  if (!good) KV_LOG(kError, "Login failed, url=", url);
  return good;
}

bool KestrelVisor_rest_api::processLoginReponseCodeOK(const std::string& header,
                                                      const std::string& body,
                                                      std::string& errorCode, std::string& errorMsg,
                                                      KestrelVisorCertToken& token) {
  if (!chkUserRole(body, token)) {
    errorCode = "1006";
    errorMsg = "The user does not have administrator privileges.";
    return false;
  }
  std::string headers(header);
  const WipeOnExit wipe(headers);
  std::string key = "X-Auth-Token:";
  return parse_response_header(headers, key, token.authToken) == 0;
}

bool KestrelVisor_rest_api::chkUserRole(std::string body, KestrelVisorCertToken& token) {
  Json::Value root;
  if (!CJsonUtils::StringToJson(body, root)) return false;
  const Json::Value& answer = kestrelvisor::asDocument(root);
  const Json::Value& roles = answer["roleList"];
  const Json::Value& validity = answer["validity"];
  if (roles.isNull() || validity.isNull()) return false;

  token.validTime = static_cast<std::uint64_t>(validity.asInt() / kThousandths);
  token.startTime = getLocalTime();
  for (const Json::Value& element : roles) {
    const std::string role = element.asString();
    KV_LOG(kTrace, "KestrelVisorEngine::chkUserRole: ", role);
    if (std::ranges::find(kAcceptedRoles, role) != kAcceptedRoles.end()) return true;
  }
  return false;
}

bool KestrelVisor_rest_api::logOut(VRM_INFO& vrm, std::string& first, std::string& errorCode,
                                   std::string&, KestrelVisorCertToken& token) {
  first.clear();
  KestrelVisorErrorMessage err;
  const bool ended = endSession(*this, vrm, token, err);
  if (!ended) errorCode = err.errorCode;
  return ended;
}

void KestrelVisor_rest_api::logoutFromKestrelVisor(VRM_INFO& vrm, KestrelVisorCertToken& token) {
  tokenMap.erase(vrm.vrmIp);
  if (!token.authToken.empty()) {
    std::string first;
    std::string errorCode;
    std::string third;
    // A session that could not be ended expires by itself.
    logOut(vrm, first, errorCode, third, token);
  }
  SetDefaultValueForKestrelVisorCertToken(token);
}

bool KestrelVisor_rest_api::logOutFromVrm(VRM_INFO& vrm, const KestrelVisorCertToken& token) {
  KV_LOG(kInfo, "Enter vrmip: ", vrm.vrmIp);
  KestrelVisorErrorMessage err;
  const bool ended = endSession(*this, vrm, token, err);
  if (ended) {
    KV_LOG(kInfo, "Exit vrm: ", vrm.vrmIp);
  } else {
    KV_LOG(kWarning, "sendMessageToVrm failed ", vrm.vrmIp, " reason: ", err.errorDescription);
  }
  return ended;
}
