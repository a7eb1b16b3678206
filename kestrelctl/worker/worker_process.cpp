#include "kestrelctl/worker/worker_process.h"

#include "kestrelctl/child_process.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/system_error.h"
#include "kestrelctl/worker/worker.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kThisProgram = "/proc/self/exe";
// No file is that small. The kernel takes exactly this number as the word to start no program for
// cores either, where 0 would not stop it.
constexpr rlim_t kLargestCore = 1;
constexpr rlim_t kMostDescriptors = 256;
constexpr mode_t kForOwnerAlone = 077;

struct Start {
  char* const* arguments;
  char* const* environment;
  const sigset_t* mask;
  int channel;
  int nothing;  // open on /dev/null
  pid_t parent;
};

template <class Resource>
void limit(Resource resource, rlim_t most) {
  rlimit now{};
  getrlimit(resource, &now);
  const rlim_t allowed = std::min(most, now.rlim_max);
  const rlimit limits{allowed, allowed};
  setrlimit(resource, &limits);
}

void keepChannelAlone(const Start& start) {
  dup2(start.nothing, STDIN_FILENO);
  dup2(start.nothing, STDOUT_FILENO);
  if (start.channel == kWorkerChannel) {
    fcntl(kWorkerChannel, F_SETFD, 0);
  } else {
    dup2(start.channel, kWorkerChannel);
  }
  if (close_range(kWorkerChannel + 1, ~0U, 0) == 0) return;
  const long most = sysconf(_SC_OPEN_MAX);  // an older kernel
  for (int number = kWorkerChannel + 1; number < most; ++number) close(number);
}

// Between fork and exec: only calls that are safe there.
[[noreturn]] void becomeWorker(const Start& start) {
  // A terminal sends these to both of us; what follows from them is decided on the other side.
  for (const int number : {SIGINT, SIGQUIT, SIGHUP}) ::signal(number, SIG_IGN);
  prepareChild(start.parent, SIGKILL, *start.mask);
  keepChannelAlone(start);
  limit(RLIMIT_CORE, kLargestCore);
  limit(RLIMIT_NOFILE, kMostDescriptors);
  umask(kForOwnerAlone);
  execve(kThisProgram, start.arguments, start.environment);
  _exit(kCannotExecute);
}

Failure cannotStart() {
  return Failure(ExitCode::unreadableAnswer,
                 "no process can be started for the engine: " + systemError());
}

}  // namespace

WorkerProcess::WorkerProcess(const std::vector<std::string>& environment, const sigset_t& mask) {
  std::vector<std::string> words{"kestrelctl", kWorkerCommand};
  std::vector<std::string> variables = environment;
  const std::vector<char*> arguments = pointersTo(words);
  const std::vector<char*> settings = pointersTo(variables);
  const Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!nothing) throw cannotStart();
  auto [channel, itsEnd] = makeChannel();
  const Start start{arguments.data(), settings.data(), &mask,
                    itsEnd.get(),     nothing.get(),   getpid()};
  id_ = fork();
  if (id_ == 0) becomeWorker(start);
  if (id_ < 0) throw cannotStart();
  channel_ = std::move(channel);
}

WorkerProcess::~WorkerProcess() {
  if (id_ < 0) return;
  signal(SIGKILL);
  reap();
}

void WorkerProcess::signal(int number) const {
  if (id_ > 0) kill(id_, number);  // a negative one would mean every process
}

int WorkerProcess::reap() { return waitForEnd(std::exchange(id_, -1)); }

}  // namespace kestrelvisor::ctl
