#include "kestrelctl/completion/name_index.h"

#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kIndex =
    "cluster\teast\n"
    "machine\ta\n"
    "machine\tweb\n"
    "machine\tweb-1\n"
    "machine\tweb-2\n"
    "machine\tzeta\n"
    "uri\t/x\n";
constexpr std::size_t kMany = 100;

TEST(NameIndex, FindsTheNamesThatBeginWithAText) {
  EXPECT_THAT(namesIn(kIndex, "machine", "web", kMany), ElementsAre("web", "web-1", "web-2"));
  EXPECT_THAT(namesIn(kIndex, "machine", "web-2", kMany), ElementsAre("web-2"));
  EXPECT_THAT(namesIn(kIndex, "cluster", "", kMany), ElementsAre("east"));
  EXPECT_THAT(namesIn(kIndex, "uri", "/", kMany), ElementsAre("/x"));
}

TEST(NameIndex, FindsAllOfAKind) {
  EXPECT_THAT(namesIn(kIndex, "machine", "", kMany),
              ElementsAre("a", "web", "web-1", "web-2", "zeta"));
}

TEST(NameIndex, FindsNothingWhereThereIsNothing) {
  EXPECT_THAT(namesIn(kIndex, "machine", "zz", kMany), IsEmpty());
  EXPECT_THAT(namesIn(kIndex, "machine", "0", kMany), IsEmpty());
  EXPECT_THAT(namesIn(kIndex, "host", "", kMany), IsEmpty());
  EXPECT_THAT(namesIn(kIndex, "zebra", "", kMany), IsEmpty());
  EXPECT_THAT(namesIn("", "machine", "", kMany), IsEmpty());
}

TEST(NameIndex, TellsNoMoreThanIsWanted) {
  EXPECT_THAT(namesIn(kIndex, "machine", "", 2), ElementsAre("a", "web"));
}

TEST(NameIndex, CanDoWithABrokenText) {
  for (const char* text : {"\n\n\n", "machine\tweb", "\t\n\t", "machine\t\n"}) {
    EXPECT_LE(namesIn(text, "machine", "", kMany).size(), 1U) << text;
  }
}

TEST(NameIndex, HoldsTheNamesOfAReply) {
  const ScanEnvironmentReply reply = test::sampleReply();

  EXPECT_EQ(nameIndexOf(ReplyIndex(reply)),
            "cluster\teast\n"
            "datastore\tlun\n"
            "host\tcna\n"
            "host\tlonely\n"
            "machine\tdatabase\n"
            "machine\tweb\n"
            "uri\t/service/vms/4\n"
            "uri\t/service/vms/5\n");
}

constexpr int kMachine = 7;
constexpr int kHost = 5;

TEST(NameIndex, HoldsEachNameOnceAndInOrder) {
  ScanEnvironmentReply reply;
  std::uint64_t id = 0;
  for (const char* name : {"web", "db", "web"}) {
    test::addRow(reply, ++id, kMachine, name, std::nullopt);
  }

  EXPECT_EQ(nameIndexOf(ReplyIndex(reply)), "machine\tdb\nmachine\tweb\n");
}

TEST(NameIndex, LeavesOutWhatATerminalCannotShowAsItIs) {
  ScanEnvironmentReply reply;
  std::uint64_t id = 0;
  for (const char* name : {"\x1b[31mred", "two\nlines", "no utf-8 \xff", "turn\u202e", ""}) {
    test::addRow(reply, ++id, kHost, name, std::nullopt);
  }
  reply.add_datastore_records()->set_name("caf\u00e9 $(reboot)");

  EXPECT_EQ(nameIndexOf(ReplyIndex(reply)), "datastore\tcaf\u00e9 $(reboot)\n");
}

}  // namespace
}  // namespace kestrelvisor::ctl
