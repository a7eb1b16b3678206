#include "kestrelctl/demo.h"

#include "base/wipe_string.h"
#include "environment.pb.h"
#include "kestrelctl/child_process.h"
#include "kestrelctl/console.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/libraries.h"
#include "kestrelctl/reply_file.h"
#include "kestrelctl/shell_line.h"
#include "kestrelctl/system_error.h"
#include "platform/reference/password_cipher.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>

namespace kestrelvisor::ctl {
namespace {

namespace fs = std::filesystem;

constexpr const char* kUser = "backup";
constexpr const char* kReadyMark = "vrmsim ready: ";
// Below the folder that holds our own: the prefix of an installation, or a build folder.
constexpr const char* kSampleSite = "share/kestrelvisor/sites/sample.json";
constexpr std::chrono::seconds kStart(30);
constexpr std::size_t kLongestReadyLine = 256;

// How the simulator ends when it cannot take its arguments or the files that they name.
constexpr int kSimulatorRefuses = 2;

// Thrown when one of our own commands fails; it has told why itself.
struct CommandFailed {
  int exitCode;
};

Failure noSimulator(ExitCode code, const std::string& what) {
  Failure failure(code, what);
  failure.hint = "--vrmsim PATH names the simulator, a program called vrmsim";
  return failure;
}

// It says on standard error itself what is wrong.
Failure endedTooEarly(int exitCode, const std::string& inventory) {
  if (exitCode == kSimulatorRefuses) {
    return wrongUsage("the simulator cannot serve " + inventory,
                      "its own words above tell why; --inventory FILE names another site");
  }
  return noSimulator(ExitCode::unreachable, "the simulator ended with exit code " +
                                                std::to_string(exitCode) + " before it was ready");
}

fs::path ownExecutable() { return fs::read_symlink("/proc/self/exe"); }

std::string findSimulator(const DemoOptions& options) {
  const fs::path path =
      options.vrmsim.empty() ? ownExecutable().parent_path() / "vrmsim" : fs::path(options.vrmsim);
  if (access(path.c_str(), X_OK) == 0) return path;
  throw wrongUsage("the simulator " + path.string() + " cannot be executed",
                   "build the target vrmsim, or name it with --vrmsim PATH");
}

std::string findInventory(const DemoOptions& options) {
  if (!options.inventory.empty()) return options.inventory;
  const fs::path path = ownExecutable().parent_path().parent_path() / kSampleSite;
  if (access(path.c_str(), R_OK) == 0) return path;
  throw wrongUsage("the sample site " + path.string() + " cannot be read",
                   "name another with --inventory FILE");
}

Failure noTemporaryFolder(const std::string& why) {
  return wrongUsage("no temporary folder can be made: " + why,
                    "let the variable TMPDIR name a folder that you can write to");
}

// A folder of our own, removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::error_code error;
    const fs::path place = fs::temp_directory_path(error);
    if (error) throw noTemporaryFolder("the place for it is not there");
    path_ = (place / "kestrelctl-demo-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) {
      throw noTemporaryFolder("in " + place.string() + ": " + systemError());
    }
  }
  ~TemporaryFolder() {
    std::error_code ignored;  // somebody else has removed it
    fs::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string file(const char* name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// A password that lives as long as the demo.
void writePassword(const std::string& path) {
  std::string password;
  const WipeOnExit wipe(password);
  std::string problem;
  if (!generateKey(password, problem)) throw Failure(ExitCode::unreadableAnswer, problem);
  createFile(path, password);
}

// The simulated manager, from its ready line to its end.
class Simulator {
 public:
  Simulator(const EndingSignals& signals, const std::string& program, const std::string& inventory,
            const TemporaryFolder& folder)
      : output_(signals),
        process_(signals, program, argumentsFor(inventory, folder), output_.writeEnd()),
        url_(readUrl(inventory)) {}

  const std::string& url() const { return url_; }
  int stop() { return process_.stop(); }

 private:
  class Output {
   public:
    explicit Output(const EndingSignals& signals) : signals_(signals) {
      int ends[2];
      if (pipe2(ends, O_CLOEXEC) != 0) {
        throw Failure(ExitCode::unreadableAnswer, "no pipe can be made: " + systemError());
      }
      read_ = Descriptor(ends[0]);
      write_ = Descriptor(ends[1]);
    }
    int writeEnd() const { return write_.get(); }

    // The first line; without its end when the program has ended before.
    std::string readLine() {
      write_.reset();  // so that its end is seen
      const Deadline deadline = std::chrono::steady_clock::now() + kStart;
      std::string line;
      for (char c = '\0'; c != '\n' && line.size() < kLongestReadyLine; line += c) {
        if (!signals_.waitFor(read_.get(), deadline)) {
          throw noSimulator(ExitCode::timeLimit, "the simulator that was started does not answer");
        }
        if (::read(read_.get(), &c, 1) != 1) break;
      }
      return line;
    }

   private:
    const EndingSignals& signals_;
    Descriptor read_;
    Descriptor write_;
  };

  static std::vector<std::string> argumentsFor(const std::string& inventory,
                                               const TemporaryFolder& folder) {
    return {"--tls",  "--cert-out", folder.file("manager.pem"), "--inventory",          inventory,
            "--user", kUser,        "--password-file",          folder.file("password")};
  }

  std::string readUrl(const std::string& inventory) {
    const std::string line = output_.readLine();
    const std::string mark = kReadyMark;
    if (line.starts_with(mark) && line.back() == '\n') {
      return line.substr(mark.size(), line.size() - mark.size() - 1);
    }
    if (line.empty()) throw endedTooEarly(process_.wait(), inventory);
    throw noSimulator(ExitCode::unreachable, "what was started is no simulator: it says " +
                                                 line.substr(0, line.find('\n')));
  }

  Output output_;
  ChildProcess process_;
  std::string url_;
};

// Shows a command line and runs it; its results and talk are ours.
void runCommand(const EndingSignals& signals, const std::vector<std::string>& arguments) {
  const std::string prompt = "$ ";
  std::vector<std::string> words{"kestrelctl"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> lines = shellLines(words, renderingOfTalk().columns - prompt.size());
  lines.front().insert(0, prompt);
  for (const std::string& line : lines) say(line);
  ChildProcess command(signals, ownExecutable(), arguments);
  if (const int exitCode = command.wait(); exitCode != 0) throw CommandFailed{exitCode};
}

void showEverything(const DemoOptions& options, const EndingSignals& signals,
                    const TemporaryFolder& folder, const std::string& url) {
  const auto command = [&](std::vector<std::string> words) {
    const std::vector<std::string> connection{"--manager",       url,
                                              "--user",          kUser,
                                              "--ca-cert",       folder.file("manager.pem"),
                                              "--password-file", folder.file("password")};
    words.insert(words.end(), connection.begin(), connection.end());
    runCommand(signals, words);
  };
  announce("Can the manager be reached, and does it take the account?");
  command({"verify"});
  announce("What is on it?");
  command({"scan", "--save", options.saveFile});
  announce("Which machines are large?");
  runCommand(signals, {"find", "--reply", options.saveFile, "--larger", "1TiB"});

  const ScanEnvironmentReply reply = readReplyFile(options.saveFile);
  if (reply.machine_records_size() == 0)
    return say("The site has no machine to switch CBT off on.");
  const machine_record& machine = reply.machine_records(0);
  announce("Switch changed-block tracking off on " + machine.name());
  command({"disable-cbt", machine.mo(), "--yes"});
}

// What the user has set up for real managers is none of the simulator's business, the password
// least of all, and must not change what is shown.
void forgetOwnSettings() {
  constexpr std::string_view kOurs = "KESTRELVISOR_";
  std::vector<std::string> names;
  for (char* const* entry = environ; *entry != nullptr; ++entry) {
    const std::string_view variable = *entry;
    if (variable.substr(0, kOurs.size()) != kOurs) continue;
    names.emplace_back(variable.substr(0, variable.find('=')));
  }
  for (const std::string& name : names) unsetenv(name.c_str());
}

// What the commands keep for later, and what is kept for real managers, has no part in it either.
void useOwnFolders(const TemporaryFolder& folder) {
  setenv("XDG_CONFIG_HOME", folder.file("settings").c_str(), 1);
  setenv("XDG_CACHE_HOME", folder.file("cache").c_str(), 1);
}

}  // namespace

ExitCode runDemo(const DemoOptions& options) {
  prepareLibraries(false);
  const std::string program = findSimulator(options);
  const std::string inventory = findInventory(options);
  checkReplaceable("--save", options.saveFile);
  forgetOwnSettings();

  const EndingSignals signals;
  const TemporaryFolder folder;
  useOwnFolders(folder);
  writePassword(folder.file("password"));
  announce("A simulated manager on this machine, over HTTPS");
  Simulator simulator(signals, program, inventory, folder);
  say("vrmsim serves " + inventory + " on " + simulator.url());
  try {
    showEverything(options, signals, folder, simulator.url());
  } catch (const CommandFailed& failed) {
    return static_cast<ExitCode>(failed.exitCode);
  }
  if (const int exitCode = simulator.stop(); exitCode != 0) {
    warn("the simulator ended with exit code " + std::to_string(exitCode));
  }
  announce("Done");
  say("The reply lies in " + options.saveFile + ".");
  say("kestrelctl show, find and diff read it; it is a protobuf ScanEnvironmentReply.");
  return ExitCode::success;
}

}  // namespace kestrelvisor::ctl
