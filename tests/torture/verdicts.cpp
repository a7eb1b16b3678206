#include "tests/torture/verdicts.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace kestrelvisor::torture {
namespace {

constexpr std::array<const char*, kKinds> kKindNames{
    "crash",   "terminate", "freed twice",  "hang",          "leak",
    "secret",  "exception", "result",       "wrong success", "reply",
    "request", "next",      "dead library", "library leak",  "harmless fault"};
constexpr std::array<const char*, 6> kStageNames{"preparation",    "operation", "verdict",
                                                 "next operation", "settling",  "exit"};

// Zeroed memory that children share.
void* sharedMemory(std::size_t size) {
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return memory;
}

// One frame, as the loader knows it.
struct Place {
  std::string object;    // file name without its folder
  std::string function;  // empty when the loader has no name for it
  std::string path;
  std::uintptr_t offset = 0;
};

std::string demangled(const char* name) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
  return status == 0 ? text.get() : name;
}

Place placeOf(void* frame) {
  Place place;
  // A return address: the call stands one byte before it.
  const auto address = reinterpret_cast<std::uintptr_t>(frame) - 1;
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(address), &info) == 0) return place;
  place.path = info.dli_fname;
  place.object = place.path.substr(place.path.rfind('/') + 1);
  place.offset = address - reinterpret_cast<std::uintptr_t>(info.dli_fbase);
  if (info.dli_sname != nullptr) place.function = demangled(info.dli_sname);
  return place;
}

enum class Owner { ours, runtime, library };

// The runtime is what stands between a fault and whoever suffers it.
Owner ownerOf(std::string_view path) {
  const std::string_view object = path.substr(path.rfind('/') + 1);
  const auto startsWithAny = [&](std::initializer_list<std::string_view> heads) {
    return std::any_of(heads.begin(), heads.end(),
                       [&](std::string_view head) { return object.starts_with(head); });
  };
  // The program itself has no name here.
  if (object.empty() || startsWithAny({"libkestrelvisor_"})) return Owner::ours;
  const bool runtime = startsWithAny({"libtorture_faults", "libstdc++", "libgcc_s", "libc.so",
                                      "ld-linux", "linux-vdso", "libm.so"});
  return runtime ? Owner::runtime : Owner::library;
}

struct Segment {
  std::uintptr_t start;
  std::uintptr_t end;
  Owner owner;
};

// Where the loader has put the code of each object. The first call must not be a signal handler's.
const std::vector<Segment>& segments() {
  static const std::vector<Segment> all = [] {
    std::vector<Segment> found;
    dl_iterate_phdr(
        [](dl_phdr_info* object, std::size_t, void* target) {
          for (int i = 0; i < object->dlpi_phnum; ++i) {
            const ElfW(Phdr)& part = object->dlpi_phdr[i];
            if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
            const std::uintptr_t start = object->dlpi_addr + part.p_vaddr;
            static_cast<std::vector<Segment>*>(target)->push_back(
                {start, start + part.p_memsz, ownerOf(object->dlpi_name)});
          }
          return 0;
        },
        &found);
    return found;
  }();
  return all;
}

Owner ownerOf(const void* frame) {
  const auto address = reinterpret_cast<std::uintptr_t>(frame) - 1;
  for (const Segment& segment : segments()) {
    if (address >= segment.start && address < segment.end) return segment.owner;
  }
  return Owner::runtime;
}

// The frames without the runtime's, which come first.
std::vector<void*> framesOf(const Stack& stack) {
  std::vector<void*> frames(stack.frames.begin(), stack.frames.begin() + stack.depth);
  const auto isRuntime = [](void* frame) { return ownerOf(frame) == Owner::runtime; };
  frames.erase(frames.begin(), std::find_if_not(frames.begin(), frames.end(), isRuntime));
  return frames;
}

std::string sourceOf(const Place& place) {
  std::array<char, 64> offset{};
  std::snprintf(offset.data(), offset.size(), "0x%zx", static_cast<std::size_t>(place.offset));
  const std::string command =
      "addr2line -Cfspe '" + place.path + "' " + offset.data() + " 2>/dev/null";
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), &pclose);
  std::array<char, 400> line{};
  if (!output || std::fgets(line.data(), line.size(), output.get()) == nullptr) return {};
  std::string text = line.data();
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text.starts_with("??") ? std::string() : text;
}

// OpenSSL does not undo an initialisation that failed half way; a later call stumbles over it.
Attribution attributeCrash(const Finding& finding) {
  const bool later = finding.stage == Stage::nextOperation || finding.stage == Stage::exit;
  const std::vector<void*> frames = framesOf(finding.stack);
  if (!finding.firstUse || !later || frames.empty()) return {};
  const Place place = placeOf(frames.front());
  if (!place.object.starts_with("libcrypto") && !place.object.starts_with("libssl")) return {};
  return {false, place.object, "crashes in a later call after its first use failed"};
}

// A block is a library's own affair when that library frees it twice, within the very call in which
// it was refused an allocation: our code had no turn in between but for its callbacks, whose frames
// would come first.
Attribution attributeFreedTwice(const Finding& finding) {
  const std::vector<void*> frames = framesOf(finding.stack);
  const std::vector<void*> fault = framesOf(finding.fault);
  if (!finding.withinOneCall || frames.empty() || fault.empty()) return {};
  if (ownerOf(frames.front()) != Owner::library) return {};
  const Place place = placeOf(frames.front());
  if (placeOf(fault.front()).path != place.path) return {};
  return {false, place.object, "frees a block twice after it found no memory"};
}

// Where libcurl takes a URL apart, it overlooks that there was no memory for the query: the request
// goes out without it.
Attribution attributeRequest(const Stack& fault) {
  const std::vector<void*> frames = framesOf(fault);
  const auto isCall = [](std::string_view name) {
    return [name](void* frame) { return placeOf(frame).function == name; };
  };
  const auto taken = std::find_if(frames.begin(), frames.end(), isCall("curl_url_get"));
  if (std::find_if(taken, frames.end(), isCall("curl_easy_perform")) == frames.end()) return {};
  return {false, placeOf(*taken).object, "sends a request without its query"};
}

}  // namespace

const char* nameOf(Kind kind) { return kKindNames[static_cast<std::size_t>(kind)]; }

const char* nameOf(Stage stage) { return kStageNames[static_cast<std::size_t>(stage)]; }

Finding* Board::nextFinding() {
  const std::uint64_t place = findingCount++;
  if (place >= kMostFindings) return nullptr;
  Finding& finding = findings[place];
  finding = {};
  finding.stage = stage;
  finding.firstUse = firstUse;
  finding.point = point;
  finding.fault = Allocator::firstFault();
  return &finding;
}

void Board::report(Kind kind, std::string_view text, const Stack& stack) {
  Finding* const finding = nextFinding();
  if (finding == nullptr) return;
  finding->kind = kind;
  finding->stack = stack;
  std::memcpy(finding->text.data(), text.data(), std::min(text.size(), finding->text.size() - 1));
}

void Board::reportFreedTwice(const FreedTwice& freed) {
  Finding* const finding = nextFinding();
  if (finding == nullptr) return;
  finding->kind = Kind::freedTwice;
  finding->stack = freed.stack;
  finding->withinOneCall = freed.withinOneCall;
}

Board::Kept* Board::keptAt(KeptBlocks& kept, void* site) {
  for (Kept& entry : kept) {
    if (entry.site == nullptr) entry.site = site;
    if (entry.site == site) return &entry;
  }
  return &kept.back();
}

void BoardUnmap::operator()(Board* board) const noexcept { munmap(board, sizeof(Board)); }

SharedBoard makeBoard() {
  segments();
  return SharedBoard(new (sharedMemory(sizeof(Board))) Board);
}

void* siteOf(const Stack& stack) {
  for (int i = 0; i < stack.depth; ++i) {
    void* const frame = stack.frames[static_cast<std::size_t>(i)];
    if (ownerOf(frame) != Owner::runtime) return frame;
  }
  return nullptr;
}

Attribution attribute(const Finding& finding) {
  switch (finding.kind) {
    case Kind::libraryLeak:
      return {false, finding.text.data(), "frees not all that it has allocated for itself"};
    case Kind::deadLibrary:
      return {false, finding.text.data(), "cannot be used any more after its first use failed"};
    case Kind::crash:
      return attributeCrash(finding);
    case Kind::freedTwice:
      return attributeFreedTwice(finding);
    case Kind::request:
    case Kind::wrongSuccess:
      return attributeRequest(finding.fault);
    default:
      return {};
  }
}

std::string describe(const Stack& stack) {
  constexpr std::size_t kMostLines = 24;
  std::string text;
  std::size_t lines = 0;
  for (void* const frame : framesOf(stack)) {
    if (++lines > kMostLines) break;
    const Place place = placeOf(frame);
    std::string source = sourceOf(place);
    text += "    " + place.object + "  " + (source.empty() ? place.function : source) + "\n";
  }
  return text;
}

}  // namespace kestrelvisor::torture
