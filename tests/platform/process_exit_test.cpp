#include "tests/platform/scratch.h"
#include "tests/support/test_headers.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using kestrelvisor::test::contentOf;
using kestrelvisor::test::ScratchDirectory;

// Returns the exit code of the probe, or minus the number of the signal that ended it.
int runProbe(std::string logFile) {
  std::string program = KESTRELVISOR_EXIT_PROBE;
  char* const arguments[] = {program.data(), logFile.data(), nullptr};
  pid_t process = 0;
  if (posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ) != 0) return 127;
  int status = 0;
  if (waitpid(process, &status, 0) != process) return 127;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// The texts of the lines of a log file, each with its request id.
std::vector<std::string> textsOf(const std::string& log) {
  std::vector<std::string> texts;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t request = line.find('[');
    const std::size_t text = line.find(' ', line.find("():"));
    texts.push_back(line.substr(request, line.find(']') + 1 - request) + line.substr(text));
  }
  return texts;
}

TEST(ProcessExit, LeavesThePlatformUsableToTheLastDestructor) {
  const ScratchDirectory scratch;
  const std::string path = scratch.path("probe.log");

  EXPECT_EQ(runProbe(path), 0);

  EXPECT_THAT(
      textsOf(contentOf(path)),
      ::testing::ElementsAre(
          "[42] first words", "[42] last words", "[42] X-Auth-Token: ***",
          "[42] https://manager.example.with.a.name.beyond.the.small.buffer:7443/service/session",
          "[42] 5", "[42] TLS is set"));
}

}  // namespace
