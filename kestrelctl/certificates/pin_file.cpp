#include "kestrelctl/certificates/pin_file.h"

#include "kestrelctl/ascii.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/settings/settings_lock.h"
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

// Whether it is in the form in which it is looked for.
bool isKey(const std::string& key) {
  try {
    const ManagerAddress manager = readManagerAddress(key);
    return manager.https && keyOf(manager) == key;
  } catch (const Failure&) {
    return false;
  }
}

}  // namespace

std::string keptPin(const ManagerAddress& manager) {
  const std::map<std::string, std::string> pins = keptPins();
  const auto found = pins.find(keyOf(manager));
  return found == pins.end() ? std::string() : found->second;
}

void keepPin(const ManagerAddress& manager, const std::string& pin) {
  const std::string path = pinFile();
  const SettingsLock lock(path);
  TomlValue document = readTomlFile(path);
  tableIn(document, kPins, path)[keyOf(manager)] = TomlValue(pin);
  writeTomlFile(path, document);
}

bool forgetPin(const ManagerAddress& manager) {
  const std::string path = pinFile();
  const SettingsLock lock(path);
  TomlValue document = readTomlFile(path);
  if (tableIn(document, kPins, path).erase(keyOf(manager)) == 0) return false;
  writeTomlFile(path, document);
  return true;
}

// What would be passed over is refused.
std::map<std::string, std::string> keptPins() {
  const std::string path = pinFile();
  const TomlValue document = readTomlFile(path);
  for (const auto& [name, value] : document.as_table()) {
    if (name == kPins) continue;
    throw wrongUsage(path + ": \"" + name + "\" is unknown; pins stand in the table [pins]",
                     "correct the file");
  }
  std::map<std::string, std::string> pins;
  const TomlTable* const table = tableIn(document, kPins, path);
  if (table == nullptr) return pins;
  for (const auto& [key, value] : *table) {
    if (!isKey(key)) {
      throw wrongUsage(path + ": \"" + key + "\" is no manager's URL as cert pin writes it",
                       "write it like https://vrm.example.com:7443, in small letters");
    }
    if (!value.is_string()) {
      throw wrongUsage(path + ": the pin of " + key + " is no text",
                       "correct the file, or keep the pin anew by kestrelctl cert pin --replace");
    }
    pins[key] = value.as_string().str;
  }
  return pins;
}

std::string pinFile() { return configurationPath("pins.toml"); }

}  // namespace kestrelvisor::ctl
