#pragma once

#include "kestrelctl/failure.h"
#include "kestrelctl/operation.h"
#include "kestrelctl/worker/channel.h"
#include "kestrelctl/worker/worker.pb.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kestrelvisor::ctl {

// What is said over the channel, and what it stands for.

// Without what is the asking side's own: where the password comes from, and the time limit.
wire::Job jobOf(const OperationRequest& request);
// Throws BrokenChannel for an operation that nobody knows.
OperationRequest requestOf(const wire::Job& job);

wire::Event readyEvent();
wire::Event sessionsEvent(std::uint64_t open, bool loggedIn);
wire::Event changeEvent(bool outcomeUnknown);
wire::Event progressEvent(const ScanCounts& counts);
wire::Event eventOf(const Warning& warning);
// Without the warnings, which travel for themselves. Throws a Failure when the result is larger
// than a frame may be.
wire::Event eventOf(const OperationResult& result,
                    std::size_t largestFrame = Channel::kLargestFrame);
wire::Event eventOf(const Failure& failure);

// Throws BrokenChannel for a phase that nobody knows.
ScanCounts countsOf(const wire::Progress& progress);
// Throws BrokenChannel when the reply in it cannot be read.
OperationResult resultOf(const wire::Done& done);
Warning warningOf(const wire::Warning& warning);
Failure failureOf(const wire::Failed& failed);

// Throws BrokenChannel.
void sendMessage(Channel& channel, const google::protobuf::MessageLite& message);
void readMessage(const std::string& frame, google::protobuf::MessageLite& message);

}  // namespace kestrelvisor::ctl
