#pragma once

#include <span>
#include <string_view>

namespace kestrelvisor::test {

// One log line of the engine, as hosts know it. The catalogue is written down apart from the
// engine's sources, so that a changed word, level or tag over there shows.
struct ToldLine {
  std::string_view id;
  int level;
  std::string_view tag;
  std::string_view function;
  std::string_view text;  // "{}" stands for a variable piece
  int statements = 1;     // how many places in the function write it
};

// Every line, by subsystem. A function that is a template's member stands with "<T>"; compilers
// write either that or the type.
std::span<const ToldLine> toldLines();

// The line with an id. Throws std::out_of_range.
const ToldLine& toldLine(std::string_view id);

}  // namespace kestrelvisor::test
