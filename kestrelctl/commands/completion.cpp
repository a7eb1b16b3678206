#include "kestrelctl/command_line.h"
#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/completion/name_index.h"
#include "kestrelctl/completion/shell_scripts.h"
#include "kestrelctl/console.h"
#include "kestrelctl/contexts/context_file.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/suggestion.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  source <(kestrelctl completion bash)        # in this shell\n"
    "  kestrelctl completion bash \\\n"
    "      > ~/.local/share/bash-completion/completions/kestrelctl\n"
    "  kestrelctl completion zsh > ~/.zfunc/_kestrelctl     # a folder of $fpath\n"
    "  kestrelctl completion fish > ~/.config/fish/completions/kestrelctl.fish\n"
    "  Installed packages bring them: there is nothing to do then.\n"
    "  Names of objects are those of the reply that scan --save has kept last. The\n"
    "  scripts ask for them by kestrelctl completion names KIND START.\n";

struct Shell {
  const char* name;
  std::string (*script)(const CommandTree& commands);
};
constexpr std::array<Shell, 3> kShells{
    {{"bash", bashScript}, {"zsh", zshScript}, {"fish", fishScript}}};

constexpr const char* kNames = "names";
constexpr const char* kContexts = "context";
constexpr const char* kUris = "uri";
constexpr std::size_t kMostNames = 200;  // more is no help

std::vector<std::string> contextsBeginningWith(const std::string& start) {
  std::vector<std::string> names;
  for (const auto& [name, settings] : readContexts()) {
    if (name.compare(0, start.size(), start) == 0) names.push_back(name);
  }
  return names;
}

class CompletionCommand : public Command {
 public:
  CompletionCommand()
      : Command({"completion", "Print what lets a shell complete command lines", kExamples,
                 CommandGroup::support}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  void printNames() const;

  std::vector<std::string> words_;
};

void CompletionCommand::declareOptions(CLI::App& app) {
  offerWords(*app.add_option("SHELL", words_, "bash, zsh or fish")->required()->expected(1, 3),
             "bash,zsh,fish");
}

void CompletionCommand::finishOptions(const CLI::App&) {
  std::vector<std::string> names;
  for (const Shell& shell : kShells) names.emplace_back(shell.name);
  const bool isShell = std::find(names.begin(), names.end(), words_[0]) != names.end();
  if (words_[0] == kNames ? words_.size() > 1 : isShell && words_.size() == 1) return;
  const std::string meant = nearestWord(words_[0], names);
  throw wrongUsage("completion: there is nothing for \"" + words_[0] + "\"",
                   meant.empty() || isShell ? "bash, zsh or fish" : "did you mean " + meant + "?");
}

// Options take the names of these as patterns.
bool isForPatterns(const std::string& kind) { return kind != kContexts && kind != kUris; }

// The pattern that a name alone matches.
std::string patternOf(const std::string& name) {
  std::string pattern;
  for (const char c : name) {
    if (std::string_view("*?[\\").find(c) != std::string_view::npos) pattern += '\\';
    pattern += c;
  }
  return pattern;
}

// What a pattern that is not whole yet says to the letter.
std::string nameOf(const std::string& pattern) {
  std::string name;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '\\') ++i;
    if (i < pattern.size()) name += pattern[i];
  }
  return name;
}

// For the scripts: who completes a word is not told what is wrong.
void CompletionCommand::printNames() const {
  const std::string& kind = words_[1];
  const std::string typed = words_.size() > 2 ? words_[2] : std::string();
  const bool isPattern = isForPatterns(kind);
  const std::string start = isPattern ? nameOf(typed) : typed;
  const std::vector<std::string> names = kind == kContexts
                                             ? contextsBeginningWith(start)
                                             : namesBeginningWith(kind, start, kMostNames);
  std::string text;
  for (const std::string& name : names) text += (isPattern ? patternOf(name) : name) + "\n";
  printResult(text);
}

ExitCode CompletionCommand::run() {
  if (words_[0] == kNames) {
    printNames();
    return ExitCode::success;
  }
  for (const Shell& shell : kShells) {
    if (words_[0] == shell.name) printResult(shell.script(describeCommands()));
  }
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeCompletionCommand() { return std::make_unique<CompletionCommand>(); }

}  // namespace kestrelvisor::ctl
