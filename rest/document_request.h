#pragma once

#include "base/error_message.h"
#include "rest/kestrelvisor_rest_api.h"

#include <string>

namespace kestrelvisor {

// GETs a path of the manager and leaves its answer as text: the first half of
// KestrelVisor_rest_api::getJSonObjFromKestrelVisor, whose name its log records bear.
bool requestDocument(KestrelVisor_rest_api& api, VRM_INFO& vrm, const std::string& uri,
                     KestrelVisorErrorMessage& err, std::string& text);

}  // namespace kestrelvisor
