#include "platform/reference/sensitive_name.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string>
#include <system_error>

namespace kestrelvisor {
namespace {

// Names that hold one of these anywhere are secret.
constexpr std::array<std::string_view, 13> kSecretParts{
    "token",      "password",  "passwd", "passphrase", "passcode",   "pwd",    "secret",
    "credential", "sessionid", "sessid", "apikey",     "privatekey", "authkey"};
constexpr std::array<std::string_view, 2> kSecretLineParts{"authorization", "cookie"};

// Words that are secret when they close a name as a word of their own: "key", "X-Auth-Key",
// "sshKey", but not "monkey".
constexpr std::array<std::string_view, 3> kSecretEndings{"key", "keys", "pass"};

constexpr std::size_t kShortestSecretName = 3;  // of all that is listed here

// What may stand before such a word when all is written in one case: "ACCESSKEY".
constexpr std::array<std::string_view, 20> kStems{
    "access",  "account", "admin",   "aes",        "api",     "auth",   "cert",
    "cipher",  "client",  "crypt",   "encryption", "license", "master", "rsa",
    "session", "shared",  "signing", "ssh",        "storage", "user"};

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }

bool isAlphanumeric(char c) { return isLower(c) || isUpper(c) || isDigit(c); }

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Reads size hexadecimal digits that stand for an ASCII character; returns NUL for anything else.
char hexCharacter(std::string_view text, std::size_t at, std::size_t size) {
  if (text.size() < at + size) return '\0';
  unsigned value = 0;
  const char* const end = text.data() + at + size;
  const auto [stop, error] = std::from_chars(text.data() + at, end, value, 16);
  return error == std::errc() && stop == end && value < 0x80 ? static_cast<char>(value) : '\0';
}

std::string withoutEscapes(std::string_view name) {
  std::string plain;
  plain.reserve(name.size());
  for (std::size_t i = 0; i < name.size(); ++i) {
    const bool percent = name[i] == '%';
    const bool unicode = name[i] == '\\' && name.substr(i + 1, 1) == "u";
    const std::size_t prefix = percent ? 1 : 2;
    const std::size_t digits = percent ? 2 : 4;
    const char c = percent || unicode ? hexCharacter(name, i + prefix, digits) : '\0';
    plain += c == '\0' ? name[i] : c;
    if (c != '\0') i += prefix + digits - 1;
  }
  return plain;
}

bool startsWord(char before, char c, char after) {
  if (!isAlphanumeric(before)) return true;
  return isUpper(c) && (!isUpper(before) || isLower(after));
}

// A name in lower case without what does not count. starts marks with 'x' each character that
// starts a word: behind a separator, "K" in "authKey", "K" in "APIKey".
struct FoldedName {
  explicit FoldedName(std::string_view name);

  std::string text;
  std::string starts;
};

FoldedName::FoldedName(std::string_view name) {
  text.reserve(name.size());
  starts.reserve(name.size());
  char before = '\0';
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    if (isAlphanumeric(c)) {
      const char after = i + 1 < name.size() ? name[i + 1] : '\0';
      starts += startsWord(before, c, after) ? 'x' : ' ';
      text += isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
    }
    before = c;
  }
  while (!text.empty() && isDigit(text.back())) text.pop_back();  // "token2", "key1"
}

bool endsInSecretWord(const FoldedName& name) {
  return std::any_of(kSecretEndings.begin(), kSecretEndings.end(), [&](std::string_view word) {
    if (!endsWith(name.text, word)) return false;
    const std::size_t start = name.text.size() - word.size();
    if (name.starts[start] == 'x') return true;
    const std::string_view stem = std::string_view(name.text).substr(0, start);
    return std::any_of(kStems.begin(), kStems.end(),
                       [&](std::string_view known) { return endsWith(stem, known); });
  });
}

template <class Parts>
bool holdsOneOf(std::string_view text, const Parts& parts) {
  return std::any_of(parts.begin(), parts.end(), [&](std::string_view part) {
    return text.find(part) != std::string_view::npos;
  });
}

}  // namespace

NameKind kindOfName(std::string_view name) {
  if (name.size() < kShortestSecretName) return NameKind::harmless;
  const FoldedName folded(withoutEscapes(name));
  if (holdsOneOf(folded.text, kSecretLineParts)) return NameKind::secretLine;
  if (holdsOneOf(folded.text, kSecretParts) || endsInSecretWord(folded)) return NameKind::secret;
  return NameKind::harmless;
}

}  // namespace kestrelvisor
