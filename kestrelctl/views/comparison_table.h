#pragma once

#include "kestrelctl/comparison/reply_comparison.h"
#include "kestrelctl/views/text_table.h"

namespace kestrelvisor::ctl {

// A line for each difference; GUIDs only when told.
TextTable tableOfDifferences(const ReplyComparison& comparison, bool withGuids,
                             const Rendering& rendering);

// A line for each kind of thing, a column for each kind of change.
TextTable tableOfCounts(const ReplyComparison& comparison);

}  // namespace kestrelvisor::ctl
