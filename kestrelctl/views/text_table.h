#pragma once

#include "kestrelctl/console.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// Lines of columns under headings, without borders.
class TextTable {
 public:
  enum class Cells {
    text,    // begin in one column; cut where the width does not suffice
    number,  // end in one column; never cut
  };
  struct Column {
    std::string heading;
    Cells cells = Cells::text;
  };

  explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

  // As many printable cells as there are columns.
  void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  bool empty() const { return rows_.empty(); }

  // Lines of at most rendering.columns columns, as far as cutting texts can bring them there.
  std::string cut(const Rendering& rendering) const;
  // Every text whole. A text of more than 200 columns is out of line: the others are not moved
  // apart for it.
  std::string uncut(const Rendering& rendering) const;

 private:
  using Widths = std::vector<std::size_t>;
  enum class Excess { cut, kept };  // of a text that is wider than its column

  // Of each column the widest cell, leaving out those that are wider than a limit.
  Widths widthsOfCells(std::size_t limit) const;
  void narrow(Widths& widths, std::size_t columns) const;
  std::string text(const Widths& widths, Excess excess, const Rendering& rendering) const;
  std::string line(const std::vector<std::string>& cells, const Widths& widths) const;

  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace kestrelvisor::ctl
