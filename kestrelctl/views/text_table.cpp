#include "kestrelctl/views/text_table.h"

#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <numeric>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kGap = "  ";
constexpr std::size_t kGapColumns = 2;
constexpr std::size_t kNarrowestText = 6;  // less tells nothing

}  // namespace

std::string TextTable::cut(const Rendering& rendering) const {
  Widths widths = naturalWidths();
  narrow(widths, rendering.columns);
  return text(widths, rendering);
}

std::string TextTable::uncut(const Rendering& rendering) const {
  return text(naturalWidths(), rendering);
}

TextTable::Widths TextTable::naturalWidths() const {
  Widths widths;
  for (const Column& column : columns_) widths.push_back(columnsOf(column.heading));
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], columnsOf(row[i]));
    }
  }
  return widths;
}

// The widest text gives way first, so that short ones stay whole.
void TextTable::narrow(Widths& widths, std::size_t columns) const {
  std::size_t total = std::accumulate(widths.begin(), widths.end(), std::size_t{0});
  total += kGapColumns * (widths.size() - 1);
  for (; total > columns; --total) {
    std::size_t widest = widths.size();
    for (std::size_t i = 0; i < widths.size(); ++i) {
      if (columns_[i].cells == Cells::number || widths[i] <= kNarrowestText) continue;
      if (widest == widths.size() || widths[i] > widths[widest]) widest = i;
    }
    if (widest == widths.size()) return;
    --widths[widest];
  }
}

std::string TextTable::text(const Widths& widths, const Rendering& rendering) const {
  std::vector<std::string> headings;
  for (const Column& column : columns_) headings.push_back(column.heading);
  std::string result = rendering.bold(line(headings, widths, rendering.utf8)) + "\n";
  for (const auto& row : rows_) result += line(row, widths, rendering.utf8) + "\n";
  return result;
}

std::string TextTable::line(const std::vector<std::string>& cells, const Widths& widths,
                            bool utf8) const {
  std::string result;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) result += kGap;
    const std::string cell = cutToColumns(cells[i], widths[i], utf8);
    result +=
        columns_[i].cells == Cells::number ? padLeft(cell, widths[i]) : padRight(cell, widths[i]);
  }
  result.erase(result.find_last_not_of(' ') + 1);
  return result;
}

}  // namespace kestrelvisor::ctl
