#include "kestrelctl/settings/settings_lock.h"

#include "kestrelctl/settings/user_folders.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace kestrelvisor::ctl {

SettingsLock::SettingsLock(const std::string& path) {
  if (path.empty()) return;  // there is no place for settings
  makeFoldersOf(path);
  const std::string folder = path.substr(0, path.rfind('/'));
  folder_ = Descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder_) return;
  while (flock(folder_.get(), LOCK_EX) != 0 && errno == EINTR) {
  }
}

}  // namespace kestrelvisor::ctl
