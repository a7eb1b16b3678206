#include "platform/contract/security.h"
#include "platform/reference/password_cipher.h"
#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/json_answer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class Password : public ManagerTest {
 protected:
  Arguments verifyWith(const Arguments& source) const {
    Arguments words{"verify", "--manager", manager.url(), "--user", kUser};
    words.insert(words.end(), source.begin(), source.end());
    return words;
  }
};

TEST_F(Password, FileMayCloseWithALineEnd) {
  folder.write("password", std::string(kSecret) + "\r\n");

  EXPECT_EQ(Finished(verifyWith({"--password-file", passwordFile})).status, 0);
}

TEST_F(Password, FileThatOthersCanReadIsRefused) {
  std::filesystem::permissions(passwordFile, std::filesystem::perms(0640));

  const Finished run(verifyWith({"--password-file", passwordFile}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("chmod 600"), Not(HasSubstr(kSecret))));
  EXPECT_THAT(manager.journal(), IsEmpty());
}

TEST_F(Password, FileWithSeveralLinesIsRefused) {
  folder.write("password", "one\ntwo\n");

  const Finished run(verifyWith({"--password-file", passwordFile}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("holds a line end or a NUL"));
}

TEST_F(Password, EmptyOneIsRefused) {
  const Finished run(verifyWith({"--password-stdin"}), {"\n", {}});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("the password is empty"), HasSubstr("on its first line")));
}

TEST_F(Password, ComesFromStandardInput) {
  EXPECT_EQ(Finished(verifyWith({"--password-stdin"}), {std::string(kSecret) + "\n", {}}).status,
            0);
}

TEST_F(Password, ComesFromTheEnvironmentWithAWarning) {
  const Setting setting{"", {{"KESTRELVISOR_PASSWORD", kSecret}}};
  const Finished run(verifyWith({}), setting);
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk,
              AllOf(HasSubstr("warning: the password in KESTRELVISOR_PASSWORD can be read"),
                    Not(HasSubstr(kSecret))));

  const Json::Value document = parsedAnswer(Finished(verifyWith({"-o", "json"}), setting).output);
  ASSERT_EQ(document["warnings"].size(), 1U);
  EXPECT_EQ(document["warnings"][0]["kind"], "password-in-environment");
}

TEST_F(Password, WarningComesWithAFailureToo) {
  const Finished run(verifyWith({"-o", "json"}), {"", {{"KESTRELVISOR_PASSWORD", "wrong"}}});

  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(parsedAnswer(run.output)["warnings"][0]["kind"], "password-in-environment");
}

TEST_F(Password, ComesFromACommand) {
  const Finished run(verifyWith({"--password-command", "cat " + passwordFile}));

  EXPECT_EQ(run.status, 0) << run.talk;
  EXPECT_THAT(run.talk, Not(HasSubstr("warning")));
}

TEST_F(Password, CommandThatFailsIsWrongUsageAndItsTalkIsShown) {
  const Finished run(verifyWith({"--password-command", "echo no key >&2; exit 3"}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("no key\n"), HasSubstr("ended with exit status 3")));
  EXPECT_THAT(manager.journal(), IsEmpty());
}

TEST_F(Password, OfACommandIsNotInTheLog) {
  const Finished run(
      verifyWith({"--password-command", "cat " + passwordFile, "--log-level", "trace"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, AllOf(Not(HasSubstr(kSecret)), Not(HasSubstr("cat /"))));
}

TEST_F(Password, EmptyCommandIsWrongUsage) {
  EXPECT_EQ(Finished(verifyWith({"--password-command", ""})).status, 2);
}

TEST_F(Password, InterruptEndsACommandTooAndIsTold) {
  const std::string pipe = folder.file("pipe");
  mkfifo(pipe.c_str(), 0600);
  Program program(
      verifyWith({"-o", "json", "--password-command", "echo asked >&2; read forever < " + pipe}));
  program.waitForTalk("asked");

  program.signal(SIGINT);

  EXPECT_EQ(program.wait(), 128 + SIGINT);  // the talk ends with the command
  const Json::Value error = parsedAnswer(program.output())["error"];
  EXPECT_EQ(error["exitCode"], 128 + SIGINT);
  EXPECT_EQ(error["exitName"], "interrupted");
}

// The shell's child says it, so that the shell is not all that could be left.
TEST_F(Password, CommandAndAllThatItHasStartedEndWithAKilledKestrelctl) {
  const std::string pipe = folder.file("pipe");
  mkfifo(pipe.c_str(), 0600);
  Program program(
      verifyWith({"--password-command", "(echo asked >&2; read forever < " + pipe + "); true"}));
  program.waitForTalk("asked");

  program.signal(SIGKILL);

  EXPECT_EQ(program.wait(), 128 + SIGKILL);  // hangs as long as somebody holds the talk open
}

TEST_F(Password, CommandMayAskOnTheTerminal) {
  TerminalProgram program(verifyWith(
      {"--password-command", "printf 'Key: ' > /dev/tty; read key < /dev/tty; echo \"$key\""}));
  program.waitForText("Key: ");

  program.type(std::string(kSecret) + "\n");

  EXPECT_EQ(program.wait(), 0) << program.shown();
}

// Neither the command nor what it has started is left: the pipe has no reader any more.
TEST_F(Password, InterruptOnATerminalEndsACommandWithAllThatItHasStarted) {
  const std::string pipe = folder.file("pipe");
  mkfifo(pipe.c_str(), 0600);
  TerminalProgram program(
      verifyWith({"--password-command",
                  "(trap '' INT; cat " + pipe + ") & echo asked > /dev/tty; read key < /dev/tty"}));
  program.waitForText("asked");
  const int writer = open(pipe.c_str(), O_WRONLY | O_CLOEXEC);  // waits for its reader

  program.type("\x03");

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  pollfd entry{writer, 0, 0};
  EXPECT_EQ(poll(&entry, 1, -1), 1);
  EXPECT_NE(entry.revents & POLLERR, 0);
  close(writer);
}

TEST_F(Password, CommandGivesTheTerminalBack) {
  manager.addFault("path=/service/versions silence=request");
  TerminalProgram program(verifyWith({"--password-command", "cat " + passwordFile}));
  while (manager.journal().empty()) std::this_thread::yield();

  program.type("\x03");

  EXPECT_EQ(program.wait(), 128 + SIGINT);
}

TEST_F(Password, OptionWinsOverTheEnvironment) {
  const Finished run(verifyWith({"--password-stdin"}),
                     {kSecret, {{"KESTRELVISOR_PASSWORD", "wrong"}}});

  EXPECT_EQ(run.status, 0);
}

TEST_F(Password, TwoSourcesAreWrongUsage) {
  const Finished run(verifyWith({"--password-stdin", "--password-file", passwordFile}));

  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(Finished(verifyWith({"--password-stdin", "--password-command", "true"})).status, 2);
  EXPECT_EQ(
      Finished(verifyWith({"--password-file", passwordFile, "--password-command", "true"})).status,
      2);
}

TEST_F(Password, WithoutSourceAndTerminalIsWrongUsage) {
  const Finished run(verifyWith({}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("there is no terminal to ask on"));
}

TEST_F(Password, UnusableKeyIsWrongUsage) {
  const Finished run(verifyWith({"--password-stdin"}),
                     {kSecret, {{"KESTRELVISOR_PASSWORD_KEY", "xyz"}}});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("KESTRELVISOR_PASSWORD_KEY: not a key"));
  const Finished file(verifyWith({"--password-stdin"}),
                      {kSecret, {{"KESTRELVISOR_PASSWORD_KEY_FILE", "/nowhere/key"}}});
  EXPECT_EQ(file.status, 2);
  EXPECT_THAT(file.talk, HasSubstr("KESTRELVISOR_PASSWORD_KEY_FILE"));
}

TEST_F(Password, TypedOneIsNotShown) {
  TerminalProgram program(verifyWith({}));
  program.waitForText("Password of backup on " + manager.url() + ": ");
  EXPECT_FALSE(program.showsWhatIsTyped());

  program.type(std::string(kSecret) + "\n");

  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(program.shown(), AllOf(HasSubstr("accepts backup"), Not(HasSubstr(kSecret))));
  EXPECT_TRUE(program.showsWhatIsTyped());
}

TEST_F(Password, InterruptedQuestionRestoresTheTerminal) {
  TerminalProgram program(verifyWith({}));
  program.waitForText("Password of backup on ");

  program.type("\x03");

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_TRUE(program.showsWhatIsTyped());
}

TEST_F(Password, InterruptedQuestionIsToldToPrograms) {
  TerminalProgram program(verifyWith({"-o", "json"}));
  program.waitForText("Password of backup on ");

  program.type("\x03");

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_THAT(program.shown(), HasSubstr("\"exitName\" : \"interrupted\""));
}

TEST_F(Password, EndOfInputIsNoPassword) {
  TerminalProgram program(verifyWith({}));
  program.waitForText("Password of backup on ");

  program.type("\x04");

  EXPECT_EQ(program.wait(), 2);
  EXPECT_THAT(program.shown(), HasSubstr("no password was typed"));
}

TEST(EncryptPassword, GivesTheFormThatThePlatformReads) {
  const TemporaryFolder folder;
  const std::string key = folder.file("key");

  const Finished run({"encrypt-password", "--new-key", key, "--password-stdin"}, {kSecret, {}});

  ASSERT_EQ(run.status, 0) << run.talk;
  EXPECT_THAT(run.output, StartsWith("kv1:"));
  struct stat status = {};
  ASSERT_EQ(stat(key.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  std::string keyText = TemporaryFolder::read(key);
  keyText.pop_back();
  std::string problem;
  ASSERT_TRUE(setPasswordKey(keyText, problem)) << problem;
  SecString plain;
  EXPECT_EQ(SecuritySS::KmcDecryptInfo(run.output.substr(0, run.output.size() - 1), plain), 0);
  EXPECT_EQ(std::string(plain), kSecret);
  forgetPasswordKey();
}

TEST(EncryptPassword, GivesProgramsADocumentWithItsWarnings) {
  const TemporaryFolder folder;

  const Finished run({"encrypt-password", "--new-key", folder.file("key"), "-o", "json"},
                     {"", {{"KESTRELVISOR_PASSWORD", kSecret}}});

  ASSERT_EQ(run.status, 0) << run.talk;
  const Json::Value document = parsedAnswer(run.output);
  EXPECT_THAT(document["cipher"].asString(), StartsWith("kv1:"));
  ASSERT_EQ(document["warnings"].size(), 1U);
  EXPECT_EQ(document["warnings"][0]["kind"], "password-in-environment");
}

TEST(EncryptPassword, TakesItsFormFromTheEnvironmentToo) {
  const TemporaryFolder folder;

  const Finished run({"encrypt-password", "--new-key", folder.file("key"), "--password-stdin"},
                     {kSecret, {{"KESTRELVISOR_OUTPUT", "yaml"}}});

  ASSERT_EQ(run.status, 0) << run.talk;
  EXPECT_THAT(run.output, StartsWith("cipher: \"kv1:"));
  EXPECT_THAT(run.output, ::testing::EndsWith("\"\nwarnings: []\n"));
}

TEST(EncryptPassword, NeverOverwritesAKey) {
  const TemporaryFolder folder;
  const std::string key = folder.write("key", "precious");

  const Finished run({"encrypt-password", "--new-key", key, "--password-stdin"}, {kSecret, {}});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("is there already"));
  EXPECT_EQ(TemporaryFolder::read(key), "precious");
}

TEST(EncryptPassword, NeedsAKey) {
  const Finished run({"encrypt-password", "--password-stdin"}, {kSecret, {}});

  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("--new-key FILE makes a key"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
