#pragma once

#include <openssl/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// A certificate as people and programs read it. Its texts are a stranger's. One that cannot be read
// in parts is shown all the same.
struct Certificate {
  // Many never end: 9999-12-31 is beyond the reach of nanoseconds.
  using Time = std::chrono::sys_seconds;

  std::string subject;             // "CN=vrm.example.com,O=Example"; may be empty
  std::string issuer;              // likewise
  std::vector<std::string> names;  // the alternative ones: host names and addresses
  std::optional<Time> notBefore;   // nothing: what stands there is no time
  std::optional<Time> notAfter;    // likewise
  std::string key;                 // its kind and size, "RSA, 2048 bits"
  std::string fingerprint;         // SHA-256 of all of it, 64 small hexadecimal digits
  std::string pin;  // SHA-256 of its public key, "sha256//" and base64, as libcurl takes it
  std::string pem;
};

// Throws std::bad_alloc.
Certificate readCertificate(const X509& certificate);

// "2026-11-22T05:10:00Z".
std::string timeText(Certificate::Time time);

// "2026-11-22"; "unreadable" without a time.
std::string dateText(const std::optional<Certificate::Time>& time);

}  // namespace kestrelvisor::ctl
