#include "bench/scan/manager.h"

#include "tests/support/test_headers.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>

namespace kestrelvisor::bench {
namespace {

namespace fs = std::filesystem;

// The temporary folder of the process while it lives, with nothing else in it.
class OwnTemporaryFolder {
 public:
  OwnTemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "bench-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = pattern;
    setenv("TMPDIR", path_.c_str(), 1);
  }
  ~OwnTemporaryFolder() {
    before_ == nullptr ? unsetenv("TMPDIR") : setenv("TMPDIR", kept_.c_str(), 1);
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  OwnTemporaryFolder(const OwnTemporaryFolder&) = delete;
  OwnTemporaryFolder& operator=(const OwnTemporaryFolder&) = delete;

  bool isEmpty() const { return fs::is_empty(path_); }

 private:
  const char* const before_ = std::getenv("TMPDIR");
  const std::string kept_ = before_ == nullptr ? "" : before_;
  fs::path path_;
};

void expectNothingLeftBy(const std::string& program) {
  const OwnTemporaryFolder folder;
  EXPECT_THROW(Manager({program, shapeNamed("small"), true, "", {}}), std::runtime_error);
  EXPECT_TRUE(folder.isEmpty());
}

TEST(MeasuredManager, ThatDoesNotStartLeavesNoFile) { expectNothingLeftBy("/nowhere/vrmsim"); }

TEST(MeasuredManager, ThatSpeaksOtherwiseLeavesNoFile) { expectNothingLeftBy("echo"); }

std::size_t openFiles() {
  const fs::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

// Lets the process open only so many files more while it lives.
class FewFiles {
 public:
  explicit FewFiles(rlim_t more) {
    getrlimit(RLIMIT_NOFILE, &before_);
    const int lowest = dup(STDIN_FILENO);
    close(lowest);
    rlimit few = before_;
    few.rlim_cur = static_cast<rlim_t>(lowest) + more;
    setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewFiles() { setrlimit(RLIMIT_NOFILE, &before_); }
  FewFiles(const FewFiles&) = delete;
  FewFiles& operator=(const FewFiles&) = delete;

 private:
  rlimit before_{};
};

TEST(ChildProcess, ThatCannotBeStartedLeavesNoOpenFile) {
  const std::size_t before = openFiles();
  EXPECT_THROW(ChildProcess({"/nowhere/program"}), std::runtime_error);
  EXPECT_EQ(openFiles(), before);
}

TEST(ChildProcess, ThatGetsOneOfTwoPipesLeavesNoOpenFile) {
  const std::size_t before = openFiles();
  {
    const FewFiles two(2);
    EXPECT_THROW(ChildProcess({"cat"}), std::runtime_error);
  }
  EXPECT_EQ(openFiles(), before);
}

TEST(ChildProcess, ReadsAndWritesLines) {
  ChildProcess process({"cat"});
  process.write("one\ntwo\n");

  EXPECT_EQ(process.readLine(), "one");
  EXPECT_EQ(process.readLine(), "two");
}

}  // namespace
}  // namespace kestrelvisor::bench
