#pragma once

#include "kestrelctl/views/sink.h"

#include <functional>

namespace kestrelvisor::ctl {

// The document of JSON that a function writes, in YAML.
void yamlView(const std::function<void(const Sink& json)>& write, const Sink& sink);

}  // namespace kestrelvisor::ctl
