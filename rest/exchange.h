#pragma once

#include "rest/curl_owners.h"
#include "rest/kestrelvisor_rest_api.h"
#include "rest/session_types.h"

#include <string>
#include <string_view>

namespace kestrelvisor {

// The status of an answer that tells success, as sendMassage gives it.
inline constexpr std::string_view kStatusOk = "200";

// Owns what one transfer writes into.
class ReceiveBuffer {
 public:
  ReceiveBuffer() = default;
  ~ReceiveBuffer() { clear(); }
  ReceiveBuffer(const ReceiveBuffer&) = delete;
  ReceiveBuffer& operator=(const ReceiveBuffer&) = delete;

  MemoryStruct& chunk() { return chunk_; }
  void clear() noexcept;

  // Frees the memory of a chunk, whoever holds it, and wipes a secret one. The size stays.
  static void freeMemory(MemoryStruct& chunk) noexcept;

 private:
  MemoryStruct chunk_;
};

// Owns handle, header list and received body of one exchange.
class Exchange {
 public:
  explicit Exchange(KestrelVisor_rest_api& api) : api_(api) {}
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  // Makes the handle; false when there was no memory.
  bool init();
  void takeHeaders(curl_slist* headers) { headers_.reset(headers); }
  // Assembles an authenticated request.
  void open(VRM_INFO& vrm, const KestrelVisorCertToken& token, const SEND_METHOD& method,
            const std::string& url, const std::string& body);
  // Collects the answer's body from here on.
  void collectBody() { api_.setCurlResponse(handle_.get(), body_.chunk()); }
  // Performs the transfer, as KestrelVisor_rest_api::sendMassage.
  bool perform(const VRM_INFO& vrm, std::string& code, std::string& message);
  // Classifies the answer, as KestrelVisor_rest_api::getResponse, and ends the exchange.
  bool finish(std::string& response, std::string& code, std::string& message);

  void* handle() const { return handle_.get(); }
  MemoryStruct& body() { return body_.chunk(); }

 private:
  void close();

  KestrelVisor_rest_api& api_;
  ReceiveBuffer body_;
  CurlHeaders headers_;
  CurlHandle handle_;  // last, so that it ends before what it points at
};

}  // namespace kestrelvisor
