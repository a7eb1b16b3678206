#pragma once

#include <string>
#include <string_view>

// A string that overwrites its characters when it ends or gets a new value.
class SecString {
 public:
  SecString() = default;
  ~SecString();
  SecString(const SecString&) = delete;
  SecString& operator=(const SecString&) = delete;

  // Takes a copy of text; what was there before is overwritten.
  void assign(std::string_view text);

  // The caller wipes what it takes.
  operator std::string() const { return value_; }  // NOLINT(google-explicit-constructor)

 private:
  std::string value_;
};

// The host's security library.
class SecuritySS {
 public:
  // Sets the TLS options of a fresh libcurl easy handle. cert is the certificate text of the
  // request; what an empty text stands for is the host's policy. The answer must come over
  // HTTP/1.1: a handle that offers HTTP/2 (CURLOPT_SSL_ENABLE_ALPN) finds no token at login, as
  // that protocol writes names of headers in lower case.
  //
  // Called before each HTTPS exchange, also for the logouts at process exit.
  static void enrichSSL(void* curl, std::string& cert);

  // Decrypts a password of a request.
  //
  // Returns 0, or a non-zero number when cipher cannot be decrypted; plain is then empty.
  static int KmcDecryptInfo(const std::string& cipher, SecString& plain);
};

// Returns what a record of level 1 may quote of an answer: a copy of text without tokens,
// passwords, keys and session ids. It may be called at any time, process exit included.
//
// The engine asks for the body of each answer, whatever the log wants, and streams the result into
// such a record and nowhere else. A host that drops that record may return an empty text at once.
std::string WipeSensitiveData(const std::string& text);
