#include "vrmsim/certificate.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace kestrelvisor::vrmsim {
namespace {

struct OpenSslFree {
  void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const noexcept { X509_EXTENSION_free(extension); }
  void operator()(BIO* bio) const noexcept { BIO_free(bio); }
};
template <class Object>
using Owned = std::unique_ptr<Object, OpenSslFree>;

constexpr long kSecondsPerDay = 24L * 60 * 60;

void require(bool worked, const char* step) {
  if (!worked) throw std::runtime_error(std::string("cannot make a certificate: ") + step);
}

void addExtension(X509* certificate, int nid, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const Owned<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

std::string alternativeNames(const std::string& bindAddress) {
  std::string names = "IP:127.0.0.1,IP:::1,DNS:localhost";
  if (bindAddress != "127.0.0.1" && bindAddress != "::1") names += ",IP:" + bindAddress;
  return names;
}

void setSerial(X509* certificate) {
  std::uint64_t serial = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1, "serial");
  require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1) == 1, "serial");
}

void setSubject(X509* certificate) {
  X509_NAME* const name = X509_get_subject_name(certificate);
  const auto* const text = reinterpret_cast<const unsigned char*>("vrmsim");
  require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1, "subject");
  require(X509_set_issuer_name(certificate, name) == 1, "issuer");
}

Owned<X509> makeCertificate(EVP_PKEY* key, const std::string& bindAddress) {
  Owned<X509> certificate(X509_new());
  require(certificate != nullptr, "memory");
  require(X509_set_version(certificate.get(), 2) == 1, "version");  // counted from 0
  setSerial(certificate.get());
  setSubject(certificate.get());
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kSecondsPerDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 365 * kSecondsPerDay);
  require(X509_set_pubkey(certificate.get(), key) == 1, "public key");
  addExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate.get(), NID_key_usage, "critical,digitalSignature,keyCertSign");
  addExtension(certificate.get(), NID_ext_key_usage, "serverAuth");
  addExtension(certificate.get(), NID_subject_key_identifier, "hash");
  addExtension(certificate.get(), NID_subject_alt_name, alternativeNames(bindAddress));
  require(X509_sign(certificate.get(), key, EVP_sha256()) > 0, "signature");
  return certificate;
}

std::string textOf(BIO* bio) {
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio, &data);
  return {data, static_cast<std::size_t>(size)};
}

}  // namespace

TlsIdentity makeSelfSignedIdentity(const std::string& bindAddress) {
  const Owned<EVP_PKEY> key(EVP_EC_gen("P-256"));
  require(key != nullptr, "key");
  const Owned<X509> certificate = makeCertificate(key.get(), bindAddress);
  const Owned<BIO> certificateText(BIO_new(BIO_s_mem()));
  const Owned<BIO> keyText(BIO_new(BIO_s_mem()));
  require(certificateText && keyText, "memory");
  require(PEM_write_bio_X509(certificateText.get(), certificate.get()) == 1, "text");
  require(PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr,
                                   nullptr) == 1,
          "key text");
  return {textOf(certificateText.get()), textOf(keyText.get())};
}

}  // namespace kestrelvisor::vrmsim
