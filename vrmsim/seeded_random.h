#pragma once

#include <cstdint>
#include <string>

namespace kestrelvisor::vrmsim {

// Numbers that look like chance and are the same for the same seed on every machine.
class SeededRandom {
 public:
  explicit SeededRandom(std::uint64_t seed) : state_(seed) {}

  // A generator for one of many purposes under the same seed.
  SeededRandom branch(std::uint64_t purpose) const {
    return SeededRandom(SeededRandom(state_ ^ (purpose * 0x9E3779B97F4A7C15ULL)).next());
  }

  // Splitmix64: any state is as good as any other, so that small seeds need no warming up.
  std::uint64_t next() {
    std::uint64_t mixed = state_ += 0x9E3779B97F4A7C15ULL;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
    return mixed ^ (mixed >> 31);
  }

  std::uint64_t below(std::uint64_t limit) { return next() % limit; }

  std::string bytes(std::size_t size) {
    std::string made(size, '\0');
    for (char& byte : made) byte = static_cast<char>(next() & 0xFF);
    return made;
  }

 private:
  std::uint64_t state_;
};

}  // namespace kestrelvisor::vrmsim
