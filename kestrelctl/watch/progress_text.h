#pragma once

#include "kestrelctl/watch/progress_estimate.h"
#include "kestrelctl/watch/scan_counts.h"

#include <cstddef>
#include <string>

namespace kestrelvisor::ctl {

// "5 s", "3 min 20 s", "1 h 5 min"; rounded up.
std::string roughDuration(double seconds);

// "Reading machines and disks  412 of 1,000  312 requests/s  12 s left", in ASCII, cut to a width.
std::string progressLine(const ScanCounts& counts, const ProgressEstimate& estimate,
                         std::size_t width);

// One object without a line end, as the guide for operators tells.
std::string progressObject(const ScanCounts& counts, const ProgressEstimate& estimate);

}  // namespace kestrelvisor::ctl
