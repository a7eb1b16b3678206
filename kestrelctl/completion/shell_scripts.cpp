#include "kestrelctl/completion/shell_scripts.h"

namespace kestrelvisor::ctl {
namespace {

using By = Completed::By;

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string commandNames(const CommandTree& commands) {
  std::vector<std::string> names;
  for (const CompletedCommand& command : commands) names.push_back(command.name);
  return joined(names);
}

std::string optionNames(const CompletedCommand& command) {
  std::vector<std::string> names;
  for (const CompletedOption& option : command.options) {
    if (!option.shortName.empty()) names.push_back("-" + option.shortName);
    names.push_back("--" + option.longName);
  }
  return joined(names);
}

// Puts a sign in front of each of some characters.
std::string escaped(const std::string& text, const std::string& characters,
                    const std::string& sign) {
  std::string result;
  for (const char c : text) {
    if (characters.find(c) != std::string::npos) result += sign;
    result += c;
  }
  return result;
}

// Ends the quoted text, adds the quote and begins it anew.
std::string quotedForZsh(const std::string& text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

std::string quotedForFish(const std::string& text) {
  return "'" + escaped(text, "'\\", "\\") + "'";
}

// How a shell function completes a word; the functions have the same names in bash and zsh.
std::string callFor(const Completed& value) {
  switch (value.by) {
    case By::words:
      return "_kestrelctl_words '" + joined(value.words) + "' \"$word\"";
    case By::file:
      return "_kestrelctl_files \"$word\"";
    case By::names:
      return "_kestrelctl_names " + value.kind + " \"$word\"";
    case By::text:
    case By::nothing:
      break;
  }
  return ":";
}

// "    scan,-o|scan,--output) ... ;;" for each option that takes a value.
std::string valueCases(const CommandTree& commands) {
  std::string text;
  for (const CompletedCommand& command : commands) {
    for (const CompletedOption& option : command.options) {
      if (option.value.by == By::nothing) continue;
      text += "    ";
      if (!option.shortName.empty()) text += command.name + ",-" + option.shortName + "|";
      text +=
          command.name + ",--" + option.longName + ") " + callFor(option.value) + "; return ;;\n";
    }
  }
  return text;
}

std::string argumentCases(const CommandTree& commands) {
  std::string text;
  for (const CompletedCommand& command : commands) {
    text += "    " + command.name + ") " + callFor(command.argument) + " ;;\n";
  }
  return text;
}

constexpr const char* kBashFunctions =
    "# Completes command lines of kestrelctl in bash. To be sourced, or to be put into\n"
    "# ~/.local/share/bash-completion/completions/kestrelctl.\n"
    "\n"
    "_kestrelctl_words() {\n"
    "  mapfile -t COMPREPLY < <(compgen -W \"$1\" -- \"$2\")\n"
    "}\n"
    "\n"
    "_kestrelctl_files() {\n"
    "  compopt -o filenames 2>/dev/null\n"
    "  mapfile -t COMPREPLY < <(compgen -f -- \"$1\")\n"
    "}\n"
    "\n"
    "# Names are strangers' texts: they are quoted, and nothing in them is carried out.\n"
    "_kestrelctl_names() {\n"
    "  local name quoted\n"
    "  while IFS= read -r name; do\n"
    "    printf -v quoted '%q' \"$name\"\n"
    "    COMPREPLY+=(\"$quoted\")\n"
    "  done < <(kestrelctl completion names \"$1\" \"${2//\\\\/}\" 2>/dev/null)\n"
    "}\n"
    "\n";

constexpr const char* kZshFunctions =
    "#compdef kestrelctl\n"
    "# Completes command lines of kestrelctl in zsh. To be put into a folder of $fpath, as\n"
    "# _kestrelctl.\n"
    "\n"
    "_kestrelctl_words() {\n"
    "  compadd -- ${=1}\n"
    "}\n"
    "\n"
    "_kestrelctl_files() {\n"
    "  _files\n"
    "}\n"
    "\n"
    "_kestrelctl_names() {\n"
    "  local -a names\n"
    "  names=(\"${(@f)$(kestrelctl completion names \"$1\" \"${(Q)2}\" 2>/dev/null)}\")\n"
    "  names=(${names:#})\n"
    "  (( $#names )) && compadd -a -- names\n"
    "}\n"
    "\n";

// "'scan:Show the site'", as _describe takes it.
std::string zshEntry(const std::string& word, const std::string& description) {
  return "    " + quotedForZsh(escaped(word, ":\\", "\\") + ":" + description) + "\n";
}

std::string zshOptionCases(const CommandTree& commands) {
  std::string text;
  for (const CompletedCommand& command : commands) {
    text += "    " + command.name + ") options=(\n";
    for (const CompletedOption& option : command.options) {
      if (!option.shortName.empty()) text += zshEntry("-" + option.shortName, option.description);
      text += zshEntry("--" + option.longName, option.description);
    }
    text += "    ) ;;\n";
  }
  return text;
}

std::string bashOptionCases(const CommandTree& commands) {
  std::string text;
  for (const CompletedCommand& command : commands) {
    text += "    " + command.name + ") options='" + optionNames(command) + "' ;;\n";
  }
  return text;
}

// The end of a line of fish that tells what follows an option or stands alone.
std::string fishValue(const Completed& value) {
  switch (value.by) {
    case By::words:
      return " -x -a " + quotedForFish(joined(value.words));
    case By::file:
      return " -r -F";
    case By::names:
      return " -x -a " + quotedForFish("(kestrelctl completion names " + value.kind +
                                       " (commandline -ct) 2>/dev/null)");
    case By::text:
      return " -x";
    case By::nothing:
      break;
  }
  return {};
}

std::string fishLines(const CompletedCommand& command) {
  const std::string start =
      "complete -c kestrelctl -n '__fish_seen_subcommand_from " + command.name + "'";
  std::string text;
  const By argument = command.argument.by;
  if (argument == By::file) text += start + " -F\n";
  if (argument == By::words || argument == By::names) {
    text += start + fishValue(command.argument).substr(3) + "\n";  // without "-x": no option
  }
  for (const CompletedOption& option : command.options) {
    text += start;
    if (!option.shortName.empty()) text += " -s " + option.shortName;
    text += " -l " + option.longName + fishValue(option.value) + " -d " +
            quotedForFish(option.description) + "\n";
  }
  return text;
}

}  // namespace

std::string bashScript(const CommandTree& commands) {
  return std::string(kBashFunctions) +
         "_kestrelctl() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  local command=${COMP_WORDS[1]} options=\n"
         "  COMPREPLY=()\n"
         "  if ((COMP_CWORD == 1)); then\n"
         "    _kestrelctl_words '" +
         commandNames(commands) +
         " --help --version' \"$word\"\n"
         "    return\n"
         "  fi\n"
         "  case $command,$previous in\n" +
         valueCases(commands) +
         "  esac\n"
         "  case $command in\n" +
         bashOptionCases(commands) +
         "  esac\n"
         "  if [[ $word == -* ]]; then\n"
         "    _kestrelctl_words \"$options\" \"$word\"\n"
         "    return\n"
         "  fi\n"
         "  case $command in\n" +
         argumentCases(commands) +
         "  esac\n"
         "}\n"
         "\n"
         "complete -F _kestrelctl kestrelctl\n";
}

std::string zshScript(const CommandTree& commands) {
  std::string entries;
  for (const CompletedCommand& command : commands) {
    entries += zshEntry(command.name, command.description);
  }
  return std::string(kZshFunctions) +
         "_kestrelctl() {\n"
         "  local word=$words[CURRENT] previous=$words[CURRENT-1] command=$words[2]\n"
         "  local -a commands options\n"
         "  if (( CURRENT == 2 )); then\n"
         "    commands=(\n" +
         entries +
         "    )\n"
         "    _describe command commands\n"
         "    return\n"
         "  fi\n"
         "  case $command,$previous in\n" +
         valueCases(commands) +
         "  esac\n"
         "  case $command in\n" +
         zshOptionCases(commands) +
         "  esac\n"
         "  if [[ $word == -* ]]; then\n"
         "    _describe option options\n"
         "    return\n"
         "  fi\n"
         "  case $command in\n" +
         argumentCases(commands) +
         "  esac\n"
         "}\n"
         "\n"
         "if [[ $funcstack[1] == _kestrelctl ]]; then\n"
         "  _kestrelctl \"$@\"\n"
         "elif (( $+functions[compdef] )); then\n"
         "  compdef _kestrelctl kestrelctl\n"
         "fi\n";
}

std::string fishScript(const CommandTree& commands) {
  std::string text =
      "# Completes command lines of kestrelctl in fish. To be put into\n"
      "# ~/.config/fish/completions/kestrelctl.fish.\n"
      "complete -c kestrelctl -f\n"
      "complete -c kestrelctl -n __fish_use_subcommand -l help -d 'Show commands and examples'\n"
      "complete -c kestrelctl -n __fish_use_subcommand -l version -d 'Print the version'\n";
  for (const CompletedCommand& command : commands) {
    text += "complete -c kestrelctl -n __fish_use_subcommand -a " + command.name + " -d " +
            quotedForFish(command.description) + "\n";
  }
  for (const CompletedCommand& command : commands) text += fishLines(command);
  return text;
}

}  // namespace kestrelvisor::ctl
