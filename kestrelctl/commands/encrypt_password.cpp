#include "base/wipe_string.h"
#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/documents/operation_documents.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/libraries.h"
#include "platform/reference/password_cipher.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl encrypt-password --new-key backup.key   # makes the key and uses it\n"
    "  KESTRELVISOR_PASSWORD_KEY_FILE=backup.key kestrelctl encrypt-password\n"
    "  pass show vrm | kestrelctl encrypt-password --new-key backup.key \\\n"
    "      --password-stdin -o json | jq -r .cipher\n";

// Makes a key, keeps it in a new file and uses it.
void makeKey(const std::string& path) {
  std::string key;
  const WipeOnExit wipe(key);
  std::string problem;
  if (!generateKey(key, problem) || !setPasswordKey(key, problem)) {
    throw wrongUsage("--new-key: " + problem);
  }
  createFile(path, key + "\n");
  say("The key is in " + path + "; hosts find it by KESTRELVISOR_PASSWORD_KEY_FILE.");
}

class EncryptPasswordCommand : public Command {
 public:
  EncryptPasswordCommand()
      : Command({"encrypt-password", "Print a password in the form that hosts hand to the engine",
                 kExamples, CommandGroup::support}) {}

  void declareOptions(CLI::App& app) override;
  ExitCode run() override;

 private:
  void checkKey() const;

  PasswordSource password_;
  std::string newKeyFile_;  // empty: the key comes from the environment
  OutputFormat format_ = OutputFormat::text;
};

void EncryptPasswordCommand::declareOptions(CLI::App& app) {
  addFileOption(app, "--new-key", newKeyFile_,
                "Make a fresh key, write it to this new file and use it");
  addFormatOption(app, format_, formsOfDocument(OutputFormat::text));
  addPasswordOptions(app, password_);
}

void EncryptPasswordCommand::checkKey() const {
  if (!newKeyFile_.empty()) return checkCreatable("--new-key", newKeyFile_);
  std::string problem;
  if (hasPasswordKey(problem)) return;
  throw wrongUsage(problem,
                   "--new-key FILE makes a key; KESTRELVISOR_PASSWORD_KEY_FILE names the file of "
                   "one that is there");
}

ExitCode EncryptPasswordCommand::run() {
  prepareLibraries(false);
  checkKey();
  std::string password;
  const WipeOnExit wipe(password);
  const std::vector<Warning> warnings =
      fetchPassword(password_, "Password to encrypt: ", std::nullopt, password).warnings;
  warnOf(warnings);
  if (!newKeyFile_.empty()) makeKey(newKeyFile_);
  std::string cipher;
  std::string problem;
  if (!encryptPassword(password, cipher, problem)) throw wrongUsage(problem);
  forgetPasswordKey();
  printResult(format_ == OutputFormat::text ? cipher + "\n"
                                            : cipherDocument(cipher, warnings, format_));
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeEncryptPasswordCommand() {
  return std::make_unique<EncryptPasswordCommand>();
}

}  // namespace kestrelvisor::ctl
