#include "kestrelctl/reply_file.h"

#include "kestrelctl/descriptor.h"
#include "kestrelctl/failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <limits>
#include <system_error>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kHint =
    "kestrelctl scan --save FILE keeps a reply, and so does scan -o protobuf > FILE";

// What protobuf can read as one message.
constexpr std::size_t kLargestReply = std::numeric_limits<int>::max();

std::string shownName(const std::string& path) { return path == "-" ? "standard input" : path; }

Failure unusable(const std::string& path, const std::string& problem) {
  return wrongUsage(shownName(path) + " " + problem, kHint);
}

Failure cannotRead(const std::string& path, int error) {
  return unusable(path, "cannot be read: " + std::generic_category().message(error));
}

Descriptor openReply(const std::string& path) {
  Descriptor file(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                              : open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw cannotRead(path, errno);
  return file;
}

// Also of a file, so that a huge one is refused before it is read.
void checkStatus(const std::string& path, int file) {
  struct stat status = {};
  if (fstat(file, &status) != 0) throw cannotRead(path, errno);
  if (S_ISDIR(status.st_mode)) throw unusable(path, "is a directory");
  if (S_ISREG(status.st_mode) && static_cast<std::size_t>(status.st_size) > kLargestReply) {
    throw unusable(path, "is too large for a reply");
  }
}

std::string readAll(const std::string& path) {
  const Descriptor file = openReply(path);
  checkStatus(path, file.get());
  std::string bytes;
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
    if (count == 0) return bytes;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw cannotRead(path, errno);
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
    if (bytes.size() > kLargestReply) throw unusable(path, "is too large for a reply");
  }
}

bool looksLikeJson(const std::string& bytes) {
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  return first != std::string::npos && (bytes[first] == '{' || bytes[first] == '[');
}

// Protobuf reads many a file of another kind without complaint, as fields that nobody knows, and
// the first part of a reply as a smaller one. Every scan leaves at least the site, and the version
// of the manager's interface stands last.
bool isReply(const ScanEnvironmentReply& reply) {
  return reply.tree_records_size() > 0 && reply.environment_version_size() > 0;
}

// Files that were joined read as one reply, in which the numbers of both mean other things.
bool isOneReply(const ScanEnvironmentReply& reply) {
  return reply.environment_version_size() == 1 && reply.timestamp_size() == 1;
}

}  // namespace

ScanEnvironmentReply readReplyFile(const std::string& path) {
  const std::string bytes = readAll(path);
  if (bytes.empty()) throw unusable(path, "is empty");
  ScanEnvironmentReply reply;
  if (reply.ParseFromString(bytes) && isReply(reply)) {
    if (isOneReply(reply)) return reply;
    throw unusable(path, "holds more than one reply, or not the whole of one");
  }
  if (looksLikeJson(bytes)) throw unusable(path, "holds JSON, but a reply is protobuf");
  throw unusable(path, "holds no reply, or not the whole of one");
}

}  // namespace kestrelvisor::ctl
