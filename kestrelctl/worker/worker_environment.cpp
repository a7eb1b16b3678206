#include "kestrelctl/worker/worker_environment.h"

#include "kestrelctl/foreign_settings.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr std::array<std::string_view, 9> kPassed{"LANG",
                                                  "LANGUAGE",
                                                  "TZ",
                                                  "HOME",
                                                  "TMPDIR",
                                                  "LD_LIBRARY_PATH",
                                                  "KESTRELVISOR_CONFIG",
                                                  "KESTRELVISOR_PASSWORD_KEY",
                                                  "KESTRELVISOR_PASSWORD_KEY_FILE"};
constexpr std::string_view kLocalePrefix = "LC_";
constexpr const char* kBindAtStart = "LD_BIND_NOW=1";

bool isPassed(std::string_view name) {
  return std::find(kPassed.begin(), kPassed.end(), name) != kPassed.end() ||
         name.substr(0, kLocalePrefix.size()) == kLocalePrefix;
}

}  // namespace

std::vector<std::string> workerEnvironment(bool foreignSettings) {
  std::vector<std::string> passed{kBindAtStart};
  for (char* const* entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view variable = *entry;
    const std::string_view name = variable.substr(0, variable.find('='));
    if (isPassed(name) || (foreignSettings && isForeignSetting(name))) {
      passed.emplace_back(variable);
    }
  }
  return passed;
}

}  // namespace kestrelvisor::ctl
