#pragma once

#include "bench/scan/cost.h"
#include "bench/scan/shape.h"
#include "bench/scan/target.h"
#include "environment.pb.h"

namespace kestrelvisor::bench {

// The host of the engine: what it asks, and what it must get.
class EngineHost {
 public:
  // The manager must live until the process ends: the engine logs out from it then.
  EngineHost(const Target& target, const Shape& shape);

  // One scan. Throws std::runtime_error unless it succeeds and brings what the shape has.
  void scan(ScanEnvironmentReply& reply) const;
  Cost costOfScan() const;

 private:
  void requireWhole(const ScanEnvironmentReply& reply) const;

  const Shape shape_;
  EnvironmentPath path_;
};

}  // namespace kestrelvisor::bench
