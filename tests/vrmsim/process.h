#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim::test {

// A program that the test started; ended with the object at the latest.
class Process {
 public:
  // Throws std::runtime_error when the program cannot be started.
  Process(const std::string& program, const std::vector<std::string>& arguments);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t id() const { return id_; }

  // Hands text to standard input. What a program that has ended does not read is dropped.
  void write(const std::string& text) const;

  // The next line of standard output without its end; what is left when the output ends.
  std::string readLine();

  // Sends the signal to this process.
  void signal(int number) const;

  // Waits for the end; the exit status, or 128 and the signal's number.
  int wait();

  // What remains of each output, up to the program's end.
  std::string restOfOutput();
  std::string errors();

 private:
  void readBoth();

  pid_t id_ = -1;
  int input_ = -1;
  int output_ = -1;
  int errors_ = -1;
  std::string outputText_;
  std::string errorText_;
  bool ended_ = false;
  int status_ = 0;
};

// The one child that a process has; throws std::runtime_error when it has none or several.
pid_t onlyChildOf(pid_t parent);

// A folder of its own for a test's files, removed with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string file(const std::string& name) const { return path_ + "/" + name; }
  std::string write(const std::string& name, const std::string& text) const;
  static std::string read(const std::string& path);

 private:
  std::string path_;
};

}  // namespace kestrelvisor::vrmsim::test
