#pragma once

#include <curl/curl.h>
#include <openssl/crypto.h>

#include <cstring>
#include <memory>

namespace kestrelvisor {

struct CurlCleanup {
  void operator()(void* handle) const noexcept { curl_easy_cleanup(handle); }

  // Headers carry tokens and digests: their texts are overwritten first.
  void operator()(curl_slist* list) const noexcept {
    for (curl_slist* node = list; node != nullptr; node = node->next) {
      OPENSSL_cleanse(node->data, std::strlen(node->data));
    }
    curl_slist_free_all(list);
  }
};

using CurlHandle = std::unique_ptr<void, CurlCleanup>;
using CurlHeaders = std::unique_ptr<curl_slist, CurlCleanup>;

}  // namespace kestrelvisor
