#include "platform/reference/password_key.h"

#include "base/wipe_string.h"
#include "platform/reference/password_cipher.h"
#include "platform/reference/small_file.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <mutex>

namespace kestrelvisor {
namespace {

constexpr std::size_t kLargestKeyFile = 4096;
constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr const char* kNotAKey = "not a key: 64 hexadecimal digits or base64 of 32 bytes expected";

// The host's own key. Plain memory without a destructor, for the process's whole life.
struct HostKey {
  std::mutex mutex;
  std::array<unsigned char, 32> bytes{};
  bool isSet = false;
};
constinit HostKey hostKey;

int hexValue(char c) {
  const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
  const std::size_t value = kHexDigits.find(lower);
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

bool readHex(std::string_view text, std::array<unsigned char, 32>& bytes) {
  if (text.size() != 2 * bytes.size()) return false;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = hexValue(text[2 * i]);
    const int low = hexValue(text[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    bytes[i] = static_cast<unsigned char>(high * 16 + low);
  }
  return true;
}

bool readBase64(std::string_view text, std::array<unsigned char, 32>& bytes) {
  std::string decoded;
  const WipeOnExit wipe(decoded);
  if (!bytesOfBase64(text, decoded) || decoded.size() != bytes.size()) return false;
  std::copy(decoded.begin(), decoded.end(), bytes.begin());
  return true;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Returns the text of an environment variable; an empty one counts as not set.
const char* environment(const char* name) {
  const char* const text = std::getenv(name);
  return text == nullptr || *text == '\0' ? nullptr : text;
}

bool fetchFromFile(const std::string& path, PasswordKey& key, std::string& problem) {
  std::string content;
  const WipeOnExit wipe(content);
  const FileCheck check = [](const struct stat& status) {
    return problemOfKeyFile(status, geteuid());
  };
  if (!readSmallFile(path, kLargestKeyFile, check, content, problem)) return false;
  if (key.read(trimmed(content))) return true;
  problem = path + ": " + kNotAKey;
  return false;
}

bool fetchFromHost(PasswordKey& key) {
  const std::lock_guard lock(hostKey.mutex);
  if (hostKey.isSet) key.bytes = hostKey.bytes;
  return hostKey.isSet;
}

}  // namespace

PasswordKey::~PasswordKey() { OPENSSL_cleanse(bytes.data(), bytes.size()); }

bool PasswordKey::read(std::string_view text) {
  return readHex(text, bytes) || readBase64(text, bytes);
}

std::string problemOfKeyFile(const struct stat& status, uid_t user) {
  if (status.st_uid != user && status.st_uid != 0) return "owned by another user";
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
    return "accessible to others than its owner; chmod 600 it";
  return {};
}

bool fetchPasswordKey(PasswordKey& key, std::string& problem) {
  if (fetchFromHost(key)) return true;
  if (const char* const text = environment("KESTRELVISOR_PASSWORD_KEY")) {
    if (key.read(text)) return true;
    problem = std::string("KESTRELVISOR_PASSWORD_KEY: ") + kNotAKey;
    return false;
  }
  if (const char* const path = environment("KESTRELVISOR_PASSWORD_KEY_FILE"))
    return fetchFromFile(path, key, problem);
  problem = "no key: neither KESTRELVISOR_PASSWORD_KEY nor KESTRELVISOR_PASSWORD_KEY_FILE is set";
  return false;
}

std::string base64Of(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');  // and the NUL that is written behind it
  const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                   reinterpret_cast<const unsigned char*>(bytes.data()),
                                   static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(size));
  return text;
}

bool bytesOfBase64(std::string_view text, std::string& bytes) {
  wipeString(bytes);
  if (text.empty() || text.size() % 4 != 0) return false;
  bytes.resize(text.size() / 4 * 3);
  const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                   reinterpret_cast<const unsigned char*>(text.data()),
                                   static_cast<int>(text.size()));
  const std::size_t padding = text.size() - (text.find_last_not_of('=') + 1);
  if (size >= 0 && padding <= 2) {
    bytes.resize(bytes.size() - padding);
    // The decoder forgives blanks and stray bits; the same bytes must give the same text again.
    std::string again = base64Of(bytes);
    const WipeOnExit wipe(again);
    if (again == text) return true;
  }
  wipeString(bytes);
  return false;
}

bool setPasswordKey(std::string_view text, std::string& problem) {
  PasswordKey key;
  if (!key.read(text)) {
    problem = kNotAKey;
    return false;
  }
  const std::lock_guard lock(hostKey.mutex);
  hostKey.bytes = key.bytes;
  hostKey.isSet = true;
  return true;
}

void forgetPasswordKey() {
  const std::lock_guard lock(hostKey.mutex);
  OPENSSL_cleanse(hostKey.bytes.data(), hostKey.bytes.size());
  hostKey.isSet = false;
}

bool hasPasswordKey(std::string& problem) {
  PasswordKey key;
  return fetchPasswordKey(key, problem);
}

bool generateKey(std::string& text, std::string& problem) {
  PasswordKey key;
  wipeString(text);
  if (RAND_priv_bytes(key.bytes.data(), static_cast<int>(key.bytes.size())) != 1) {
    problem = "no random bytes";
    return false;
  }
  text.reserve(2 * key.bytes.size());
  for (const unsigned char byte : key.bytes) {
    text += kHexDigits[byte / 16U];
    text += kHexDigits[byte % 16U];
  }
  return true;
}

}  // namespace kestrelvisor
