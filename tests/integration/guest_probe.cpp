// A host that watches its own process: it tells what the engine's init and each operation have
// changed outside of their results.
//
//   guest_probe ADDRESS PORT http|https USER verify|scan|disable=URI|disturb...
//
// Password and certificate reach it as they reach the example hosts. "disturb" is no operation: it
// changes everything that is watched. After each step stands a line "process after STEP: unchanged"
// or one "process after STEP: NAME was BEFORE, is AFTER" for each change; at the end one line
// "sends into closed connections: NUMBER". With GUEST_PROBE_SENDS_HALTINGLY in its environment,
// each send waits for the peer to hang up.

#include "engine/kestrelvisor_engine.h"
#include "manager_request.h"
#include "tests/support/grouping_locale.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

extern char** environ;

namespace {

constexpr int kHangUpLimitMilliseconds = 10'000;

std::atomic<int> sendsIntoClosedConnections{0};

// Sends the first bytes alone and waits until the peer has gone, so that the rest finds nobody.
ssize_t sendHaltingly(int socket, const void* bytes, size_t size, int flags) {
  constexpr size_t kFirstBytes = 2;
  const ssize_t sent = sendto(socket, bytes, std::min(size, kFirstBytes), flags, nullptr, 0);
  pollfd entry{socket, 0, 0};
  if (sent > 0) poll(&entry, 1, kHangUpLimitMilliseconds);
  return sent;
}

}  // namespace

// Stands in front of the C library's function for all libraries of the process.
extern "C" ssize_t send(int socket, const void* bytes, size_t size, int flags) {
  static const bool halting = std::getenv("GUEST_PROBE_SENDS_HALTINGLY") != nullptr;
  const ssize_t sent = halting ? sendHaltingly(socket, bytes, size, flags)
                               : sendto(socket, bytes, size, flags, nullptr, 0);
  if (sent < 0 && errno == EPIPE) ++sendsIntoClosedConnections;
  return sent;
}

namespace {

using kestrelvisor::test::GroupingLocale;

using ProcessState = std::map<std::string, std::string>;

void ownHandler(int) {}

std::string numbersIn(const sigset_t& signals) {
  std::ostringstream text;
  text << "{";
  for (int number = 1; number < NSIG; ++number) {
    if (sigismember(&signals, number) == 1) text << " " << number;
  }
  text << " }";
  return text.str();
}

void readSignals(ProcessState& state) {
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) != 0) continue;  // the C library's own
    std::ostringstream text;
    text << reinterpret_cast<void*>(action.sa_handler) << " flags " << action.sa_flags << " blocks "
         << numbersIn(action.sa_mask);
    state["signal " + std::to_string(number)] = text.str();
  }
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  state["signal mask"] = numbersIn(blocked);
}

void readLocales(ProcessState& state) {
  state["C locale"] = std::setlocale(LC_ALL, nullptr);
  const std::locale global;
  std::ostringstream text;
  text << global.name() << " with numbers of " << &std::use_facet<std::numpunct<char>>(global);
  state["C++ locale"] = text.str();
  std::ostringstream thread;
  thread << uselocale(nullptr);
  state["thread locale"] = thread.str();
}

void readFiles(ProcessState& state) {
  state["working directory"] = std::filesystem::current_path().string();
  const mode_t mask = umask(0);
  umask(mask);
  state["umask"] = std::to_string(mask);
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
  while (const dirent* const entry = readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name[0] == '.' || name == std::to_string(dirfd(folder.get()))) continue;
    state["file " + name] = std::filesystem::read_symlink("/proc/self/fd/" + name).string();
  }
}

ProcessState processState() {
  ProcessState state;
  readSignals(state);
  readLocales(state);
  readFiles(state);
  for (char** variable = environ; *variable != nullptr; ++variable) {
    state["environment"] += std::string(*variable) + "\n";
  }
  std::filesystem::directory_iterator threads("/proc/self/task");
  state["threads"] = std::to_string(std::distance(threads, {}));
  return state;
}

std::string valueIn(const ProcessState& state, const std::string& name) {
  const auto found = state.find(name);
  return found == state.end() ? "absent" : found->second;
}

void tellDifference(const std::string& step, const ProcessState& before,
                    const ProcessState& after) {
  ProcessState names = before;
  names.insert(after.begin(), after.end());
  bool changed = false;
  for (const auto& named : names) {
    const std::string& name = named.first;
    const std::string was = valueIn(before, name);
    const std::string is = valueIn(after, name);
    if (was == is) continue;
    changed = true;
    std::cout << "process after " << step << ": " << name << " was " << was << ", is " << is
              << "\n";
  }
  if (!changed) std::cout << "process after " << step << ": unchanged\n";
}

// Nothing that is watched has its default, so that a change back to the default shows as well. Only
// a write to a closed connection ends the process, as in a host that has never heard of it.
class OpinionatedHost {
 public:
  OpinionatedHost() {
    struct sigaction action = {};
    action.sa_handler = ownHandler;
    action.sa_flags = SA_RESTART;
    sigaddset(&action.sa_mask, SIGTERM);
    for (const int number : {SIGALRM, SIGCHLD, SIGUSR1}) sigaction(number, &action, nullptr);
    std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    std::setlocale(LC_ALL, "C.UTF-8");
    umask(027);
    std::filesystem::current_path("/");
  }

 private:
  GroupingLocale grouping_;
};

// Changes each thing that is watched until its end.
class Disturbance {
 public:
  Disturbance() : thread_([this] { waitForEnd(); }) {
    std::signal(SIGUSR1, SIG_DFL);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    std::setlocale(LC_ALL, "C");
    uselocale(numbers_);
    umask(022);
    std::filesystem::current_path("/proc");
    setenv("GUEST_PROBE", "disturbed", 1);
  }
  ~Disturbance() {
    uselocale(LC_GLOBAL_LOCALE);
    freelocale(numbers_);
    close(file_);
    {
      const std::lock_guard lock(mutex_);
      ends_ = true;
    }
    condition_.notify_one();
    thread_.join();
  }
  Disturbance(const Disturbance&) = delete;
  Disturbance& operator=(const Disturbance&) = delete;

 private:
  void waitForEnd() {
    std::unique_lock lock(mutex_);
    condition_.wait(lock, [this] { return ends_; });
  }

  GroupingLocale grouping_;
  locale_t numbers_ = newlocale(LC_ALL_MASK, "C", nullptr);
  int file_ = open("/dev/null", O_RDONLY | O_CLOEXEC);
  std::mutex mutex_;
  std::condition_variable condition_;
  bool ends_ = false;
  std::thread thread_;
};

int runWatched(example::ManagerRequest request) {
  int failures = 0;
  ProcessState before = processState();
  if (!kestrelvisor_engine_init()) return 1;
  tellDifference("init", before, processState());
  EngineBase& engine = KestrelVisorEngine::getKestrelVisorInstance();

  std::optional<Disturbance> disturbance;
  const std::vector<std::string> steps = std::move(request.operations);
  for (const std::string& step : steps) {
    request.operations = {step};
    before = processState();
    if (step == "disturb") {
      disturbance.emplace();
    } else {
      failures += example::runOperations(engine, request);
    }
    tellDifference(step, before, processState());
  }
  std::cout << "sends into closed connections: " << sendsIntoClosedConnections << "\n";
  return failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  auto request = example::readManagerRequest(argc, argv);
  if (!request) return 2;
  const OpinionatedHost host;
  return runWatched(std::move(*request));
}
