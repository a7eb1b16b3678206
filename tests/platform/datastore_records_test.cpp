#include "inventory/inventory_records.h"
#include "platform/contract/platform.h"
#include "tests/support/test_headers.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

using Datastore = _datstore_ManagedObjectReference;

Datastore aDatastore(const std::string& uri, const std::string& name = "store",
                     const std::string& capacity = "10", const std::string& freeSpace = "5") {
  Datastore datastore;
  datastore.uri = uri;
  datastore.name = name;
  datastore.capacity = capacity;
  datastore.freeSpace = freeSpace;
  return datastore;
}

class DatastoreRecords : public ::testing::Test {
 protected:
  void dump(unsigned long node, const std::list<Datastore>& datastores) {
    std::string text;
    dumpDataStore(reply_, ids_, next_, node, datastores, text);
  }

  std::vector<std::pair<unsigned long, unsigned long>> relations() const {
    std::vector<std::pair<unsigned long, unsigned long>> all;
    for (const auto& relation : reply_.resource_relation_records())
      all.emplace_back(relation.computer_resource_id(), relation.storage_resource_id());
    return all;
  }

  ScanEnvironmentReply reply_;
  std::map<std::string, unsigned long> ids_;
  unsigned long next_ = 0;
};

TEST_F(DatastoreRecords, HoldAllThatIsKnownOfADatastore) {
  dump(3, {aDatastore("/stores/1", "gold", "1048576", "4096")});

  ASSERT_EQ(reply_.datastore_records_size(), 1);
  const datastore_record& record = reply_.datastore_records(0);
  EXPECT_EQ(record.name(), "gold");
  EXPECT_EQ(record.mo_reference(), "/stores/1");
  EXPECT_TRUE(record.has_id());
  EXPECT_EQ(record.id(), 0U);
  EXPECT_EQ(record.size(), 1048576U);
  EXPECT_EQ(record.freesize(), 4096U);
  EXPECT_THAT(relations(), ElementsAre(Pair(3, 0)));
}

TEST_F(DatastoreRecords, NumberNewDatastoresFromTheCounter) {
  next_ = 7;

  dump(1, {aDatastore("/stores/1"), aDatastore("/stores/2")});

  EXPECT_EQ(next_, 9U);
  EXPECT_THAT(ids_, ElementsAre(Pair("/stores/1", 7), Pair("/stores/2", 8)));
  EXPECT_THAT(relations(), ElementsAre(Pair(1, 7), Pair(1, 8)));
}

TEST_F(DatastoreRecords, AreSharedBetweenNodes) {
  dump(1, {aDatastore("/stores/1")});
  dump(2, {aDatastore("/stores/2"), aDatastore("/stores/1")});

  EXPECT_EQ(reply_.datastore_records_size(), 2);
  EXPECT_THAT(relations(), ElementsAre(Pair(1, 0), Pair(2, 1), Pair(2, 0)));
}

TEST_F(DatastoreRecords, KeepTheFirstOfTwoWithOneUri) {
  dump(1, {aDatastore("/stores/1", "first", "1", "2"), aDatastore("/stores/1", "again", "3", "4")});

  ASSERT_EQ(reply_.datastore_records_size(), 1);
  EXPECT_EQ(reply_.datastore_records(0).name(), "first");
  EXPECT_EQ(reply_.datastore_records(0).size(), 1U);
  EXPECT_THAT(relations(), ElementsAre(Pair(1, 0), Pair(1, 0)));
}

TEST_F(DatastoreRecords, OfAnEmptyListAreNone) {
  dump(1, {});

  EXPECT_EQ(reply_.ByteSizeLong(), 0U);
  EXPECT_EQ(next_, 0U);
}

struct SizeText {
  const char* name;
  const char* text;
  std::uint64_t size;
};
class DatastoreSizeTest : public DatastoreRecords,
                          public ::testing::WithParamInterface<SizeText> {};

TEST_P(DatastoreSizeTest, IsReadFromText) {
  dump(1, {aDatastore("/stores/1", "store", GetParam().text, GetParam().text)});

  EXPECT_EQ(reply_.datastore_records(0).size(), GetParam().size);
  EXPECT_EQ(reply_.datastore_records(0).freesize(), GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(Platform, DatastoreSizeTest,
                         ::testing::Values(SizeText{"Zero", "0", 0},
                                           SizeText{"Largest", "18446744073709551615", ~0ULL},
                                           SizeText{"TooLarge", "18446744073709551616", 0},
                                           SizeText{"Empty", "", 0}, SizeText{"Negative", "-1", 0},
                                           SizeText{"Word", "lots", 0}, SizeText{"Unit", "10GB", 0},
                                           SizeText{"Fraction", "1.5", 0},
                                           SizeText{"Blank", " 1", 0}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
