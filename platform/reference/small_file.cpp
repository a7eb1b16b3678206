#include "platform/reference/small_file.h"

#include "base/wipe_string.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kestrelvisor {
namespace {

class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~FileDescriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

std::string lastSystemError() { return std::generic_category().message(errno); }

// Reads up to size bytes; the buffer never grows, so no copy of a secret stays behind in the heap.
bool readInto(int descriptor, std::string& content) {
  std::size_t filled = 0;
  while (filled < content.size()) {
    const ssize_t got = read(descriptor, content.data() + filled, content.size() - filled);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    filled += static_cast<std::size_t>(got);
  }
  content.resize(filled);
  return true;
}

}  // namespace

bool readSmallFile(const std::string& path, std::size_t limit, FileCheck check,
                   std::string& content, std::string& problem) {
  wipeString(content);
  // Without O_NONBLOCK a named pipe would hold the caller up before its kind can be seen.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status = {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) {
    problem = path + ": " + lastSystemError();
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    problem = path + ": not a regular file";
    return false;
  }
  if (const std::string refusal = check == nullptr ? std::string() : check(status);
      !refusal.empty()) {
    problem = path + ": " + refusal;
    return false;
  }

  content.resize(limit + 1);
  if (!readInto(file.get(), content)) {
    problem = path + ": " + lastSystemError();
    wipeString(content);
    return false;
  }
  if (content.size() > limit) {
    problem = path + ": longer than " + std::to_string(limit) + " bytes";
    wipeString(content);
    return false;
  }
  return true;
}

}  // namespace kestrelvisor
