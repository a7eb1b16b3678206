#include "kestrelctl/command_description.h"

#include "kestrelctl/command_options.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

using By = Completed::By;

// What takes the names of things, by the names of options and arguments.
struct Named {
  std::string_view name;
  const char* kind;
};
constexpr std::array<Named, 7> kNamed{{{"--context", "context"},
                                       {"NAME", "context"},
                                       {"--name", "machine"},
                                       {"--host", "host"},
                                       {"--cluster", "cluster"},
                                       {"--datastore", "datastore"},
                                       {"VM_URI", "uri"}}};
constexpr std::array<std::string_view, 3> kFileArguments{"FILE", "OLD", "NEW"};

bool isFile(const CLI::Option& option, std::string_view name) {
  const bool named =
      std::find(kFileArguments.begin(), kFileArguments.end(), name) != kFileArguments.end();
  return named || option.get_type_name() == "FILE";
}

// name is that of the option, "--save", or of the argument, "VM_URI".
Completed valueOf(const CLI::Option& option, std::string_view name) {
  if (option.get_items_expected_max() == 0) return {By::nothing, {}, {}};
  for (const Named& known : kNamed) {
    if (known.name == name) return {By::names, {}, known.kind};
  }
  if (std::vector<std::string> choices = choicesOf(option); !choices.empty()) {
    return {By::words, std::move(choices), {}};
  }
  return {isFile(option, name) ? By::file : By::text, {}, {}};
}

// A sentence is enough beside a word.
std::string firstPart(const std::string& description) {
  return description.substr(0, description.find_first_of(";\n"));
}

CompletedOption describe(const CLI::Option& option, const std::string& longName) {
  CompletedOption described;
  const std::vector<std::string>& shortNames = option.get_snames();
  if (!shortNames.empty()) described.shortName = shortNames.front();
  described.longName = longName;
  described.description = firstPart(option.get_description());
  described.value = valueOf(option, "--" + longName);
  return described;
}

}  // namespace

CompletedCommand describe(const CLI::App& command) {
  CompletedCommand described;
  described.name = command.get_name();
  described.description = command.get_description();
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional()) {
      described.arguments.push_back(valueOf(*option, option->get_name(true)));
      continue;
    }
    for (const std::string& name : option->get_lnames()) {
      described.options.push_back(describe(*option, name));
    }
  }
  return described;
}

}  // namespace kestrelvisor::ctl
