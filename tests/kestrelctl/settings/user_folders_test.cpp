#include "kestrelctl/settings/user_folders.h"

#include "kestrelctl/failure.h"
#include "tests/kestrelctl/set_variable.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <filesystem>

namespace kestrelvisor::ctl {
namespace {

using test::SetVariable;

TEST(UserFolders, AreBelowHome) {
  const SetVariable home("HOME", "/home/kim");
  const SetVariable configuration("XDG_CONFIG_HOME", nullptr);
  const SetVariable cache("XDG_CACHE_HOME", nullptr);

  EXPECT_EQ(configurationPath("a.toml"), "/home/kim/.config/kestrelctl/a.toml");
  EXPECT_EQ(cachePath("names"), "/home/kim/.cache/kestrelctl/names");
}

TEST(UserFolders, AreWhereTheUserWantsThem) {
  const SetVariable home("HOME", "/home/kim");
  const SetVariable configuration("XDG_CONFIG_HOME", "/settings");
  const SetVariable cache("XDG_CACHE_HOME", "/scratch");

  EXPECT_EQ(configurationPath("a.toml"), "/settings/kestrelctl/a.toml");
  EXPECT_EQ(cachePath("names"), "/scratch/kestrelctl/names");
}

TEST(UserFolders, AreNotWhereARelativePathLeads) {
  const SetVariable home("HOME", "/home/kim");
  const SetVariable configuration("XDG_CONFIG_HOME", "settings");

  EXPECT_EQ(configurationPath("a"), "/home/kim/.config/kestrelctl/a");
}

TEST(UserFolders, AreNowhereForAUserWithoutAHome) {
  const SetVariable home("HOME", nullptr);
  const SetVariable configuration("XDG_CONFIG_HOME", nullptr);

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
