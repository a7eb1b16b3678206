#include "platform/reference/system_trust.h"

#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <memory>
#include <mutex>
#include <utility>

namespace kestrelvisor {
namespace {

struct StoreFree {
  void operator()(X509_STORE* store) const noexcept { X509_STORE_free(store); }
};
using OwnedStore = std::unique_ptr<X509_STORE, StoreFree>;

// Never freed: a logout at process exit may be the first that needs it.
constinit X509_STORE* systemStore = nullptr;
constinit std::mutex systemStoreMutex;

bool read(X509_STORE* store) {
  const curl_version_info_data* const built = curl_version_info(CURLVERSION_NOW);
  const bool tells = built->age >= CURLVERSION_SEVENTH;
  const char* const file = tells ? built->cainfo : nullptr;
  const char* const folder = tells ? built->capath : nullptr;
  if (file == nullptr && folder == nullptr) return X509_STORE_set_default_paths(store) == 1;
  return (file == nullptr || X509_STORE_load_file(store, file) == 1) &&
         (folder == nullptr || X509_STORE_load_path(store, folder) == 1);
}

OwnedStore readStore() {
  OwnedStore store(X509_STORE_new());
  // The flags that libcurl sets on a store of its own.
  const bool ready =
      store && read(store.get()) &&
      X509_STORE_set_flags(store.get(), X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN) == 1;
  if (ready) return store;
  ERR_clear_error();  // libcurl would tell of the oldest entry
  return nullptr;
}

}  // namespace

bool trustSystem(SSL_CTX* context) {
  const std::lock_guard lock(systemStoreMutex);
  if (systemStore == nullptr) systemStore = readStore().release();
  if (systemStore == nullptr) return false;
  SSL_CTX_set1_cert_store(context, systemStore);
  return true;
}

void forgetSystemTrust() {
  const std::lock_guard lock(systemStoreMutex);
  X509_STORE_free(std::exchange(systemStore, nullptr));
}

}  // namespace kestrelvisor
