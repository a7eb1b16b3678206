#include "platform/reference/password_cipher.h"

#include "base/log.h"
#include "base/wipe_string.h"
#include "platform/contract/security.h"
#include "platform/reference/password_key.h"
#include "platform/reference/platform_tag.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cstddef>
#include <memory>

namespace kestrelvisor {
namespace {

constexpr std::string_view kVersion = "kv1:";
constexpr std::size_t kNonceSize = 12;
constexpr std::size_t kTagSize = 16;
constexpr std::size_t kLongestPassword = 1U << 16U;
constexpr std::size_t kLongestText = 2 * kLongestPassword;

struct CipherFree {
  void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
};
using Cipher = std::unique_ptr<EVP_CIPHER_CTX, CipherFree>;

unsigned char* bytesOf(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

// Where in the bytes of a message its parts stand.
std::string_view nonceOf(std::string_view message) { return message.substr(0, kNonceSize); }
std::string_view tagOf(std::string_view message) {
  return message.substr(message.size() - kTagSize);
}
std::string_view secretOf(std::string_view message) {
  return message.substr(kNonceSize, message.size() - kNonceSize - kTagSize);
}

bool encrypt(const PasswordKey& key, std::string_view plain, std::string& message) {
  message.assign(kNonceSize + plain.size() + kTagSize, '\0');
  unsigned char* const nonce = bytesOf(message);
  unsigned char* const secret = nonce + kNonceSize;
  unsigned char* const tag = secret + plain.size();
  const Cipher cipher(EVP_CIPHER_CTX_new());
  int size = 0;
  // The version is authenticated too, so that no later format can be passed off as this one.
  return cipher != nullptr && RAND_bytes(nonce, kNonceSize) == 1 &&
         EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(), nonce) ==
             1 &&
         EVP_EncryptUpdate(cipher.get(), nullptr, &size, bytesOf(kVersion), kVersion.size()) == 1 &&
         EVP_EncryptUpdate(cipher.get(), secret, &size, bytesOf(plain),
                           static_cast<int>(plain.size())) == 1 &&
         EVP_EncryptFinal_ex(cipher.get(), tag, &size) == 1 &&
         EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, kTagSize, tag) == 1;
}

// plain holds characters that are not proven until this returns true.
bool decrypt(const PasswordKey& key, std::string_view message, std::string& plain) {
  const std::string_view secret = secretOf(message);
  std::string tag(tagOf(message));
  plain.assign(secret.size() + 1, '\0');  // a place to point at, also when the password is empty
  const Cipher cipher(EVP_CIPHER_CTX_new());
  int size = 0;
  const bool proven =
      cipher != nullptr &&
      EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(),
                         bytesOf(nonceOf(message))) == 1 &&
      EVP_DecryptUpdate(cipher.get(), nullptr, &size, bytesOf(kVersion), kVersion.size()) == 1 &&
      EVP_DecryptUpdate(cipher.get(), bytesOf(plain), &size, bytesOf(secret),
                        static_cast<int>(secret.size())) == 1 &&
      EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, kTagSize, tag.data()) == 1 &&
      EVP_DecryptFinal_ex(cipher.get(), bytesOf(plain) + secret.size(), &size) == 1;
  plain.resize(secret.size());
  return proven;
}

// Why a cipher text gave no password.
enum class Decryption { done = 0, noKey = 1, notACipherText = 2, notAuthentic = 3 };

Decryption decryptText(std::string_view text, std::string& plain, std::string& problem) {
  std::string message;
  if (text.size() > kLongestText || text.substr(0, kVersion.size()) != kVersion ||
      !bytesOfBase64(text.substr(kVersion.size()), message) ||
      message.size() < kNonceSize + kTagSize) {
    problem = "the text is not an encrypted password";
    return Decryption::notACipherText;
  }
  PasswordKey key;
  if (!fetchPasswordKey(key, problem)) return Decryption::noKey;
  if (decrypt(key, message, plain)) return Decryption::done;
  problem = "encrypted under another key, or damaged";
  return Decryption::notAuthentic;
}

}  // namespace

bool encryptPassword(std::string_view plain, std::string& cipher, std::string& problem) {
  cipher.clear();
  if (plain.size() > kLongestPassword) {
    problem = "the password is too long";
    return false;
  }
  PasswordKey key;
  if (!fetchPasswordKey(key, problem)) return false;
  std::string message;
  if (!encrypt(key, plain, message)) {
    problem = "encryption failed";
    return false;
  }
  cipher = std::string(kVersion) + base64Of(message);
  return true;
}

}  // namespace kestrelvisor

int SecuritySS::KmcDecryptInfo(const std::string& cipher, SecString& plain) {
  using kestrelvisor::Decryption;
  using kestrelvisor::kPlatformTag;
  plain.assign({});
  std::string text;
  const kestrelvisor::WipeOnExit wipe(text);
  std::string problem;
  const Decryption outcome = kestrelvisor::decryptText(cipher, text, problem);
  if (outcome == Decryption::done) {
    plain.assign(text);
  } else {
    KV_LOG_AS(kPlatformTag, kError, "Password not decrypted: ", problem);
  }
  return static_cast<int>(outcome);
}
