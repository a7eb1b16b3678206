#pragma once

#include <cstdint>

// Names the thread-specific slot that holds the id of the request which the thread serves.
enum KCPTSPSlot : std::int32_t { TSP_RequestID = 0 };

// The host's thread-specific values.
class KCPTSP {
 public:
  // Returns the calling thread's value of a slot; never null. It may be called at any time, process
  // exit included.
  static std::uint64_t* get(KCPTSPSlot slot);
};
