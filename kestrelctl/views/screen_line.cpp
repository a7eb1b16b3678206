#include "kestrelctl/views/screen_line.h"

#include "kestrelctl/terminal_text.h"

#include <algorithm>

namespace kestrelvisor::ctl {

std::size_t widened(std::size_t width, const std::string& text, const Rendering& rendering) {
  const std::size_t columns = columnsOf(text);
  return rendering.isBounded() || columns <= kWidestColumn ? std::max(width, columns) : width;
}

std::string asCell(const std::string& text, std::size_t width, const Rendering& rendering) {
  if (!rendering.isBounded()) return padRight(text, width);
  return padRight(cutToColumns(text, width, rendering.utf8), width);
}

ScreenLine& ScreenLine::add(const std::string& text) {
  text_ += fitting(text);
  return *this;
}

ScreenLine& ScreenLine::addBold(const std::string& text) {
  const std::string part = fitting(text);
  if (!part.empty()) text_ += rendering_.bold(part);
  return *this;
}

ScreenLine& ScreenLine::addDim(const std::string& text) {
  const std::string part = fitting(text);
  if (!part.empty()) text_ += rendering_.dim(part);
  return *this;
}

std::string ScreenLine::fitting(const std::string& text) {
  std::string part = cutToColumns(text, room_, rendering_.utf8);
  // Behind a cut nothing follows, even where a wide character has left a column free.
  room_ = part == text ? room_ - columnsOf(part) : 0;
  return part;
}

}  // namespace kestrelvisor::ctl
