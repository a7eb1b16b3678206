#include "kestrelctl/comparison/reply_comparison.h"

#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string endOf(const std::optional<Place>& place) {
  return place ? std::string(place->name) : "nothing";
}

class ReplyComparisonTest : public ::testing::Test {
 protected:
  ReplyComparisonTest() {
    for (ScanEnvironmentReply* reply : {&before, &after}) nameAll(*reply);
  }

  static void nameAll(ScanEnvironmentReply& reply) {
    for (machine_record& machine : *reply.mutable_machine_records()) {
      machine.set_objectguid("machine-" + std::to_string(machine.vmid()));
    }
    for (disk_record& disk : *reply.mutable_disk_records()) {
      disk.set_objectguid("disk-" + std::to_string(disk.vmid()));
      disk.set_diskname("disk of " + std::to_string(disk.vmid()));
    }
  }

  // "moved machine web: cna to lonely" and so on.
  std::vector<std::string> differences() const {
    const ReplyIndex one(before);
    const ReplyIndex other(after);
    const ReplyComparison comparison(one, other);
    std::vector<std::string> lines;
    for (const Difference& difference : comparison.differences()) {
      std::string line = changeName(difference.change) + " " +
                         itemKindName(difference.item().kind) + " " +
                         std::string(difference.item().name);
      if (difference.change == Change::moved) {
        line += ": " + endOf(difference.from) + " to " + endOf(difference.to);
      }
      lines.push_back(line);
    }
    return lines;
  }

  std::vector<std::string> warnings() const {
    const ReplyIndex one(before);
    const ReplyIndex other(after);
    const ReplyComparison comparison(one, other);
    std::vector<std::string> texts;
    for (const Warning& warning : comparison.warnings()) {
      texts.push_back(warning.kind + ": " + warning.text);
    }
    return texts;
  }

  // The row that names the object's parent.
  tree_record& row(std::uint64_t id) {
    for (tree_record& row : *after.mutable_tree_records()) {
      if (row.id() == id && row.directparent()) return row;
    }
    throw std::out_of_range("no such row");
  }

  ScanEnvironmentReply before = sampleReply();
  ScanEnvironmentReply after = sampleReply();
};

TEST_F(ReplyComparisonTest, SameRepliesDoNotDiffer) {
  EXPECT_THAT(differences(), IsEmpty());
  EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(ReplyComparisonTest, NumbersOfAReplyAndItsOrderDoNotMatter) {
  after = ScanEnvironmentReply();
  addRow(after, 31, 1, "Oslo", std::nullopt);
  addRow(after, 32, 6, "east", 31);
  addRow(after, 33, 5, "cna", 32);
  addRow(after, 36, 5, "lonely", 31);
  addRow(after, 35, 7, "database", 33);
  addRow(after, 34, 7, "web", 33);
  addMachine(after, 35, "Windows", 1536ULL << 20);
  addMachine(after, 34, "Debian", 40ULL << 20);
  for (tree_record& row : *after.mutable_tree_records()) {
    row.set_guid("guid-" + std::to_string(row.id() - 30));
  }
  nameAll(after);
  for (int i = 0; i < 2; ++i) {
    const std::string old = std::to_string(5 - i);
    after.mutable_machine_records(i)->set_objectguid("machine-" + old);
    after.mutable_disk_records(i)->set_objectguid("disk-" + old);
    after.mutable_disk_records(i)->set_diskname("disk of " + old);
  }
  *after.mutable_datastore_records() = before.datastore_records();

  EXPECT_THAT(differences(), IsEmpty());
}

TEST_F(ReplyComparisonTest, TellsWhatIsNewAndWhatIsGone) {
  before.mutable_machine_records(0)->set_objectguid("machine-of-old");

  EXPECT_THAT(differences(), ElementsAre("removed machine web", "added machine web",
                                         "moved disk disk of 4: web to web"));
}

TEST_F(ReplyComparisonTest, MachineOnAnotherHostHasMoved) {
  row(4).set_parentid(6);

  EXPECT_THAT(differences(), ElementsAre("moved machine web: cna to lonely"));
}

TEST_F(ReplyComparisonTest, HostThatLeftItsClusterHasMoved) {
  row(3).set_parentid(1);

  EXPECT_THAT(differences(), ElementsAre("moved host cna: east to Oslo"));
}

TEST_F(ReplyComparisonTest, DiskOnAnotherMachineHasMoved) {
  after.mutable_disk_records(0)->set_vmid(5);

  EXPECT_THAT(differences(), ElementsAre("moved disk disk of 4: web to database"));
}

TEST_F(ReplyComparisonTest, DiskOnAnotherDatastoreHasMoved) {
  after.mutable_disk_records(0)->set_datastoremoref("/service/datastores/2");

  EXPECT_THAT(differences(), ElementsAre("moved disk disk of 4: lun to /service/datastores/2"));
}

TEST_F(ReplyComparisonTest, DiskWhoseMachineIsGoneHasMovedToNothing) {
  after.mutable_disk_records(0)->set_vmid(99);

  EXPECT_THAT(differences(), ElementsAre("moved disk disk of 4: web to nothing"));
}

TEST_F(ReplyComparisonTest, TellsSizesOfMachinesDisksAndDatastores) {
  after.mutable_machine_records(0)->set_totalsize(1);
  after.mutable_disk_records(0)->set_disksize(2);
  after.mutable_datastore_records(0)->set_size(3);

  EXPECT_THAT(differences(), ElementsAre("resized datastore lun", "resized machine web",
                                         "resized disk disk of 4"));
}

TEST_F(ReplyComparisonTest, FreeSpaceIsNoDifference) {
  after.mutable_datastore_records(0)->set_freesize(3);

  EXPECT_THAT(differences(), IsEmpty());
}

TEST_F(ReplyComparisonTest, TellsOtherNames) {
  row(1).set_name("Bergen");
  row(5).set_name("accounts");
  after.mutable_datastore_records(0)->set_name("fast");

  EXPECT_THAT(differences(), ElementsAre("renamed site Bergen", "renamed datastore fast",
                                         "renamed machine accounts"));
}

TEST_F(ReplyComparisonTest, OneThingMayHaveSeveralDifferences) {
  row(4).set_parentid(6);
  row(4).set_name("web-1");
  after.mutable_machine_records(0)->set_totalsize(1);

  EXPECT_THAT(differences(), ElementsAre("moved machine web-1: cna to lonely",
                                         "resized machine web-1", "renamed machine web-1"));
}

TEST_F(ReplyComparisonTest, DatastoreIsKnownByItsUri) {
  after.mutable_datastore_records(0)->set_mo_reference("/service/datastores/2");
  for (disk_record& disk : *after.mutable_disk_records()) {
    disk.set_datastoremoref("/service/datastores/2");
  }

  EXPECT_THAT(differences(),
              ElementsAre("removed datastore lun", "added datastore lun",
                          "moved disk disk of 4: lun to lun", "moved disk disk of 5: lun to lun"));
}

TEST_F(ReplyComparisonTest, CountsByKindAndChange) {
  row(4).set_parentid(6);
  row(5).set_parentid(6);
  after.mutable_disk_records(0)->set_disksize(2);
  const ReplyIndex one(before);
  const ReplyIndex other(after);

  const ReplyComparison comparison(one, other);

  EXPECT_EQ(comparison.count(ItemKind::machine, Change::moved), 2U);
  EXPECT_EQ(comparison.count(ItemKind::disk, Change::resized), 1U);
  EXPECT_EQ(comparison.count(ItemKind::machine, Change::resized), 0U);
}

TEST_F(ReplyComparisonTest, DiskThatMovedTwiceIsCountedOnce) {
  after.mutable_disk_records(0)->set_vmid(5);
  after.mutable_disk_records(0)->set_datastoremoref("/service/datastores/2");
  const ReplyIndex one(before);
  const ReplyIndex other(after);

  const ReplyComparison comparison(one, other);

  EXPECT_THAT(comparison.differences(), SizeIs(2));
  EXPECT_EQ(comparison.count(ItemKind::disk, Change::moved), 1U);
}

TEST_F(ReplyComparisonTest, DiskThatMachinesShareIsOneForEach) {
  for (ScanEnvironmentReply* reply : {&before, &after}) {
    for (disk_record& disk : *reply->mutable_disk_records()) {
      disk.set_objectguid("shared");
      disk.set_diskname("quorum");
    }
  }
  after.mutable_disk_records()->SwapElements(0, 1);
  EXPECT_THAT(differences(), IsEmpty());

  after.mutable_disk_records(0)->set_disksize(7);  // that of the second machine
  EXPECT_THAT(differences(), ElementsAre("resized disk quorum"));
  after.mutable_disk_records()->RemoveLast();
  EXPECT_THAT(differences(), ElementsAre("removed disk quorum", "resized disk quorum"));
  EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(ReplyComparisonTest, SharedDiskThatGoesToAnotherMachineHasMoved) {
  addRow(before, 8, 7, "archive", 3);
  addRow(after, 8, 7, "archive", 3);
  for (ScanEnvironmentReply* reply : {&before, &after}) {
    for (disk_record& disk : *reply->mutable_disk_records()) disk.set_objectguid("shared");
  }
  after.mutable_disk_records(0)->set_vmid(8);

  EXPECT_THAT(differences(), ElementsAre("moved disk disk of 4: web to archive"));
}

TEST_F(ReplyComparisonTest, DiskThatOneMachineHasTwiceIsWarnedOf) {
  *after.add_disk_records() = after.disk_records(0);

  EXPECT_THAT(differences(), ElementsAre("added disk disk of 4"));
  EXPECT_THAT(warnings(), ElementsAre(HasSubstr("the first of a disk: \"disk-4\"")));
}

TEST_F(ReplyComparisonTest, ThingsThatShareAGuidAreToldApartByTheirUris) {
  for (ScanEnvironmentReply* reply : {&before, &after}) {
    for (machine_record& machine : *reply->mutable_machine_records()) machine.set_objectguid("one");
  }
  after.mutable_machine_records()->SwapElements(0, 1);
  after.mutable_tree_records()->SwapElements(5, 7);
  EXPECT_THAT(differences(), IsEmpty());

  row(4).set_parentid(6);
  EXPECT_THAT(differences(), ElementsAre("moved machine web: cna to lonely"));
}

TEST_F(ReplyComparisonTest, MoveBetweenHostsThatShareAGuidIsSeen) {
  for (ScanEnvironmentReply* reply : {&before, &after}) {
    for (tree_record& row : *reply->mutable_tree_records()) {
      if (row.type() == 5) row.set_guid("one");
    }
    reply->mutable_non_vm_records(0)->set_mo_reference("/service/hosts/3");
    non_vm_record& lonely = *reply->add_non_vm_records();
    lonely.set_non_vm_object_id(6);
    lonely.set_mo_reference("/service/hosts/6");
  }
  row(4).set_parentid(6);

  EXPECT_THAT(differences(), ElementsAre("moved machine web: cna to lonely"));
}

TEST_F(ReplyComparisonTest, AnotherUriOfTheSameHostMovesNothing) {
  before.mutable_non_vm_records(0)->set_mo_reference("/service/hosts/3");
  after.mutable_non_vm_records(0)->set_mo_reference("/service/hosts/33");

  EXPECT_THAT(differences(), IsEmpty());
}

TEST_F(ReplyComparisonTest, RecordsWithoutAPlaceAreWarnedOf) {
  before.mutable_disk_records(0)->set_vmid(99);

  EXPECT_THAT(warnings(), ElementsAre(HasSubstr("records-without-place: the old reply has 1 record "
                                                "without a place in its tree (1 disk)")));
}

TEST_F(ReplyComparisonTest, ThingsThatShareAGuidAreComparedInTheirOrder) {
  for (ScanEnvironmentReply* reply : {&before, &after}) {
    for (machine_record& machine : *reply->mutable_machine_records()) machine.set_objectguid("one");
  }
  EXPECT_THAT(differences(), IsEmpty());

  row(5).set_name("accounts");
  EXPECT_THAT(differences(), ElementsAre("renamed machine accounts"));
}

TEST_F(ReplyComparisonTest, ThingsThatShareAGuidAreNotHidden) {
  after.mutable_machine_records(1)->set_objectguid("machine-4");

  EXPECT_THAT(differences(), ElementsAre("removed machine database", "added machine database",
                                         "moved disk disk of 5: database to database"));
  EXPECT_THAT(warnings(),
              ElementsAre("repeated-guid: the new reply has 1 GUID more than once, the first of a "
                          "machine: \"machine-4\"; whoever goes by it takes two things for one"));
}

TEST_F(ReplyComparisonTest, GuidsThatAreEmptyAreShared) {
  for (disk_record& disk : *before.mutable_disk_records()) disk.clear_objectguid();
  after.mutable_disk_records()->Clear();

  EXPECT_THAT(differences(), ElementsAre("removed disk disk of 4", "removed disk disk of 5"));
  EXPECT_THAT(warnings(), SizeIs(1));
}

TEST_F(ReplyComparisonTest, SameGuidOfAnotherKindIsAnotherThing) {
  after.mutable_machine_records(0)->set_objectguid("guid-6");

  EXPECT_THAT(differences(), ElementsAre("removed machine web", "added machine web",
                                         "moved disk disk of 4: web to web"));
}

TEST_F(ReplyComparisonTest, RepliesOfTwoSitesAreWarnedOf) {
  row(1).set_guid("guid-of-bergen");
  row(1).set_name("Bergen");

  EXPECT_THAT(warnings(),
              ElementsAre(HasSubstr("other-site: the replies come from two sites: \"Oslo\" and")));
}

TEST_F(ReplyComparisonTest, EmptyRepliesDoNotDiffer) {
  before = ScanEnvironmentReply();
  after = ScanEnvironmentReply();

  EXPECT_THAT(differences(), IsEmpty());
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
