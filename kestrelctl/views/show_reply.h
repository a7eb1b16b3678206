#pragma once

#include "kestrelctl/console.h"
#include "kestrelctl/output_format.h"
#include "kestrelctl/reply_selection.h"
#include "kestrelctl/views/reply_notes.h"
#include "kestrelctl/views/sink.h"

namespace kestrelvisor::ctl {

// Shows a whole reply. Formats for programs carry the notes, those for people do not. Throws a
// Failure when the reply is too large to be written as protobuf.
void showReply(const ReplyIndex& index, OutputFormat format, const ReplyNotes& notes,
               const Rendering& rendering, const Sink& sink);

// Shows what was found of a reply, in one of the formats table, wide, json, jsonl, yaml, csv and
// name.
void showFound(const ReplyIndex& index, const ReplySelection& found, OutputFormat format,
               const std::vector<Warning>& warnings, const Rendering& rendering, const Sink& sink);

// The bytes of a reply. Throws a Failure when it is too large for them.
std::string protobufOf(const ScanEnvironmentReply& reply);

// Throws a Failure of wrong usage when standard output is a terminal and the format is bytes.
void refuseBytesOnTerminal(OutputFormat format);

}  // namespace kestrelvisor::ctl
