#pragma once

#include "kestrelctl/completion/command_tree.h"

#include <string>
#include <vector>

// Scripts that teach shells to complete command lines of kestrelctl. Names of objects they ask of
// kestrelctl itself, and never as text that a shell would carry out.

namespace kestrelvisor::ctl {

using CommandTree = std::vector<CompletedCommand>;

std::string bashScript(const CommandTree& commands);
std::string zshScript(const CommandTree& commands);
std::string fishScript(const CommandTree& commands);

}  // namespace kestrelvisor::ctl
