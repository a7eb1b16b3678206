#pragma once

#include <openssl/evp.h>
#include <openssl/obj_mac.h>
#include <openssl/x509.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {

struct CertificateFree {
  void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
};
using OwnedKey = std::unique_ptr<EVP_PKEY, CertificateFree>;
using OwnedCertificate = std::unique_ptr<X509, CertificateFree>;

// A certificate and the key that belongs to it.
struct Party {
  OwnedKey key;
  OwnedCertificate certificate;
};

// What a certificate says. Every extension stands under OpenSSL's number of it, in the words of
// OpenSSL's configuration files: "critical,CA:TRUE".
struct CertificateContent {
  std::vector<std::string> commonNames;  // of the subject; none: the subject is empty
  std::map<int, std::string> extensions;
  int validFromDay = -1;  // counted from today
  int validUntilDay = 365;
  const EVP_MD* digest = EVP_sha256();  // of the issuer's signature
};

// All functions that make something throw std::runtime_error when OpenSSL refuses.

OwnedKey makeCurveKey(const char* curve = "P-256");
OwnedKey makeRsaKey(unsigned int bits);
OwnedKey makeEd25519Key();

// 127.0.0.1, ::1, localhost and the address that a server is bound to, as subject alternative
// names.
std::string alternativeNames(const std::string& bindAddress);

// Makes a certificate with the key, signed by issuer's key, or by its own without an issuer.
Party certify(const CertificateContent& content, OwnedKey key, const Party* issuer);

std::string certificateText(const Party& party);  // PEM
std::string keyText(const Party& party);          // PEM, not encrypted

}  // namespace kestrelvisor::vrmsim
