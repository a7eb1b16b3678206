#include "kestrelctl/views/tree_view.h"

#include "kestrelctl/terminal_text.h"
#include "tests/kestrelctl/sample_reply.h"
#include "tests/kestrelctl/widest_line.h"
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

  reply.mutable_tree_records(1)->set_name(
      "ea\xC2\x9B"
      "2Jst");
  EXPECT_THAT(treeOf(reply, kUtf8),
              AllOf(HasSubstr("Os\\x1b[2Jlo\\nagain  site"), HasSubstr("ea\\x9b2Jst  cluster")));
}

// Everything that can be long is.
ScanEnvironmentReply longNames() {
  ScanEnvironmentReply reply = sampleReply();
  for (tree_record& row : *reply.mutable_tree_records()) {
    row.set_name(row.name() + "-with-a-name-that-needs-more-room-than-most-of-them-do");
  }
  reply.mutable_machine_records(0)->set_guestos("Microsoft Windows Server 2019 Standard 64bit");
  reply.mutable_non_vm_records(0)->set_ip("2001:db8:1234:5678:9abc:def0:1234:5678");
  reply.mutable_datastore_records(0)->set_name("datastore-" + std::string(100, 'd'));
  reply.set_environment_version(0, std::string(300, 'v'));
  return reply;
}

TEST(TreeView, FitsTheScreen) {
  for (const std::size_t columns : {60U, 80U, 120U}) {
    EXPECT_EQ(widestLine(treeOf(longNames(), {false, true, columns})), columns);
    EXPECT_EQ(widestLine(treeOf(longNames(), {false, false, columns})), columns);
  }
  EXPECT_LE(widestLine(treeOf(longNames(), {false, true, 200})), 200U);
  EXPECT_LE(widestLine(treeOf(longNames(), {false, true, 10})), 10U);
}

TEST(TreeView, CutsGuestSystemsFirst) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name("a-machine-with-a-name-of-some-length");
  reply.mutable_machine_records(1)->set_guestos("Microsoft Windows Server 2019 Standard");

  EXPECT_THAT(
      treeOf(reply, kUtf8),
      HasSubstr(
          "│     ├─ a-machine-with-a-name-of-some-length  Debian           1 disk    40 GiB\n"
          "│     └─ database                              Microsoft Wind…  1 disk   1.5 TiB\n"));
}

TEST(TreeView, CutsNamesWhenThatDoesNotSuffice) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name(std::string(60, 'w'));
  reply.mutable_machine_records(1)->set_guestos("Microsoft Windows Server 2019 Standard");

  EXPECT_THAT(
      treeOf(reply, kUtf8),
      HasSubstr(
          "│     ├─ wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww…  Debian        1 disk    40 GiB\n"
          "│     └─ database                                 Microsoft W…  1 disk   1.5 TiB\n"));
}

TEST(TreeView, CutsLongNamesOfHostsBeforeTheirCounts) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(3)->set_name(std::string(60, 'h'));

  EXPECT_THAT(
      treeOf(reply, kUtf8),
      HasSubstr(
          "│  └─ hhhhhhhhhhhhhhhhhhhhhhh…  host     10.0.0.3, x86 Intel, 2 CPUs, 2 machines\n"));
}

TEST(TreeView, WithoutABoundNothingIsCut) {
  ScanEnvironmentReply reply = longNames();
  const std::string hostile(100000, 'x');
  reply.mutable_tree_records(5)->set_name(hostile);

  const std::string text = treeOf(reply, {false, true, Rendering::kUnbounded});

  EXPECT_THAT(text, AllOf(HasSubstr("─ " + hostile + "  Microsoft Windows Server 2019 Standard"),
                          HasSubstr(std::string(100, 'd')), HasSubstr(std::string(300, 'v'))));
  EXPECT_LT(text.size(), hostile.size() + 3000);
}

TEST(TreeView, MachineWithoutAParentIsShownAsAMachine) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(7)->set_parentid(99);

  EXPECT_THAT(treeOf(reply, kUtf8), HasSubstr("\ndatabase  Windows  1 disk   1.5 TiB\n"));
}

TEST(TreeView, SumsOfSizesStayAtTheLargest) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_disk_records(0)->set_disksize(~0ULL);
  *reply.add_datastore_records() = reply.datastore_records(0);
  for (datastore_record& datastore : *reply.mutable_datastore_records()) {
    datastore.set_size(~0ULL - 1);
    datastore.set_freesize(~0ULL);
  }

  EXPECT_THAT(treeOf(reply, kUtf8),
              AllOf(HasSubstr("  Disks          2  16383 EiB\n"),
                    HasSubstr("  Datastores     2  16383 EiB, 16383 EiB free\n")));
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
