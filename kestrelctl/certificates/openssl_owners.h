#pragma once

#include <openssl/bio.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace kestrelvisor::ctl {

struct OpenSslCleanup {
  void operator()(BIO* bio) const noexcept { BIO_free_all(bio); }
  void operator()(GENERAL_NAMES* names) const noexcept { GENERAL_NAMES_free(names); }
  void operator()(unsigned char* bytes) const noexcept { OPENSSL_free(bytes); }
};

template <class Thing>
using OpenSslOwned = std::unique_ptr<Thing, OpenSslCleanup>;

}  // namespace kestrelvisor::ctl
