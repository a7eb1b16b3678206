#pragma once

#include "tests/torture/faults/fault_plan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The process's connect, send, recv and poll, and read and write on sockets. They stand before the
// C library's; faults are switched on for the calling thread alone.
namespace kestrelvisor::torture {

enum class Call : std::uint8_t { connect, send, receive, poll };

const char* nameOf(Call call);

// What a chosen call does instead.
struct CallFault {
  static constexpr int kOneByte = 0;     // moves one byte only
  static constexpr int kEndOfData = -1;  // receive: the peer has closed

  const char* name;
  Call call;
  int error;  // errno of the failure, or one of the above
  // Whether libcurl goes on as if nothing had happened, so that the operation must succeed.
  bool harmless;
};

class SystemCalls {
 public:
  static void arm(const CallFault& fault, const FaultPlan& plan);
  static FaultCount disarm();

  // Notes the first line of every request that is sent in plain text, from now on, without
  // allocating. The last ones are dropped when there are too many.
  static void noteRequests();
  static std::size_t requestCount();
  static std::string_view request(std::size_t place);
};

}  // namespace kestrelvisor::torture
