#include "platform/reference/tls_sharing.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>

namespace kestrelvisor {
namespace {

// Stands for a text: a host may have put a key beside the certificates, and nobody else's copy of
// it should outlive the handle.
using Digest = std::array<unsigned char, SHA256_DIGEST_LENGTH>;

struct ShareCleanup {
  void operator()(CURLSH* share) const noexcept { curl_share_cleanup(share); }
};
using OwnedShare = std::unique_ptr<CURLSH, ShareCleanup>;

struct Share {
  CURLSH* handle = nullptr;
  std::optional<Digest> trusted;  // nothing: for nobody any more
  std::uint64_t lastUse = 0;
  std::array<std::mutex, CURL_LOCK_DATA_LAST> locks{};  // for libcurl
};

// Never destroyed, and neither are the handles in them: logouts at process exit still share.
constinit std::array<Share, kMostTlsShares> shares{};
constinit std::mutex sharesMutex;
constinit std::uint64_t uses = 0;
static_assert(std::is_trivially_destructible_v<decltype(shares)>);

void lockShare(CURL*, curl_lock_data data, curl_lock_access, void* share) noexcept {
  static_cast<Share*>(share)->locks[data].lock();
}

void unlockShare(CURL*, curl_lock_data data, void* share) noexcept {
  static_cast<Share*>(share)->locks[data].unlock();
}

std::optional<Digest> digestOf(std::string_view text) {
  Digest digest;
  if (EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha256(), nullptr) == 1) {
    return digest;
  }
  ERR_clear_error();
  return std::nullopt;
}

bool open(Share& share) {
  OwnedShare handle(curl_share_init());
  if (!handle) return false;
  const auto set = [&](CURLSHoption option, auto value) {
    return curl_share_setopt(handle.get(), option, value) == CURLSHE_OK;
  };
  const bool ready = set(CURLSHOPT_LOCKFUNC, lockShare) && set(CURLSHOPT_UNLOCKFUNC, unlockShare) &&
                     set(CURLSHOPT_USERDATA, static_cast<void*>(&share)) &&
                     set(CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION) &&
                     set(CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
  if (ready) share.handle = handle.release();
  return ready;
}

// Nobody gets it any more; it is closed when its place is wanted.
void retire(Share& share) {
  share.trusted.reset();
  share.lastUse = 0;
}

// False while a handle uses it.
bool close(Share& share) {
  if (share.handle != nullptr && curl_share_cleanup(share.handle) != CURLSHE_OK) return false;
  share.handle = nullptr;
  retire(share);
  return true;
}

// An empty place, if need be that of the share that nobody has used for longest. Null when all are
// in use.
Share* emptyPlace() {
  std::array<Share*, kMostTlsShares> places{};
  std::transform(shares.begin(), shares.end(), places.begin(), [](Share& share) { return &share; });
  std::sort(places.begin(), places.end(),
            [](const Share* one, const Share* other) { return one->lastUse < other->lastUse; });
  const auto place =
      std::find_if(places.begin(), places.end(), [](Share* share) { return close(*share); });
  return place == places.end() ? nullptr : *place;
}

// Null when there is no memory or no place.
Share* shareOf(const Digest& trusted) {
  auto* share = std::find_if(shares.begin(), shares.end(),
                             [&](const Share& known) { return known.trusted == trusted; });
  if (share == shares.end()) {
    share = emptyPlace();
    if (share == nullptr || !open(*share)) return nullptr;
    share->trusted = trusted;
  }
  share->lastUse = ++uses;
  return share;
}

}  // namespace

CURLcode shareTls(CURL* curl, std::string_view trusted) {
  const std::optional<Digest> digest = digestOf(trusted);
  // Until the handle has it: a share that nobody uses may be closed.
  const std::lock_guard lock(sharesMutex);
  Share* const share = digest ? shareOf(*digest) : nullptr;
  const CURLcode result = curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, share);
  if (result != CURLE_OK) return result;
  return curl_easy_setopt(curl, CURLOPT_SHARE, share == nullptr ? nullptr : share->handle);
}

void retireTlsShare(void* share) noexcept {
  if (share == nullptr) return;
  const std::lock_guard lock(sharesMutex);
  retire(*static_cast<Share*>(share));
}

void forgetTlsShares() {
  const std::lock_guard lock(sharesMutex);
  for (Share& share : shares) {
    if (!close(share)) retire(share);
  }
}

}  // namespace kestrelvisor
