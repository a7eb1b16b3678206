#include "rest/exchange.h"

#include "platform/contract/bounded_memory.h"

namespace kestrelvisor {

void ReceiveBuffer::clear() noexcept {
  freeMemory(chunk_);
  chunk_.size = 0;
}

void ReceiveBuffer::freeMemory(MemoryStruct& chunk) noexcept {
  const bool wipes = chunk.secret && chunk.memory != nullptr;
  if (wipes) memset_s(chunk.memory, chunk.size + 1, 0, chunk.size + 1);
  delete[] chunk.memory;
  chunk.memory = nullptr;
}

bool Exchange::init() {
  handle_.reset(api_.initCurl());
  return handle_ != nullptr;
}

void Exchange::open(VRM_INFO& vrm, const KestrelVisorCertToken& token, const SEND_METHOD& method,
                    const std::string& url, const std::string& body) {
  void* handle = nullptr;
  curl_slist* headers = nullptr;
  api_.openCurl(vrm, token, method, url, body, handle, headers);
  handle_.reset(handle);
  headers_.reset(headers);
}

bool Exchange::perform(const VRM_INFO& vrm, std::string& code, std::string& message) {
  // Without a handle nothing is sent and nothing is freed: the list stays ours.
  if (!handle_) return api_.sendMassage(vrm, nullptr, headers_.get(), code, message);

  // A failed transfer frees both in there: let go first, take them back only on success.
  void* const handle = handle_.release();
  curl_slist* const headers = headers_.release();
  if (!api_.sendMassage(vrm, handle, headers, code, message)) return false;
  handle_.reset(handle);
  headers_.reset(headers);
  return true;
}

bool Exchange::finish(std::string& response, std::string& code, std::string& message) {
  const bool good =
      api_.getResponse(handle_.get(), headers_.get(), body_.chunk(), response, code, message);
  close();
  return good;
}

void Exchange::close() {
  body_.clear();
  void* handle = handle_.release();
  curl_slist* headers = headers_.release();
  api_.closeCurl(handle, headers);
}

}  // namespace kestrelvisor
