#include "platform/reference/configuration.h"

#include "base/log.h"
#include "platform/contract/config_reader.h"
#include "platform/reference/platform_tag.h"
#include "platform/reference/small_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace kestrelvisor {
namespace {

constexpr std::size_t kLargestFile = 1U << 20U;

struct Default {
  std::string_view section;  // in lower case, as the key
  std::string_view key;
  int value;
};
constexpr std::array<Default, 1> kDefaults{{{"general", "certauthswitch", 1}}};
constexpr int kOtherDefault = 0;

using Name = std::pair<std::string, std::string>;  // section and key, in lower case

// Never destroyed: an exchange at process exit may ask whether certificates matter.
struct Configuration {
  std::mutex mutex;
  std::string file;
  std::map<Name, std::string> values;
};

Configuration& configuration() {
  static Configuration* const instance = new Configuration;
  return *instance;
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view withoutComment(std::string_view line) {
  for (std::size_t i = 0; i < line.size(); ++i) {
    const bool mark = line[i] == ';' || line[i] == '#';
    if (mark && (i == 0 || isBlank(line[i - 1]))) return line.substr(0, i);
  }
  return line;
}

// Returns the text of the last line that sets name.
std::optional<std::string> findValue(std::string_view ini, const Name& name) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (ini.substr(0, kByteOrderMark.size()) == kByteOrderMark)
    ini.remove_prefix(kByteOrderMark.size());

  std::optional<std::string> found;
  std::string section;
  while (!ini.empty()) {
    const std::size_t end = std::min(ini.find('\n'), ini.size());
    const std::string_view line = trimmed(withoutComment(trimmed(ini.substr(0, end))));
    ini.remove_prefix(std::min(end + 1, ini.size()));

    if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
      section = lowerCase(trimmed(line.substr(1, line.size() - 2)));
      continue;
    }
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || section != name.first) continue;
    if (lowerCase(trimmed(line.substr(0, equals))) == name.second)
      found = trimmed(line.substr(equals + 1));
  }
  return found;
}

// A file that cannot be read is told in problem and holds nothing.
std::optional<std::string> configuredValue(const Name& name, std::string& problem) {
  std::string path;
  {
    Configuration& current = configuration();
    const std::lock_guard lock(current.mutex);
    const auto entry = current.values.find(name);
    if (entry != current.values.end()) return entry->second;
    path = current.file;
  }
  if (const char* const named = std::getenv("KESTRELVISOR_CONFIG");
      path.empty() && named != nullptr)
    path = named;
  std::string content;
  if (path.empty() || !readSmallFile(path, kLargestFile, nullptr, content, problem))
    return std::nullopt;
  return findValue(content, name);
}

std::optional<int> integerOf(std::string_view text) {
  int number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
  return number;
}

int defaultOf(const Name& name) {
  for (const Default& row : kDefaults) {
    if (row.section == name.first && row.key == name.second) return row.value;
  }
  return kOtherDefault;
}

}  // namespace

void setConfigurationFile(const std::string& path) {
  Configuration& current = configuration();
  const std::lock_guard lock(current.mutex);
  current.file = path;
}

void setConfigurationValue(const std::string& section, const std::string& key,
                           const std::string& value) {
  Configuration& current = configuration();
  const std::lock_guard lock(current.mutex);
  current.values[{lowerCase(section), lowerCase(key)}] = trimmed(value);
}

void resetConfiguration() {
  Configuration& current = configuration();
  const std::lock_guard lock(current.mutex);
  current.file.clear();
  current.values.clear();
}

}  // namespace kestrelvisor

// Every key has a default, so none is required.
int ConfigReader::getInt(const std::string& section, const std::string& key, bool /*required*/) {
  using kestrelvisor::configuredValue;
  using kestrelvisor::defaultOf;
  using kestrelvisor::kPlatformTag;
  const kestrelvisor::Name name{kestrelvisor::lowerCase(section), kestrelvisor::lowerCase(key)};
  std::string problem;
  const std::optional<std::string> text = configuredValue(name, problem);
  if (!problem.empty()) KV_LOG_AS(kPlatformTag, kWarning, "Configuration not read: ", problem);
  if (!text) return defaultOf(name);
  if (const std::optional<int> number = kestrelvisor::integerOf(*text)) return *number;
  KV_LOG_AS(kPlatformTag, kWarning, "Configuration value is not a number: [", section, "] ", key);
  return defaultOf(name);
}
