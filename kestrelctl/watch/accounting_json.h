#pragma once

#include "kestrelctl/accounting.h"
#include "kestrelctl/warning.h"

#include <json/value.h>

#include <vector>

namespace kestrelvisor::ctl {

// {"counted":1000,"recorded":997,"templates":2,"linkedClones":1,"outOfScope":0,"unreadableUuid":0,
// "unreadData":0,"unexplained":0}
Json::Value accountingJson(const Accounting& accounting);

// [{"kind":"unverified-tls","text":"..."}]
Json::Value warningsJson(const std::vector<Warning>& warnings);

}  // namespace kestrelvisor::ctl
