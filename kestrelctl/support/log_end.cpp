#include "kestrelctl/support/log_end.h"

#include "kestrelctl/descriptor.h"
#include "kestrelctl/system_error.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

// Behind the end of the line that a place is in.
std::size_t nextLine(std::string_view text, std::size_t at) {
  const std::size_t end = text.find('\n', at);
  return end == std::string_view::npos ? text.size() : end + 1;
}

// What is left of a text that was cut at its beginning, without a line that began before, and
// without the rest of a key, which nobody could know as one.
std::string withoutCutLines(std::string_view text) {
  text.remove_prefix(nextLine(text, 0));
  const std::size_t keyEnd = text.find("-----END ");
  if (keyEnd < text.find("-----BEGIN ")) text.remove_prefix(nextLine(text, keyEnd));
  return std::string(text);
}

// As much as a file has to give from a place on, up to a size.
std::string readFrom(const Descriptor& file, off_t start, std::size_t size) {
  std::string text(size, '\0');
  std::size_t filled = 0;
  while (filled < size) {
    const ssize_t count =
        pread(file.get(), text.data() + filled, size - filled, start + static_cast<off_t>(filled));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    filled += static_cast<std::size_t>(count);
  }
  text.resize(filled);
  return text;
}

}  // namespace

LogEnd endOfLog(const std::string& path) {
  constexpr off_t kMost = 1 << 20;
  if (path.empty()) return {};
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status = {};
  if (!file || fstat(file.get(), &status) != 0) return {path, {}, systemError()};
  if (!S_ISREG(status.st_mode)) return {path, {}, "it is no regular file"};
  const off_t start = std::max<off_t>(0, status.st_size - kMost);
  const std::string text = readFrom(file, start, static_cast<std::size_t>(status.st_size - start));
  return {path, start > 0 ? withoutCutLines(text) : text, {}};
}

}  // namespace kestrelvisor::ctl
