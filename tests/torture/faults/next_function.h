#pragma once

#include <dlfcn.h>

#include <cstdlib>

namespace kestrelvisor::torture {

// The function that a name of this library stands before. To be looked up when the library is
// loaded: later, memory may be refused.
template <class Function>
Function* nextOf(const char* name) {
  void* const address = dlsym(RTLD_NEXT, name);
  if (address == nullptr) std::abort();
  return reinterpret_cast<Function*>(address);
}

}  // namespace kestrelvisor::torture
