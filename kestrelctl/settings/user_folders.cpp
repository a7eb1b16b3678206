#include "kestrelctl/settings/user_folders.h"

#include "kestrelctl/failure.h"
#include "kestrelctl/system_error.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>

namespace kestrelvisor::ctl {
namespace {

constexpr mode_t kForOwnerAlone = 0700;

std::string absolutePathIn(const char* variable) {
  const char* const text = std::getenv(variable);
  return text != nullptr && *text == '/' ? text : std::string();
}

std::string pathIn(const char* variable, const char* folderAtHome, const std::string& file) {
  std::string folder = absolutePathIn(variable);
  if (folder.empty()) {
    const std::string home = absolutePathIn("HOME");
    if (home.empty()) return {};
    folder = home + folderAtHome;
  }
  return folder + "/kestrelctl/" + file;
}

}  // namespace

std::string configurationPath(const std::string& file) {
  return pathIn("XDG_CONFIG_HOME", "/.config", file);
}

std::string cachePath(const std::string& file) { return pathIn("XDG_CACHE_HOME", "/.cache", file); }

void makeFoldersOf(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string folder = path.substr(0, slash);
    if (mkdir(folder.c_str(), kForOwnerAlone) == 0 || errno == EEXIST) continue;
    throw wrongUsage(folder + " cannot be made: " + systemError());
  }
}

}  // namespace kestrelvisor::ctl
