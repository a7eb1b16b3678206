#pragma once

#include <iostream>
#include <streambuf>

namespace kestrelvisor::ctl {

// Sends what is written to std::cout somewhere else while it lives. The engine prints a dump for
// testers there, which must not mix with our results.
class StandardOutputExchange {
 public:
  explicit StandardOutputExchange(std::streambuf& target) : before_(std::cout.rdbuf(&target)) {}
  ~StandardOutputExchange() { std::cout.rdbuf(before_); }
  StandardOutputExchange(const StandardOutputExchange&) = delete;
  StandardOutputExchange& operator=(const StandardOutputExchange&) = delete;

 private:
  std::streambuf* before_;
};

// Takes everything and keeps nothing.
class Discard : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

}  // namespace kestrelvisor::ctl
