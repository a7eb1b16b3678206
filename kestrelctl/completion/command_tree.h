#pragma once

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// What can stand where a shell is to complete a word.
struct Completed {
  enum class By {
    nothing,  // no value is taken
    text,     // the user alone knows
    words,
    file,
    names,  // of objects, as kestrelctl completion names tells them
  };

  By by = By::nothing;
  std::vector<std::string> words;  // of words
  std::string kind;                // of names
};

struct CompletedOption {
  std::string shortName;  // "o"; may be empty
  std::string longName;   // "output"
  std::string description;
  Completed value;
};

// A command as shells complete it.
struct CompletedCommand {
  std::string name;
  std::string description;
  std::vector<CompletedOption> options;
  std::vector<Completed> arguments;  // the words that are no options, by their places
};

}  // namespace kestrelvisor::ctl
