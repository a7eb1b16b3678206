// The lowest layer of the REST client: it assembles one libcurl handle for one exchange.

#include "base/log.h"
#include "platform/contract/bounded_memory.h"
#include "platform/contract/helpers.h"
#include "platform/contract/security.h"
#include "rest/curl_owners.h"
#include "rest/exchange.h"
#include "rest/kestrelvisor_rest_api.h"
#include "rest/manager_url.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

using kestrelvisor::CurlHandle;
using kestrelvisor::CurlHeaders;
using kestrelvisor::ReceiveBuffer;
using kestrelvisor::WipeOnExit;

constexpr long kConnectTimeoutSeconds = 10;
constexpr long kTransferTimeoutSeconds = 600;
constexpr const char* kUserTypeHeader = "X-Auth-UserType:2";
constexpr unsigned int kCredentialUser = 1;
constexpr unsigned int kCredentialDigest = 2;

// Appends a header. On failure the list is gone, as curl_slist_append leaves no use in half of one.
bool append(CurlHeaders& list, const std::string& header) {
  curl_slist* const longer = curl_slist_append(list.get(), header.c_str());
  if (longer == nullptr) {
    list.reset();
    return false;
  }
  static_cast<void>(list.release());
  list.reset(longer);
  return true;
}

bool appendSecret(CurlHeaders& list, std::string header) {
  const WipeOnExit wipe(header);
  return append(list, header);
}

void setPost(void* curl, const std::string& body) {
  curl_easy_setopt(curl, CURLOPT_POST, 1L);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
}

// libcurl copies the verb. Without it the request would go out as another one.
void setVerb(void* curl, const char* verb) {
  const CURLcode result = curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, verb);
  if (result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
}

void setPut(void* curl, const std::string& body) {
  setVerb(curl, "PUT");
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
}

void setCertificateFetch(void* curl) {
  curl_easy_setopt(curl, CURLOPT_CERTINFO, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
}

}  // namespace

double KestrelVisor_rest_api::getAPIVersion(const VRM_INFO& vrm, KestrelVisorErrorMessage&) {
  protocolVersion = vrm.restVersion;
  return std::strtod(protocolVersion.c_str(), nullptr);
}

std::string KestrelVisor_rest_api::getProtocolVersion() { return protocolVersion; }

std::string KestrelVisor_rest_api::getProtocolCharset() { return protocolCharset; }

std::string KestrelVisor_rest_api::getProtocolLanguage() { return protocolLanguage; }

std::string KestrelVisor_rest_api::getAuthToken(const KestrelVisorCertToken& token) {
  return "X-Auth-Token:" + token.authToken;
}

std::string KestrelVisor_rest_api::getLanguage() {
  std::string text = "Accept-Language:" + protocolLanguage;
  KV_LOG(kTrace, "KestrelVisor rest interface acceptLanguage setting=[", text, "].");
  return text;
}

// The version comes from the record here and from the client in the overload below, on purpose: a
// login and the requests after it name the version that was negotiated for this manager.
std::string KestrelVisor_rest_api::getAccept(const VRM_INFO& vrm) {
  std::string text =
      "Accept: application/json;version=" + vrm.restVersion + "; charset=" + protocolCharset;
  KV_LOG(kTrace, "KestrelVisor rest interface acceptVersionAndCharset setting=[", text, "].");
  return text;
}

std::string KestrelVisor_rest_api::getAccept() {
  std::string text = "Accept: application/json;" + getVersionAndCharset();
  KV_LOG(kTrace, "KestrelVisor rest interface acceptVersionAndCharset setting=[", text, "].");
  return text;
}

std::string KestrelVisor_rest_api::getAcceptWithoutVersion() {
  std::string text = "Accept: application/json;charset=" + protocolCharset;
  KV_LOG(kTrace, "KestrelVisor rest interface acceptVersionAndCharset without version setting=[",
         text, "].");
  return text;
}

std::string KestrelVisor_rest_api::getVersionAndCharset() {
  std::string text = "version=" + protocolVersion + "; charset=" + protocolCharset;
  KV_LOG(kTrace, "KestrelVisor rest interface versionAndCharset setting=[", text, "].");
  return text;
}

std::string KestrelVisor_rest_api::getContentType() {
  std::string text = "Content-Type: application/json; charset=" + protocolCharset;
  KV_LOG(kTrace, "KestrelVisor rest interface contentTypeCharset setting=[", text, "].");
  return text;
}

std::string KestrelVisor_rest_api::getContentTypeWithVersion() {
  std::string text = "Content-Type: application/json; " + getVersionAndCharset();
  KV_LOG(kTrace, "KestrelVisor rest interface contentTypeVersionAndCharset setting=[", text, "].");
  return text;
}

curl_slist* KestrelVisor_rest_api::setCurlHeader(const KestrelVisorCertToken& token, void* curl,
                                                 const VRM_INFO& vrm) {
  CurlHeaders headers;
  const bool complete = append(headers, getAccept(vrm)) &&
                        appendSecret(headers, getAuthToken(token)) &&
                        append(headers, getContentType());
  if (!complete) return nullptr;
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
  return headers.release();
}

curl_slist* KestrelVisor_rest_api::setCurlLoginHeader(const KestrelVisorCertToken& token,
                                                      void* curl, const VRM_INFO& vrm,
                                                      const std::string& passwordDigest) {
  CurlHeaders headers;
  std::string user;
  std::string key;
  const WipeOnExit wipe(key);
  constructCredentialCurl(user, vrm.clientUsername, kCredentialUser);
  constructCredentialCurl(key, passwordDigest, kCredentialDigest);
  // The token is empty at a login; libcurl leaves a header without a value out of the request.
  const bool complete =
      append(headers, getAccept(vrm)) && appendSecret(headers, getAuthToken(token)) &&
      append(headers, getContentTypeWithVersion()) && append(headers, getLanguage()) &&
      append(headers, user) && append(headers, key) && append(headers, kUserTypeHeader);
  if (!complete) return nullptr;
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
  return headers.release();
}

void* KestrelVisor_rest_api::initCurl() { return curl_easy_init(); }

void KestrelVisor_rest_api::setCurlTimeOut(void* curl) {
  curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT, kTransferTimeoutSeconds);
  curl_easy_setopt(curl, CURLOPT_VERBOSE, 0L);
}

void KestrelVisor_rest_api::setCurlUrl(void* curl, const std::string& url) {
  KV_LOG(kTrace, "URL=", url);
  const std::string formatted = FormatFullUrl(url);
  curl_easy_setopt(curl, CURLOPT_URL, formatted.c_str());
}

void KestrelVisor_rest_api::setCurlSendMethod(const SEND_METHOD& method, void* curl,
                                              const std::string& body) {
  switch (method) {
    case SEND_METHOD_POST:
      return setPost(curl, body);
    case SEND_METHOD_DELETE:
      return setVerb(curl, "DELETE");
    case SEND_METHOD_PUT:
      return setPut(curl, body);
    case SEND_METHOD_GET:
      curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
      return;
    case SEND_METHOD_CERTINFO:
      return setCertificateFetch(curl);
  }
  KV_LOG(kError, "Send method[", static_cast<std::uint32_t>(method), "] is fault !");
}

void KestrelVisor_rest_api::setCurlResponse(void* curl, MemoryStruct& chunk) {
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, writeMemoryCallback);
  chunk = MemoryStruct{};
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &chunk);
}

void KestrelVisor_rest_api::openCurl(VRM_INFO& vrm, const KestrelVisorCertToken& token,
                                     const SEND_METHOD& method, const std::string& url,
                                     const std::string& body, void*& curl, curl_slist*& headers) {
  CurlHandle handle(initCurl());
  CurlHeaders list(setCurlHeader(token, handle.get(), vrm));
  setCurlUrl(handle.get(), url);
  setCurlSendMethod(method, handle.get(), body);
  // Exactly 1: any other non-zero value gives an https URL, but no certificate of our own.
  if (vrm.useHttps == 1) SecuritySS::enrichSSL(handle.get(), vrm.vrmCert);
  setCurlTimeOut(handle.get());
  curl = handle.release();
  headers = list.release();
}

void KestrelVisor_rest_api::closeCurl(void*& curl, curl_slist*& headers) {
  const CurlHeaders list(headers);
  const CurlHandle handle(curl);
  curl = nullptr;
  headers = nullptr;
}

void KestrelVisor_rest_api::constructURLCurl(std::string& url, std::string ip, int port,
                                             unsigned int type) {
  url = kestrelvisor::absoluteUrl(type == kestrelvisor::kSessionOverHttps, ip, port,
                                  "/service/session");
}

void KestrelVisor_rest_api::constructCredentialCurl(std::string& header, std::string value,
                                                    unsigned int type) {
  const WipeOnExit wipe(value);
  header = (type == kCredentialUser ? "X-Auth-User:" : "X-Auth-Key:") + value;
}

std::size_t KestrelVisor_rest_api::writeMemoryCallback(char* source, std::size_t itemSize,
                                                       std::size_t itemCount, void* target) {
  auto& chunk = *static_cast<MemoryStruct*>(target);
  const std::size_t received = itemSize * itemCount;
  const std::size_t newSize = chunk.size + received + 1;

  // After a failure the answer reads as an empty text, by its null memory.
  std::unique_ptr<char[]> grown(new (std::nothrow) char[newSize]);
  if (!grown) {
    ReceiveBuffer::freeMemory(chunk);
    return received;
  }
  const bool hasOld = chunk.memory != nullptr && chunk.size != 0;
  // A prefix that was lost reads as NULs. All else is written below.
  if (!hasOld) memset_s(grown.get(), newSize, 0, chunk.size);
  if (hasOld && memcpy_s(grown.get(), newSize, chunk.memory, chunk.size) != 0) {
    ReceiveBuffer::freeMemory(chunk);
    return received;
  }
  ReceiveBuffer::freeMemory(chunk);
  chunk.memory = grown.release();
  // There is room by construction, so this copy cannot fail.
  memcpy_s(chunk.memory + chunk.size, newSize - chunk.size, source, received);
  chunk.size += received;
  chunk.memory[chunk.size] = '\0';
  return received;
}
