// Has a frame worth a guard and a copy worth a check, and is built without either, so that the
// check of our binaries can show that it notices.

#include <cstdio>
#include <cstring>

extern "C" void unprotectedSample(const char* text, std::size_t size) {
  char copy[64];
  std::memcpy(copy, text, size);
  std::puts(copy);
}

int main(int argc, char** argv) { unprotectedSample(argv[0], argc > 1 ? 1 : 2); }
