#pragma once

#include "base/vrm_info.h"
#include "base/wipe_string.h"

#include <cstdint>
#include <string>

// Selects the verb of a request.
enum SEND_METHOD : std::uint32_t {
  SEND_METHOD_POST = 0,
  SEND_METHOD_DELETE = 1,
  SEND_METHOD_PUT = 2,
  SEND_METHOD_GET = 3,
  SEND_METHOD_CERTINFO = 4,  // asks for the peer's certificates; no operation sends with it
};

// A growing receive buffer. Whoever declares one owns its memory and frees it, by delete[], after
// the exchange.
struct MemoryStruct {
  std::uint64_t size = 0;  // bytes received so far, without the terminator
  char* memory = nullptr;  // at least size + 1 bytes, NUL-terminated; null until the first chunk
  bool secret = false;     // memory is wiped whenever it is freed
};

// One session with a manager. The token is wiped when the record ends or is replaced.
struct KestrelVisorCertToken {
  std::uint64_t validTime = 0;  // granted validity in seconds; the manager sends thousandths
  std::uint64_t startTime = 0;  // when it was granted, in seconds since 1970 (UTC)
  kestrelvisor::SecretString authToken;  // value of the "X-Auth-Token:" header; a secret
};

// What the token cache keeps for one manager address.
struct VRMCertTokenInfo {
  VRM_INFO vrmInfo;  // the record used at login, with the decrypted password
  KestrelVisorCertToken certToken;
};

// Puts a session record back to an empty token and zeros.
void SetDefaultValueForKestrelVisorCertToken(KestrelVisorCertToken& token);

// Tells whether not more than half of a token's validity has passed at a time in seconds since
// 1970. A clock that was set backwards makes the token count as stale.
bool IsKestrelVisorCertTokenValid(const KestrelVisorCertToken& token, std::uint64_t now);

// Replaces digest by the SHA-256 of text, up to its NUL, as 64 lower-case hexadecimal digits.
void kestrelvisor_engine_sha256(const char* text, std::string& digest);
