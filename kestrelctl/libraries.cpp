#include "kestrelctl/libraries.h"

#include "kestrelctl/console.h"
#include "kestrelctl/foreign_settings.h"
#include "platform/reference/wiping_allocator.h"

namespace kestrelvisor::ctl {

// Both read the environment when they start, and the allocators start them.
void prepareLibraries(bool useEnvironment) {
  if (!useEnvironment) forgetForeignSettings();
  if (!useWipingAllocators()) {
    warn("memory that libcurl and OpenSSL free is not wiped: something used them before");
  }
}

}  // namespace kestrelvisor::ctl
