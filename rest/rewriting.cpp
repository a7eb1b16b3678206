// Finds the texts that JsonCpp does not give back as it read them.

#include "rest/rewriting.h"

#include <langinfo.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <locale>

namespace {

constexpr std::uint64_t kLowBits = 0x0101010101010101;
constexpr std::uint64_t kHighBits = 0x8080808080808080;
constexpr unsigned char kFirstBeyondAscii = 0x80;

constexpr std::string_view kNumberCharacters = "+-.0123456789Ee";

// A well-formed sequence of UTF-8: its first byte, its second byte, its length.
struct Utf8Sequence {
  unsigned char firstFrom;
  unsigned char firstTo;
  unsigned char secondFrom;
  unsigned char secondTo;
  std::size_t size;
};

constexpr std::array<Utf8Sequence, 8> kUtf8Sequences{{
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},  // nothing that fits two bytes
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},  // no surrogates
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},  // nothing that fits three bytes
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},  // nothing above U+10FFFF
}};

unsigned char byteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

bool isBetween(unsigned char byte, unsigned char from, unsigned char to) {
  return byte >= from && byte <= to;
}

// Whether one of eight bytes is a backslash or beyond ASCII.
bool needsALook(std::uint64_t bytes) {
  const std::uint64_t backslashes = bytes ^ (kLowBits * std::uint64_t{'\\'});
  return ((bytes | ((backslashes - kLowBits) & ~backslashes)) & kHighBits) != 0;
}

// Skips what is neither a backslash nor beyond ASCII.
std::size_t skipPlain(std::string_view text, std::size_t at) {
  for (std::uint64_t bytes = 0; at + sizeof(bytes) <= text.size(); at += sizeof(bytes)) {
    std::memcpy(&bytes, text.data() + at, sizeof(bytes));
    if (needsALook(bytes)) break;
  }
  while (at < text.size() && text[at] != '\\' && byteAt(text, at) < kFirstBeyondAscii) ++at;
  return at;
}

// Length of the well-formed sequence at a place; 0 when there is none.
std::size_t utf8SequenceAt(std::string_view text, std::size_t at) {
  for (const Utf8Sequence& sequence : kUtf8Sequences) {
    if (!isBetween(byteAt(text, at), sequence.firstFrom, sequence.firstTo)) continue;
    if (text.size() - at < sequence.size) return 0;
    if (!isBetween(byteAt(text, at + 1), sequence.secondFrom, sequence.secondTo)) return 0;
    for (std::size_t next = 2; next < sequence.size; ++next) {
      if (!isBetween(byteAt(text, at + next), 0x80, 0xBF)) return 0;
    }
    return sequence.size;
  }
  return 0;
}

// Whether the text from a backslash on begins with \uD8 to \uDF, in either case. A backslash that
// is itself escaped counts too: nothing is lost but time.
bool escapesSurrogate(std::string_view text) {
  constexpr std::size_t kDecisiveSize = 4;
  constexpr std::string_view kSecondDigits = "89ABCDEFabcdef";
  return text.size() >= kDecisiveSize && text[1] == 'u' && (text[2] == 'D' || text[2] == 'd') &&
         kSecondDigits.find(text[3]) != std::string_view::npos;
}

bool hasOnlyWholeCharacters(std::string_view text) {
  std::size_t at = skipPlain(text, 0);
  while (at < text.size()) {
    if (text[at] == '\\') {
      if (escapesSurrogate(text.substr(at))) return false;
      ++at;
    } else {
      const std::size_t size = utf8SequenceAt(text, at);
      if (size == 0) return false;
      at += size;
    }
    at = skipPlain(text, at);
  }
  return true;
}

// Numbers with a fraction are read in the locale of C++, and written in that of the C library with
// a comma turned into a point.
bool fractionsStay() {
  const std::locale current;
  if (current != std::locale::classic()) {
    const auto& numbers = std::use_facet<std::numpunct<char>>(current);
    if (numbers.decimal_point() != '.') return false;
    const bool groups = !numbers.grouping().empty();
    if (groups && kNumberCharacters.find(numbers.thousands_sep()) != std::string_view::npos) {
      return false;
    }
  }
  const std::string_view point = nl_langinfo(RADIXCHAR);
  return point == "." || point == ",";
}

}  // namespace

bool kestrelvisor::survivesRewriting(std::string_view json) {
  return fractionsStay() && hasOnlyWholeCharacters(json);
}
