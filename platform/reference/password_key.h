#pragma once

#include <sys/stat.h>

#include <array>
#include <string>
#include <string_view>

namespace kestrelvisor {

// 32 bytes that wipe themselves.
class PasswordKey {
 public:
  PasswordKey() = default;
  ~PasswordKey();
  PasswordKey(const PasswordKey&) = delete;
  PasswordKey& operator=(const PasswordKey&) = delete;

  // Takes 64 hexadecimal digits or the base64 text of 32 bytes; returns false for anything else.
  bool read(std::string_view text);

  std::array<unsigned char, 32> bytes{};
};

// Fetches the key in use; returns false and tells why in problem when there is none.
bool fetchPasswordKey(PasswordKey& key, std::string& problem);

// Returns what makes a key file with this status unsafe for a process of this user, or an empty
// text.
std::string problemOfKeyFile(const struct stat& status, uid_t user);

// Strict base64, padding included: each text stands for one run of bytes and the other way round.
std::string base64Of(std::string_view bytes);
bool bytesOfBase64(std::string_view text, std::string& bytes);

}  // namespace kestrelvisor
