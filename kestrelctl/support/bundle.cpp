#include "kestrelctl/support/bundle.h"

#include "kestrelctl/certificates/certificate.h"
#include "kestrelctl/certificates/pin_file.h"
#include "kestrelctl/contexts/context_file.h"
#include "kestrelctl/documents/versions.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/foreign_settings.h"
#include "kestrelctl/manager_address.h"
#include "kestrelctl/terminal_text.h"
#include "platform/contract/config_reader.h"
#include "platform/reference/clock.h"
#include "platform/reference/redaction.h"

#include <langinfo.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kBegin =
    "Support bundle of kestrelctl. Read it before you hand it on: it names managers,\n"
    "accounts and files. Passwords, tokens and keys are left out.\n";

std::string heading(const std::string& text) { return "\n== " + text + "\n"; }

std::string setting(const std::string& name, const std::string& value) {
  constexpr std::size_t kNameWidth = 24;
  return padRight(name, kNameWidth) + "  " + printable(value, true) + "\n";
}

std::string systemText() {
  utsname system{};
  uname(&system);
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  return heading("system") +
         setting("time", timeText(std::chrono::floor<std::chrono::seconds>(currentTime()))) +
         setting("kernel", std::string(system.sysname) + " " + system.release) +
         setting("machine", system.machine) + setting("character set", nl_langinfo(CODESET)) +
         setting("open files", std::to_string(files.rlim_cur));
}

// Their values tell nothing that is a secret.
bool isHarmlessVariable(std::string_view name) {
  constexpr std::array<std::string_view, 6> kHarmless{"LANG", "LC_ALL",  "LC_CTYPE",
                                                      "TERM", "COLUMNS", "NO_COLOR"};
  return std::find(kHarmless.begin(), kHarmless.end(), name) != kHarmless.end();
}

bool isOurVariable(std::string_view name) {
  constexpr std::string_view kOurs = "KESTRELVISOR_";
  return name.substr(0, kOurs.size()) == kOurs || isForeignSetting(name);
}

std::string environmentText() {
  std::vector<std::string> lines;
  for (char* const* entry = environ; *entry != nullptr; ++entry) {
    const std::string_view variable = *entry;
    const std::size_t end = std::min(variable.find('='), variable.size() - 1);
    const std::string name(variable.substr(0, end));
    if (isHarmlessVariable(name))
      lines.push_back(setting(name, std::string(variable.substr(end + 1))));
    if (isOurVariable(name)) lines.push_back(setting(name, "is set"));
  }
  std::sort(lines.begin(), lines.end());
  std::string text = heading("environment");
  for (const std::string& line : lines) text += line;
  return text;
}

// A text that is no address could be anything.
std::string managerOf(const std::string& text) {
  try {
    return readManagerAddress(text).url();
  } catch (const Failure&) {
    return "is no address";
  }
}

// Of the options that a context gives, the command may hold a secret.
std::string valueOf(const std::string& key, const std::string& value) {
  if (key == "manager") return managerOf(value);
  return key == "password-command" ? "is set" : withoutSecrets(value);
}

// What a file of the user's holds, or why it cannot be used.
std::string fileText(const std::string& title, const std::function<std::string()>& read) {
  try {
    return heading(title) + read();
  } catch (const Failure& failure) {
    return heading(title) + "cannot be used: " + printable(withoutSecrets(failure.what()), true) +
           "\n";
  }
}

std::string contextsText() {
  return fileText("contexts, " + contextFile(), [] {
    std::string text;
    for (const auto& [name, settings] : readContexts()) {
      text += "[" + printable(withoutSecrets(name), true) + "]\n";
      for (const auto& [key, value] : settings) text += setting("  " + key, valueOf(key, value));
    }
    return text;
  });
}

// Pins are no secrets: managers show their public keys to everybody.
std::string pinsText() {
  return fileText("pins, " + pinFile(), [] {
    std::string text;
    for (const auto& [manager, pin] : keptPins()) {
      text += printable(withoutSecrets(manager + "  " + pin), true) + "\n";
    }
    return text;
  });
}

std::string configurationText() {
  const char* const file = std::getenv("KESTRELVISOR_CONFIG");
  return heading("configuration") +
         setting("KESTRELVISOR_CONFIG", file == nullptr ? "none" : withoutSecrets(file)) +
         setting("CertAuthSwitch",
                 std::to_string(ConfigReader::getInt("General", "CertAuthSwitch", true)));
}

// Redacted as a whole: a secret may go on in the next line.
std::string logText(const LogEnd& log) {
  if (log.path.empty()) return heading("log") + "none is known; --log-file FILE writes one\n";
  std::string text = heading("log, " + printable(log.path, true));
  if (!log.problem.empty()) return text + "cannot be read: " + log.problem + "\n";
  std::istringstream lines(withoutSecrets(log.text));
  for (std::string line; std::getline(lines, line);) text += printable(line, true) + "\n";
  return text;
}

}  // namespace

std::string supportBundle(const std::string& ownVersion, const LogEnd& log) {
  return kBegin + heading("versions") + versionText(ownVersion) + systemText() + environmentText() +
         configurationText() + contextsText() + pinsText() + logText(log);
}

}  // namespace kestrelvisor::ctl
