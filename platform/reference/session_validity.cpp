#include "platform/reference/session_validity.h"

#include <openssl/err.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <limits>
#include <optional>

namespace kestrelvisor {
namespace {

// In seconds since 1970; the end is the first second that is too late.
struct Validity {
  std::time_t begin = std::numeric_limits<std::time_t>::min();
  std::time_t end = std::numeric_limits<std::time_t>::max();
};

std::optional<std::time_t> secondsOf(const ASN1_TIME* time) {
  std::tm parts{};
  if (ASN1_TIME_to_tm(time, &parts) != 1) return std::nullopt;
  return timegm(&parts);
}

// The time in which all certificates of the chain hold.
std::optional<Validity> validityOf(const STACK_OF(X509) * chain) {
  Validity common;
  for (int i = 0; i < sk_X509_num(chain); ++i) {
    const X509* const certificate = sk_X509_value(chain, i);
    const auto begin = secondsOf(X509_get0_notBefore(certificate));
    const auto end = secondsOf(X509_get0_notAfter(certificate));
    if (!begin || !end) return std::nullopt;
    common.begin = std::max(common.begin, *begin);
    common.end = std::min(common.end, *end);
  }
  return common;
}

}  // namespace

// As the application's data of a session: OpenSSL copies and frees it with the session, and needs
// no function of ours for that.
bool keepValidity(const SSL* connection, SSL_SESSION* session) noexcept {
  const STACK_OF(X509)* const judged = SSL_get0_verified_chain(connection);
  if (judged == nullptr) return true;
  const std::optional<Validity> validity = validityOf(judged);
  if (validity && SSL_SESSION_set1_ticket_appdata(session, &*validity, sizeof(*validity)) == 1) {
    return true;
  }
  ERR_clear_error();  // or the exchange, which goes on, would be taken for a failed one
  return false;
}

bool isInTime(SSL_SESSION* session) noexcept {
  void* kept = nullptr;
  std::size_t size = 0;
  SSL_SESSION_get0_ticket_appdata(session, &kept, &size);
  if (size != sizeof(Validity)) return false;
  Validity validity;
  std::memcpy(&validity, kept, size);
  const std::time_t now = std::time(nullptr);
  return validity.begin <= now && now < validity.end;
}

}  // namespace kestrelvisor
