// micro_benchmarks: takes the options of Google Benchmark. Nothing is logged unless a benchmark is
// about it, and redaction is the reference platform's.

#include "tests/fuzz/targets.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
  kestrelvisor::fuzz::prepareProcess();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
