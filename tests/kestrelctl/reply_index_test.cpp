#include "kestrelctl/reply_index.h"

#include "kestrelctl/reply_warnings.h"
#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> namesOf(const ReplyIndex& index,
                                 const std::vector<std::size_t>& positions) {
  std::vector<std::string> names;
  for (const std::size_t position : positions) {
    names.push_back(index.objects()[position].row->name());
  }
  return names;
}

class SampleIndex : public ::testing::Test {
 protected:
  const IndexedObject& named(const std::string& name) const {
    for (const IndexedObject& object : index.objects()) {
      if (object.row->name() == name) return object;
    }
    throw std::out_of_range(name);
  }

  const ScanEnvironmentReply reply = sampleReply();
  const ReplyIndex index{reply};
};

TEST_F(SampleIndex, JoinsChildrenByTheirDirectParent) {
  EXPECT_THAT(namesOf(index, index.roots()), ElementsAre("Oslo"));
  EXPECT_THAT(namesOf(index, named("Oslo").children), ElementsAre("east", "lonely"));
  EXPECT_THAT(namesOf(index, named("cna").children), ElementsAre("web", "database"));
}

TEST_F(SampleIndex, CountsEachObjectOnce) {
  EXPECT_EQ(index.objects().size(), 6U);
  EXPECT_EQ(index.count(ObjectKind::host), 2U);
  EXPECT_EQ(index.countBelow(0, ObjectKind::machine), 2U);
  EXPECT_EQ(index.countBelow(0, ObjectKind::host), 2U);
  EXPECT_EQ(index.countBelow(1, ObjectKind::host), 1U);
  EXPECT_EQ(index.countBelow(0, ObjectKind::site), 0U);
}

TEST_F(SampleIndex, JoinsMachinesDisksAndDatastores) {
  const IndexedObject& web = named("web");
  ASSERT_NE(web.machine, nullptr);
  EXPECT_EQ(web.machine->guestos(), "Debian");
  ASSERT_EQ(web.disks.size(), 1U);
  EXPECT_EQ(index.datastoreOf(*web.disks.front())->name(), "lun");
  EXPECT_THAT(namesOf(index, index.usersOf(reply.datastore_records(0))), ElementsAre("cna"));
  EXPECT_EQ(named("cna").other->ip(), "10.0.0.3");
}

TEST(ReplyIndex, ParentThatIsAbsentOrBehindMakesARoot) {
  ScanEnvironmentReply reply;
  addRow(reply, 1, 6, "a", 2);
  addRow(reply, 2, 6, "b", 1);
  addRow(reply, 3, 6, "c", 99);
  addRow(reply, 4, 6, "d", 4);
  const ReplyIndex index(reply);

  EXPECT_THAT(namesOf(index, index.roots()), ElementsAre("a", "c", "d"));
}

TEST(ReplyIndex, ParentNumberedZeroIsNoAbsentParent) {
  ScanEnvironmentReply reply;
  addRow(reply, 0, 1, "root", std::nullopt);
  addRow(reply, 1, 6, "child", 0);
  const ReplyIndex index(reply);

  EXPECT_THAT(namesOf(index, index.roots()), ElementsAre("root"));
}

TEST_F(SampleIndex, FindsObjectsByNumberAndWhatTheyAreIn) {
  EXPECT_EQ(index.positionOf(4), 4U);
  EXPECT_EQ(index.positionOf(99), std::nullopt);
  EXPECT_EQ(index.above(named("web"), ObjectKind::cluster), &named("east"));
  EXPECT_EQ(index.above(named("lonely"), ObjectKind::cluster), nullptr);
}

TEST(ReplyIndex, ChainDeeperThanAnySiteIsBroken) {
  ScanEnvironmentReply reply;
  addRow(reply, 1, 1, "root", std::nullopt);
  for (std::uint64_t id = 2; id <= 100000; ++id) addRow(reply, id, 6, "link", id - 1);
  const ReplyIndex index(reply);

  EXPECT_EQ(index.countBelow(0, ObjectKind::cluster), 32U);
  EXPECT_GT(index.roots().size(), 3000U);
}

TEST(ReplyIndex, RecordsThatPointNowhereJoinNothing) {
  ScanEnvironmentReply reply;
  addMachine(reply, 7, "Debian", 1);
  reply.add_resource_relation_records()->set_computer_resource_id(7);
  reply.add_datastore_records()->set_id(5);
  const ReplyIndex index(reply);

  EXPECT_THAT(index.objects(), IsEmpty());
  EXPECT_EQ(index.datastoreOf(reply.disk_records(0)), nullptr);
  EXPECT_THAT(index.usersOf(reply.datastore_records(0)), IsEmpty());
  EXPECT_EQ(index.strays().machines, 1U);
  EXPECT_EQ(index.strays().disks, 1U);
  EXPECT_EQ(index.strays().relations, 1U);
  EXPECT_EQ(index.strays().total(), 3U);
}

TEST_F(SampleIndex, OfAWholeReplyNothingStrays) { EXPECT_EQ(index.strays().total(), 0U); }

TEST_F(SampleIndex, CountsThoseWhoReachADatastoreByTheirKind) {
  EXPECT_EQ(index.countUsers(reply.datastore_records(0), ObjectKind::host), 1U);
  EXPECT_EQ(index.countUsers(reply.datastore_records(0), ObjectKind::cluster), 0U);
}

TEST(ReplyIndex, RowsThatMakeNoObjectStray) {
  ScanEnvironmentReply reply = sampleReply();
  addRow(reply, 4, 7, "web again", 3);
  addRow(reply, 99, 7, "of nobody", 3, false);
  const ReplyIndex index(reply);

  EXPECT_EQ(index.strays().rows, 2U);
  EXPECT_EQ(index.strays().total(), 2U);
}

TEST(ReplyIndex, SecondRecordOfAnObjectStrays) {
  ScanEnvironmentReply reply = sampleReply();
  addMachine(reply, 4, "FreeBSD", 1);
  *reply.add_non_vm_records() = reply.non_vm_records(0);
  reply.add_non_vm_records()->set_non_vm_object_id(99);
  const ReplyIndex index(reply);

  EXPECT_EQ(index.objects()[4].machine->guestos(), "Debian");
  EXPECT_EQ(index.strays().machines, 1U);
  EXPECT_EQ(index.strays().others, 2U);
  EXPECT_EQ(index.strays().total(), 3U);
}

TEST(ReplyIndex, DiskOfWhatIsNoMachineStrays) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_disk_records(0)->set_vmid(3);

  EXPECT_EQ(ReplyIndex(reply).strays().disks, 1U);
}

TEST(ReplyWarnings, TellOfRecordsWithoutAPlace) {
  ScanEnvironmentReply reply = sampleReply();
  EXPECT_THAT(warningsOf(ReplyIndex(reply), "the reply"), IsEmpty());

  addMachine(reply, 99, "Debian", 1);
  const std::vector<Warning> warnings = warningsOf(ReplyIndex(reply), "the old reply");

  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].kind, "records-without-place");
  EXPECT_EQ(warnings[0].text,
            "the old reply has 2 records without a place in its tree (1 machine, 1 disk); not all "
            "of it can be shown");
}

TEST(ReplyWarnings, TellOfAGuidThatTwoMachinesHave) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_machine_records(1)->set_objectguid(reply.machine_records(0).objectguid());

  const std::vector<Warning> warnings = warningsOf(ReplyIndex(reply), "the reply");

  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].kind, "repeated-guid");
  EXPECT_EQ(warnings[0].text, "the reply has 1 GUID more than once, the first of a machine: \"" +
                                  reply.machine_records(0).objectguid() +
                                  "\"; whoever goes by it takes two things for one");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
