#pragma once

#include "kestrelctl/reply_selection.h"
#include "kestrelctl/views/sink.h"

#include <string>

namespace kestrelvisor::ctl {

// A line of cells for each thing of a selection, under a line of headings; RFC 4180.
void csvView(const ReplyIndex& index, const ReplySelection& selection, const Sink& sink);

// A text as a cell, quoted where it must be. A spreadsheet would carry out a text that begins like
// a formula: an apostrophe stands in front of that.
std::string csvCell(const std::string& text);

}  // namespace kestrelvisor::ctl
