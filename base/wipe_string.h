#pragma once

#include <cstddef>
#include <string>

// Overwrites a secret: three passes that write 0 over every byte, then length 0.
//
// The passes cover the whole buffer, so that what an earlier, longer value left behind goes too.
// The writes are volatile: the optimiser must not drop stores into a string that nobody reads
// again.
inline void wipeString(std::string& secret) noexcept {
  volatile char* const bytes = secret.data();
  const std::size_t size = secret.capacity();
  for (int pass = 0; pass < 3; ++pass) {
    for (std::size_t i = 0; i < size; ++i) bytes[i] = '\0';
  }
  secret.clear();
}

namespace kestrelvisor {

// A string that is wiped when it ends or is replaced.
//
// A record that keeps a secret holds one of these rather than wipe in its own destructor, which
// does not run for a copy that found no memory half-way.
class SecretString : public std::string {
 public:
  SecretString() = default;
  SecretString(const SecretString&) = default;
  SecretString& operator=(const SecretString& other) { return *this = std::string(other); }
  // Takes over a text; what is moved here leaves no secret behind.
  SecretString& operator=(std::string text) noexcept {
    wipeString(*this);
    swap(text);
    wipeString(text);  // a short one is copied, not swapped
    return *this;
  }
  ~SecretString() { wipeString(*this); }
};

// Wipes a string that its owner keeps, when the scope ends.
class WipeOnExit {
 public:
  explicit WipeOnExit(std::string& secret) : secret_(secret) {}
  ~WipeOnExit() { wipeString(secret_); }
  WipeOnExit(const WipeOnExit&) = delete;
  WipeOnExit& operator=(const WipeOnExit&) = delete;

 private:
  std::string& secret_;
};

}  // namespace kestrelvisor
