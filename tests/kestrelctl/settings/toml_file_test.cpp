#include "kestrelctl/settings/toml_file.h"

#include "kestrelctl/failure.h"
#include "kestrelctl/settings/toml_nesting.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <filesystem>

namespace kestrelvisor::ctl {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;
using vrmsim::test::TemporaryFolder;

class TomlFile : public ::testing::Test {
 protected:
  TomlFile() { fs::permissions(folder.file("."), fs::perms(0700)); }

  void write(const std::string& text) const {
    folder.write("a.toml", text);
    fs::permissions(path, fs::perms(0600));
  }

  TemporaryFolder folder;
  std::string path = folder.file("a.toml");
};

TEST_F(TomlFile, IsEmptyWhenThereIsNone) {
  EXPECT_TRUE(readTomlFile(path).as_table().empty());
  EXPECT_TRUE(readTomlFile("").as_table().empty());
}

TEST_F(TomlFile, IsEmptyBelowWhatIsNoFolder) {
  EXPECT_TRUE(readTomlFile("/dev/null/kestrelctl/a.toml").as_table().empty());
}

TEST_F(TomlFile, IsRefusedInAFolderThatOthersCanChange) {
  for (const auto mode : {0720, 0702}) {
    fs::permissions(folder.file("."), fs::perms(mode));

    EXPECT_THAT([&] { readTomlFile(path); }, ThrowsMessage<Failure>(HasSubstr("chmod 700 it")));
  }
}

TEST_F(TomlFile, OfManyLevelsIsRefused) {
  constexpr std::size_t kMany = 200'000;
  std::string dotted = "a";
  for (std::size_t i = 0; i < kMany; ++i) dotted += ".a";
  for (const std::string& text : {"a=" + std::string(kMany, '['), dotted + "=1", "[" + dotted + "]",
                                  "a=" + std::string(kMany, '[') + std::string(kMany, ']')}) {
    write(text);

    EXPECT_THAT([&] { readTomlFile(path); }, ThrowsMessage<Failure>(HasSubstr("too deep")));
  }
}

TEST_F(TomlFile, ThatIsALinkStaysOne) {
  const std::string elsewhere = folder.file("elsewhere.toml");
  write("x = 1\n");
  fs::rename(path, elsewhere);
  fs::create_symlink("elsewhere.toml", path);

  TomlValue document = readTomlFile(path);
  document.as_table()["y"] = TomlValue(2);
  writeTomlFile(path, document);

  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_THAT(TemporaryFolder::read(elsewhere), HasSubstr("y = 2"));
}

TEST(TomlNesting, CountsBracketsAndDots) {
  EXPECT_EQ(deepestNesting(""), 0U);
  EXPECT_EQ(deepestNesting("a = [[1, [2]], {x = 1}]\n"), 3U);
  EXPECT_EQ(deepestNesting("[contexts.prod]\nmanager = \"a\"\n[[b]]\n"), 2U);
  EXPECT_EQ(deepestNesting("a.'b'.\"c\" = 1\n"), 2U);
  EXPECT_EQ(deepestNesting("a = [\n[\n[\n"), 3U);
}

TEST(TomlNesting, KnowsTextsAndComments) {
  EXPECT_EQ(deepestNesting("a = \"[[[\" # [[[\nb = '[[[\\' # [\n"), 0U);
  EXPECT_EQ(deepestNesting("a = \"\\\"[[\"\n"), 0U);
  EXPECT_EQ(deepestNesting("a = \"\"\"\n[\"[\n\\\"\"\"[\n\"\"\"\nb = '''[\n'''\n"), 0U);
  EXPECT_EQ(deepestNesting("a = \"open\n[[b]]\n"), 2U);
}

}  // namespace
}  // namespace kestrelvisor::ctl
