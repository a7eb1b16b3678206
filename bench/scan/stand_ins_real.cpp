#include "bench/scan/stand_ins.h"
#include "platform/reference/password_cipher.h"

#include <stdexcept>

namespace kestrelvisor::bench {

const char* strengthOfStandIns() { return "real"; }

std::string storedPassword(const std::string& password) {
  std::string key;
  std::string cipher;
  std::string problem;
  if (generateKey(key, problem) && setPasswordKey(key, problem) &&
      encryptPassword(password, cipher, problem)) {
    return cipher;
  }
  throw std::runtime_error(problem);
}

}  // namespace kestrelvisor::bench
