#pragma once

#include "vrmsim/fault_rule.h"
#include "vrmsim/http_message.h"
#include "vrmsim/script.h"
#include "vrmsim/seeded_random.h"

namespace kestrelvisor::vrmsim {

// Sends the reply as it is.
Script scriptOf(const HttpReply& reply, bool keepAlive);

// What the rule makes of the reply: its status, body and headers, and how it goes out. Changes
// reply into what the client is told; its status is 0 when no status goes out.
Script scriptOf(const FaultRule& rule, HttpReply& reply, bool keepAlive, SeededRandom random);

// What the rule does to a connection that has no request yet.
Script interruptionOf(const FaultRule& rule);

}  // namespace kestrelvisor::vrmsim
