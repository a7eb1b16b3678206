// Changes one value of a JSON text at a time, beside the fuzzer's own changes of bytes: a reader of
// documents is better surprised by a wrong value than by a text that it refuses.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

constexpr std::array<std::string_view, 36> kValues{"null",
                                                   "true",
                                                   "false",
                                                   "0",
                                                   "1",
                                                   "-1",
                                                   "2",
                                                   "101",
                                                   "-0.0",
                                                   "0.5",
                                                   "1e3",
                                                   "1e400",
                                                   "1e-400",
                                                   "2147483647",
                                                   "2147483648",
                                                   "4294967295",
                                                   "4294967296",
                                                   "-2147483649",
                                                   "9223372036854775807",
                                                   "9223372036854775808",
                                                   "18446744073709551615",
                                                   "18446744073709551616",
                                                   "\"\"",
                                                   "\"x\"",
                                                   "\"v0\"",
                                                   "\"SCSI\"",
                                                   "\"10000002\"",
                                                   "\"\\u0000\"",
                                                   "\"\\udc00\"",
                                                   "\"\xff\"",
                                                   "[]",
                                                   "{}",
                                                   "[[]]",
                                                   "[null]",
                                                   "{\"a\":null}",
                                                   "[{}]"};

struct Span {
  std::size_t begin = 0;
  std::size_t size = 0;
};

// Where the text that opens at a quotation mark ends.
std::size_t endOfText(std::string_view text, std::size_t at) {
  for (++at; at < text.size() && text[at] != '"'; ++at) {
    if (text[at] == '\\') ++at;
  }
  return at + 1;
}

// The value that starts at a place, closed or not.
Span valueAt(std::string_view text, std::size_t begin) {
  int depth = 0;
  std::size_t at = begin;
  while (at < text.size()) {
    const char c = text[at];
    if (depth == 0 && (c == ',' || c == '}' || c == ']')) break;
    if (c == '{' || c == '[') ++depth;
    if (c == '}' || c == ']') --depth;
    at = c == '"' ? endOfText(text, at) : at + 1;
  }
  return {begin, std::min(at, text.size()) - begin};
}

// A value behind a colon, a comma or a bracket at or after a random place.
Span anyValue(std::string_view text, std::minstd_rand& random) {
  const std::size_t from = random() % text.size();
  std::size_t at = text.find_first_of(":[,", from);
  if (at == std::string_view::npos) at = text.find_first_of(":[,");
  if (at == std::string_view::npos) return valueAt(text, 0);
  return valueAt(text, at + 1);
}

std::string changed(std::string_view text, std::minstd_rand& random) {
  const Span value = anyValue(text, random);
  const std::string_view old = text.substr(value.begin, value.size);
  std::string fresh;
  switch (random() % 4) {
    case 0: {  // another value of the same text
      const Span other = anyValue(text, random);
      fresh = text.substr(other.begin, other.size);
      break;
    }
    case 1:  // twice, as an element of a list may come
      fresh = std::string(old) + "," + std::string(old);
      break;
    default:
      fresh = kValues[random() % kValues.size()];
  }
  return std::string(text.substr(0, value.begin)) + fresh +
         std::string(text.substr(value.begin + value.size));
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
  std::minstd_rand random(seed + 1);
  if (size == 0 || random() % 2 == 0) return LLVMFuzzerMutate(data, size, maxSize);
  const std::string text = changed({reinterpret_cast<const char*>(data), size}, random);
  if (text.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  std::memcpy(data, text.data(), text.size());
  return text.size();
}
