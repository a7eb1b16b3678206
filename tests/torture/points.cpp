#include "tests/torture/points.h"

#include <cxxabi.h>
#include <json/json.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <typeinfo>

namespace kestrelvisor::torture {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

constexpr int kDied = 3;
constexpr std::uint64_t kPointsBetweenEstimates = 8;

Board* boardOfProcess = nullptr;

// --- The ends of a child that are none of its own choice. ---

// The stack without its handler, which would pass for whoever is to blame.
__attribute__((always_inline)) inline Stack stackOfBadEnd() { return Stack::here().without(2); }

[[noreturn]] void onSignal(int number) {
  const bool late = number == SIGALRM;
  boardOfProcess->report(late ? Kind::hang : Kind::crash, strsignal(number), stackOfBadEnd());
  _exit(kDied);
}

[[noreturn]] void onTerminate() {
  const std::type_info* const type = abi::__cxa_current_exception_type();
  boardOfProcess->report(Kind::terminate, type != nullptr ? type->name() : "", stackOfBadEnd());
  _exit(kDied);
}

void onFreedTwice(const FreedTwice& freed) { boardOfProcess->reportFreedTwice(freed); }

void catchBadEnds(Board& board) {
  static std::array<std::byte, 1U << 16U> stack;  // an exhausted one cannot carry the handler
  stack_t other{};
  other.ss_sp = stack.data();
  other.ss_size = stack.size();
  sigaltstack(&other, nullptr);
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_ONSTACK;
  for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGALRM}) {
    sigaction(number, &action, nullptr);
  }
  boardOfProcess = &board;
  std::set_terminate(onTerminate);
}

// Whether the interface names the exception that is being handled.
bool isDocumented() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return true;
  } catch (const Json::Exception&) {
    return true;
  } catch (const std::exception& problem) {
    // These very types: what derives from them means something else.
    const std::type_info& type = typeid(problem);
    return type == typeid(std::out_of_range) || type == typeid(std::logic_error) ||
           type == typeid(std::runtime_error);
  } catch (...) {
    return false;
  }
}

std::string textOfException() {
  try {
    throw;
  } catch (const std::exception& problem) {
    return std::string(typeid(problem).name()) + ": " + problem.what();
  } catch (...) {
    return "no std::exception";
  }
}

// A thread that libcurl has left behind, such as a resolver's, frees its blocks at its end.
void waitForOtherThreads() {
  const auto threads = [] {
    using Entries = std::filesystem::directory_iterator;
    return std::distance(Entries("/proc/self/task"), Entries());
  };
  while (threads() > 1) std::this_thread::yield();  // the point's limit ends it
}

// Why a point is tried.
enum class Purpose {
  judging,
  leaks,     // once more, for the places of blocks that were not freed
  learning,  // without a fault, for what a first use keeps for good
};

// Tries the points of one run, one after the other, in one process.
class Trial {
 public:
  Trial(const Run& run, Operation& operation, Board& board, SteadyTime start)
      : run_(run), operation_(operation), board_(board), start_(start) {}

  void tryFrom(std::uint64_t first) {
    Allocator::onFreedTwice(onFreedTwice);
    const std::uint64_t most = operation_.needsFreshProcess() ? 1 : ~std::uint64_t{0};
    board_.next = first;
    for (std::uint64_t tried = 0; tried < most; ++tried) {
      board_.done = board_.next > run_.lastPoint;
      if (board_.done) return;
      const Outcome outcome = tryOne(board_.next, Purpose::judging);
      if (!outcome.fired) {
        // A process that an earlier point has spoilt makes fewer calls, too: a new one tells.
        board_.done = outcome.good || tried == 0;
        return;
      }
      ++board_.tried;
      board_.next += nextStride(board_.next);
      if (!outcome.good) return;
    }
  }

  void explainLeak(std::uint64_t point) {
    const std::uint64_t before = board_.findingCount;
    tryOne(point, Purpose::leaks);
    if (board_.findingCount == before) board_.report(Kind::leak, "not seen a second time");
  }

  void learnFirstUse() { tryOne(0, Purpose::learning); }

  // Counts the calls of a run without a fault.
  void count() {
    operation_.prepareCaches();
    operation_.prepareOutputs();
    arm(0);
    operation_.run();
    board_.calls = disarm().calls;
    operation_.release();
  }

 private:
  void arm(std::uint64_t point) const {
    const FaultPlan plan{point, run_.onwards};
    if (run_.callFault != nullptr) {
      SystemCalls::arm(*run_.callFault, plan);
    } else {
      Allocator::arm(plan);
    }
  }

  FaultCount disarm() const {
    return run_.callFault != nullptr ? SystemCalls::disarm() : Allocator::disarm();
  }

  struct Outcome {
    bool fired;  // false when the operation made fewer calls than that
    bool good;   // as of a process that may be used for the next point
  };

  Outcome tryOne(std::uint64_t point, Purpose purpose) {
    board_.point = point;
    alarm(run_.limitSeconds);
    board_.stage = Stage::preparation;
    operation_.prepareCaches();
    operation_.prepareOutputs();
    const bool judging = purpose == Purpose::judging;
    Allocator::watch(kPassword, !judging || operation_.needsFreshProcess());
    SystemCalls::noteRequests();

    board_.stage = Stage::operation;
    bool threw = false;
    const bool fired = runUnderFault(point, threw, judging);
    board_.stage = Stage::verdict;
    const bool succeeded = judging && judge(threw, fired);
    board_.stage = Stage::nextOperation;
    const bool works = operation_.worksNow(board_);
    board_.stage = Stage::settling;
    settle(purpose);
    if (judging && !works) judgeFailedNext();
    alarm(0);
    board_.stage = Stage::exit;
    return {fired, works && (fired || succeeded)};
  }

  bool runUnderFault(std::uint64_t point, bool& threw, bool judging) {
    arm(point);
    try {
      operation_.run();
      return disarm().failed != 0;
    } catch (...) {
      const FaultCount count = disarm();
      threw = true;
      if (judging && !isDocumented()) board_.report(Kind::exception, textOfException());
      return count.failed != 0;
    }
  }

  // Tells whether the operation succeeded.
  bool judge(bool threw, bool fired) {
    judgeSecrets();
    operation_.judgeRequests(board_);
    const End end = operation_.judge(board_, threw);
    if (fired) noteEnd(end);
    return end == End::success;
  }

  void noteEnd(End end) {
    board_.succeeded += end == End::success ? 1U : 0U;
    board_.failedAsTold += end == End::failure ? 1U : 0U;
    board_.threw += end == End::exception ? 1U : 0U;
    const bool harmless = run_.callFault != nullptr && run_.callFault->harmless;
    if (harmless && end != End::success) board_.report(Kind::harmlessFailed, run_.callFault->name);
  }

  void judgeSecrets() {
    if (Allocator::secretsFreed() != 0) {
      board_.report(Kind::secret, "in freed memory", Allocator::firstSecretFreed());
    }
    Allocator::forEachLive([&](const LiveBlock& block) {
      const bool holds =
          memmem(block.address, block.size, kPassword.data(), kPassword.size()) != nullptr;
      if (holds && !isCachedPassword(block.address)) board_.report(Kind::secret, "in a live block");
    });
    if (passwordLogged) board_.report(Kind::secret, "in the log");
  }

  void judgeFailedNext() {
    const std::string_view dead = operation_.needsFreshProcess() ? deadLibrary(*run_.route) : "";
    board_.report(dead.empty() ? Kind::next : Kind::deadLibrary, dead);
  }

  void settle(Purpose purpose) {
    operation_.release();
    emptyCaches();
    waitForOtherThreads();
    switch (purpose) {
      case Purpose::judging:
        judgeLeaks();
        break;
      case Purpose::leaks:
        Allocator::forEachLive([&](const LiveBlock& block) {
          if (block.keeper == nullptr) reportLeak(block);
        });
        break;
      case Purpose::learning:
        Allocator::forEachLive([&](const LiveBlock& block) {
          if (Board::Kept* const kept = keptAt(board_.kept, block)) ++kept->blocks;
        });
        break;
    }
    Allocator::endWatch();
  }

  void judgeLeaks() {
    if (operation_.needsFreshProcess()) return judgeFirstUse();
    bool ours = false;
    const char* keeper = nullptr;
    Allocator::forEachLive([&](const LiveBlock& block) {
      ours = ours || block.keeper == nullptr;
      if (block.keeper != nullptr) keeper = block.keeper;
    });
    if (keeper != nullptr) board_.report(Kind::libraryLeak, keeper);
    if (!ours) return;
    if (board_.leakPointCount < Board::kMostLeaks) {
      board_.leakPoints[board_.leakPointCount] = board_.point;
    }
    ++board_.leakPointCount;
  }

  // A first use keeps as many blocks of each place in our code as one without a fault, not more.
  // What a library keeps for good is its own affair.
  void judgeFirstUse() {
    Board::KeptBlocks left = board_.kept;
    Allocator::forEachLive([&](const LiveBlock& block) {
      Board::Kept* const kept = keptAt(left, block);
      if (kept != nullptr && kept->blocks-- <= 0) reportLeak(block);
    });
  }

  // Null for a block of which a library is the owner.
  static Board::Kept* keptAt(Board::KeptBlocks& kept, const LiveBlock& block) {
    if (block.keeper != nullptr) return nullptr;
    return Board::keptAt(kept, block.stack != nullptr ? siteOf(*block.stack) : nullptr);
  }

  void reportLeak(const LiveBlock& block) {
    const Stack stack = block.stack != nullptr ? *block.stack : Stack{};
    board_.report(Kind::leak, std::to_string(block.size) + " bytes", stack);
  }

  // Leaves points out when all of them would take too long.
  std::uint64_t nextStride(std::uint64_t point) {
    if (board_.tried % kPointsBetweenEstimates != 0) return board_.stride;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    const double perPoint = elapsed.count() / static_cast<double>(board_.tried);
    const double left = std::max(run_.seconds - elapsed.count(), run_.seconds / 50);
    const double points = board_.calls > point ? static_cast<double>(board_.calls - point) : 0;
    board_.stride = static_cast<std::uint64_t>(std::max(1.0, std::ceil(points * perPoint / left)));
    if (points > 0) board_.widestStride = std::max(board_.widestStride, board_.stride);
    return board_.stride;
  }

  const Run& run_;
  Operation& operation_;
  Board& board_;
  SteadyTime start_;
};

// Runs a part of the trial in a child of its own; false when the child came to a bad end.
template <class Part>
bool inChild(Board& board, Part part) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no child process");
  if (child == 0) {
    catchBadEnds(board);
    part();
    board.stage = Stage::exit;
    alarm(20);
    std::exit(0);  // with the ends of all static objects
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  const bool told = WIFEXITED(status) && WEXITSTATUS(status) == kDied;
  if (!told) board.report(Kind::crash, "status " + std::to_string(status));
  return false;
}

// Tries points again, each in a process of its own: stacks are too slow to record every time.
void explainLeaks(Trial& trial, Board& board) {
  const std::uint64_t known = std::min<std::uint64_t>(board.leakPointCount, Board::kMostLeaks);
  if (board.leakPointCount > known) board.report(Kind::leak, "too many points to explain");
  for (std::uint64_t i = 0; i < known; ++i) {
    inChild(board, [&] { trial.explainLeak(board.leakPoints[i]); });
  }
}

}  // namespace

bool passwordLogged = false;

void tryPoints(const Run& run, Board& board) {
  makeLastingObjects();
  const std::unique_ptr<Operation> operation = run.operation->make(*run.route);
  const SteadyTime start = std::chrono::steady_clock::now();
  Trial trial(run, *operation, board, start);
  if (!operation->needsFreshProcess()) {
    // Twice: what is made once in a process is there before anything counts.
    if (!operation->learn(board) || !operation->learn(board)) {
      throw std::runtime_error(std::string("fails without a fault: ") + run.operation->name);
    }
    operation->release();
    trial.count();
  } else {
    board.firstUse = true;
    inChild(board, [&] { trial.count(); });
    inChild(board, [&] { trial.learnFirstUse(); });
  }
  std::uint64_t point = run.firstPoint;
  while (!board.done && point <= run.lastPoint) {
    const std::uint64_t before = board.tried;
    const bool ended = inChild(board, [&] { trial.tryFrom(point); });
    if (!ended && board.stage != Stage::exit) ++board.tried;
    if (board.tried == before && !board.done) throw std::runtime_error("no point was tried");
    point = ended ? board.next : board.point + board.stride;
  }
  explainLeaks(trial, board);
}

const std::vector<CallFault>& callFaults() {
  static const std::vector<CallFault> faults{
      {"connect: ECONNREFUSED", Call::connect, ECONNREFUSED, false},
      {"connect: ETIMEDOUT", Call::connect, ETIMEDOUT, false},
      {"connect: EINTR", Call::connect, EINTR, false},
      {"send: ECONNRESET", Call::send, ECONNRESET, false},
      {"send: EPIPE", Call::send, EPIPE, false},
      {"send: EINTR", Call::send, EINTR, true},
      {"send: one byte", Call::send, CallFault::kOneByte, true},
      {"recv: ECONNRESET", Call::receive, ECONNRESET, false},
      {"recv: ETIMEDOUT", Call::receive, ETIMEDOUT, false},
      {"recv: EINTR", Call::receive, EINTR, true},
      {"recv: one byte", Call::receive, CallFault::kOneByte, true},
      {"recv: end of data", Call::receive, CallFault::kEndOfData, false},
      {"poll: EINTR", Call::poll, EINTR, true},
      {"poll: ENOMEM", Call::poll, ENOMEM, false}};
  return faults;
}

}  // namespace kestrelvisor::torture
