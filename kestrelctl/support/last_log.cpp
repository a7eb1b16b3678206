#include "kestrelctl/support/last_log.h"

#include "kestrelctl/file_replacement.h"
#include "kestrelctl/settings/user_folders.h"
#include "platform/reference/small_file.h"

#include <exception>
#include <filesystem>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLongestPath = 4096;

std::string notePath() { return cachePath("last-log"); }

}  // namespace

void rememberLog(const std::string& path) noexcept {
  try {
    const std::string note = notePath();
    if (note.empty() || !std::filesystem::is_regular_file(path)) return;
    makeFoldersOf(note);
    replaceFile(note, std::filesystem::absolute(path).string());
  } catch (const std::exception&) {  // of the disk or the memory
    return;
  }
}

std::string lastLog() {
  std::string path;
  std::string problem;
  const std::string note = notePath();
  if (!note.empty()) readSmallFile(note, kLongestPath, nullptr, path, problem);
  return path;
}

}  // namespace kestrelvisor::ctl
