#pragma once

#include "kestrelctl/comparison/reply_comparison.h"
#include "kestrelctl/console.h"
#include "kestrelctl/output_format.h"
#include "kestrelctl/views/sink.h"

namespace kestrelvisor::ctl {

enum class ComparisonDetail { differences, counts };

// Shows a comparison in one of the formats table, wide, json, jsonl, yaml and name; the counts
// alone in any but the last. Formats for people show nothing where nothing differs.
void showComparison(const ReplyComparison& comparison, OutputFormat format, ComparisonDetail detail,
                    const Rendering& rendering, const Sink& sink);

}  // namespace kestrelvisor::ctl
