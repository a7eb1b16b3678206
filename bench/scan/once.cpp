#include "bench/scan/process_figures.h"
#include "bench/scan/tasks.h"

namespace kestrelvisor::bench {

Json::Value measureOnce(const EngineHost& host) {
  PaintedStack stack;
  ScanEnvironmentReply reply;
  forgetPeak();
  const long start = residentKibibytes();
  const std::size_t depth = stack.run([&] { host.scan(reply); });

  Json::Value result;
  result["stackBytes"] = Json::UInt64{depth};
  result["startKiB"] = Json::Int64{start};
  result["endAboveStartKiB"] = Json::Int64{residentKibibytes() - start};
  result["peakAboveStartKiB"] = Json::Int64{peakKibibytes() - start};
  return result;
}

}  // namespace kestrelvisor::bench
