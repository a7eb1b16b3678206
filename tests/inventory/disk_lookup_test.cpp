#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kTarget =
    "/service/sites/1/volumes/compatibility/discovery?uuid=v&datestore=9&page=1&offset=0&limit=15";

ST_VDI_INFO diskOn(const std::string& datastoreUrn) {
  ST_VDI_INFO disk;
  disk.volumeUuid = "v";
  disk.datastoreUrn = datastoreUrn;
  disk.externalUuid = "before";
  return disk;
}

class DiskLookup : public ::testing::Test {
 protected:
  std::vector<std::string> lookUp(std::list<ST_VDI_INFO> disks) {
    VM_DETAIL detail;
    detail.vmConfig.disks = std::move(disks);
    api_.getDiskDetailInfoFromVrm(vrm_, detail);
    std::vector<std::string> found;
    for (const ST_VDI_INFO& disk : detail.vmConfig.disks) found.push_back(disk.externalUuid);
    return found;
  }
  std::vector<std::string> queries() const {
    std::vector<std::string> lines = manager_.lines();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("GET "); });
    return lines;
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisor_rest_api api_;
};

TEST_F(DiskLookup, TakesTheExternalIdentifierOfTheVolume) {
  manager_.serves("GET", kTarget,
                  ok(R"({"volumes":[{"customProperties":{"external_uuid":"ext"}}]})"));
  EXPECT_THAT(lookUp({diskOn("urn:sites:1:datastores:9")}), ElementsAre("ext"));
}

TEST_F(DiskLookup, TakesSiteAndDatastoreFromTheDiskAndNotFromTheConnection) {
  vrm_.uri = "/service/sites/77";
  vrm_.urn = "urn:sites:77";
  const std::string target =
      "/service/places/5/volumes/compatibility/discovery?uuid=v&datestore=3&page=1&offset=0"
      "&limit=15";
  manager_.serves("GET", target, ok(R"({"volumes":[]})"));
  lookUp({diskOn("urn:places:5:stores:3")});
  EXPECT_THAT(queries(), ElementsAre("GET " + target));
}

TEST_F(DiskLookup, IgnoresFieldsBehindTheFifth) {
  manager_.serves("GET", kTarget, ok(R"({"volumes":[]})"));
  lookUp({diskOn("urn:sites:1:datastores:9:more:fields")});
  EXPECT_THAT(queries(), ElementsAre(std::string("GET ") + kTarget));
}

TEST_F(DiskLookup, CountsEmptyFields) {
  manager_.serves("GET",
                  "/service///volumes/compatibility/discovery?uuid=v&datestore=&page=1&offset=0"
                  "&limit=15",
                  ok(R"({"volumes":[]})"));
  lookUp({diskOn("::::")});
  EXPECT_EQ(queries().size(), 1U);
}

TEST_F(DiskLookup, SkipsADiskWithTooFewFieldsAndGoesOn) {
  manager_.serves("GET", kTarget,
                  ok(R"({"volumes":[{"customProperties":{"external_uuid":"ext"}}]})"));

  EXPECT_THAT(lookUp({diskOn("urn:sites:1:datastores"), diskOn("urn:sites:1:datastores:9")}),
              ElementsAre("before", "ext"));

  const std::string line = "datastoreParts.size =  4urn:sites:1:datastores";
  ASSERT_TRUE(log_.has(4, line));
  EXPECT_EQ(log_.withText(line).front().function,
            "KestrelVisor_rest_api::getDiskDetailInfoFromVrm()");
}

TEST_F(DiskLookup, SkipsADiskWithoutADatastore) {
  EXPECT_THAT(lookUp({diskOn("")}), ElementsAre("before"));
  EXPECT_TRUE(log_.has(4, "datastoreParts.size =  1"));
  EXPECT_THAT(manager_.lines(), IsEmpty());
}

TEST_F(DiskLookup, MakesNoRequestWithoutDisks) {
  lookUp({});
  EXPECT_THAT(manager_.lines(), IsEmpty());
}

TEST_F(DiskLookup, LeavesDisksOfTheSecondListAlone) {
  VM_DETAIL detail;
  detail.vmConfig.scsiDisks = {diskOn("urn:sites:1:datastores:9")};
  api_.getDiskDetailInfoFromVrm(vrm_, detail);
  EXPECT_THAT(manager_.lines(), IsEmpty());
  EXPECT_EQ(detail.vmConfig.scsiDisks.front().externalUuid, "before");
}

TEST_F(DiskLookup, EndsAtTheFirstRefusedRequest) {
  manager_.serves("GET", kTarget, refusal(500, "10000123"));

  EXPECT_THAT(lookUp({diskOn("urn:sites:1:datastores:9"), diskOn("urn:sites:1:datastores:9")}),
              ElementsAre("before", "before"));

  EXPECT_EQ(queries().size(), 1U);
  EXPECT_TRUE(log_.has(4, "Failed to get vm jsonObj"));
}

struct VolumesRow {
  const char* name;
  const char* volumes;
  const char* found;
};
class DiskLookupVolumes : public DiskLookup, public ::testing::WithParamInterface<VolumesRow> {};

TEST_P(DiskLookupVolumes, Decide) {
  manager_.serves("GET", kTarget, ok(std::string(R"({"volumes":)") + GetParam().volumes + "}"));
  EXPECT_THAT(lookUp({diskOn("urn:sites:1:datastores:9")}), ElementsAre(GetParam().found));
}

INSTANTIATE_TEST_SUITE_P(
    DiskLookup, DiskLookupVolumes,
    ::testing::Values(VolumesRow{"NoneKeepsTheEarlierValue", "[]", "before"},
                      VolumesRow{"OneWithoutPropertiesEmpties", "[{}]", ""},
                      VolumesRow{"OneWithoutTheKeyEmpties", R"([{"customProperties":{}}])", ""},
                      VolumesRow{"OneWithPropertiesOfNullEmpties", R"([{"customProperties":null}])",
                                 ""},
                      VolumesRow{"TheLastOfTwoDecides",
                                 R"([{"customProperties":{"external_uuid":"a"}},
                       {"customProperties":{"external_uuid":"b"}}])",
                                 "b"},
                      VolumesRow{"ALastOneWithoutPropertiesWipesTheFirst",
                                 R"([{"customProperties":{"external_uuid":"a"}},{}])", ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DiskLookup, ThrowsForAnIdentifierOfTheWrongType) {
  manager_.serves("GET", kTarget, ok(R"({"volumes":[{"customProperties":{"external_uuid":{}}}]})"));
  EXPECT_THROW(lookUp({diskOn("urn:sites:1:datastores:9")}), Json::Exception);
}

}  // namespace
