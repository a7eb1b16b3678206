#pragma once

#include <openssl/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// A certificate as people and programs read it. Its texts are a stranger's.
struct Certificate {
  using Time = std::chrono::system_clock::time_point;

  std::string subject;             // "CN=vrm.example.com,O=Example"; may be empty
  std::string issuer;              // likewise
  std::vector<std::string> names;  // the alternative ones: host names and addresses
  Time notBefore;
  Time notAfter;
  std::string key;          // its kind and size, "RSA, 2048 bits"
  std::string fingerprint;  // SHA-256 of all of it, 64 small hexadecimal digits
  std::string pin;          // SHA-256 of its public key, "sha256//" and base64, as libcurl takes it
  std::string pem;
};

// Throws std::runtime_error when OpenSSL cannot read a part of it, std::bad_alloc.
Certificate readCertificate(const X509& certificate);

// "2026-11-22T05:10:00Z".
std::string timeText(Certificate::Time time);

}  // namespace kestrelvisor::ctl
