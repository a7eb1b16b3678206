#pragma once

#include "kestrelctl/console.h"

#include <cstddef>
#include <string>

namespace kestrelvisor::ctl {

// The width of a column that holds one printable text more. Where nothing is cut, a text beyond
// kWidestColumn is left out: it would move all others apart.
std::size_t widened(std::size_t width, const std::string& text, const Rendering& rendering);

// A text filled up with blanks to the width of its column; on a screen it is cut to that.
std::string asCell(const std::string& text, std::size_t width, const Rendering& rendering);

// A line of printable texts that ends where the screen does: what has no room any more is cut.
class ScreenLine {
 public:
  explicit ScreenLine(const Rendering& rendering)
      : rendering_(rendering), room_(rendering.columns) {}

  ScreenLine& add(const std::string& text);
  ScreenLine& addBold(const std::string& text);
  ScreenLine& addDim(const std::string& text);

  // With its line end.
  std::string text() const { return text_ + "\n"; }

 private:
  // As much of a text as has room, which it takes.
  std::string fitting(const std::string& text);

  const Rendering& rendering_;
  std::size_t room_;
  std::string text_;
};

}  // namespace kestrelvisor::ctl
