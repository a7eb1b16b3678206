#include "kestrelctl/child_process.h"
#include "kestrelctl/command_line.h"
#include "kestrelctl/console.h"

#include <csignal>
#include <exception>

namespace kestrelvisor::ctl {
namespace {

int runProgram(int argc, char** argv) {
  prepareStreams();
  try {
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
