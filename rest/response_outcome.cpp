// Performs a transfer and decides what came back: a failed transfer, a refusal, or a good answer.

#include "base/log.h"
#include "platform/contract/config_reader.h"
#include "platform/contract/security.h"
#include "rest/curl_owners.h"
#include "rest/exchange.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace {

using kestrelvisor::CurlHandle;
using kestrelvisor::CurlHeaders;

constexpr int kAttempts = 2;

struct TransferFailure {
  CURLcode result;
  const char* code;
  const char* message;
};

constexpr std::array<TransferFailure, 2> kTransferFailures{{
    {CURLE_COULDNT_CONNECT, "2000", "Connect to VRM failed."},
    {CURLE_OPERATION_TIMEDOUT, "2001", "Connect to VRM timeout."},
}};
constexpr const char* kOtherTransferFailure = "2002";

struct RefusalWithoutBody {
  std::string_view status;
  const char* code;
  const char* message;
};

constexpr std::array<RefusalWithoutBody, 1> kRefusalsWithoutBody{{
    {"404", "2404", "404 Page not found"},
}};
constexpr const char* kOtherRefusal = "other error";

constexpr std::string_view kWrongPassword = "10100103";
constexpr const char* kWrongPasswordMessage =
    "User name or password is incorrect, or the user types is not the docking interface user.";
constexpr std::string_view kTaskReleased = "10300402";

constexpr std::size_t kStatusCodeOffset = 9;  // behind "HTTP/1.1 "
constexpr std::size_t kStatusCodeLength = 3;

void mapRefusalWithoutBody(const std::string& httpCode, std::string& errorCode,
                           std::string& errorMsg) {
  errorCode = httpCode;
  errorMsg = kOtherRefusal;
  for (const RefusalWithoutBody& refusal : kRefusalsWithoutBody) {
    if (refusal.status != httpCode) continue;
    errorCode = refusal.code;
    errorMsg = refusal.message;
  }
}

// A code or text that is an array or an object counts as absent.
bool readText(const Json::Value& document, std::string_view key, std::string& text) {
  const Json::Value* const value = kestrelvisor::findKey(document, key);
  if (value == nullptr || value->isNull() || value->isArray() || value->isObject()) return false;
  text = value->asString();
  return true;
}

}  // namespace

bool KestrelVisor_rest_api::sendMassage(const VRM_INFO& vrm, void* curl, curl_slist* headers,
                                        std::string& errorCode, std::string& errorMsg) {
  if (curl == nullptr) {
    KV_LOG(kError, "curlHandle is null !");
    return false;
  }
  // The host may allow to go on without verification, but only after a refused certificate.
  const auto relaxVerificationIfAllowed = [&](CURLcode result) {
    if (result != CURLE_PEER_FAILED_VERIFICATION) return;
    if (ConfigReader::getInt("General", "CertAuthSwitch", true) != 0) return;
    KV_LOG(kWarning, "peer cert check failed: ", errorMsg);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
  };

  // Both end here unless the transfer works.
  CurlHeaders list(headers);
  CurlHandle handle(curl);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const CURLcode result = curl_easy_perform(curl);
    if (result == CURLE_OK) {
      static_cast<void>(list.release());
      static_cast<void>(handle.release());
      return true;
    }
    processPerformNotOK(vrm, curl, headers, "sendMassage", result, errorCode, errorMsg);
    relaxVerificationIfAllowed(result);
  }
  return false;
}

void KestrelVisor_rest_api::processPerformNotOK(const VRM_INFO&, void*, curl_slist*,
                                                const char* funcName, CURLcode result,
                                                std::string& errorCode, std::string& errorMsg) {
  errorCode = kOtherTransferFailure;
  for (const TransferFailure& failure : kTransferFailures) {
    if (failure.result != result) continue;
    errorCode = failure.code;
    errorMsg = failure.message;
  }
  const char* const text = curl_easy_strerror(result);
  if (text != nullptr) {
    errorMsg = text;
    if (!errorMsg.empty() && errorMsg.back() != '.') errorMsg += '.';
  } else if (errorMsg.empty()) {
    errorMsg = "Curl internal unknown error.";
  }
  KV_LOG(kError, "Invoke ", funcName, " failed, error code is ", errorCode, "(", errorMsg, ")");
}

bool KestrelVisor_rest_api::getResponse(void* curl, curl_slist*, MemoryStruct& chunk,
                                        std::string& response, std::string& errorCode,
                                        std::string& errorMsg) {
  long httpCode = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &httpCode);
  const std::string status = std::to_string(httpCode);
  std::string body(chunk.memory != nullptr ? chunk.memory : "");
  if (chunk.memory != nullptr) {
    KV_LOG(kInfo, "Get returned info from VRM:", WipeSensitiveData(body),
           ",returned http code:", status);
  }
  if (status == kestrelvisor::kStatusOk) {
    response = std::move(body);
    return true;
  }
  processReponseCodeNOK("getResponse", chunk, status, errorCode, errorMsg);
  return false;
}

void KestrelVisor_rest_api::processReponseCodeNOK(const char* funcName, MemoryStruct chunk,
                                                  std::string httpCode, std::string& errorCode,
                                                  std::string& errorMsg) {
  if (chunk.memory != nullptr) {
    errorCode = getLoginErrorCode(chunk.memory, errorMsg);
    if (errorCode == kWrongPassword) errorMsg = kWrongPasswordMessage;
  } else {
    mapRefusalWithoutBody(httpCode, errorCode, errorMsg);
  }
  if (errorCode == kTaskReleased) {
    KV_LOG(kWarning, "The task was released : ", errorCode, "(", errorMsg, ")");
    return;
  }
  KV_LOG(kError, "Invoke ", funcName, " failed, the error code is ", errorCode, "(", errorMsg, ")");
}

std::string KestrelVisor_rest_api::getLoginErrorCode(std::string body, std::string& errorMsg) {
  Json::Value root;
  const bool readable = CJsonUtils::StringToJson(body, root) && (root.isNull() || root.isObject());
  if (!readable) {
    KV_LOG(kError, "Parse Json string failed.");
    return {};
  }
  std::string code;
  readText(root, "errorDes", errorMsg);
  readText(root, "errorCode", code);
  return code;
}

void KestrelVisor_rest_api::getSendErrorCode(MemoryStruct chunk, std::string httpCode,
                                             std::string& errorCode, const char* funcName) {
  std::string dropped;
  processReponseCodeNOK(funcName, chunk, httpCode, errorCode, dropped);
}

int KestrelVisor_rest_api::my_atoi(char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const std::size_t value = kDigits.find(c);
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

bool KestrelVisor_rest_api::getJsonObjAsString(const std::string& source, std::string& target) {
  target = source;
  return true;
}

bool KestrelVisor_rest_api::sendMessageToVrm(VRM_INFO& vrm, const KestrelVisorCertToken& token,
                                             const SEND_METHOD& method, const std::string& url,
                                             const std::string& body, std::string& response,
                                             KestrelVisorErrorMessage& err) {
  kestrelvisor::Exchange exchange(*this);
  exchange.open(vrm, token, method, url, body);
  exchange.collectBody();

  std::string code;
  std::string message;
  const bool sent = exchange.perform(vrm, code, message);
  const bool good = sent && exchange.finish(response, code, message);
  // After a good answer too: what a failed first attempt left is told all the same.
  err.setErrorCode(code, CBT_GET_OK);
  err.setErrorDescription(message);
  if (!sent) {
    KV_LOG(kError, "Send mssage to VRM failed, url=", url);
  } else if (!good) {
    KV_LOG(kError, "Get response failed, url=", url);
  }
  return good;
}

int KestrelVisor_rest_api::parse_response_header(std::string& headers, std::string& key,
                                                 std::string& value) {
  if (headers.size() <= kStatusCodeOffset) return -1;
  if (key == "status_code") {
    value += headers.substr(kStatusCodeOffset, kStatusCodeLength);
    return 0;
  }
  std::string line;
  const kestrelvisor::WipeOnExit wipe(line);
  line.reserve(headers.size());  // no outgrown buffer keeps a token
  for (const char c : headers) {
    if (line.empty() && (c == '\r' || c == '\n')) continue;
    line += c;
    if (c != '\r') continue;
    if (httpParseLine(line, key, value) == 0) return 0;
    line.clear();
  }
  return -1;
}

int KestrelVisor_rest_api::httpParseLine(std::string& line, std::string& key, std::string& value) {
  if (line.empty() || line.compare(0, key.size(), key) != 0) return -1;
  const std::size_t start = line.find_first_not_of(' ', key.size());
  if (start == std::string::npos) return 0;
  value.assign(line, start);  // without a copy between: the value may be a token
  boost::algorithm::trim_if(value, boost::algorithm::is_any_of(" \n\r\t"));
  return 0;
}
