#include "kestrelctl/contexts/context_file.h"

#include "kestrelctl/failure.h"
#include "kestrelctl/settings/settings_lock.h"
#include "kestrelctl/settings/toml_file.h"
#include "kestrelctl/settings/user_folders.h"
#include "kestrelctl/suggestion.h"

#include <algorithm>
#include <array>
#include <limits>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kContexts = "contexts";

// What a TOML value of a key is.
enum class Kind { text, truth };

struct Key {
  const char* name;
  Kind kind;
};
constexpr std::array<Key, 11> kKeys{{{"manager", Kind::text},
                                     {"user", Kind::text},
                                     {"ca-cert", Kind::text},
                                     {"strict-tls", Kind::truth},
                                     {"password-file", Kind::text},
                                     {"password-command", Kind::text},
                                     {"timeout", Kind::text},
                                     {"keep-address", Kind::truth},
                                     {"follow-address", Kind::truth},
                                     {"use-environment", Kind::truth},
                                     {"allow-plaintext", Kind::truth}}};

const Key* keyNamed(const std::string& name) {
  const auto* const found =
      std::find_if(kKeys.begin(), kKeys.end(), [&](const Key& key) { return name == key.name; });
  return found == kKeys.end() ? nullptr : found;
}

std::string placeOf(const std::string& context) {
  return contextFile() + ": context \"" + context + "\"";
}

Failure unknownKey(const std::string& context, const std::string& key) {
  const std::string what = placeOf(context) + " has the key \"" + key + "\"";
  if (key == "password") {
    return wrongUsage(what + ", but a context holds no secret",
                      "take it out; password-file or password-command names where it is");
  }
  const std::string meant = nearestWord(key, contextKeys());
  return wrongUsage(what + ", which there is not", meant.empty()
                                                       ? "kestrelctl contexts --help shows the keys"
                                                       : "did you mean " + meant + "?");
}

// The library makes the nearest number that it knows of one that is too large.
bool isWholeNumber(const TomlValue& value) {
  using Limits = std::numeric_limits<toml::integer>;
  if (!value.is_integer()) return false;
  return value.as_integer() > Limits::min() && value.as_integer() < Limits::max();
}

// The text that the option gets.
std::string valueOf(const std::string& context, const Key& key, const TomlValue& value) {
  if (key.kind == Kind::truth && value.is_boolean()) return value.as_boolean() ? "true" : "false";
  if (key.kind == Kind::text && value.is_string()) return value.as_string().str;
  if (key.kind == Kind::text && isWholeNumber(value)) return std::to_string(value.as_integer());
  throw wrongUsage(placeOf(context) + ": " + key.name + " is to be " +
                       (key.kind == Kind::truth ? "true or false" : "a text in quotes"),
                   "correct the file, or make the context anew by contexts add --replace");
}

ContextSettings settingsOf(const std::string& context, const TomlTable& table) {
  ContextSettings settings;
  for (const auto& [name, value] : table) {
    const Key* const key = keyNamed(name);
    if (key == nullptr) throw unknownKey(context, name);
    settings[name] = valueOf(context, *key, value);
  }
  return settings;
}

TomlValue tomlOf(const Key& key, const std::string& value) {
  if (key.kind == Kind::truth) return TomlValue(value == "true");
  return TomlValue(value);
}

std::vector<std::string> namesOf(const Contexts& contexts) {
  std::vector<std::string> names;
  for (const auto& [name, settings] : contexts) names.push_back(name);
  return names;
}

}  // namespace

const std::vector<std::string>& contextKeys() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const Key& key : kKeys) list.emplace_back(key.name);
    return list;
  }();
  return names;
}

bool isSwitch(const std::string& key) {
  const Key* const known = keyNamed(key);
  return known != nullptr && known->kind == Kind::truth;
}

void checkContextName(const std::string& name) {
  constexpr const char* kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";
  if (!name.empty() && name.find_first_not_of(kLetters) == std::string::npos) return;
  throw wrongUsage("\"" + name + "\" cannot be the name of a context",
                   "letters, digits, \"-\", \"_\" and \".\" can stand in it");
}

Contexts readContexts() {
  const std::string path = contextFile();
  const TomlValue document = readTomlFile(path);
  Contexts contexts;
  const TomlTable* const all = tableIn(document, kContexts, path);
  if (all == nullptr) return contexts;
  for (const auto& [name, value] : *all) {
    if (!value.is_table()) throw wrongUsage(placeOf(name) + " is no table");
    contexts[name] = settingsOf(name, value.as_table());
  }
  return contexts;
}

ContextSettings contextNamed(const std::string& name) {
  const Contexts contexts = readContexts();
  const auto found = contexts.find(name);
  if (found != contexts.end()) return found->second;
  const std::string meant = nearestWord(name, namesOf(contexts));
  throw wrongUsage("there is no context \"" + name + "\"",
                   meant.empty() ? "kestrelctl contexts lists those that there are"
                                 : "did you mean " + meant + "?");
}

void keepContext(const std::string& name, const ContextSettings& settings, Replacing replacing) {
  checkContextName(name);
  const std::string path = contextFile();
  const SettingsLock lock(path);
  if (replacing == Replacing::no && readContexts().count(name) > 0) {
    throw wrongUsage("there is a context \"" + name + "\" already",
                     "--replace takes its place; contexts show " + name + " shows it");
  }
  TomlTable table;
  for (const Key& key : kKeys) {
    const auto setting = settings.find(key.name);
    if (setting != settings.end()) table[key.name] = tomlOf(key, setting->second);
  }
  TomlValue document = readTomlFile(path);
  tableIn(document, kContexts, path)[name] = TomlValue(table);
  writeTomlFile(path, document);
}

ContextSettings forgetContext(const std::string& name) {
  const std::string path = contextFile();
  const SettingsLock lock(path);
  ContextSettings settings = contextNamed(name);
  TomlValue document = readTomlFile(path);
  tableIn(document, kContexts, path).erase(name);
  writeTomlFile(path, document);
  return settings;
}

std::string contextFile() { return configurationPath("contexts.toml"); }

}  // namespace kestrelvisor::ctl
