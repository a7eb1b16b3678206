#include "kestrelctl/finding/reply_filter.h"

#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

#include <locale.h>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr long double kGiB = 1073741824.0L;

class ReplyFilterTest : public ::testing::Test {
 protected:
  ReplyFilterTest() {
    reply.mutable_machine_records(1)->set_virtualgrouptype(3);
    reply.mutable_disk_records(0)->set_diskname("web-system");
    reply.mutable_disk_records(1)->set_diskname("database-system");
    reply.mutable_disk_records(1)->set_datastoremoref("/elsewhere");
  }

  // "machine web" and so on, for all that is found.
  std::vector<std::string> names() const {
    const ReplyIndex index(reply);
    const ReplySelection selection = found(index, filter);
    std::vector<std::string> names;
    for (const auto& positions : {selection.objects, selection.machines}) {
      for (const std::size_t position : positions) {
        const IndexedObject& object = index.objects()[position];
        names.push_back(itemKindName(itemKindOf(object)) + " " + object.row->name());
      }
    }
    for (const SelectedDisk& disk : selection.disks)
      names.push_back("disk " + disk.disk->diskname());
    for (const auto* datastore : selection.datastores) {
      names.push_back("datastore " + datastore->name());
    }
    return names;
  }

  ScanEnvironmentReply reply = sampleReply();
  ReplyFilter filter;
};

TEST_F(ReplyFilterTest, WithoutConditionsFindsEverything) {
  EXPECT_THAT(names(), ElementsAre("site Oslo", "cluster east", "host lonely", "host cna",
                                   "machine web", "machine database", "disk web-system",
                                   "disk database-system", "datastore lun"));
}

TEST_F(ReplyFilterTest, FindsByKind) {
  filter.kinds = {ItemKind::host, ItemKind::datastore};

  EXPECT_THAT(names(), ElementsAre("host lonely", "host cna", "datastore lun"));
}

TEST_F(ReplyFilterTest, FindsByTheWholeName) {
  filter.names = {"web"};

  EXPECT_THAT(names(), ElementsAre("machine web"));
}

TEST_F(ReplyFilterTest, AnyPatternOfOneConditionWillDo) {
  filter.names = {"w?b", "[dx]*e", "lu\\n"};

  EXPECT_THAT(names(), ElementsAre("machine web", "machine database", "datastore lun"));
}

TEST_F(ReplyFilterTest, AllConditionsMustHold) {
  filter.names = {"*e*"};
  filter.guestSystems = {"Windows"};
  filter.kinds = {ItemKind::machine};

  EXPECT_THAT(names(), ElementsAre("machine database"));
}

TEST_F(ReplyFilterTest, LettersDifferInCaseUnlessTold) {
  filter.names = {"OSLO"};
  EXPECT_THAT(names(), IsEmpty());

  filter.ignoresCase = true;
  EXPECT_THAT(names(), ElementsAre("site Oslo"));
}

TEST_F(ReplyFilterTest, GuestSystemIsThatOfTheDisksToo) {
  filter.guestSystems = {"Deb*"};

  EXPECT_THAT(names(), ElementsAre("machine web", "disk web-system"));
}

TEST_F(ReplyFilterTest, FindsByGroup) {
  filter.groups = {"VDI"};

  EXPECT_THAT(names(), ElementsAre("machine database", "disk database-system"));
}

TEST_F(ReplyFilterTest, FindsWhatIsOnAHostOrReachedByIt) {
  filter.hosts = {"cna"};

  EXPECT_THAT(names(), ElementsAre("machine web", "machine database", "disk web-system",
                                   "disk database-system", "datastore lun"));
}

TEST_F(ReplyFilterTest, FindsWhatIsInACluster) {
  filter.clusters = {"east"};
  filter.kinds = {ItemKind::host, ItemKind::machine};

  EXPECT_THAT(names(), ElementsAre("host cna", "machine web", "machine database"));
}

TEST_F(ReplyFilterTest, FindsWhatIsOnADatastoreOrReachesIt) {
  filter.datastores = {"l*"};

  EXPECT_THAT(names(), ElementsAre("host cna", "machine web", "disk web-system"));
}

TEST_F(ReplyFilterTest, SizesAreLimitsThatAreNotReached) {
  filter.moreThanBytes = 40 * kGiB;
  EXPECT_THAT(names(), ElementsAre("machine database", "disk database-system", "datastore lun"));

  filter.moreThanBytes = 40 * kGiB - 1;
  filter.lessThanBytes = 1536 * kGiB;
  EXPECT_THAT(names(), ElementsAre("machine web", "disk web-system"));
}

TEST_F(ReplyFilterTest, ThingsWithoutASizeAreNeitherLargerNorSmaller) {
  filter.kinds = {ItemKind::host};
  filter.lessThanBytes = 1e30L;

  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ReplyFilterTest, LargestSizeIsNoSmallOne) {
  reply.mutable_disk_records(0)->set_disksize(~0ULL);
  filter.kinds = {ItemKind::disk};
  filter.moreThanBytes = 1e20L;

  EXPECT_THAT(names(), ElementsAre("disk web-system"));
}

TEST_F(ReplyFilterTest, DiskWithoutItsMachineIsFoundByWhatItHas) {
  reply.mutable_disk_records(0)->set_vmid(99);
  filter.kinds = {ItemKind::disk};
  filter.names = {"web-*"};
  EXPECT_THAT(names(), ElementsAre("disk web-system"));

  filter.guestSystems = {"*"};
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ReplyFilterTest, CharacterIsOneWhateverTheLocale) {
  reply.mutable_tree_records(0)->set_name("Troms\xc3\xb8");
  filter.kinds = {ItemKind::site};

  for (const char* pattern : {"Troms?", "Troms[a-\xc3\xbf]", "*\xc3\xb8"}) {
    filter.names = {pattern};
    EXPECT_THAT(names(), ElementsAre("site Troms\xc3\xb8")) << pattern;
  }
  filter.names = {"TROMS\xc3\x98"};
  filter.ignoresCase = true;
  EXPECT_THAT(names(), ElementsAre("site Troms\xc3\xb8"));
}

TEST_F(ReplyFilterTest, LocaleIsAsBeforeAfterwards) {
  const locale_t before = uselocale(nullptr);
  filter.names = {"*"};
  names();

  EXPECT_EQ(uselocale(nullptr), before);
}

TEST_F(ReplyFilterTest, NameDoesNotEndAtANul) {
  reply.mutable_tree_records(0)->set_name(std::string("Oslo\0west", 9));
  filter.kinds = {ItemKind::site};
  filter.names = {"Oslo"};
  EXPECT_THAT(names(), IsEmpty());

  filter.names = {"Oslo?west"};
  EXPECT_THAT(names(), SizeIs(1));
}

TEST_F(ReplyFilterTest, NameThatIsNoUtf8CanBeFound) {
  reply.mutable_tree_records(0)->set_name("Os\xfflo");
  filter.names = {"Os*lo"};

  EXPECT_THAT(names(), ElementsAre("site Os\xfflo"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
