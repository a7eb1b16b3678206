#include "kestrelctl/certificate_file.h"

#include "kestrelctl/failure.h"
#include "platform/reference/small_file.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1} << 20;

struct OpenSslFree {
  void operator()(BIO* bio) const noexcept { BIO_free(bio); }
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
};

// Counts the certificates of a PEM text; false when one cannot be read.
bool countCertificates(const std::string& pem, std::size_t& count) {
  const std::unique_ptr<BIO, OpenSslFree> bio(
      BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  if (!bio) return false;
  ERR_clear_error();
  for (count = 0;; ++count) {
    const std::unique_ptr<X509, OpenSslFree> certificate(
        PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
    if (!certificate) break;
  }
  const bool atEnd = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
  ERR_clear_error();
  return atEnd;
}

}  // namespace

std::string readCertificateFile(const std::string& path) {
  constexpr const char* kHint =
      "a PEM file starts with -----BEGIN CERTIFICATE-----; openssl x509 -inform DER -in FILE "
      "converts the other kind";
  std::string pem;
  std::string problem;
  if (!readSmallFile(path, kLargestFile, nullptr, pem, problem)) {
    throw wrongUsage("--ca-cert: " + problem);
  }
  std::size_t count = 0;
  if (!countCertificates(pem, count)) {
    throw wrongUsage("--ca-cert: " + path + " holds a certificate that cannot be read", kHint);
  }
  if (count == 0) throw wrongUsage("--ca-cert: " + path + " holds no PEM certificate", kHint);
  return pem;
}

}  // namespace kestrelvisor::ctl
