#include "kestrelctl/completion/name_index.h"

#include "kestrelctl/descriptor.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/reply_selection.h"
#include "kestrelctl/settings/user_folders.h"
#include "kestrelctl/terminal_text.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <set>

namespace kestrelvisor::ctl {
namespace {

constexpr char kBehindKind = '\t';
constexpr const char* kMachine = "machine";
constexpr const char* kHost = "host";
constexpr const char* kCluster = "cluster";
constexpr const char* kDatastore = "datastore";
constexpr const char* kUri = "uri";

std::string indexPath() { return cachePath("names"); }

// Lines without their ends, each once and in order.
using Lines = std::set<std::string>;

void add(Lines& lines, const char* kind, const std::string& name) {
  if (name.empty() || printable(name, true) != name) return;
  lines.insert(std::string(kind) + kBehindKind + name);
}

void addObject(Lines& lines, const IndexedObject& object) {
  if (object.is(ObjectKind::machine)) {
    add(lines, kMachine, object.row->name());
    add(lines, kUri, addressOf(object));
  } else if (object.is(ObjectKind::host)) {
    add(lines, kHost, object.row->name());
  } else if (object.is(ObjectKind::cluster)) {
    add(lines, kCluster, object.row->name());
  }
}

// A file in memory, as long as this lives.
class MappedFile {
 public:
  explicit MappedFile(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const bytes =
        size == 0 ? MAP_FAILED : mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (bytes == MAP_FAILED) return;
    text_ = {static_cast<const char*>(bytes), size};
  }
  ~MappedFile() {
    if (!text_.empty()) munmap(const_cast<char*>(text_.data()), text_.size());
  }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

// The beginning of the line that a position is in.
std::size_t lineAt(std::string_view text, std::size_t position) {
  const std::size_t end = position == 0 ? std::string_view::npos : text.rfind('\n', position - 1);
  return end == std::string_view::npos ? 0 : end + 1;
}

std::string_view lineFrom(std::string_view text, std::size_t start) {
  return text.substr(start, text.find('\n', start) - start);
}

// Where the first line begins that is not before another text.
std::size_t firstNotBefore(std::string_view text, std::string_view wanted) {
  std::size_t low = 0;
  std::size_t high = text.size();
  while (low < high) {
    const std::size_t start = lineAt(text, low + (high - low) / 2);
    const std::string_view line = lineFrom(text, start);
    if (line < wanted) {
      low = start + line.size() + 1;
    } else {
      high = start;
    }
  }
  return std::min(low, text.size());
}

}  // namespace

const std::vector<std::string>& nameKinds() {
  static const std::vector<std::string> kinds{kMachine, kHost, kCluster, kDatastore, kUri};
  return kinds;
}

std::string nameIndexOf(const ReplyIndex& index) {
  Lines lines;
  for (const IndexedObject& object : index.objects()) addObject(lines, object);
  for (const datastore_record& datastore : index.reply().datastore_records()) {
    add(lines, kDatastore, datastore.name());
  }
  std::string text;
  for (const std::string& line : lines) text.append(line).append("\n");
  return text;
}

void keepNames(const ReplyIndex& index) noexcept {
  try {
    const std::string path = indexPath();
    if (path.empty()) return;
    makeFoldersOf(path);
    replaceFile(path, nameIndexOf(index));
  } catch (const std::exception&) {  // of the disk or the memory
    return;
  }
}

std::vector<std::string> namesIn(std::string_view index, const std::string& kind,
                                 const std::string& start, std::size_t most) {
  const std::string wanted = kind + kBehindKind + start;
  std::vector<std::string> names;
  std::size_t position = firstNotBefore(index, wanted);
  while (names.size() < most && position < index.size()) {
    const std::string_view line = lineFrom(index, position);
    if (line.substr(0, wanted.size()) != wanted) break;
    names.emplace_back(line.substr(kind.size() + 1));
    position += line.size() + 1;
  }
  return names;
}

std::vector<std::string> namesBeginningWith(const std::string& kind, const std::string& start,
                                            std::size_t most) {
  const MappedFile file(indexPath());
  return namesIn(file.text(), kind, start, most);
}

}  // namespace kestrelvisor::ctl
