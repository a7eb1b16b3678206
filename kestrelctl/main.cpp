#include "kestrelctl/child_process.h"
#include "kestrelctl/command_line.h"
#include "kestrelctl/console.h"
#include "kestrelctl/worker/worker.h"

#include <csignal>
#include <exception>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

// Said by this program to itself alone; people see nothing of it.
bool isWorkerCall(int argc, char** argv) {
  return argc == 2 && std::string_view(argv[1]) == kWorkerCommand;
}

int runProgram(int argc, char** argv) {
  prepareStreams();
  try {
    if (isWorkerCall(argc, argv)) return static_cast<int>(runWorker());
    const auto command = readCommandLine(argc, argv);
    if (!command) return 0;
    return static_cast<int>(command->run());
  } catch (const ClosedPipe&) {
    return exitCodeOfSignal(SIGPIPE);
  } catch (const Interrupted& interrupted) {
    std::signal(interrupted.signal, SIG_DFL);
    std::raise(interrupted.signal);
    return exitCodeOfSignal(interrupted.signal);  // not reached unless the signal is blocked
  } catch (const Failure& failure) {
    report(failure);
    return static_cast<int>(failure.exitCode);
  } catch (const std::exception& error) {
    report(Failure(ExitCode::unreadableAnswer, error.what()));
    return static_cast<int>(ExitCode::unreadableAnswer);
  }
}

}  // namespace
}  // namespace kestrelvisor::ctl

int main(int argc, char** argv) { return kestrelvisor::ctl::runProgram(argc, argv); }
