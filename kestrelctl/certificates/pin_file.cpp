#include "kestrelctl/certificates/pin_file.h"

#include "kestrelctl/ascii.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/settings/toml_file.h"
#include "kestrelctl/settings/user_folders.h"

#include <algorithm>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kPins = "pins";

// The same for each way of writing a name.
std::string keyOf(const ManagerAddress& manager) {
  std::string key = manager.url();
  std::transform(key.begin(), key.end(), key.begin(), lowerCase);
  return key;
}

}  // namespace

std::string keptPin(const ManagerAddress& manager) {
  const std::string path = pinFile();
  const TomlValue document = readTomlFile(path);
  const TomlTable* const pins = tableIn(document, kPins, path);
  if (pins == nullptr) return {};
  const auto found = pins->find(keyOf(manager));
  if (found == pins->end()) return {};
  if (!found->second.is_string()) {
    throw wrongUsage(path + ": the pin of " + manager.url() + " is no text",
                     "correct the file, or keep the pin anew by kestrelctl cert pin --replace");
  }
  return found->second.as_string().str;
}

void keepPin(const ManagerAddress& manager, const std::string& pin) {
  const std::string path = pinFile();
  TomlValue document = readTomlFile(path);
  tableIn(document, kPins, path)[keyOf(manager)] = TomlValue(pin);
  writeTomlFile(path, document);
}

bool forgetPin(const ManagerAddress& manager) {
  const std::string path = pinFile();
  TomlValue document = readTomlFile(path);
  if (tableIn(document, kPins, path).erase(keyOf(manager)) == 0) return false;
  writeTomlFile(path, document);
  return true;
}

std::string pinFile() { return configurationPath("pins.toml"); }

}  // namespace kestrelvisor::ctl
