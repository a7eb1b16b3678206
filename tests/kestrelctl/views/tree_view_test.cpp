#include "kestrelctl/views/tree_view.h"

#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr Rendering kPlain{false, false};
constexpr Rendering kUtf8{false, true};

std::string treeOf(const ScanEnvironmentReply& reply, const Rendering& rendering) {
  return treeView(ReplyIndex(reply), rendering);
}

TEST(TreeView, ShowsTheWholeReply) {
  EXPECT_EQ(treeOf(sampleReply(), kUtf8),
            "Oslo  site     1 cluster, 2 hosts, 2 machines\n"
            "├─ east    cluster  1 host, 2 machines\n"
            "│  └─ cna  host     10.0.0.3, x86 Intel, 2 CPUs, 2 machines\n"
            "│     ├─ web       Debian   1 disk    40 GiB\n"
            "│     └─ database  Windows  1 disk   1.5 TiB\n"
            "└─ lonely  host     0 machines\n"
            "\n"
            "Datastores\n"
            "  lun     2 TiB,  512 GiB free  reached by 1 host\n"
            "\n"
            "Summary\n"
            "  Machines       2\n"
            "  Disks          2  1.5 TiB\n"
            "  Datastores     1  2 TiB, 512 GiB free\n"
            "  Other objects  1  1 site, 1 cluster, 2 hosts\n"
            "  REST version   6.5\n"
            "  Taken at       1970-01-02 00:00:00 UTC\n");
}

TEST(TreeView, DrawsWithAsciiOutsideUtf8) {
  EXPECT_THAT(treeOf(sampleReply(), kPlain),
              AllOf(HasSubstr("\n|- east "), HasSubstr("\n|  `- cna "), HasSubstr("\n`- lonely ")));
}

TEST(TreeView, LetsNoNameControlTheTerminal) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(0)->set_name("Os\x1b[2Jlo\nagain");

  EXPECT_THAT(treeOf(reply, kUtf8), HasSubstr("Os\\x1b[2Jlo\\nagain  site"));
}

TEST(TreeView, AlignsWideCharacters) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name("wéb");

  EXPECT_THAT(treeOf(reply, kUtf8), HasSubstr("├─ wéb       Debian"));
}

TEST(TreeView, ColoursOnlyWhenTold) {
  EXPECT_THAT(treeOf(sampleReply(), {true, true}), HasSubstr("\x1b[1mOslo\x1b[0m"));
  EXPECT_THAT(treeOf(sampleReply(), kUtf8), Not(HasSubstr("\x1b")));
}

TEST(TreeView, EmptyReplyIsASummary) {
  EXPECT_THAT(treeOf({}, kUtf8),
              AllOf(HasSubstr("  Machines       0\n"), Not(HasSubstr("Datastores\n  ("))));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
