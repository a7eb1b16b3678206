#pragma once

#include <functional>
#include <string>

namespace kestrelvisor::ctl {

// Something that the user should know although the command went on.
struct Warning {
  std::string kind;  // for programs: a few words of small letters, joined by "-"
  std::string text;  // for people: a sentence without its full stop
};

// Takes warnings, each as soon as it is known.
using WarningSink = std::function<void(const Warning&)>;

}  // namespace kestrelvisor::ctl
