#include "kestrelctl/password_command.h"

#include "kestrelctl/failure.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::size_t kLongest = 4096;
const Deadline kNone;

std::string outputOf(const std::string& command) {
  std::string output;
  readFromCommand(command, kLongest, kNone, output);
  return output;
}

Failure failureOf(const std::string& command, const Deadline& deadline = kNone) {
  std::string output;
  try {
    readFromCommand(command, kLongest, deadline, output);
  } catch (const Failure& failure) {
    return failure;
  }
  ADD_FAILURE() << "worked: " << output;
  return Failure(ExitCode::success, "");
}

TEST(PasswordCommand, GivesWhatItPrints) {
  EXPECT_EQ(outputOf("printf '%s-%s\\n' Correct Horse"), "Correct-Horse\n");
}

TEST(PasswordCommand, MayPrintAsMuchAsAPasswordMayHave) {
  EXPECT_EQ(outputOf("head -c 4096 /dev/zero | tr '\\0' x"), std::string(kLongest, 'x'));
  EXPECT_THAT(failureOf("head -c 4097 /dev/zero | tr '\\0' x").what(), HasSubstr("too much"));
}

TEST(PasswordCommand, HasNothingToRead) { EXPECT_EQ(outputOf("cat; echo end"), "end\n"); }

TEST(PasswordCommand, BadEndIsWrongUsageAndNamesTheStatus) {
  const Failure failure = failureOf("echo half-a-secret; exit 7");

  EXPECT_EQ(failure.exitCode, ExitCode::wrongUsage);
  EXPECT_THAT(failure.what(),
              AllOf(HasSubstr("ended with exit status 7"), Not(HasSubstr("half-a-secret"))));
  EXPECT_THAT(failureOf("kill -TERM $$").what(), HasSubstr("was ended by signal 15"));
}

// A pipe that nobody writes to keeps the command for ever.
class EndlessCommand : public ::testing::Test {
 protected:
  EndlessCommand() {
    mkfifo(pipe.c_str(), 0600);
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // what would be left becomes our child
  }
  ~EndlessCommand() override { prctl(PR_SET_CHILD_SUBREAPER, 0); }

  static Deadline now() { return std::chrono::steady_clock::now(); }
  // Waits for all that has become our child; whether it was killed.
  static bool wereKilled() {
    int status = 0;
    bool killed = true;
    while (waitpid(-1, &status, 0) > 0) {
      killed = killed && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }
    return killed && errno == ECHILD;
  }

  vrmsim::test::TemporaryFolder folder;
  const std::string pipe = folder.file("pipe");
};

TEST_F(EndlessCommand, IsEndedAfterTheLimit) {
  const Failure failure = failureOf("read forever < " + pipe, now());

  EXPECT_EQ(failure.exitCode, ExitCode::timeLimit);
  EXPECT_THAT(failure.what(), HasSubstr("--password-command: it did not end in time"));
  EXPECT_TRUE(wereKilled());
}

TEST_F(EndlessCommand, IsEndedWithAllThatItHasStarted) {
  const std::string starting = "cat " + pipe + " & (cat " + pipe + "; true) & ";

  // Nothing here ends by itself, however late all are killed.
  EXPECT_THAT(failureOf(starting + "exec cat /dev/zero").what(), HasSubstr("too much"));

  EXPECT_TRUE(wereKilled());
}

TEST_F(EndlessCommand, IsEndedWhenItStaysBehindACommandThatWorked) {
  EXPECT_EQ(outputOf("cat " + pipe + " > /dev/null & echo secret"), "secret\n");
  EXPECT_EQ(outputOf("cat " + pipe + " & echo secret"), "secret\n");  // it holds the output open

  EXPECT_TRUE(wereKilled());
}

TEST_F(EndlessCommand, IsEndedWhenItHasClosedItsOutputToo) {
  EXPECT_EQ(failureOf("exec >&-; read forever < " + pipe, now()).exitCode, ExitCode::timeLimit);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
