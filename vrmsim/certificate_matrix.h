#pragma once

#include "vrmsim/certificate.h"

#include <span>
#include <string>
#include <string_view>

namespace kestrelvisor::vrmsim {

// One way in which a manager's TLS can be wrong, or unusual and right.
struct CertificateCase {
  std::string_view name;
  std::string_view description;
  bool accepted;  // by a strict client that trusts the identity's trustedPem and nothing else

  // Makes keys and certificates anew, valid by the real clock. Except where that is the fault, they
  // hold for 127.0.0.1, ::1, localhost and the bind address. Throws std::runtime_error when OpenSSL
  // refuses. RSA keys can take seconds.
  TlsIdentity (*make)(const std::string& bindAddress);
};

// All cases: first those that a strict client has to refuse, then those that it has to accept.
std::span<const CertificateCase> certificateCases();

// Throws std::invalid_argument, with the names that there are, when there is no such case.
const CertificateCase& certificateCase(std::string_view name);

}  // namespace kestrelvisor::vrmsim
