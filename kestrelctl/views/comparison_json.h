#pragma once

#include "kestrelctl/comparison/reply_comparison.h"

#include <json/json.h>

namespace kestrelvisor::ctl {

// The parts of a comparison as JSON objects. docs/schemas describes them.
Json::Value differenceJson(const Difference& difference);

// Whether the replies are the same, the counts by kind and change, and the warnings.
Json::Value comparisonSummaryJson(const ReplyComparison& comparison);

}  // namespace kestrelvisor::ctl
