#pragma once

#include "kestrelctl/failure.h"
#include "kestrelctl/warning.h"

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

// Thrown when whoever reads our standard output has gone; nothing is left to say then.
struct ClosedPipe {};

// What one of our two streams can show.
struct Rendering {
  bool colour = false;  // a terminal, and the user has not said NO_COLOR
  bool utf8 = false;    // by the locale
  // How wide it is: what the variable COLUMNS says, or the terminal, 80 when that does not tell. A
  // file or a pipe has no bound.
  std::size_t columns = 80;

  static constexpr std::size_t kUnbounded = std::numeric_limits<std::size_t>::max();
  bool isBounded() const { return columns != kUnbounded; }
  // How wide sentences are there.
  std::size_t columnsOfProse() const;

  std::string bold(const std::string& text) const { return marked("1", text); }
  std::string dim(const std::string& text) const { return marked("2", text); }
  std::string red(const std::string& text) const { return marked("1;31", text); }
  // Yellow could not be read on a light background.
  std::string magenta(const std::string& text) const { return marked("1;35", text); }

 private:
  std::string marked(const char* code, const std::string& text) const {
    return colour ? std::string("\x1b[") + code + "m" + text + "\x1b[0m" : text;
  }
};

Rendering renderingOfResults();
Rendering renderingOfTalk();

// Writes a result to standard output. Throws ClosedPipe, or a Failure when it cannot be written.
void printResult(std::string_view text);

// Talk on standard error, a line each. What cannot be written is lost.
void say(const std::string& text);
void announce(const std::string& text);  // a heading
void warn(const std::string& text);
void warnOf(const std::vector<Warning>& warnings);
// A failure with its warnings in front.
void report(const Failure& failure);

// Standard error as a place to draw: whether what stands there can be drawn over, how wide it is
// (80 when it does not tell), and writing without a line end.
bool talkCanBeDrawnOver();
std::size_t columnsOfTalk();
void drawOnTalk(const std::string& bytes);

// Makes the process fit for the rest: the user's character set, no death by a closed pipe or a file
// that grows beyond the process's limit, and no file that is taken for a standard stream because
// the caller has closed that.
void prepareStreams();

}  // namespace kestrelvisor::ctl
