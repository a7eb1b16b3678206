#include "kestrelctl/reply_index.h"

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
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
