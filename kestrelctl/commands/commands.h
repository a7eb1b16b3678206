#pragma once

#include "kestrelctl/command.h"

#include <memory>

namespace kestrelvisor::ctl {

std::unique_ptr<Command> makeVerifyCommand();
std::unique_ptr<Command> makeScanCommand();
std::unique_ptr<Command> makeShowCommand();
std::unique_ptr<Command> makeFindCommand();
std::unique_ptr<Command> makeDiffCommand();
std::unique_ptr<Command> makeDisableCbtCommand();
std::unique_ptr<Command> makeDoctorCommand();
std::unique_ptr<Command> makeCertCommand();
std::unique_ptr<Command> makeContextsCommand();
std::unique_ptr<Command> makeExplainCommand();
std::unique_ptr<Command> makeEncryptPasswordCommand();
std::unique_ptr<Command> makeSupportBundleCommand();
std::unique_ptr<Command> makeCompletionCommand();
std::unique_ptr<Command> makeDemoCommand();
std::unique_ptr<Command> makeVersionCommand();

}  // namespace kestrelvisor::ctl
