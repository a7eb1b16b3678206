// For hosts whose decryption costs nothing: passwords are kept as they are.

#include "bench/scan/stand_ins.h"
#include "platform/contract/security.h"

namespace kestrelvisor::bench {

std::string storedPassword(const std::string& password) { return password; }

}  // namespace kestrelvisor::bench

int SecuritySS::KmcDecryptInfo(const std::string& cipher, SecString& plain) {
  plain.assign(cipher);
  return 0;
}
