// Stands before the library calls that keep what they allocate inside objects of their own, which
// our code frees by another call. Had our code lost such an object, the object itself would be left
// as well, and it was made by a call that is not here.

#include "tests/torture/faults/allocator.h"
#include "tests/torture/faults/next_function.h"

#include <curl/curl.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace kestrelvisor::torture {
namespace {

const auto nextGlobalInit = nextOf<decltype(curl_global_init)>("curl_global_init");
const auto nextPerform = nextOf<decltype(curl_easy_perform)>("curl_easy_perform");
const auto nextCleanup = nextOf<decltype(curl_easy_cleanup)>("curl_easy_cleanup");
const auto nextRandomStatus = nextOf<decltype(RAND_status)>("RAND_status");
const auto nextDigest = nextOf<decltype(EVP_Digest)>("EVP_Digest");
const auto nextDecryptInit = nextOf<decltype(EVP_DecryptInit_ex)>("EVP_DecryptInit_ex");
const auto nextThreadStop = nextOf<decltype(OPENSSL_thread_stop)>("OPENSSL_thread_stop");

}  // namespace
}  // namespace kestrelvisor::torture

using kestrelvisor::torture::InsideKeeper;

extern "C" {

CURLcode curl_global_init(long flags) {
  const InsideKeeper inside("curl_global_init");
  return kestrelvisor::torture::nextGlobalInit(flags);
}

CURLcode curl_easy_perform(CURL* handle) {
  const InsideKeeper inside("curl_easy_perform");
  return kestrelvisor::torture::nextPerform(handle);
}

void curl_easy_cleanup(CURL* handle) {
  const InsideKeeper inside("curl_easy_cleanup");
  kestrelvisor::torture::nextCleanup(handle);
}

// The first of these in a process prepares OpenSSL for all that follow.
int RAND_status() {
  const InsideKeeper inside("RAND_status");
  return kestrelvisor::torture::nextRandomStatus();
}

int EVP_Digest(const void* text, std::size_t size, unsigned char* digest, unsigned int* digestSize,
               const EVP_MD* kind, ENGINE* engine) {
  const InsideKeeper inside("EVP_Digest");
  return kestrelvisor::torture::nextDigest(text, size, digest, digestSize, kind, engine);
}

int EVP_DecryptInit_ex(EVP_CIPHER_CTX* context, const EVP_CIPHER* cipher, ENGINE* engine,
                       const unsigned char* key, const unsigned char* nonce) {
  const InsideKeeper inside("EVP_DecryptInit_ex");
  return kestrelvisor::torture::nextDecryptInit(context, cipher, engine, key, nonce);
}

// Makes what it is to end, when that could not be made before.
void OPENSSL_thread_stop() {
  const InsideKeeper inside("OPENSSL_thread_stop");
  kestrelvisor::torture::nextThreadStop();
}

// The C library keeps its list of what is to run at exit, and makes it longer for whoever comes
// when it is full. The first caller comes before this library's own objects.
int __cxa_atexit(void (*function)(void*), void* argument, void* library) {
  static const auto next =
      kestrelvisor::torture::nextOf<int(void (*)(void*), void*, void*)>("__cxa_atexit");
  const InsideKeeper inside("__cxa_atexit");
  return next(function, argument, library);
}

}  // extern "C"
