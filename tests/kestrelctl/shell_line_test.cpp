#include "kestrelctl/shell_line.h"

#include "tests/support/test_headers.h"

#include <limits>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kUnbounded = std::numeric_limits<std::size_t>::max();

TEST(ShellLine, IsOneWhereItFits) {
  EXPECT_THAT(shellLines({"kestrelctl", "scan", "--save", "a.pb"}, kUnbounded),
              ElementsAre("kestrelctl scan --save a.pb"));
  EXPECT_THAT(shellLines({}, 80), IsEmpty());
}

TEST(ShellLine, GoesOnBehindAnOptionAndItsValue) {
  EXPECT_THAT(shellLines({"kestrelctl", "scan", "--save", "a.pb", "--user", "backup"}, 36),
              ElementsAre("kestrelctl scan --save a.pb \\", "      --user backup"));
  EXPECT_THAT(shellLines({"kestrelctl", "scan", "--yes", "--user", "backup"}, 26),
              ElementsAre("kestrelctl scan --yes \\", "      --user backup"));
}

TEST(ShellLine, LeavesRoomForTheSignThatItGoesOn) {
  const std::vector<std::string> words{"kestrelctl", "scan", "--user", "backup"};

  EXPECT_THAT(shellLines(words, 31), ElementsAre("kestrelctl scan --user backup"));
  EXPECT_THAT(shellLines(words, 30), ElementsAre("kestrelctl scan \\", "      --user backup"));
}

TEST(ShellLine, PieceThatIsTooWideHasALineOfItsOwn) {
  EXPECT_THAT(shellLines({"kestrelctl", "scan"}, 5), ElementsAre("kestrelctl \\", "      scan"));
}

TEST(ShellLine, QuotesWhatAShellWouldReadOtherwise) {
  EXPECT_THAT(shellLines({"show", "my reply.pb", "it's", "", "$HOME"}, kUnbounded),
              ElementsAre("show 'my reply.pb' 'it'\\''s' '' '$HOME'"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
