// The smallest host that loads the engine while it runs.
//
// The engine library leaves the platform contract to be resolved by the process. This host links
// the reference platform; one that cannot would load its platform library with RTLD_GLOBAL first.
// Usage, environment and exit status are those of linked_host; 3 when the engine cannot be loaded.

#include "engine/kestrelvisor_engine.h"
#include "manager_request.h"

#include <dlfcn.h>

#include <iostream>

namespace {

constexpr const char* kLibrary = "libkestrelvisor_engine.so.1";
constexpr const char* kInit = "kestrelvisor_engine_init";
// KestrelVisorEngine::getKestrelVisorInstance(), as its header tells.
constexpr const char* kInstance = "_ZN18KestrelVisorEngine23getKestrelVisorInstanceEv";

template <class Function>
Function* functionOf(void* library, const char* name) {
  void* const address = dlsym(library, name);
  if (address == nullptr) std::cerr << dlerror() << "\n";
  return reinterpret_cast<Function*>(address);
}

// Loads the library and returns its engine; null, with the reason on standard error, if it cannot.
//
// There is no way back: the library stays until the process ends, because its engine logs out then.
EngineBase* loadEngine() {
  void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::cerr << dlerror() << "\n";
    return nullptr;
  }
  const auto init = functionOf<bool()>(library, kInit);
  const auto instance = functionOf<KestrelVisorEngine&()>(library, kInstance);
  const bool ready = init != nullptr && instance != nullptr && init();
  EngineBase* const engine = ready ? &instance() : nullptr;
  dlclose(library);  // does not unload it
  return engine;
}

}  // namespace

int main(int argc, char** argv) {
  const auto request = example::readManagerRequest(argc, argv);
  if (!request) return 2;

  EngineBase* const engine = loadEngine();
  if (engine == nullptr) return 3;
  // Two plugins of one process may both load it: they drive one engine.
  if (loadEngine() != engine) {
    std::cerr << "the process holds two engines\n";
    return 3;
  }
  return example::runOperations(*engine, *request);
}
