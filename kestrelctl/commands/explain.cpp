#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/explanations/explanation_views.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/suggestion.h"
#include "kestrelctl/terminal_text.h"

#include <memory>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl explain 2000           # what an error message calls its code\n"
    "  kestrelctl explain status 104     # of a kind alone\n"
    "  kestrelctl explain curl 60\n"
    "  kestrelctl explain exit           # all codes of a kind\n"
    "  kestrelctl explain                # the kinds that there are\n"
    "  kestrelctl explain -o json | jq '.explanations[] | select(.retry == \"yes\")'\n";

using Rows = std::vector<const Explanation*>;

std::vector<std::string> kindNames() {
  std::vector<std::string> names;
  for (const KindOfCode& kind : kindsOfCode()) names.emplace_back(kind.name);
  return names;
}

std::vector<std::string> knownCodes(const Rows& rows) {
  std::vector<std::string> codes;
  for (const Explanation* const row : rows) codes.emplace_back(row->code);
  return codes;
}

Rows allRows() {
  Rows rows;
  for (const KindOfCode& kind : kindsOfCode()) {
    const Rows more = explanationsOf(kind.kind);
    rows.insert(rows.end(), more.begin(), more.end());
  }
  return rows;
}

const KindOfCode& readKind(const std::string& word) {
  if (const KindOfCode* const kind = kindNamed(word)) return *kind;
  const std::vector<std::string> names = kindNames();
  const std::string meant = nearestWord(word, names);
  throw wrongUsage(
      "explain: there is no kind of code \"" + word + "\"",
      meant.empty() ? "the kinds are " + joined(names) : "did you mean " + meant + "?");
}

// known are the codes that were looked through; otherwise says where more can be found.
Failure unknownCode(const std::string& what, const std::string& code, const Rows& known,
                    const std::string& otherwise) {
  const std::string meant = nearestWord(code, knownCodes(known));
  return wrongUsage("explain: " + what + " \"" + code + "\"",
                    meant.empty() ? otherwise : "did you mean " + meant + "?");
}

Failure unknownCode(const std::string& code) {
  return unknownCode(
      "nothing is known about the code", code, allRows(),
      "the kinds are " + joined(kindNames()) + "; explain KIND lists the codes of one");
}

Failure unknownCodeOf(const KindOfCode& kind, const std::string& code) {
  const std::string name = kind.name;
  return unknownCode("the kind " + name + " has no code", code, explanationsOf(kind.kind),
                     "kestrelctl explain " + name + " lists its codes");
}

class ExplainCommand : public Command {
 public:
  ExplainCommand()
      : Command({"explain", "Tell what a code means and what can be done about it", kExamples,
                 CommandGroup::support}) {}

  void declareOptions(CLI::App& app) override;
  ExitCode run() override;

 private:
  Rows chosenRows() const;
  bool isForPeople() const;
  std::string shown() const;

  OutputFormat format_ = OutputFormat::table;
  std::vector<std::string> words_;  // nothing, KIND, CODE, or KIND and CODE
};

void ExplainCommand::declareOptions(CLI::App& app) {
  app.add_option("CODE", words_,
                 "A code, a kind and a code, or a kind alone; without any the kinds are listed")
      ->expected(0, 2)
      ->type_name("");
  addFormatOption(app, format_,
                  {OutputFormat::table, OutputFormat::wide, OutputFormat::json, OutputFormat::jsonl,
                   OutputFormat::yaml, OutputFormat::name});
}

Rows ExplainCommand::chosenRows() const {
  if (words_.empty()) return allRows();
  if (words_.size() == 1) {
    if (const KindOfCode* const kind = kindNamed(words_[0])) return explanationsOf(kind->kind);
    const Rows rows = explanationsOf(words_[0]);
    if (rows.empty()) throw unknownCode(words_[0]);
    return rows;
  }
  const KindOfCode& kind = readKind(words_[0]);
  const Explanation* const row = explanationOf(kind.kind, words_[1]);
  if (row == nullptr) throw unknownCodeOf(kind, words_[1]);
  return {row};
}

bool ExplainCommand::isForPeople() const {
  return format_ == OutputFormat::table || format_ == OutputFormat::wide;
}

std::string ExplainCommand::shown() const {
  if (format_ == OutputFormat::name) return codeNames(chosenRows());
  if (!isForPeople()) return explanationDocument(chosenRows(), format_);
  const Rendering rendering = renderingOfResults();
  if (words_.empty()) return kindTable(rendering);
  const KindOfCode* const kind = words_.size() == 1 ? kindNamed(words_[0]) : nullptr;
  if (kind != nullptr) return codeTable(kind->kind, format_, rendering);
  return explanationText(chosenRows(), rendering);
}

ExitCode ExplainCommand::run() {
  printResult(shown());
  if (words_.empty() && isForPeople()) {
    say("explain KIND lists the codes of a kind, explain CODE tells all about one.");
  }
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeExplainCommand() { return std::make_unique<ExplainCommand>(); }

}  // namespace kestrelvisor::ctl
