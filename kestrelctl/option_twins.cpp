#include "kestrelctl/option_twins.h"

#include "kestrelctl/contexts/context_file.h"
#include "kestrelctl/failure.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kContextOption = "--context";
constexpr const char* kContextVariable = "KESTRELVISOR_CONTEXT";

std::string textOf(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? std::string() : text;
}

bool isSwitch(const CLI::Option& option) { return option.get_items_expected_max() == 0; }

// Of a switch, whether its value leaves it as it is without it. Where there is a word for the
// opposite, as with --no-strict-tls, every value says something.
bool saysNothing(const CLI::Option& option, const std::string& value, const std::string& source) {
  if (!isSwitch(option)) return false;
  try {
    return CLI::detail::to_flag_value(value) <= 0 && option.get_fnames().empty();
  } catch (const std::logic_error&) {
    throw wrongUsage(source + ": \"" + value + "\" is neither true nor false");
  }
}

// What excludes it stands on the command line, or stands in for that.
bool isExcluded(const CLI::Option& option) {
  const auto others = option.get_excludes();
  return std::any_of(others.begin(), others.end(),
                     [](const CLI::Option* other) { return other->count() > 0; });
}

// Whether the command line alone may give it a value.
bool mustBeSaid(const CLI::Option& option) { return !option.get_configurable(); }

// What a command line has left out.
class MissingValues {
 public:
  MissingValues(CLI::App& command, std::vector<std::string>& sources)
      : command_(command), sources_(sources) {}

  void takeEnvironment() {
    for (CLI::Option* const option : command_.get_options()) {
      const std::string variable = twinOf(*option);
      if (!variable.empty()) offer(*option, textOf(variable.c_str()), variable);
    }
  }

  void takeContext(const std::string& name) {
    const std::string source = "context " + name;
    for (const auto& [key, value] : contextNamed(name)) {
      CLI::Option* const option = command_.get_option_no_throw("--" + key);
      if (option != nullptr) offer(*option, value, source);
    }
  }

 private:
  void offer(CLI::Option& option, const std::string& value, const std::string& source) {
    if (value.empty() || option.count() > 0 || isExcluded(option) || mustBeSaid(option)) return;
    if (saysNothing(option, value, source)) return;
    option.add_result(value);
    if (sources_.empty() || sources_.back() != source) sources_.push_back(source);
  }

  CLI::App& command_;
  std::vector<std::string>& sources_;
};

// Help is to be had whatever stands in the environment.
bool asksForHelp(const CLI::App& command) {
  const CLI::Option* const help = command.get_help_ptr();
  return help != nullptr && help->count() > 0;
}

// named is the context of the command line. It has been said, as the variables have not: they may
// stand there for something else.
void fillIn(CLI::App& command, std::vector<std::string>& sources, const std::string& named) {
  if (command.count() == 0 || asksForHelp(command)) return;  // another command is meant
  MissingValues values(command, sources);
  if (!named.empty()) values.takeContext(named);
  values.takeEnvironment();
  const std::string context = textOf(kContextVariable);
  if (!named.empty() || context.empty() || !usesContext(command)) return;
  sources.emplace_back(kContextVariable);  // there may be no such context
  values.takeContext(context);
}

}  // namespace

std::string twinOf(const CLI::Option& option) {
  const std::vector<std::string>& names = option.get_lnames();
  if (names.empty() || names.front() == "help" || "--" + names.front() == kContextOption) return {};
  std::string variable = "KESTRELVISOR_";
  for (const char c : names.front()) {
    if (c == '-') {
      variable += '_';
    } else {
      variable += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
  }
  return variable;
}

// CLI11 runs the callbacks of a command's options in their order, when the whole command line is
// read and before it demands what is missing: the first one can still fill in the others.
void addTwins(CLI::App& command, std::vector<std::string>& sources) {
  const auto fill = [&command, &sources](const std::string& named) {
    fillIn(command, sources, named);
  };
  command
      .add_option_function<std::string>(
          kContextOption, fill,
          "Take what is not said here from this context; see kestrelctl contexts")
      ->type_name("NAME")
      ->force_callback();
}

bool usesContext(const CLI::App& command) {
  const CLI::Option* const manager = command.get_option_no_throw("--manager");
  return manager != nullptr && !isExcluded(*manager) && !mustBeSaid(*manager);
}

}  // namespace kestrelvisor::ctl
