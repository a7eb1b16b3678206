#include "bench/scan/stand_ins.h"
#include "platform/contract/log.h"
#include "platform/contract/security.h"

namespace kestrelvisor::bench {

const char* strengthOfStandIns() { return "null"; }

}  // namespace kestrelvisor::bench

LogProxy::LogProxy(int level, std::string_view tag, std::uint64_t requestId,
                   std::string_view function, int line)
    : level_(level),
      line_(line),
      tag_(tag),
      function_(function),
      requestId_(requestId),
      stream_(nullptr) {}

// A host that keeps records would read what it has of them here.
LogProxy::~LogProxy() {
  static_cast<void>(level_);
  static_cast<void>(line_);
  static_cast<void>(requestId_);
}

LogProxy& LogProxy::operator<<(const std::string&) { return *this; }

std::string WipeSensitiveData(const std::string&) { return {}; }
