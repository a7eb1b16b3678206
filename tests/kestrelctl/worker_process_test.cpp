// The process in which the engine runs, looked at from outside while a manager keeps it waiting.

#include "tests/kestrelctl/watched_manager.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using vrmsim::test::onlyChildOf;

// A file of /proc.
std::string processFile(pid_t process, const std::string& name) {
  std::ifstream file("/proc/" + std::to_string(process) + "/" + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

char stateOf(pid_t process) {
  const std::string stat = processFile(process, "stat");
  const std::size_t name = stat.rfind(") ");
  return name == std::string::npos ? '\0' : stat[name + 2];
}

// What a file of /proc holds that separates by NUL.
std::vector<std::string> texts(const std::string& file) {
  std::vector<std::string> found;
  std::istringstream stream(file);
  for (std::string text; std::getline(stream, text, '\0');) found.push_back(text);
  return found;
}

std::vector<std::string> namesIn(const std::vector<std::string>& variables) {
  std::vector<std::string> names;
  for (const std::string& variable : variables)
    names.push_back(variable.substr(0, variable.find('=')));
  std::sort(names.begin(), names.end());
  return names;
}

// Where each descriptor leads.
std::map<int, std::string> descriptorsOf(pid_t process) {
  std::map<int, std::string> found;
  const std::string folder = "/proc/" + std::to_string(process) + "/fd";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    found[std::stoi(entry.path().filename())] = std::filesystem::read_symlink(entry.path());
  }
  return found;
}

class Worker : public WatchedManagerTest {
 protected:
  Worker() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // what outlives kestrelctl becomes ours
    manager.addFault("path=*/clusters silence=request");
  }
  ~Worker() override { prctl(PR_SET_CHILD_SUBREAPER, 0); }

  // Lets a scan come to a query that is never answered.
  pid_t start(const Arguments& more = {}, const Setting& setting = {}) {
    program = std::make_unique<Program>(command({"scan"}, more), setting);
    EXPECT_TRUE(arrivals->waitFor(kClusters));
    return onlyChildOf(program->id());
  }

  std::unique_ptr<Program> program;
};

TEST_F(Worker, KnowsNothingFromItsArguments) {
  EXPECT_THAT(texts(processFile(start(), "cmdline")), ElementsAre("kestrelctl", "worker"));
}

TEST_F(Worker, HasAnEnvironmentOfWhatItNeeds) {
  const std::string key(64, 'a');
  const pid_t worker = start({}, {"",
                                  {{"PATH", "/bin"},
                                   {"HOME", "/"},
                                   {"LANG", "C"},
                                   {"TZ", "UTC"},
                                   {"LD_PRELOAD", ""},
                                   {"KESTRELVISOR_PASSWORD_KEY", key},
                                   {"KESTRELVISOR_PASSWORD", kSecret},
                                   {"KESTRELVISOR_USER", kUser},
                                   {"http_proxy", "http://127.0.0.1:1"},
                                   {"AWS_SECRET_ACCESS_KEY", "of somebody else"}}});

  const auto variables = texts(processFile(worker, "environ"));

  EXPECT_THAT(namesIn(variables), ElementsAre("HOME", "KESTRELVISOR_PASSWORD_KEY", "LANG", "LC_ALL",
                                              "LD_BIND_NOW", "TMPDIR", "TZ"));
  EXPECT_THAT(variables, ::testing::Contains("LD_BIND_NOW=1"));
}

TEST_F(Worker, HasTheForeignSettingsOnlyWhenTheUserSaysSo) {
  const pid_t worker = start({"--use-environment"}, {"", {{"no_proxy", "*"}, {"OTHER", "x"}}});

  EXPECT_THAT(namesIn(texts(processFile(worker, "environ"))),
              ElementsAre("LC_ALL", "LD_BIND_NOW", "TMPDIR", "no_proxy"));
}

TEST_F(Worker, HasLimitsThatHold) {
  const std::string limits = processFile(start(), "limits");

  EXPECT_THAT(limits, AllOf(HasSubstr("Max core file size        1                    1  "),
                            HasSubstr("Max open files            256                  256  ")));
}

TEST_F(Worker, MakesFilesForItsOwnerAlone) {
  const std::string log = folder.file("log");

  EXPECT_THAT(processFile(start({"--log-file", log}), "status"), HasSubstr("Umask:\t0077\n"));

  EXPECT_EQ(std::filesystem::status(log).permissions(), std::filesystem::perms(0600));
}

TEST_F(Worker, HasNoDescriptorOfOursButItsChannel) {
  const int inherited = open(passwordFile.c_str(), O_RDONLY);  // not closed by exec
  ASSERT_GE(fcntl(inherited, F_DUPFD, 200), 200);

  const auto descriptors = descriptorsOf(start());

  EXPECT_EQ(descriptors.at(0), "/dev/null");
  EXPECT_EQ(descriptors.at(1), "/dev/null");
  EXPECT_EQ(descriptors.at(2), descriptorsOf(program->id()).at(2));
  EXPECT_THAT(descriptors.at(3), HasSubstr("socket:"));
  const auto ours = descriptorsOf(program->id());
  ASSERT_EQ(ours.at(200), passwordFile);
  std::set<std::string> targets;
  for (const auto& [number, target] : ours) targets.insert(target);
  for (const auto& [number, target] : descriptors) {
    const bool itsOwn = number <= 3 || targets.count(target) == 0;
    EXPECT_TRUE(itsOwn) << number << " " << target;
  }
  close_range(static_cast<unsigned>(inherited), static_cast<unsigned>(inherited), 0);
  close_range(200, 200, 0);
}

TEST_F(Worker, DoesNotOutliveAKilledKestrelctl) {
  const pid_t worker = start();

  program->signal(SIGKILL);

  EXPECT_EQ(program->wait(), 128 + SIGKILL);
  int status = 0;
  ASSERT_EQ(waitpid(worker, &status, 0), worker);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST_F(Worker, IsGoneWhenTheTimeLimitHasPassed) {
  program = std::make_unique<Program>(command({"scan"}, {"--timeout", "1s"}));

  EXPECT_EQ(program->wait(), 7);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

struct Death {
  int signal;
  const char* words;
};
void PrintTo(const Death& death, std::ostream* out) { *out << death.words; }

class DeadWorker : public Worker, public ::testing::WithParamInterface<Death> {};

TEST_P(DeadWorker, GivesExitCode9WithTheNameOfItsSignal) {
  kill(start(), GetParam().signal);

  EXPECT_EQ(program->wait(), 9);
  EXPECT_EQ(program->output(), "");
  EXPECT_THAT(program->talk(),
              AllOf(HasSubstr("scanning failed: the process of the engine ended before"),
                    HasSubstr(GetParam().words),
                    HasSubstr("warning: 2 sessions may still be open at " + manager.url())));
}

INSTANTIATE_TEST_SUITE_P(Signal, DeadWorker,
                         ::testing::Values(Death{SIGABRT, "ended by SIGABRT (Aborted)"},
                                           Death{SIGSEGV, "ended by SIGSEGV (Segmentation fault)"},
                                           Death{SIGKILL, "ended by SIGKILL (Killed)"}),
                         [](const auto& row) {
                           return "Number" + std::to_string(row.param.signal);
                         });

// Whoever may write the largest cores allows them to kestrelctl.
class LargestCores {
 public:
  LargestCores() {
    getrlimit(RLIMIT_CORE, &before_);
    const rlimit largest{before_.rlim_max, before_.rlim_max};
    setrlimit(RLIMIT_CORE, &largest);
  }
  ~LargestCores() { setrlimit(RLIMIT_CORE, &before_); }
  LargestCores(const LargestCores&) = delete;
  LargestCores& operator=(const LargestCores&) = delete;

 private:
  rlimit before_{};
};

TEST_F(Worker, LeavesNoCoreWhenItCrashes) {
  const LargestCores largest;
  const pid_t worker = start();
  program->signal(SIGSTOP);  // so that the crash is not seen there
  kill(worker, SIGABRT);
  while (stateOf(worker) != 'Z') std::this_thread::yield();
  program->signal(SIGKILL);

  EXPECT_EQ(program->wait(), 128 + SIGKILL);
  int status = 0;
  ASSERT_EQ(waitpid(worker, &status, 0), worker);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGABRT);
  EXPECT_FALSE(WCOREDUMP(status));
}

TEST_F(Worker, ThatSomebodyElseEndsLogsOut) {
  kill(start(), SIGTERM);

  EXPECT_EQ(program->wait(), 9);
  EXPECT_THAT(program->talk(),
              AllOf(HasSubstr("error: scanning failed: the operation was ended from outside by "
                              "SIGTERM\n"),
                    HasSubstr("manager  " + manager.url() + " as backup\n")));
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(Worker, FindsWrongUsageBeforeThePasswordIsAskedFor) {
  const Arguments asking{"verify", "--manager", manager.url(), "--user", kUser};
  for (const Arguments& wrong : {Arguments{"--ca-cert", folder.write("empty.pem", "nothing\n")},
                                 Arguments{"--log-file", folder.write("file", "") + "/log"}}) {
    Arguments words = asking;
    words.insert(words.end(), wrong.begin(), wrong.end());
    TerminalProgram terminal(words);

    EXPECT_EQ(terminal.wait(), 2);
    EXPECT_THAT(terminal.shown(), AllOf(HasSubstr(wrong[0] + ": "), Not(HasSubstr("Password"))));
  }
}

TEST_F(Worker, FindsAnUnusableKeyBeforeThePasswordIsRead) {
  const Finished run({"verify", "--manager", manager.url(), "--user", kUser, "--password-file",
                      folder.file("missing")},
                     {"", {{"KESTRELVISOR_PASSWORD_KEY", "xyz"}}});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("KESTRELVISOR_PASSWORD_KEY: not a key"));
}

// Run by the loader, kestrelctl finds that instead of itself.
TEST_F(Worker, ThatCannotBeStartedIsToldAsThat) {
  Dl_info loader{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(getauxval(AT_BASE)), &loader), 0);
  vrmsim::test::Process run(loader.dli_fname, [&] {
    Arguments words = command({"verify"});
    words.insert(words.begin(), KESTRELCTL_EXECUTABLE);
    return words;
  }());

  EXPECT_EQ(run.wait(), 9);
  EXPECT_THAT(run.errors(), AllOf(HasSubstr("verifying failed: the process of the engine could not "
                                            "be started\n"),
                                  HasSubstr("/proc/self/exe")));
}

TEST(WorkerCommand, IsNotForPeople) {
  const Finished run({"worker"});

  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("kestrelctl starts this part of itself"));
}

TEST(WorkerCommand, StandsInNoHelpAndNoSuggestion) {
  EXPECT_THAT(Finished({"--help"}).output, Not(HasSubstr("worker")));
  EXPECT_THAT(Finished({"worke"}).talk, Not(HasSubstr("did you mean")));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
