#pragma once

#include <openssl/types.h>

namespace kestrelvisor {

// Lets the context trust what libcurl trusts by itself: the store that it was built with, or else
// OpenSSL's, which SSL_CERT_FILE and SSL_CERT_DIR may name. It is read once per process; libcurl
// would read it, some 140 certificates, for every handle.
//
// False, and the context as it was, when the store cannot be read; the next call tries again.
bool trustSystem(SSL_CTX* context);

// Lets the next call read the store anew.
void forgetSystemTrust();

}  // namespace kestrelvisor
