#include "kestrelctl/child_process.h"
#include "kestrelctl/command_line.h"
#include "kestrelctl/console.h"
#include "kestrelctl/documents/error_document.h"
#include "kestrelctl/worker/worker.h"

#include <csignal>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

// Said by this program to itself alone; people see nothing of it.
bool isWorkerCall(int argc, char** argv) {
  return argc == 2 && std::string_view(argv[1]) == kWorkerCommand;
}

// Tells programs about a failure. Whoever reads results may have gone, or their place be full; the
// exit code says enough then.
void printError(const Failure& failure, std::optional<OutputFormat> form) {
  if (!form) return;
  try {
    printResult(errorDocument(failure, *form));
  } catch (const ClosedPipe&) {
    return;
  } catch (const Failure&) {
    return;
  }
}

int fail(const Failure& failure, std::optional<OutputFormat> form) {
  report(failure);
  printError(failure, form);
  return static_cast<int>(failure.exitCode);
}

// Of what nobody has foreseen.
Failure unforeseen(const std::exception& error) {
  Failure failure(ExitCode::unreadableAnswer,
                  std::string("kestrelctl did not expect this: ") + error.what());
  failure.hint =
      "memory may have run out; where it has not, report this line with what kestrelctl version "
      "prints";
  return failure;
}

int runProgram(int argc, char** argv) {
  prepareStreams();
  const std::optional<OutputFormat> form = errorFormOf(argc, argv);
  try {
    if (isWorkerCall(argc, argv)) return static_cast<int>(runWorker());
    const auto command = readCommandLine(argc, argv);
    if (!command) return 0;
    return static_cast<int>(command->run());
  } catch (const ClosedPipe&) {
    return exitCodeOfSignal(SIGPIPE);
  } catch (const Interrupted& interrupted) {
    warnOf(interrupted.warnings);
    printError(failureOfSignal(interrupted.signal, interrupted.warnings), form);
    std::signal(interrupted.signal, SIG_DFL);
    std::raise(interrupted.signal);
    return exitCodeOfSignal(interrupted.signal);  // not reached unless the signal is blocked
  } catch (const Failure& failure) {
    return fail(failure, form);
  } catch (const std::exception& error) {
    return fail(unforeseen(error), form);
  }
}

}  // namespace
}  // namespace kestrelvisor::ctl

int main(int argc, char** argv) { return kestrelvisor::ctl::runProgram(argc, argv); }
