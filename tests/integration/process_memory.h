#pragma once

#include <sys/types.h>

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrelvisor::test {

// A copy of all memory of a process that it can read and write: heap, stacks, static data. The
// process must stand still meanwhile, and be a child of ours.
class ProcessMemory {
 public:
  explicit ProcessMemory(pid_t process);
  // Memory that holds these texts.
  explicit ProcessMemory(std::vector<std::string> mappings) : mappings_(std::move(mappings)) {}

  // The places at which the bytes occur, each as what stands right before it: before bytes, or
  // fewer at the start of a mapping.
  std::vector<std::string> places(std::string_view bytes, std::size_t before = 0) const;

 private:
  std::vector<std::string> mappings_;
};

// Waits until the process waits for something itself; false when it has ended or goes on running.
bool waitUntilIdle(pid_t process);

// A secret in other clothes.
struct SecretForm {
  std::string name;
  std::string bytes;
};
// As hexadecimal digits, as base64 wherever in a longer text it may stand, as UTF-16.
std::vector<SecretForm> encodedFormsOf(std::string_view secret);

// Copies of a secret, by what they are a part of.
struct Copies {
  std::size_t alone = 0;     // nobody's text but its own
  std::size_t header = 0;    // a header line "X-Auth-...:secret", as in a list of such lines
  std::size_t request = 0;   // the head of a request, as it goes on the wire
  std::size_t fragment = 0;  // half a copy: freed memory loses its first bytes to the allocator
  std::size_t encoded = 0;   // any of the other forms, whole or half

  bool operator==(const Copies&) const = default;
};
void PrintTo(const Copies& copies, std::ostream* out);

Copies copiesIn(const ProcessMemory& memory, std::string_view secret);

// Copies of bytes of which their hexadecimal digits are a secret themselves, which copiesIn counts:
// as they are, and as base64.
Copies bareCopiesIn(const ProcessMemory& memory, std::string_view bytes);

}  // namespace kestrelvisor::test
