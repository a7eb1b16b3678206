#pragma once

#include "vrmsim/inventory.h"

#include <string>

namespace kestrelvisor::vrmsim::test {

// A site "S1" that fits into the head:
//   clusters c1 (arch arm), c2 (empty)
//   hosts h1 and h2 in c1, h3 in none
//   datastores d1 (h1, h2), d2 (h3, a type without CBT), d3 (h1, ABNORMAL), d4 (cluster c2 alone)
//   VMs v1 and v2 on h1, v3 on h3 with a disk on d2, v4 on c1 itself, t1 a template and l1 a linked
//   clone on h2
Inventory smallSite();

constexpr const char* kSite = "/service/sites/S1";

}  // namespace kestrelvisor::vrmsim::test
