#include "kestrelctl/file_replacement.h"

#include "kestrelctl/descriptor.h"
#include "kestrelctl/ending_signals.h"
#include "kestrelctl/failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

Failure cannotWrite(const std::string& path, int error) {
  return cannotBeWritten(path, std::generic_category().message(error));
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

void writeAndClose(Descriptor file, const std::string& path, std::string_view content) {
  while (!content.empty()) {
    const ssize_t count = ::write(file.get(), content.data(), content.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw cannotWrite(path, errno);
    content.remove_prefix(static_cast<std::size_t>(count));
  }
  if (fsync(file.get()) != 0) throw cannotWrite(path, errno);
}

// Holds back what may end the process, so that no signal leaves a temporary file behind.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : kEndingSignals) sigaddset(&signals, number);
    sigprocmask(SIG_BLOCK, &signals, &before_);
  }
  ~HeldSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

 private:
  sigset_t before_{};
};

void checkFolder(const std::string& option, const std::string& path) {
  const std::string folder = folderOf(path);
  if (access(folder.c_str(), W_OK | X_OK) == 0) return;
  throw wrongUsage(option + ": cannot write in the folder " + folder + ": " +
                   std::generic_category().message(errno));
}

// The same for all names of a file, whether it is there or not.
std::filesystem::path resolved(const std::string& path) {
  std::error_code unknown;
  const std::filesystem::path absolute = std::filesystem::absolute(path, unknown);
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(absolute, unknown);
  return unknown ? absolute.lexically_normal() : canonical;
}

// A file beside the target, removed unless it has become the target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& target) : name_(target + ".XXXXXX") {
    file_ = Descriptor(mkostemp(name_.data(), O_CLOEXEC));  // 0600
    if (!file_) throw cannotWrite(target, errno);
  }
  ~TemporaryFile() {
    if (!kept_) ::unlink(name_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  Descriptor takeFile() { return std::move(file_); }
  void become(const std::string& target) {
    if (std::rename(name_.c_str(), target.c_str()) != 0) throw cannotWrite(target, errno);
    kept_ = true;
  }

 private:
  std::string name_;
  Descriptor file_;
  bool kept_ = false;
};

}  // namespace

void checkReplaceable(const std::string& option, const std::string& path) {
  struct stat status = {};
  if (path.empty() || path.back() == '/') throw wrongUsage(option + ": no file is named");
  if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw wrongUsage(option + ": " + path + " is there and not a regular file");
  }
  checkFolder(option, path);
}

void checkCreatable(const std::string& option, const std::string& path) {
  struct stat status = {};
  if (path.empty() || path.back() == '/') throw wrongUsage(option + ": no file is named");
  if (lstat(path.c_str(), &status) == 0) {
    throw wrongUsage(option + ": " + path + " is there already", "name a file that is not there");
  }
  checkFolder(option, path);
}

void checkDistinct(std::initializer_list<NamedFile> files) {
  std::map<std::filesystem::path, const char*> options;
  for (const NamedFile& file : files) {
    if (file.path.empty()) continue;
    const auto [first, isNew] = options.emplace(resolved(file.path), file.option);
    if (isNew) continue;
    throw wrongUsage(
        std::string(first->second) + " and " + file.option + " name one file: " + file.path,
        "give each a file of its own");
  }
}

void replaceFile(const std::string& path, std::string_view content) {
  const HeldSignals held;
  TemporaryFile temporary(path);
  writeAndClose(temporary.takeFile(), path, content);
  temporary.become(path);
}

void createFile(const std::string& path, std::string_view content) {
  const HeldSignals held;
  Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) throw cannotWrite(path, errno);
  try {
    writeAndClose(std::move(file), path, content);
  } catch (const Failure&) {
    ::unlink(path.c_str());
    throw;
  }
}

}  // namespace kestrelvisor::ctl
