#pragma once

#include "kestrelctl/console.h"
#include "kestrelctl/reply_selection.h"
#include "kestrelctl/views/sink.h"

namespace kestrelvisor::ctl {

enum class TableWidth {
  cut,    // the columns that matter most, cut to rendering.columns
  uncut,  // all columns, as wide as they are
};

// A table for each kind that a selection holds, parted by empty lines.
void tablesView(const ReplyIndex& index, const ReplySelection& selection, TableWidth width,
                const Rendering& rendering, const Sink& sink);

}  // namespace kestrelvisor::ctl
