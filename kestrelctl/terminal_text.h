#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

// Texts of a manager are strangers' texts: before they reach a terminal or a document they pass one
// of these.

// Valid UTF-8: each byte that is none becomes U+FFFD.
std::string validUtf8(std::string_view text);

// Fit for a terminal: control characters and those that change the direction of writing are
// escaped as \n, \x1b or \u202e. Without utf8 everything beyond ASCII is escaped too.
std::string printable(std::string_view text, bool utf8);

// One of ASCII: a line end, an escape and their like.
bool isControlByte(char c);

// A JSON document in UTF-8, in which characters that would control a terminal, end a line for some
// readers, or are none for YAML are escaped as \u009b. Its own line ends stay.
std::string harmlessJson(std::string_view document);

// Columns that a printable text takes. Relies on LC_CTYPE for wide characters.
std::size_t columnsOf(std::string_view text);

// Where nothing is cut, a text of more columns is out of line and moves no others apart. Only
// strangers' texts are so long.
constexpr std::size_t kWidestColumn = 200;

// The text, filled up with blanks to a width in columns; a longer text stays as it is.
std::string padRight(std::string text, std::size_t width);
std::string padLeft(const std::string& text, std::size_t width);

// A printable text of at most a width in columns: where it is longer, a mark stands for its rest.
// Empty where not even the mark has room.
std::string cutToColumns(const std::string& text, std::size_t width, bool utf8);

// How wide sentences are where nothing is narrower: longer lines are hard to read.
constexpr std::size_t kLineWidth = 80;

// In which columns the lines of a wrapped text begin.
struct LineStarts {
  std::size_t first = 0;  // behind a label, perhaps
  std::size_t others = 0;
};

// Breaks a printable text into lines that end at a width in columns, at blanks; only a longer word
// makes a longer line. Its first line gets no blanks in front.
std::string wrapped(std::string_view text, std::size_t width, const LineStarts& starts = {});

// "80 GiB", "1.5 TiB", "0 KiB".
std::string humanSize(std::uint64_t kib);

// "1,234,567".
std::string grouped(std::uint64_t number);

// "1 disk", "1,000 disks".
std::string counted(std::uint64_t count, const std::string& noun);

// "5 hosts, 120 machines". Parts that are empty are left out.
std::string joined(const std::vector<std::string>& parts, std::string_view between = ", ");

}  // namespace kestrelvisor::ctl
