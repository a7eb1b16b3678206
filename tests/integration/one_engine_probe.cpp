// A host that links the engine and loads it as well, as a plugin of it might. Prints "one engine"
// and ends with 0 when every way leads to the same objects.

#include "engine/kestrelvisor_engine.h"
#include "engine/kestrelvisor_public.h"

#include <dlfcn.h>

#include <iostream>

namespace {

constexpr const char* kEngine = "_ZN18KestrelVisorEngine23getKestrelVisorInstanceEv";
constexpr const char* kPublic = "_ZN18KestrelVisorPublic11getInstanceEv";

template <class Object>
const Object* instanceOf(const char* library, const char* accessor) {
  void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  void* const address = handle == nullptr ? nullptr : dlsym(handle, accessor);
  if (address == nullptr) {
    std::cerr << dlerror() << "\n";
    return nullptr;
  }
  const Object* const instance = &reinterpret_cast<Object& (*)()>(address)();
  dlclose(handle);
  return instance;
}

}  // namespace

int main() {
  kestrelvisor_engine_init();
  const KestrelVisorEngine* const engine = &KestrelVisorEngine::getKestrelVisorInstance();
  const KestrelVisorPublic* const object = &KestrelVisorPublic::getInstance();
  for (const char* library : {"libkestrelvisor_engine.so.1", "libkestrelvisor_engine.so"}) {
    if (instanceOf<KestrelVisorEngine>(library, kEngine) != engine) return 1;
    if (instanceOf<KestrelVisorPublic>(library, kPublic) != object) return 1;
  }
  std::cout << "one engine\n";
  return 0;
}
