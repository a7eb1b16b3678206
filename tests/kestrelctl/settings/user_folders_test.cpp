#include "kestrelctl/settings/user_folders.h"

#include "kestrelctl/failure.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <cstdlib>
#include <filesystem>
#include <optional>

namespace kestrelvisor::ctl {
namespace {

// Gives a variable another value for a while.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* const before = std::getenv(name)) before_ = before;
    if (value == nullptr) {
      unsetenv(name);
    } else {
      setenv(name, value, 1);
    }
  }
  ~Variable() {
    if (before_) {
      setenv(name_, before_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

TEST(UserFolders, AreBelowHome) {
  const Variable home("HOME", "/home/kim");
  const Variable configuration("XDG_CONFIG_HOME", nullptr);
  const Variable cache("XDG_CACHE_HOME", nullptr);

  EXPECT_EQ(configurationPath("a.toml"), "/home/kim/.config/kestrelctl/a.toml");
  EXPECT_EQ(cachePath("names"), "/home/kim/.cache/kestrelctl/names");
}

TEST(UserFolders, AreWhereTheUserWantsThem) {
  const Variable home("HOME", "/home/kim");
  const Variable configuration("XDG_CONFIG_HOME", "/settings");
  const Variable cache("XDG_CACHE_HOME", "/scratch");

  EXPECT_EQ(configurationPath("a.toml"), "/settings/kestrelctl/a.toml");
  EXPECT_EQ(cachePath("names"), "/scratch/kestrelctl/names");
}

TEST(UserFolders, AreNotWhereARelativePathLeads) {
  const Variable home("HOME", "/home/kim");
  const Variable configuration("XDG_CONFIG_HOME", "settings");

  EXPECT_EQ(configurationPath("a"), "/home/kim/.config/kestrelctl/a");
}

TEST(UserFolders, AreNowhereForAUserWithoutAHome) {
  const Variable home("HOME", nullptr);
  const Variable configuration("XDG_CONFIG_HOME", nullptr);

  EXPECT_EQ(configurationPath("a"), "");
}

TEST(UserFolders, AreMadeForTheirOwnerAlone) {
  const vrmsim::test::TemporaryFolder folder;

  makeFoldersOf(folder.file("one/two/file"));
  makeFoldersOf(folder.file("one/two/file"));

  for (const char* made : {"one", "one/two"}) {
    EXPECT_EQ(std::filesystem::status(folder.file(made)).permissions(),
              std::filesystem::perms(0700));
  }
  EXPECT_FALSE(std::filesystem::exists(folder.file("one/two/file")));
}

TEST(UserFolders, BelowAFileCannotBeMade) {
  const vrmsim::test::TemporaryFolder folder;
  folder.write("file", "");

  EXPECT_THROW(makeFoldersOf(folder.file("file/two/three")), Failure);
}

}  // namespace
}  // namespace kestrelvisor::ctl
