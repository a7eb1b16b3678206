#include "kestrelctl/usage_errors.h"

#include "kestrelctl/command_options.h"
#include "kestrelctl/suggestion.h"
#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

struct Problem {
  std::string what;
  std::string hint;  // empty: help shows more
};

std::vector<std::string> optionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// The first option that the command does not know; an empty text when there is none. What follows a
// letter may be its value, and a secret.
std::string unknownOption(const CLI::App& command) {
  for (const std::string& extra : command.remaining()) {
    if (extra.size() < 2 || extra.front() != '-') continue;
    return extra[1] == '-' ? extra.substr(0, extra.find('=')) : extra.substr(0, 2);
  }
  return {};
}

// The option or argument that an error is about; null when its words do not begin with one.
const CLI::Option* optionOf(const CLI::App& command, std::string_view words) {
  constexpr std::string_view kConversion = "Could not convert: ";
  if (words.starts_with(kConversion)) words.remove_prefix(kConversion.size());
  for (const CLI::Option* option : command.get_options()) {
    const std::string name = option->get_name();
    if (!words.starts_with(name)) continue;
    const std::string_view rest = words.substr(name.size());
    if (rest.starts_with(":") || rest.starts_with(" ")) return option;
  }
  return nullptr;
}

Problem missingValue(const CLI::Option& option) {
  const std::string name = option.get_name();
  const std::string type = option.get_type_name();
  const std::string words = joined(choicesOf(option));
  return {name + " needs a value", "write it as " + name + " " + type.substr(0, type.find(':')) +
                                       (words.empty() ? "" : ", which is one of " + words)};
}

Problem tooManyWords(const std::string& word) {
  return {"\"" + word + "\" is one word too many", {}};
}

Problem wrongCount(const CLI::Option& option, std::string_view words) {
  if (words.ends_with(" missing")) return missingValue(option);
  const auto most = static_cast<std::size_t>(option.get_items_expected_max());
  if (option.get_positional() && option.count() > most) return tooManyWords(option.results()[most]);
  return {option.get_name() + " is given more than once", "leave out all but one"};
}

// An option's own check has its own words.
Problem wrongValue(const CLI::Option& option, const std::string& words) {
  const std::vector<std::string> choices = choicesOf(option);
  for (const std::string& word : option.results()) {
    if (choices.empty() || std::find(choices.begin(), choices.end(), word) != choices.end())
      continue;
    const std::string meant = nearestWord(word, choices);
    return {option.get_name() + " cannot be \"" + word + "\"",
            meant.empty() ? "it is one of " + joined(choices) : "did you mean " + meant + "?"};
  }
  return {words, {}};
}

Problem notTrueOrFalse(const CLI::Option& option) {
  return {option.get_name() + ": \"" + joined(option.results()) + "\" is neither true nor false",
          option.get_name() + " alone means true"};
}

// "ONE excludes OTHER"
Problem excludedOption(const std::string& words) {
  const std::string mark = " excludes ";
  const std::size_t found = words.find(mark);
  if (found == std::string::npos) return {words, {}};
  return {
      words.substr(0, found) + " and " + words.substr(found + mark.size()) + " exclude each other",
      "leave out one of them"};
}

Problem problemOf(const CLI::App& command, const CLI::ParseError& error) {
  std::string words = error.what();
  words.erase(words.find_last_not_of('\n') + 1);
  const auto is = [&error](CLI::ExitCodes code) {
    return error.get_exit_code() == static_cast<int>(code);
  };
  const std::vector<std::string> extras = command.remaining();
  if (is(CLI::ExitCodes::ExtrasError) && !extras.empty()) return tooManyWords(extras.front());
  if (is(CLI::ExitCodes::ExcludesError)) return excludedOption(words);
  const CLI::Option* const option = optionOf(command, words);
  if (option == nullptr) return {words, {}};
  if (is(CLI::ExitCodes::ArgumentMismatch)) return wrongCount(*option, words);
  if (is(CLI::ExitCodes::ValidationError)) return wrongValue(*option, words);
  if (is(CLI::ExitCodes::ConversionError)) return notTrueOrFalse(*option);
  return {words, {}};
}

}  // namespace

Failure usageFailure(const CLI::App& command, const CLI::ParseError& error) {
  const std::string& name = command.get_name();
  const bool isWhole = command.get_parent() == nullptr;
  const std::string help =
      (isWhole ? name : "kestrelctl " + name) + " --help shows options and examples";
  if (const std::string unknown = unknownOption(command); !unknown.empty()) {
    const std::string meant = nearestWord(unknown, optionNames(command));
    return wrongUsage(name + ": there is no option " + unknown,
                      meant.empty() ? help : "did you mean " + meant + "?");
  }
  const Problem problem = problemOf(command, error);
  return wrongUsage(name + ": " + problem.what, problem.hint.empty() ? help : problem.hint);
}

}  // namespace kestrelvisor::ctl
