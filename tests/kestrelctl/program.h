#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl::test {

using Arguments = std::vector<std::string>;

// What a run starts with, beside its arguments. It has no controlling terminal.
struct Setting {
  std::string input;
  std::vector<std::pair<std::string, std::string>> environment = {};  // beyond what every run gets
  bool inputStaysOpen = false;
  bool talkIsFull = false;  // the pipe, until wait reads it
};

// kestrelctl as a process of its own; ended with the object at the latest. What it writes for
// programs up to its end has to conform to docs/schemas: a test fails that makes it do otherwise.
class Program {
 public:
  explicit Program(const Arguments& arguments, const Setting& setting = {});
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  pid_t id() const { return id_; }
  // Reads standard error up to a text.
  void waitForTalk(const std::string& text);
  void signal(int number) const;
  // Nobody reads its standard output any more.
  void closeOutput();
  // Waits for the end; the exit status, or 128 and the signal's number.
  int wait();

  // All that came out; complete after wait.
  const std::string& output() const { return output_; }
  const std::string& talk() const { return talk_; }

 private:
  bool readSome();

  Arguments arguments_;
  pid_t id_ = -1;
  int inputEnd_ = -1;
  int outputEnd_ = -1;
  int talkEnd_ = -1;
  std::string output_;
  std::string talk_;
  int status_ = -1;
};

// A run from start to end.
struct Finished {
  explicit Finished(const Arguments& arguments, const Setting& setting = {});

  int status;
  std::string output;
  std::string talk;
};

// kestrelctl on a terminal of its own. A terminal that is 0 columns wide does not tell its width.
class TerminalProgram {
 public:
  // The setting's input is not typed.
  explicit TerminalProgram(const Arguments& arguments, const Setting& setting = {},
                           unsigned short columns = 0);
  ~TerminalProgram();
  TerminalProgram(const TerminalProgram&) = delete;
  TerminalProgram& operator=(const TerminalProgram&) = delete;

  pid_t id() const { return id_; }
  // Reads what the terminal shows up to a text.
  void waitForText(const std::string& text);
  void type(const std::string& text) const;
  bool showsWhatIsTyped() const;
  int wait();
  const std::string& shown() const { return shown_; }

 private:
  bool readSome();

  pid_t id_ = -1;
  int terminal_ = -1;
  int ourEnd_ = -1;
  std::string shown_;
  int status_ = -1;
};

}  // namespace kestrelvisor::ctl::test
