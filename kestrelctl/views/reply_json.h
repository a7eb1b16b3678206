#pragma once

#include "kestrelctl/output_format.h"
#include "kestrelctl/reply_selection.h"
#include "kestrelctl/views/reply_notes.h"
#include "kestrelctl/views/sink.h"

#include <vector>

namespace kestrelvisor::ctl {

// A whole reply as one JSON document in UTF-8. The same reply gives the same bytes.
void jsonView(const ReplyIndex& index, const ReplyNotes& notes, const Sink& sink);

// A whole reply as a document on each line. The last one is the summary: without it, the rest has
// been lost on the way.
void jsonLinesView(const ReplyIndex& index, const ReplyNotes& notes, const Sink& sink);

// What was found, likewise.
void foundJsonView(const ReplyIndex& index, const ReplySelection& found,
                   const std::vector<Warning>& warnings, const Sink& sink);
void foundJsonLinesView(const ReplyIndex& index, const ReplySelection& found,
                        const std::vector<Warning>& warnings, const Sink& sink);

}  // namespace kestrelvisor::ctl
