#include "vrmsim/certificate_builder.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <cstdint>
#include <stdexcept>

namespace kestrelvisor::vrmsim {
namespace {

constexpr int kVersion3 = 2;  // counted from 0

void require(bool worked, const char* step) {
  if (!worked) throw std::runtime_error(std::string("cannot make a certificate: ") + step);
}

OwnedKey taken(EVP_PKEY* key) {
  require(key != nullptr, "key");
  return OwnedKey(key);
}

void setSerial(X509* certificate) {
  std::uint64_t serial = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1, "serial");
  require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1) == 1, "serial");
}

void setSubject(X509* certificate, const std::vector<std::string>& commonNames) {
  X509_NAME* const subject = X509_get_subject_name(certificate);
  for (const std::string& name : commonNames) {
    const auto* const text = reinterpret_cast<const unsigned char*>(name.c_str());
    require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1,
            "subject");
  }
}

void setValidity(X509* certificate, const CertificateContent& content) {
  ASN1_TIME* const from = X509_getm_notBefore(certificate);
  ASN1_TIME* const until = X509_getm_notAfter(certificate);
  require(X509_time_adj_ex(from, content.validFromDay, 0, nullptr) != nullptr, "validity");
  require(X509_time_adj_ex(until, content.validUntilDay, 0, nullptr) != nullptr, "validity");
}

void addExtension(X509* certificate, X509* issuer, int number, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, number, value.c_str());
  require(extension != nullptr, "extension");
  const bool added = X509_add_ext(certificate, extension, -1) == 1;  // a copy
  X509_EXTENSION_free(extension);
  require(added, "extension");
}

template <class Write>
std::string writtenText(Write write) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), BIO_free);
  require(bio != nullptr && write(bio.get()) == 1, "text");
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &data);
  return {data, static_cast<std::size_t>(size)};
}

}  // namespace

OwnedKey makeCurveKey(const char* curve) { return taken(EVP_EC_gen(curve)); }

OwnedKey makeRsaKey(unsigned int bits) { return taken(EVP_RSA_gen(bits)); }

OwnedKey makeEd25519Key() { return taken(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")); }

std::string alternativeNames(const std::string& bindAddress) {
  std::string names = "IP:127.0.0.1,IP:::1,DNS:localhost";
  if (bindAddress != "127.0.0.1" && bindAddress != "::1") names += ",IP:" + bindAddress;
  return names;
}

Party certify(const CertificateContent& content, OwnedKey key, const Party* issuer) {
  OwnedCertificate owned(X509_new());
  X509* const certificate = owned.get();
  require(certificate != nullptr, "memory");
  require(X509_set_version(certificate, kVersion3) == 1, "version");
  require(X509_set_pubkey(certificate, key.get()) == 1, "public key");
  setSerial(certificate);
  setSubject(certificate, content.commonNames);
  setValidity(certificate, content);
  X509* const signer = issuer == nullptr ? certificate : issuer->certificate.get();
  require(X509_set_issuer_name(certificate, X509_get_subject_name(signer)) == 1, "issuer");
  for (const auto& [number, value] : content.extensions) {
    addExtension(certificate, signer, number, value);
  }
  EVP_PKEY* const signingKey = issuer == nullptr ? key.get() : issuer->key.get();
  require(X509_sign(certificate, signingKey, content.digest) > 0, "signature");
  return {std::move(key), std::move(owned)};
}

std::string certificateText(const Party& party) {
  return writtenText([&](BIO* bio) { return PEM_write_bio_X509(bio, party.certificate.get()); });
}

std::string keyText(const Party& party) {
  return writtenText([&](BIO* bio) {
    return PEM_write_bio_PrivateKey(bio, party.key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
}

}  // namespace kestrelvisor::vrmsim
