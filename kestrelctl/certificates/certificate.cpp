#include "kestrelctl/certificates/certificate.h"

#include "kestrelctl/certificates/openssl_owners.h"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/sha.h>

#include <array>
#include <ctime>
#include <new>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

using Digest = std::array<unsigned char, SHA256_DIGEST_LENGTH>;

constexpr const char* kUnreadable = "unreadable";

// Of what nothing but want of memory can stop.
void demand(bool worked) {
  if (worked) return;
  ERR_clear_error();
  throw std::bad_alloc();
}

OpenSslOwned<BIO> memory() {
  OpenSslOwned<BIO> bio(BIO_new(BIO_s_mem()));
  if (!bio) throw std::bad_alloc();
  return bio;
}

std::string textOf(BIO& bio) {
  char* text = nullptr;
  const long size = BIO_get_mem_data(&bio, &text);
  return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

// In UTF-8, as it is written in configuration files.
std::string nameText(const X509_NAME* name) {
  constexpr auto kForm = static_cast<unsigned long>(XN_FLAG_RFC2253) &
                         ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
  const OpenSslOwned<BIO> bio = memory();
  if (X509_NAME_print_ex(bio.get(), name, 0, kForm) >= 0) return textOf(*bio);
  ERR_clear_error();
  return kUnreadable;
}

std::string addressText(const ASN1_OCTET_STRING& address) {
  constexpr int kIpv4Bytes = 4;
  constexpr int kIpv6Bytes = 16;
  const int size = ASN1_STRING_length(&address);
  if (size != kIpv4Bytes && size != kIpv6Bytes) return {};
  std::array<char, INET6_ADDRSTRLEN> text{};
  inet_ntop(size == kIpv4Bytes ? AF_INET : AF_INET6, ASN1_STRING_get0_data(&address), text.data(),
            text.size());
  return text.data();
}

// An empty text for a name of another kind.
std::string alternativeName(const GENERAL_NAME& name) {
  int kind = 0;
  const auto* const value = static_cast<const ASN1_STRING*>(GENERAL_NAME_get0_value(&name, &kind));
  if (kind == GEN_IPADD) return addressText(*value);
  if (kind != GEN_DNS) return {};
  const auto* const text = reinterpret_cast<const char*>(ASN1_STRING_get0_data(value));
  return {text, static_cast<std::size_t>(ASN1_STRING_length(value))};
}

std::vector<std::string> alternativeNames(const X509& certificate) {
  const OpenSslOwned<GENERAL_NAMES> list(static_cast<GENERAL_NAMES*>(
      X509_get_ext_d2i(&certificate, NID_subject_alt_name, nullptr, nullptr)));
  std::vector<std::string> names;
  for (int i = 0; list && i < sk_GENERAL_NAME_num(list.get()); ++i) {
    std::string name = alternativeName(*sk_GENERAL_NAME_value(list.get(), i));
    if (!name.empty()) names.push_back(std::move(name));
  }
  return names;
}

std::optional<Certificate::Time> timeOf(const ASN1_TIME* time) {
  std::tm parts{};
  if (ASN1_TIME_to_tm(time, &parts) == 1) {
    return Certificate::Time(std::chrono::seconds(timegm(&parts)));
  }
  ERR_clear_error();
  return std::nullopt;
}

std::string keyText(const X509& certificate) {
  const EVP_PKEY* const key = X509_get0_pubkey(&certificate);
  if (key == nullptr) {
    ERR_clear_error();
    return kUnreadable;
  }
  const char* const kind = EVP_PKEY_get0_type_name(key);
  return std::string(kind == nullptr ? "unknown" : kind) + ", " +
         std::to_string(EVP_PKEY_get_bits(key)) + " bits";
}

std::string fingerprintOf(const X509& certificate) {
  constexpr const char* kDigits = "0123456789abcdef";
  Digest digest{};
  demand(X509_digest(&certificate, EVP_sha256(), digest.data(), nullptr) == 1);
  std::string text;
  for (const unsigned char byte : digest) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
  return text;
}

std::string base64(const Digest& digest) {
  constexpr std::size_t kSize = (SHA256_DIGEST_LENGTH + 2) / 3 * 4;
  std::array<unsigned char, kSize + 1> text{};
  EVP_EncodeBlock(text.data(), digest.data(), static_cast<int>(digest.size()));
  return {text.begin(), text.begin() + kSize};
}

std::string pinOf(const X509& certificate) {
  unsigned char* bytes = nullptr;
  const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(&certificate), &bytes);
  const OpenSslOwned<unsigned char> owner(bytes);
  demand(size > 0);
  Digest digest{};
  demand(EVP_Digest(bytes, static_cast<std::size_t>(size), digest.data(), nullptr, EVP_sha256(),
                    nullptr) == 1);
  return "sha256//" + base64(digest);
}

std::string pemOf(const X509& certificate) {
  const OpenSslOwned<BIO> bio = memory();
  demand(PEM_write_bio_X509(bio.get(), &certificate) == 1);
  return textOf(*bio);
}

}  // namespace

Certificate readCertificate(const X509& certificate) {
  Certificate read;
  read.subject = nameText(X509_get_subject_name(&certificate));
  read.issuer = nameText(X509_get_issuer_name(&certificate));
  read.names = alternativeNames(certificate);
  read.notBefore = timeOf(X509_get0_notBefore(&certificate));
  read.notAfter = timeOf(X509_get0_notAfter(&certificate));
  read.key = keyText(certificate);
  read.fingerprint = fingerprintOf(certificate);
  read.pin = pinOf(certificate);
  read.pem = pemOf(certificate);
  return read;
}

std::string timeText(Certificate::Time time) {
  const std::time_t seconds = time.time_since_epoch().count();
  std::tm parts{};
  std::array<char, 32> text{};
  if (gmtime_r(&seconds, &parts) == nullptr) return {};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string dateText(const std::optional<Certificate::Time>& time) {
  constexpr std::size_t kDateSize = 10;
  return time ? timeText(*time).substr(0, kDateSize) : kUnreadable;
}

}  // namespace kestrelvisor::ctl
