#pragma once

#include "kestrelctl/reply_index.h"
#include "kestrelctl/views/sink.h"

namespace kestrelvisor::ctl {

// A reply as a graph in the language of Graphviz: what stands in what, and which datastores hosts
// and clusters reach.
void dotView(const ReplyIndex& index, const Sink& sink);

}  // namespace kestrelvisor::ctl
