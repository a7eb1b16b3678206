#pragma once

#include "kestrelctl/failure.h"
#include "kestrelctl/operation.h"
#include "kestrelctl/worker/channel.h"
#include "kestrelctl/worker/worker.pb.h"

#include <cstdint>
#include <string>

namespace kestrelvisor::ctl {

// What is said over the channel, and what it stands for.

// Without what is the asking side's own: where the password comes from, and the time limit.
wire::Job jobOf(const OperationRequest& request);
OperationRequest requestOf(const wire::Job& job);

wire::Event readyEvent();
wire::Event sessionsEvent(std::uint64_t open);
wire::Event progressEvent(const ScanCounts& counts);
// Throws a Failure when the result is too large to be handed over.
wire::Event eventOf(const OperationResult& result);
wire::Event eventOf(const Failure& failure);

// Throws BrokenChannel for a phase that nobody knows.
ScanCounts countsOf(const wire::Progress& progress);
// Throws BrokenChannel when the reply in it cannot be read.
OperationResult resultOf(const wire::Done& done);
Failure failureOf(const wire::Failed& failed);

// Throws BrokenChannel.
void sendMessage(Channel& channel, const google::protobuf::MessageLite& message);
void readMessage(const std::string& frame, google::protobuf::MessageLite& message);

}  // namespace kestrelvisor::ctl
