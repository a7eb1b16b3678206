// The low-level digest functions are prescribed for logins; their deprecation is silenced here
// alone.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "rest/session_types.h"

#include <openssl/crypto.h>
#include <openssl/sha.h>

#include <array>
#include <cstring>
#include <string_view>

void kestrelvisor_engine_sha256(const char* text, std::string& digest) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  SHA256_CTX context;
  std::array<unsigned char, SHA256_DIGEST_LENGTH> hash;
  SHA256_Init(&context);
  SHA256_Update(&context, text, std::strlen(text));
  SHA256_Final(hash.data(), &context);
  OPENSSL_cleanse(&context, sizeof context);

  // One allocation of the final size, so that no outgrown buffer keeps half of the digest.
  wipeString(digest);
  digest.reserve(2 * hash.size());
  for (const unsigned char byte : hash) {
    digest += kDigits[byte >> 4];
    digest += kDigits[byte & 0x0f];
  }
  OPENSSL_cleanse(hash.data(), hash.size());
}
