#pragma once

#include <string>

namespace kestrelvisor::vrmsim {

enum class TlsVersion {
  v1_0 = 0x0301,
  v1_1 = 0x0302,
  v1_2 = 0x0303,
  v1_3 = 0x0304
};  // on the wire

// What a TLS server shows to its clients, and demands of them.
struct TlsIdentity {
  std::string chainPem;  // as it is sent: the server's own certificate first
  std::string privateKeyPem;
  std::string trustedPem;  // what a client has to trust
  TlsVersion oldestVersion = TlsVersion::v1_2;
  TlsVersion newestVersion = TlsVersion::v1_3;
  bool takesWeakCryptography = false;     // which OpenSSL would refuse to serve
  bool demandsClientCertificate = false;  // signed by what a client has to trust
  bool resumesSessions = true;            // which spares both sides most of a handshake
};

// Makes a self-signed certificate for 127.0.0.1, ::1, localhost and the bind address, with a fresh
// key on P-256. A client may use it as the only certificate it trusts. Throws std::runtime_error
// when OpenSSL refuses.
TlsIdentity makeSelfSignedIdentity(const std::string& bindAddress);

}  // namespace kestrelvisor::vrmsim
