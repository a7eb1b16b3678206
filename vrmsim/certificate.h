#pragma once

#include <string>

namespace kestrelvisor::vrmsim {

struct TlsIdentity {
  std::string certificatePem;
  std::string privateKeyPem;
};

// Makes a self-signed certificate for 127.0.0.1, ::1, localhost and the bind address, with a fresh
// key on P-256. A client may use it as the only certificate it trusts. Throws std::runtime_error
// when OpenSSL refuses.
TlsIdentity makeSelfSignedIdentity(const std::string& bindAddress);

}  // namespace kestrelvisor::vrmsim
