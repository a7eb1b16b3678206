#include "kestrelctl/views/text_table.h"

#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kGap = "  ";
constexpr std::size_t kGapColumns = 2;
constexpr std::size_t kNarrowestText = 6;  // less tells nothing
constexpr std::size_t kAnyWidth = std::numeric_limits<std::size_t>::max();

std::size_t totalOf(const std::vector<std::size_t>& widths) {
  return std::accumulate(widths.begin(), widths.end(), kGapColumns * (widths.size() - 1));
}

}  // namespace

std::string TextTable::cut(const Rendering& rendering) const {
  Widths widths = widthsOfCells(kAnyWidth);
  if (totalOf(widths) <= rendering.columns) return uncut(rendering);
  narrow(widths, rendering.columns);
  return text(widths, Excess::cut, rendering);
}

std::string TextTable::uncut(const Rendering& rendering) const {
  return text(widthsOfCells(kWidestColumn), Excess::kept, rendering);
}

TextTable::Widths TextTable::widthsOfCells(std::size_t limit) const {
  Widths widths;
  for (const Column& column : columns_) widths.push_back(columnsOf(column.heading));
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const std::size_t width = columnsOf(row[i]);
      if (width <= limit) widths[i] = std::max(widths[i], width);
    }
  }
  return widths;
}

// The widest text gives way first, so that short ones stay whole.
void TextTable::narrow(Widths& widths, std::size_t columns) const {
  for (std::size_t total = totalOf(widths); total > columns; --total) {
    std::size_t widest = widths.size();
    for (std::size_t i = 0; i < widths.size(); ++i) {
      if (columns_[i].cells == Cells::number || widths[i] <= kNarrowestText) continue;
      if (widest == widths.size() || widths[i] > widths[widest]) widest = i;
    }
    if (widest == widths.size()) return;
    --widths[widest];
  }
}

std::string TextTable::text(const Widths& widths, Excess excess, const Rendering& rendering) const {
  std::vector<std::string> headings;
  for (const Column& column : columns_) headings.push_back(column.heading);
  const auto lineOf = [&](std::vector<std::string> cells) {
    for (std::size_t i = 0; excess == Excess::cut && i < cells.size(); ++i) {
      cells[i] = cutToColumns(cells[i], widths[i], rendering.utf8);
    }
    return line(cells, widths);
  };
  std::string result = rendering.bold(lineOf(headings)) + "\n";
  for (const auto& row : rows_) result += lineOf(row) + "\n";
  return result;
}

std::string TextTable::line(const std::vector<std::string>& cells, const Widths& widths) const {
  std::string result;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) result += kGap;
    const bool isNumber = columns_[i].cells == Cells::number;
    result += isNumber ? padLeft(cells[i], widths[i]) : padRight(cells[i], widths[i]);
  }
  result.erase(result.find_last_not_of(' ') + 1);
  return result;
}

}  // namespace kestrelvisor::ctl
