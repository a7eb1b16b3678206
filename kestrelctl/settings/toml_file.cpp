#include "kestrelctl/settings/toml_file.h"

#include "kestrelctl/failure.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/settings/toml_nesting.h"
#include "kestrelctl/settings/user_folders.h"
#include "platform/reference/small_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1} << 20;
constexpr std::size_t kDeepestNesting = 32;  // the library needs stack for each level

// What is wrong with a file or a folder.
std::string problemOf(const struct stat& status) {
  if (status.st_uid != geteuid() && status.st_uid != 0) return "owned by another user";
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) == 0) return {};
  const std::string mode = S_ISDIR(status.st_mode) ? "700" : "600";
  return "others than its owner can write to it; chmod " + mode + " it";
}

// Who can write to the folder can take a file away and leave no trace.
void checkFolderOf(const std::string& path) {
  const std::string folder = path.substr(0, path.rfind('/'));
  struct stat status = {};
  if (stat(folder.c_str(), &status) != 0) return;  // nothing is in it
  const std::string problem = problemOf(status);
  if (!problem.empty()) throw wrongUsage(folder + ": " + problem);
}

bool isThere(const std::string& path) {
  struct stat status = {};
  if (lstat(path.c_str(), &status) == 0) return true;
  return errno != ENOENT && errno != ENOTDIR;  // some accounts have a home that is no folder
}

// A file that is kept elsewhere stays there, and the link to it too.
std::string withoutLinks(const std::string& path) {
  std::error_code problem;
  const std::filesystem::path target = std::filesystem::canonical(path, problem);
  return problem ? path : target.string();
}

Failure unreadable(const std::string& path, const std::string& why) {
  return wrongUsage(path + ": " + why, "correct the file, or remove it");
}

Failure noTable(const std::string& path, const std::string& key) {
  return unreadable(path, "\"" + key + "\" is no table");
}

// The library's own text is a drawing of some lines.
std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

TomlValue readTomlFile(const std::string& path) {
  if (path.empty()) return TomlValue(TomlTable());
  checkFolderOf(path);
  if (!isThere(path)) return TomlValue(TomlTable());
  std::string text;
  std::string problem;
  if (!readSmallFile(path, kLargestFile, problemOf, text, problem)) throw wrongUsage(problem);
  if (deepestNesting(text) > kDeepestNesting) throw unreadable(path, "it is nested too deep");
  if (text.find_first_not_of(" \t\r\n") == std::string::npos) return TomlValue(TomlTable());
  std::istringstream stream(text);
  try {
    return toml::parse<toml::preserve_comments, std::map, std::vector>(stream, path);
  } catch (const toml::exception& error) {
    throw unreadable(path, "no TOML in line " + std::to_string(error.location().line()));
  } catch (const std::runtime_error& error) {
    throw unreadable(path, firstLine(error.what()));
  }
}

void writeTomlFile(const std::string& path, const TomlValue& document) {
  if (path.empty()) {
    throw wrongUsage("there is no place for settings: neither XDG_CONFIG_HOME nor HOME is set");
  }
  std::ostringstream text;
  text << document;
  makeFoldersOf(path);
  replaceFile(withoutLinks(path), text.str());
}

const TomlTable* tableIn(const TomlValue& document, const std::string& key,
                         const std::string& path) {
  const TomlTable& all = document.as_table();
  const auto found = all.find(key);
  if (found == all.end()) return nullptr;
  if (!found->second.is_table()) throw noTable(path, key);
  return &found->second.as_table();
}

TomlTable& tableIn(TomlValue& document, const std::string& key, const std::string& path) {
  TomlTable& all = document.as_table();
  const auto found = all.try_emplace(key, TomlValue(TomlTable())).first;
  if (!found->second.is_table()) throw noTable(path, key);
  return found->second.as_table();
}

}  // namespace kestrelvisor::ctl
