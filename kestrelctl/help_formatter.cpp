#include "kestrelctl/help_formatter.h"

#include "kestrelctl/terminal_text.h"

#include <map>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kHelpColumn = 26;  // where an option's explanation starts
constexpr std::size_t kHelpWidth = kLineWidth - kHelpColumn;
constexpr std::size_t kCommandWidth = 16;

}  // namespace

HelpWithExamples::HelpWithExamples(std::string examples) : examples_(std::move(examples)) {
  column_width(kHelpColumn);
  label("Positionals", "Arguments");
}

std::string HelpWithExamples::make_description(const CLI::App* app) const {
  return app->get_description() + "\n\n" + examples_ + "\n";
}

std::string HelpWithExamples::make_usage(const CLI::App* app, std::string name) const {
  if (!app->get_subcommands({}).empty()) return "Usage: " + name + " COMMAND [OPTIONS]\n\n";
  std::string text = "Usage: kestrelctl " + app->get_name();
  for (const CLI::Option* option : app->get_options()) {
    if (!option->get_positional()) continue;
    const std::string argument = option->get_name(true);
    text += option->get_required() ? " " + argument : " [" + argument + "]";
  }
  return text + " [OPTIONS]\n\n";
}

std::string HelpWithExamples::make_group(std::string group, bool isPositional,
                                         std::vector<const CLI::Option*> options) const {
  const std::string text = CLI::Formatter::make_group(group, isPositional, options);
  return text.substr(text.find_first_not_of('\n')) + (isPositional ? "\n" : "");
}

std::string HelpWithExamples::make_option_name(const CLI::Option* option, bool isPositional) const {
  const std::string name = CLI::Formatter::make_option_name(option, isPositional);
  return name.substr(0, name.find('{'));
}

std::string HelpWithExamples::make_option_opts(const CLI::Option* option) const {
  const std::string type = option->get_type_name();
  return type.empty() ? type : " " + type.substr(0, type.find(':'));
}

std::string HelpWithExamples::make_option_desc(const CLI::Option* option) const {
  return wrapped(option->get_description(), kHelpWidth);
}

// A line for each command, without its examples, under the heading of its group.
std::string HelpWithExamples::make_subcommands(const CLI::App* app, CLI::AppFormatMode) const {
  std::vector<std::string> headings;
  std::map<std::string, std::string> lines;
  for (const CLI::App* command : app->get_subcommands({})) {
    std::string& group = lines[command->get_group()];
    if (group.empty()) headings.push_back(command->get_group());
    group += "  " + padRight(command->get_name(), kCommandWidth) + "  " +
             command->get_description() + "\n";
  }
  std::string text;
  for (const std::string& heading : headings) text += "\n" + heading + ":\n" + lines[heading];
  return text;
}

}  // namespace kestrelvisor::ctl
