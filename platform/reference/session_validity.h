#pragma once

#include <openssl/ssl.h>

namespace kestrelvisor {

// Keeps with a new session, before anybody else has it, for how long the certificates hold by which
// its connection was judged: the chain as it was built, with the trust anchor, which a server need
// not send. A connection that was resumed built none; its session is a copy of the one before and
// has the time of that.
//
// False when there is no memory for it.
bool keepValidity(const SSL* connection, SSL_SESSION* session) noexcept;

// Whether all those certificates hold now. False when nothing was kept.
bool isInTime(SSL_SESSION* session) noexcept;

}  // namespace kestrelvisor
