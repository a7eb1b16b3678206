#include "reply/proto_buffer_utility.h"
#include "tests/support/test_headers.h"
#include "tree/tree.h"
#include "tree/tree_node.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <locale>

namespace {

using ::testing::HasSubstr;

std::string printed(const ScanEnvironmentReply& reply) {
  ::testing::internal::CaptureStdout();
  ProtoBufferUtility<kestrelVisor_TreeNode>::dumpScanEnvironmentReplyFoTester(reply);
  return ::testing::internal::GetCapturedStdout();
}

void addTreeRecords(ScanEnvironmentReply& reply) {
  tree_record* record = reply.add_tree_records();
  record->set_id(1);
  record->set_type(1);
  record->set_name("site");
  record->set_directparent(true);
  record = reply.add_tree_records();
  record->set_id(1000000);
  record->set_type(7);
  record->set_name("vm");
  record->set_parentid(1);
  record->set_directparent(false);
}

void addMachines(ScanEnvironmentReply& reply) {
  machine_record* record = reply.add_machine_records();
  record->set_vmid(3);
  record->set_guestos("Linux 5");
  record->set_name("vm-1");
  record->set_disknumber(2);
  record->set_totalsize(20971520);
  record->set_mo("/vms/1");
  record = reply.add_machine_records();
  record->set_vmid(4);
  record->set_guestos("unknown");
  record->set_name("vm-2");
  record->set_mo("/vms/2");
}

void addDisks(ScanEnvironmentReply& reply) {
  for (std::uint64_t number = 0; number < 2; ++number) {
    disk_record* const record = reply.add_disk_records();
    record->set_vmid(3);
    record->set_diskuuid("uuid-" + std::to_string(number));
    record->set_diskname("disk-" + std::to_string(number));
    record->set_disknumber(number);
    record->set_disksize(10485760);
    record->set_disktype(5);
    record->set_datastoremoref("/d/1");
  }
}

void addDatastores(ScanEnvironmentReply& reply) {
  for (std::uint64_t number = 0; number < 2; ++number) {
    datastore_record* const record = reply.add_datastore_records();
    record->set_id(number);
    record->set_name("d" + std::to_string(number));
    record->set_mo_reference("/d/" + std::to_string(number));
    record->set_size(104857600);
    record->set_freesize(1048576);
    resource_relation_record* const relation = reply.add_resource_relation_records();
    relation->set_computer_resource_id(2);
    relation->set_storage_resource_id(number);
  }
}

void addNonVmRecords(ScanEnvironmentReply& reply) {
  non_vm_record* record = reply.add_non_vm_records();
  record->set_non_vm_object_id(1);
  record->set_object_type(1);
  record->set_mo_reference("/s/1");
  record->set_default_moref("/s/1");
  record->set_drs(true);
  record = reply.add_non_vm_records();
  record->set_non_vm_object_id(2);
  record->set_object_type(5);
  record->set_mo_reference("/h/1");
  record->set_default_moref("/h/2");
  record->set_ip("10.0.0.1");
  record->set_drs(false);
}

ScanEnvironmentReply twoOfEach() {
  ScanEnvironmentReply reply;
  addTreeRecords(reply);
  addMachines(reply);
  addDisks(reply);
  addDatastores(reply);
  addNonVmRecords(reply);
  reply.add_timestamp(1700000000);
  reply.add_timestamp(1);
  return reply;
}

constexpr const char* kTwoOfEach =
    "=====================================================================\n"
    "DEBUG:dump the tree, machine and disk records for tester\n"
    "DEBUG: VMware Engine send these record(s) to AdminNode:2 tree(s), 2 disk(s), 2 machine(s), "
    "timestamp:1700000000\n"
    "ID\tType\tName\t\t\tParentID\tDirectParent\tRecordSize\n"
    "1\t1\tsite\t\t\t0\t1\t2\n"
    "1000000\t7\tvm\t\t\t1\t0\t2\n"
    "\n"
    "VMID\tGuestOS\t\t\t\tName\t\t\tDiskNumber\tTotalSize\tMO\tRecordSize\n"
    "3\tLinux 5\t\t\tvm-1\t\t\t2\t20971520\t/vms/1\t2\n"
    "4\tunknown\t\t\tvm-2\t\t\t0\t0\t/vms/2\t2\n"
    "\n"
    "VMID\tDiskUUID\t\t\t\tDiskName\t\t\tDiskNumber\tDiskSize\t\tDiskType\tDatastoreMoref\t"
    "RecordSize\n"
    "3\tuuid-0\tdisk-0\t0\t10485760\t\t5\t/d/1\t2\n"
    "3\tuuid-1\tdisk-1\t1\t10485760\t\t5\t/d/1\t2\n"
    "computer_resource_id\tstorage_resource_id\tRecordSize\n"
    "2\t\t\t0\t\t\t2\n"
    "2\t\t\t1\t\t\t2\n"
    "\n"
    "id       name             mo_reference                                     size     "
    "freesize     RecordSize  \n"
    "0        d0               /d/0                                             104857600 "
    "1048576      2           \n"
    "1        d1               /d/1                                             104857600 "
    "1048576      2           \n"
    "\n"
    "non_VM_object_id\tobject_type\tmo_reference\tdefault_moRef\tip\tDRS\n"
    "1\t\t\t1\t\t/s/1\t\t\t/s/1\t\t\t\t\t\t\t\t\ttrue\t\t\t\t\t\t2\n"
    "2\t\t\t5\t\t/h/1\t\t\t/h/2\t\t\t\t10.0.0.1\t\t\t\t\tfalse\t\t\t\t\t\t2\n"
    "\n"
    "=====================================================================\n";

TEST(TesterDump, PrintsAReplyWithTwoOfEachRecord) { EXPECT_EQ(printed(twoOfEach()), kTwoOfEach); }

TEST(TesterDump, PrintsTheHeadersOfAnEmptyReplyWithATimestamp) {
  ScanEnvironmentReply reply;
  reply.add_timestamp(0);
  EXPECT_EQ(printed(reply),
            "=====================================================================\n"
            "DEBUG:dump the tree, machine and disk records for tester\n"
            "DEBUG: VMware Engine send these record(s) to AdminNode:0 tree(s), 0 disk(s), 0 "
            "machine(s), timestamp:0\n"
            "ID\tType\tName\t\t\tParentID\tDirectParent\tRecordSize\n"
            "\n"
            "VMID\tGuestOS\t\t\t\tName\t\t\tDiskNumber\tTotalSize\tMO\tRecordSize\n"
            "\n"
            "VMID\tDiskUUID\t\t\t\tDiskName\t\t\tDiskNumber\tDiskSize\t\tDiskType\t"
            "DatastoreMoref\tRecordSize\n"
            "computer_resource_id\tstorage_resource_id\tRecordSize\n"
            "\n"
            "id       name             mo_reference                                     size     "
            "freesize     RecordSize  \n"
            "\n"
            "non_VM_object_id\tobject_type\tmo_reference\tdefault_moRef\tip\tDRS\n"
            "\n"
            "=====================================================================\n");
}

TEST(TesterDump, CountsTreesThenDisksThenMachines) {
  ScanEnvironmentReply reply;
  addDisks(reply);
  reply.add_machine_records();
  reply.add_timestamp(5);
  EXPECT_THAT(printed(reply),
              HasSubstr("AdminNode:0 tree(s), 2 disk(s), 1 machine(s), timestamp:5\n"));
}

TEST(TesterDump, LetsALongValueOverflowItsColumn) {
  ScanEnvironmentReply reply;
  datastore_record* const record = reply.add_datastore_records();
  record->set_id(123456789);
  record->set_name("a name of 17 char");
  record->set_mo_reference("/service/sites/1/datastores/a-very-long-reference");
  record->set_size(18446744073709551615U);
  record->set_freesize(1234567890123);
  reply.add_timestamp(0);
  EXPECT_THAT(printed(reply), HasSubstr("123456789 a name of 17 char "
                                        "/service/sites/1/datastores/a-very-long-reference "
                                        "18446744073709551615 1234567890123 1           \n"));
}

TEST(TesterDump, LeavesTheReplyAsItWas) {
  const ScanEnvironmentReply reply = twoOfEach();
  printed(reply);
  EXPECT_EQ(reply.SerializeAsString(), twoOfEach().SerializeAsString());
}

// A host that writes numbers its own way on standard output.
class GroupedDigits : public std::numpunct<char> {
 protected:
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
  std::string do_truename() const override { return "ja"; }
};

// Gives std::cout back as it was.
class CoutState {
 public:
  ~CoutState() {
    std::cout.flags(flags_);
    std::cout.imbue(locale_);
    std::cout.fill(fill_);
    std::cout.precision(precision_);
    std::cout.width(0);
    std::locale::global(global_);
  }
  CoutState() = default;
  CoutState(const CoutState&) = delete;
  CoutState& operator=(const CoutState&) = delete;

 private:
  std::ios_base::fmtflags flags_ = std::cout.flags();
  std::locale locale_ = std::cout.getloc();
  char fill_ = std::cout.fill();
  std::streamsize precision_ = std::cout.precision();
  std::locale global_;
};

TEST(TesterDump, PrintsTheSameWhateverTheHostDidToStandardOutput) {
  const CoutState restored;
  const std::locale grouped(std::locale::classic(), new GroupedDigits);
  std::locale::global(grouped);
  std::cout.imbue(grouped);
  std::cout << std::hex << std::showbase << std::boolalpha << std::right << std::setfill('*');
  std::cout.width(40);
  EXPECT_EQ(printed(twoOfEach()), kTwoOfEach);
}

TEST(TesterDump, EndsWithDefaultAdjustmentAndNoWidthAndLeavesTheOtherState) {
  const CoutState restored;
  std::cout << std::hex << std::showbase << std::boolalpha << std::right << std::setfill('*')
            << std::setprecision(3);
  std::cout.width(40);
  const auto others = std::cout.flags() & ~std::ios_base::adjustfield;

  printed(twoOfEach());

  EXPECT_EQ(std::cout.flags(), others);
  EXPECT_EQ(std::cout.width(), 0);
  EXPECT_EQ(std::cout.fill(), '*');
  EXPECT_EQ(std::cout.precision(), 3);
}

// Counts the flushes that reach the buffer.
class CountingBuffer : public std::stringbuf {
 public:
  int flushes = 0;

 protected:
  int sync() override {
    ++flushes;
    return std::stringbuf::sync();
  }
};

TEST(TesterDump, FlushesEachLineAtItsEnd) {
  CountingBuffer buffer;
  std::streambuf* const before = std::cout.rdbuf(&buffer);
  ProtoBufferUtility<kestrelVisor_TreeNode>::dumpScanEnvironmentReplyFoTester(twoOfEach());
  std::cout.rdbuf(before);
  const std::string text = buffer.str();
  EXPECT_EQ(buffer.flushes, std::count(text.begin(), text.end(), '\n'));
}

}  // namespace
