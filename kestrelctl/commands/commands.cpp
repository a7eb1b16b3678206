#include "kestrelctl/commands/commands.h"

#include <memory>
#include <vector>

namespace kestrelvisor::ctl {

std::vector<std::unique_ptr<Command>> allCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(makeVerifyCommand());
  commands.push_back(makeScanCommand());
  commands.push_back(makeShowCommand());
  commands.push_back(makeFindCommand());
  commands.push_back(makeDiffCommand());
  commands.push_back(makeDisableCbtCommand());
  commands.push_back(makeDoctorCommand());
  commands.push_back(makeCertCommand());
  commands.push_back(makeExplainCommand());
  commands.push_back(makeContextsCommand());
  commands.push_back(makeEncryptPasswordCommand());
  commands.push_back(makeSupportBundleCommand());
  commands.push_back(makeCompletionCommand());
  commands.push_back(makeDemoCommand());
  commands.push_back(makeVersionCommand());
  return commands;
}

}  // namespace kestrelvisor::ctl
