#pragma once

#include "tests/torture/faults/allocator.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

// What a point may come to, told from the child that tries it to the driver.
namespace kestrelvisor::torture {

enum class Kind : std::uint8_t {
  crash,           // a signal
  terminate,       // an exception where none may leave
  freedTwice,      // a block that had been freed before
  hang,            // longer than the limit
  leak,            // a block that nobody frees any more
  secret,          // the password outside the cache, in memory or in the log
  exception,       // one that the interface does not name
  result,          // a status or an output that the interface does not name
  wrongSuccess,    // success, but not what a good run gives
  reply,           // touched although the tree did not stand
  request,         // one that no good run sends
  next,            // the next operation failed
  deadLibrary,     // the next operation failed because a library does without the engine, too
  libraryLeak,     // a block that a library owns, and that it does not free any more
  harmlessFailed,  // a fault that libcurl handles, but the operation failed
};
inline constexpr std::size_t kKinds = 15;
const char* nameOf(Kind kind);

// Where in the life of a point something happened.
enum class Stage : std::uint8_t { preparation, operation, verdict, nextOperation, settling, exit };
const char* nameOf(Stage stage);

struct Finding {
  Kind kind = Kind::crash;
  Stage stage = Stage::preparation;
  bool firstUse = false;       // as on the board
  bool withinOneCall = false;  // as of a block that was freed twice
  std::uint64_t point = 0;
  Stack stack;  // may be empty
  Stack fault;  // of the first allocation that was refused; may be empty
  std::array<char, 240> text{};
};

// Lives in memory that driver and children share.
struct Board {
  static constexpr std::size_t kMostFindings = 8192;
  static constexpr std::size_t kMostLeaks = 400;

  // The child's position.
  std::uint64_t point = 0;
  std::uint64_t next = 0;  // the point to be tried behind those that were
  Stage stage = Stage::preparation;
  bool firstUse = false;  // the libraries are initialised under the fault

  // Sums over the run.
  std::uint64_t calls = 0;  // of the watched kind, in a run without a fault
  std::uint64_t tried = 0;
  std::uint64_t stride = 1;
  std::uint64_t widestStride = 1;  // 1: every point was tried
  std::uint64_t succeeded = 0;     // the operation itself, despite the fault
  std::uint64_t failedAsTold = 0;
  std::uint64_t threw = 0;
  bool done = false;

  // What the engine keeps for good after a first use without a fault: where our code allocated it,
  // and how often.
  struct Kept {
    void* site = nullptr;
    std::int64_t blocks = 0;
  };
  using KeptBlocks = std::array<Kept, 64>;
  KeptBlocks kept{};

  std::uint64_t findingCount = 0;
  std::array<Finding, kMostFindings> findings{};
  std::uint64_t leakPointCount = 0;
  std::array<std::uint64_t, kMostLeaks> leakPoints{};  // to be tried again with stacks recorded
  std::span<Finding> knownFindings() {
    return std::span(findings).first(std::min<std::uint64_t>(findingCount, kMostFindings));
  }
  // The entry of a place; the last one when there are too many.
  static Kept* keptAt(KeptBlocks& kept, void* site);

  // Safe in signal handlers.
  void report(Kind kind, std::string_view text, const Stack& stack = {});
  void reportFreedTwice(const FreedTwice& freed);

 private:
  // Null when there are too many.
  Finding* nextFinding();
};

struct BoardUnmap {
  void operator()(Board* board) const noexcept;
};
using SharedBoard = std::unique_ptr<Board, BoardUnmap>;
SharedBoard makeBoard();

// A finding that is no defect of this project: the reason and who it is put down to.
struct Attribution {
  bool ours = true;
  std::string library;  // whose it is otherwise
  std::string reason;
};
Attribution attribute(const Finding& finding);

// The return address of the innermost call that is none of the runtime's.
void* siteOf(const Stack& stack);

// "object function file:line" of each frame, the runtime's own innermost ones left out.
std::string describe(const Stack& stack);

}  // namespace kestrelvisor::torture
