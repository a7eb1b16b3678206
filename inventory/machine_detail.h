#pragma once

#include <json/forwards.h>

struct VM_DETAIL;

namespace kestrelvisor {

// Reads one element of a "vms" list in detail form: what KestrelVisor_rest_api::getVMDetail does
// once its text is parsed. Its log record names that function.
//
// Throws Json::Exception for a key of the wrong type.
void readMachineDetail(const Json::Value& element, VM_DETAIL& detail);

}  // namespace kestrelvisor
