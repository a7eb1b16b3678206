#include "tests/integration/process_memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace kestrelvisor::test {
namespace {

constexpr std::size_t kPage = 4096;
// A text of which less than this is left is taken for chance.
constexpr std::size_t kShortestHalf = 12;

struct Range {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
};

// Reads "7f0a-7f0b rw-p ..." lines.
std::vector<Range> writableRanges(pid_t process) {
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  std::vector<Range> ranges;
  for (std::string line; std::getline(maps, line);) {
    std::istringstream words(line);
    Range range;
    char dash = 0;
    std::string rights;
    words >> std::hex >> range.begin >> dash >> range.end >> rights;
    if (rights.compare(0, 2, "rw") == 0) ranges.push_back(range);
  }
  return ranges;
}

// "R" running, "S" waiting, and so on; 0 for a process that is gone.
char stateOf(pid_t process) {
  std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
  const std::string line(std::istreambuf_iterator<char>(stat), {});
  const std::size_t name = line.rfind(") ");
  return name == std::string::npos ? '\0' : line[name + 2];
}

// As std::string::find, but fast.
std::size_t findIn(const std::string& text, std::string_view bytes, std::size_t from) {
  const void* const place =
      memmem(text.data() + from, text.size() - from, bytes.data(), bytes.size());
  if (place == nullptr) return std::string::npos;
  return static_cast<std::size_t>(static_cast<const char*>(place) - text.data());
}

std::string read(int memory, const Range& range) {
  std::string bytes(range.end - range.begin, '\0');
  for (std::size_t at = 0; at < bytes.size();) {
    const ssize_t count =
        ::pread(memory, bytes.data() + at, bytes.size() - at, static_cast<off_t>(range.begin + at));
    // A page that nobody can read holds nothing that anybody could find.
    at += count > 0 ? static_cast<std::size_t>(count) : kPage;
  }
  return bytes;
}

std::string hex(std::string_view bytes, std::string_view digits) {
  std::string text;
  for (const char c : bytes) {
    text += digits[static_cast<unsigned char>(c) >> 4U];
    text += digits[static_cast<unsigned char>(c) & 15U];
  }
  return text;
}

// The characters of base64 that depend on no other bytes than these, when skipped bytes of another
// text stand before them in their group of three.
std::string base64(std::string_view bytes, std::size_t skipped) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  std::uint32_t bits = 0;
  std::size_t count = 0;
  for (const char c : bytes.substr(skipped == 0 ? 0 : 3 - skipped)) {
    bits = (bits << 8U) | static_cast<unsigned char>(c);
    if (++count % 3 != 0) continue;
    for (const unsigned shift : {18U, 12U, 6U, 0U}) text += kDigits[(bits >> shift) & 63U];
  }
  return text;
}

std::vector<SecretForm> base64FormsOf(std::string_view bytes) {
  return {{"base64", base64(bytes, 0)},
          {"base64 behind one byte", base64(bytes, 1)},
          {"base64 behind two bytes", base64(bytes, 2)}};
}

std::string utf16(std::string_view bytes, bool bigEndian) {
  std::string text;
  for (const char c : bytes) {
    if (bigEndian) text += '\0';
    text += c;
    if (!bigEndian) text += '\0';
  }
  return text;
}

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Counts halves that are no part of a whole copy.
std::size_t countFragments(const ProcessMemory& memory, std::string_view bytes) {
  const std::size_t half = bytes.size() / 2;
  if (half < kShortestHalf) return 0;
  const std::size_t first = memory.places(bytes.substr(0, half)).size();
  const std::size_t last = memory.places(bytes.substr(half)).size();
  return first + last - 2 * memory.places(bytes).size();
}

std::size_t countForms(const ProcessMemory& memory, const std::vector<SecretForm>& forms) {
  std::size_t count = 0;
  for (const SecretForm& form : forms) {
    count += memory.places(form.bytes).size() + countFragments(memory, form.bytes);
  }
  return count;
}

}  // namespace

ProcessMemory::ProcessMemory(pid_t process) {
  const std::string path = "/proc/" + std::to_string(process) + "/mem";
  const int memory = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (memory < 0) throw std::runtime_error(path + " cannot be read");
  for (const Range& range : writableRanges(process)) mappings_.push_back(read(memory, range));
  ::close(memory);
}

std::vector<std::string> ProcessMemory::places(std::string_view bytes, std::size_t before) const {
  std::vector<std::string> found;
  for (const std::string& mapping : mappings_) {
    for (std::size_t at = 0; (at = findIn(mapping, bytes, at)) != std::string::npos; ++at) {
      const std::size_t context = std::min(at, before);
      found.push_back(mapping.substr(at - context, context));
    }
  }
  return found;
}

bool waitUntilIdle(pid_t process) {
  constexpr std::chrono::seconds kLongest(60);
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (std::chrono::steady_clock::now() < end) {
    const char state = stateOf(process);
    if (state == 'S') return true;
    if (state != 'R' && state != 'D') return false;
    std::this_thread::yield();
  }
  return false;
}

std::vector<SecretForm> encodedFormsOf(std::string_view secret) {
  std::vector<SecretForm> forms{{"lower-case hexadecimal", hex(secret, "0123456789abcdef")},
                                {"upper-case hexadecimal", hex(secret, "0123456789ABCDEF")},
                                {"UTF-16, low byte first", utf16(secret, false)},
                                {"UTF-16, high byte first", utf16(secret, true)}};
  for (SecretForm& form : base64FormsOf(secret)) forms.push_back(std::move(form));
  return forms;
}

void PrintTo(const Copies& copies, std::ostream* out) {
  *out << copies.alone << " alone, " << copies.header << " in headers, " << copies.request
       << " in requests, " << copies.fragment << " fragments, " << copies.encoded << " encoded";
}

Copies copiesIn(const ProcessMemory& memory, std::string_view secret) {
  constexpr std::string_view kToken = "X-Auth-Token:";
  constexpr std::string_view kKey = "X-Auth-Key:";
  Copies copies;
  for (const std::string& before : memory.places(secret, kToken.size() + 1)) {
    const std::string_view name = endsWith(before, kKey) ? kKey : kToken;
    const bool inHeader = endsWith(before, name);
    const bool inRequest = inHeader && endsWith(before, "\n" + std::string(name));
    ++(inRequest ? copies.request : inHeader ? copies.header : copies.alone);
  }
  copies.fragment = countFragments(memory, secret);
  copies.encoded = countForms(memory, encodedFormsOf(secret));
  return copies;
}

Copies bareCopiesIn(const ProcessMemory& memory, std::string_view bytes) {
  Copies copies;
  copies.alone = memory.places(bytes).size();
  copies.fragment = countFragments(memory, bytes);
  copies.encoded = countForms(memory, base64FormsOf(bytes));
  return copies;
}

}  // namespace kestrelvisor::test
