// The entry of one fuzzer. FUZZ_TARGET names its target.

#include "tests/fuzz/targets.h"

#include <cstddef>
#include <cstdint>

namespace {

const kestrelvisor::fuzz::Target& target() {
  static const kestrelvisor::fuzz::Target* const found = [] {
    kestrelvisor::fuzz::prepareProcess();
    return kestrelvisor::fuzz::findTarget(FUZZ_TARGET);
  }();
  return *found;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  target().run({reinterpret_cast<const char*>(data), size});
  return 0;
}
