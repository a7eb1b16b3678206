#include "kestrelctl/views/reply_tables.h"

#include "kestrelctl/terminal_text.h"
#include "tests/kestrelctl/sample_reply.h"
#include "tests/kestrelctl/widest_line.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

std::string tablesOf(const ScanEnvironmentReply& reply, TableWidth width,
                     std::size_t columns = 80) {
  const ReplyIndex index(reply);
  std::string text;
  tablesView(index, everythingOf(index), width, {false, true, columns},
             [&](std::string_view piece) { text += piece; });
  return text;
}

TEST(ReplyTables, HaveOneTableForEachKind) {
  EXPECT_EQ(tablesOf(sampleReply(), TableWidth::cut),
            "SITE  CLUSTERS  HOSTS  MACHINES\n"
            "Oslo         1      2         2\n"
            "\n"
            "CLUSTER  HOSTS  MACHINES  DATASTORES\n"
            "east         1         2           0\n"
            "\n"
            "HOST    ADDRESS   CLUSTER  CPUS  MACHINES\n"
            "lonely                                  0\n"
            "cna     10.0.0.3  east        2         2\n"
            "\n"
            "DATASTORE   SIZE     FREE  CLUSTERS  HOSTS\n"
            "lun        2 TiB  512 GiB         0      1\n"
            "\n"
            "MACHINE   GUEST SYSTEM  ON   DISKS     SIZE\n"
            "web       Debian        cna      1   40 GiB\n"
            "database  Windows       cna      1  1.5 TiB\n"
            "\n"
            "DISK  MACHINE   BUS     DATASTORE     SIZE\n"
            "      web       VIRTIO  lun         40 GiB\n"
            "      database  VIRTIO  lun        1.5 TiB\n");
}

TEST(ReplyTables, ObjectsOfOtherKindsAreNotHidden) {
  ScanEnvironmentReply reply = sampleReply();
  addRow(reply, 9, 12, "folder", 1);
  reply.mutable_machine_records()->RemoveLast();

  EXPECT_THAT(tablesOf(reply, TableWidth::cut), HasSubstr("OBJECT    KIND     IN\n"
                                                          "folder    other    Oslo\n"
                                                          "database  machine  cna\n"));
}

TEST(ReplyTables, FitTheTerminal) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name(std::string(120, 'w'));
  reply.mutable_machine_records(0)->set_guestos(std::string(90, 'g'));

  EXPECT_EQ(widestLine(tablesOf(reply, TableWidth::cut)), 80U);
  EXPECT_EQ(widestLine(tablesOf(reply, TableWidth::cut, 200)), 200U);
  EXPECT_THAT(tablesOf(reply, TableWidth::cut, 300), HasSubstr(std::string(120, 'w') + "  ggg"));
}

TEST(ReplyTables, UncutOnesTellEverything) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name(std::string(120, 'w'));
  reply.mutable_machine_records(0)->set_uuid("0A-UUID");
  reply.mutable_machine_records(0)->set_objectguid("guid-of-web");
  reply.mutable_disk_records(0)->set_diskuuid("DISK-UUID");

  const std::string text = tablesOf(reply, TableWidth::uncut);

  EXPECT_THAT(text, AllOf(HasSubstr("MACHINE  "), HasSubstr(std::string(120, 'w')),
                          HasSubstr("general  east     lun         0A-UUID  guid-of-web  "
                                    "/service/vms/4\n"),
                          HasSubstr("DISK-UUID"), HasSubstr("/service/datastores/1\n"),
                          HasSubstr("x86   Intel")));
}

TEST(ReplyTables, MachineOnSeveralDatastoresNamesEachOnce) {
  ScanEnvironmentReply reply = sampleReply();
  for (int i = 0; i < 2; ++i) {
    disk_record& disk = *reply.add_disk_records();
    disk.set_vmid(4);
    disk.set_datastoremoref(i == 0 ? "/service/datastores/1" : "/gone");
  }

  EXPECT_THAT(tablesOf(reply, TableWidth::uncut), HasSubstr("  /gone, lun  "));
}

TEST(ReplyTables, LetNoNameControlTheTerminal) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name("web\x1b[2J\nMACHINE");

  EXPECT_THAT(tablesOf(reply, TableWidth::cut),
              AllOf(HasSubstr("web\\x1b[2J\\nMACHINE  Debian"), Not(HasSubstr("\x1b"))));
}

TEST(ReplyTables, EmptySelectionShowsNothing) { EXPECT_EQ(tablesOf({}, TableWidth::cut), ""); }

}  // namespace
}  // namespace kestrelvisor::ctl::test
