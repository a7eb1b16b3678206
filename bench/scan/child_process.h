#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kestrelvisor::bench {

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
  int input_ = -1;
  int output_ = -1;
};

}  // namespace kestrelvisor::bench
