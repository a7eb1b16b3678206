#include "kestrelctl/completion/shell_scripts.h"

#include "kestrelctl/shell_line.h"
#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {
namespace {

using By = Completed::By;

std::string listOf(const std::vector<std::string>& words) { return joined(words, " "); }

std::string commandNames(const CommandTree& commands) {
  std::vector<std::string> names;
  for (const CompletedCommand& command : commands) names.push_back(command.name);
  return listOf(names);
}

std::string optionNames(const CompletedCommand& command) {
  std::vector<std::string> names;
  for (const CompletedOption& option : command.options) {
    if (!option.shortName.empty()) names.push_back("-" + option.shortName);
    names.push_back("--" + option.longName);
  }
  return listOf(names);
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

std::string quotedForFish(const std::string& text) {
  return "'" + escaped(text, "'\\", "\\") + "'";
}

// Names of the options of a command that take a value.
std::string valueOptionNames(const CompletedCommand& command) {
  CompletedCommand taking{command.name, {}, {}, {}};
  for (const CompletedOption& option : command.options) {
    if (option.value.by != By::nothing) taking.options.push_back(option);
  }
  return optionNames(taking);
}

// How a shell function completes a word; the functions have the same names in bash and zsh.
std::string callFor(const Completed& value) {
  switch (value.by) {
    case By::words:
      return "_kestrelctl_words '" + listOf(value.words) + "'";
    case By::file:
      return "_kestrelctl_files";
    case By::names:
      return "_kestrelctl_names " + value.kind;
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

// "    contexts,2) ... ;;" for each place where an argument may stand.
std::string argumentCases(const CommandTree& commands) {
  std::string text;
  for (const CompletedCommand& command : commands) {
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
      text += "    " + command.name + "," + std::to_string(i + 1) + ") " +
              callFor(command.arguments[i]) + " ;;\n";
    }
  }
  return text;
}

// A function of bash and zsh: whether an option of a command takes a value.
std::string valueFunction(const CommandTree& commands) {
  std::string text = "_kestrelctl_takes_value() {\n  case $1 in\n";
  for (const CompletedCommand& command : commands) {
    text +=
        "    " + command.name + ") [[ ' " + valueOptionNames(command) + " ' == *\" $2 \"* ]] ;;\n";
  }
  return text + "    *) false ;;\n  esac\n}\n\n";
}

constexpr const char* kBashFunctions =
    R"(# Completes command lines of kestrelctl in bash. To be sourced, or to be put into
# ~/.local/share/bash-completion/completions/kestrelctl.

# The words of the line up to the cursor's, parted by blanks: bash parts them at = and : as well.
_kestrelctl_line() {
  local rest=$COMP_LINE blanks part
  for part in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
    blanks=${rest%%[![:blank:]]*}
    rest=${rest#"$blanks"}
    rest=${rest#"$part"}
    if [[ -n $blanks ]] || ((${#words[@]} == 0)); then
      words+=("$part")
    else
      words[-1]+=$part
    fi
  done
}

# Texts may be strangers': they are quoted as the user has begun to, and nothing in them is carried
# out. What stands before the part that bash completes stays away.
_kestrelctl_offer() {
  local text=$1
  case $quote in
    \")
      text=${text//\\/\\\\} text=${text//\"/\\\"} text=${text//\$/\\\$}
      text=${text//\`/\\\`} text=${text//!/\"\\!\"}
      ;;
    \') text=${text//\'/\'\\\'\'} ;;
    *) printf -v text '%q' "$text" ;;
  esac
  # Bash adds the quote at the end, unless it finds one there.
  [[ -z $quote || $text != *"$quote" ]] || text+=$quote
  text=$option$quote$text
  COMPREPLY+=("${text#"$kept"}")
}

_kestrelctl_words() {
  local text
  while IFS= read -r text; do
    _kestrelctl_offer "$text"
  done < <(compgen -W "$1" -- "$start")
}

# Bash itself quotes the names of files.
_kestrelctl_files() {
  local text plain=${kept//[\\\"\']/}
  compopt -o filenames 2>/dev/null
  while IFS= read -r text; do
    text=$option$text
    COMPREPLY+=("${text#"$plain"}")
  done < <(compgen -f -- "$start")
}

_kestrelctl_names() {
  local text
  while IFS= read -r text; do
    _kestrelctl_offer "$text"
  done < <(kestrelctl completion names "$1" "$start" 2>/dev/null)
}

)";

constexpr const char* kBashStart = R"(_kestrelctl() {
  local -a words=()
  local command previous word kept option= quote= start options= place=1 i
  COMPREPLY=()
  _kestrelctl_line
  ((${#words[@]} > 1)) || return
  command=${words[1]} previous=${words[-2]} word=${words[-1]}
  kept=${word%"$2"}
  if [[ $word == --*=* ]]; then
    previous=${word%%=*} option=$previous= word=${word#*=}
  fi
  case $word in
    \"* | \'*) quote=${word:0:1} start=${word:1} ;;
    *) start=$word ;;
  esac
  [[ $quote == \' ]] || start=${start//\\/}
)";

constexpr const char* kBashPlace = R"(  for ((i = 2; i < ${#words[@]} - 1; ++i)); do
    case ${words[i]} in
      --*=*) ;;
      -*) _kestrelctl_takes_value "$command" "${words[i]}" && ((++i)) ;;
      *) ((++place)) ;;
    esac
  done
)";

constexpr const char* kZshFunctions =
    R"(#compdef kestrelctl
# Completes command lines of kestrelctl in zsh. To be put into a folder of $fpath, as
# _kestrelctl.

_kestrelctl_words() {
  compadd -- ${=1}
}

_kestrelctl_files() {
  _files
}

_kestrelctl_names() {
  local -a names
  names=("${(@f)$(kestrelctl completion names "$1" "${(Q)PREFIX}" 2>/dev/null)}")
  names=(${names:#})
  (( $#names )) && compadd -a -- names
}

)";

constexpr const char* kZshStart = R"(_kestrelctl() {
  local command=$words[2] previous=$words[CURRENT-1] option= place=1 i
  local -a commands options
)";

constexpr const char* kZshOption = R"(  if [[ $PREFIX == --*=* ]]; then
    previous=${PREFIX%%=*} option=$previous=
    compset -P "$option"
  fi
)";

constexpr const char* kZshPlace = R"(  for (( i = 3; i < CURRENT; i++ )); do
    case $words[i] in
      --*=*) ;;
      -*) _kestrelctl_takes_value $command $words[i] && (( i++ )) ;;
      *) (( place++ )) ;;
    esac
  done
)";

constexpr const char* kFishFunctions =
    R"(# Completes command lines of kestrelctl in fish. To be put into
# ~/.config/fish/completions/kestrelctl.fish.

function __kestrelctl_has_none
    test (count (commandline -opc)) -eq 1
end

function __kestrelctl_is
    set -l words (commandline -opc)
    test "$words[2]" = $argv[1]
end

# Whether the argument of a command is to be completed that has a place, when these of its options
# take a value.
function __kestrelctl_argument
    __kestrelctl_is $argv[1]; or return
    set -l place 1
    set -l is_value false
    set -l words (commandline -opc)
    set -e words[1..2]
    for word in $words
        if $is_value
            set is_value false
        else if contains -- $word $argv[3..]
            set is_value true
        else if not string match -q -- '-*' $word
            set place (math $place + 1)
        end
    end
    not $is_value; and test $place = $argv[2]
end

function __kestrelctl_names
    set -l start (commandline -ct | string replace -r -- '^(--[a-z-]+=)?["\']?' '')
    kestrelctl completion names $argv[1] (string replace -a -- '\\' '' $start) 2>/dev/null
end

complete -c kestrelctl -f
complete -c kestrelctl -n __kestrelctl_has_none -l help -d 'Show commands and examples'
complete -c kestrelctl -n __kestrelctl_has_none -l version -d 'Print the version'
)";

// "'scan:Show the site'", as _describe takes it.
std::string zshEntry(const std::string& word, const std::string& description) {
  return "    " + inSingleQuotes(escaped(word, ":\\", "\\") + ":" + description) + "\n";
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

// The end of a line of fish that tells what follows an option, or what an argument can be.
std::string fishValue(const Completed& value) {
  switch (value.by) {
    case By::words:
      return " -x -a " + quotedForFish(listOf(value.words));
    case By::file:
      return " -r -F";
    case By::names:
      return " -x -a '(__kestrelctl_names " + value.kind + ")'";
    case By::text:
      return " -x";
    case By::nothing:
      break;
  }
  return {};
}

std::string fishArguments(const CompletedCommand& command) {
  std::string text;
  for (std::size_t i = 0; i < command.arguments.size(); ++i) {
    const Completed& argument = command.arguments[i];
    if (argument.by == By::text) continue;
    const std::vector<std::string> call{"__kestrelctl_argument", command.name,
                                        std::to_string(i + 1), valueOptionNames(command)};
    text += "complete -c kestrelctl -n '" + listOf(call) + "'" + fishValue(argument).substr(3) +
            "\n";  // without "-x" or "-r": no option
  }
  return text;
}

std::string fishLines(const CompletedCommand& command) {
  std::string text = fishArguments(command);
  for (const CompletedOption& option : command.options) {
    text += "complete -c kestrelctl -n '__kestrelctl_is " + command.name + "'";
    if (!option.shortName.empty()) text += " -s " + option.shortName;
    text += " -l " + option.longName + fishValue(option.value) + " -d " +
            quotedForFish(option.description) + "\n";
  }
  return text;
}

}  // namespace

std::string bashScript(const CommandTree& commands) {
  return kBashFunctions + valueFunction(commands) + kBashStart +
         "  if ((${#words[@]} == 2)); then\n"
         "    _kestrelctl_words '" +
         commandNames(commands) +
         " --help --version'\n"
         "    return\n"
         "  fi\n"
         "  case $command,$previous in\n" +
         valueCases(commands) +
         "  esac\n"
         "  [[ -z $option ]] || return\n"
         "  case $command in\n" +
         bashOptionCases(commands) +
         "  esac\n"
         "  if [[ $word == -* ]]; then\n"
         "    _kestrelctl_words \"$options\"\n"
         "    return\n"
         "  fi\n" +
         kBashPlace + "  case $command,$place in\n" + argumentCases(commands) +
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
  return kZshFunctions + valueFunction(commands) + kZshStart +
         "  if (( CURRENT == 2 )); then\n"
         "    commands=(\n" +
         entries +
         "    )\n"
         "    _describe command commands\n"
         "    return\n"
         "  fi\n" +
         kZshOption + "  case $command,$previous in\n" + valueCases(commands) +
         "  esac\n"
         "  [[ -z $option ]] || return\n"
         "  case $command in\n" +
         zshOptionCases(commands) +
         "  esac\n"
         "  if [[ $PREFIX == -* ]]; then\n"
         "    _describe option options\n"
         "    return\n"
         "  fi\n" +
         kZshPlace + "  case $command,$place in\n" + argumentCases(commands) +
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
  std::string text = kFishFunctions;
  for (const CompletedCommand& command : commands) {
    text += "complete -c kestrelctl -n __kestrelctl_has_none -a " + command.name + " -d " +
            quotedForFish(command.description) + "\n";
  }
  for (const CompletedCommand& command : commands) text += fishLines(command);
  return text;
}

}  // namespace kestrelvisor::ctl
