#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace kestrelvisor::bench {

// Owns an open file.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, kNone)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor();

  int number() const { return number_; }

 private:
  static constexpr int kNone = -1;

  int number_ = kNone;
};

// A program of our own start that is asked to end, and waited for, with the object. Its standard
// error is ours.
class ChildProcess {
 public:
  // The first word is the program, found by the path. Throws std::runtime_error when it cannot be
  // started.
  explicit ChildProcess(std::vector<std::string> words);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t id() const { return id_; }
  void write(const std::string& text) const;  // to its standard input

  // The next line of its standard output without the end. Throws std::runtime_error when the output
  // ends before.
  std::string readLine();

 private:
  std::string program_;
  pid_t id_ = -1;
  Descriptor input_;
  Descriptor output_;
};

}  // namespace kestrelvisor::bench
