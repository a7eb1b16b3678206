#pragma once

#include "tests/torture/faults/system_calls.h"
#include "tests/torture/operations.h"

namespace kestrelvisor::torture {

// One operation under one fault, at every call that it makes.
struct Run {
  const OperationKind* operation = nullptr;
  const Route* route = nullptr;
  const CallFault* callFault = nullptr;  // null: allocations fail
  bool onwards = false;
  std::uint64_t firstPoint = 1;
  std::uint64_t lastPoint = ~std::uint64_t{0};
  double seconds = 0;          // about as long may it take; points are left out to keep to it
  unsigned limitSeconds = 20;  // a point that takes longer hangs
};

// Tries the points of a run in children, which are forked again after a crash, and tells on the
// board what happened. Throws std::runtime_error when the operation fails without a fault.
void tryPoints(const Run& run, Board& board);

// The faults of system calls that are tried.
const std::vector<CallFault>& callFaults();

}  // namespace kestrelvisor::torture
