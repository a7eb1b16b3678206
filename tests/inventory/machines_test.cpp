#include "inventory/inventory_records.h"
#include "platform/contract/helpers.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/grouping_locale.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kScope = hostUrn(1);

class MachineQuery : public ::testing::Test {
 protected:
  bool list(const std::string& scope = kScope) {
    return api_.getVMFromVrm(vrm_, scope, machines_, error_);
  }
  void tellsTotal(const Json::Value& total) {
    manager_.serves("GET", machineProbeTarget(kScope), ok(Document().with("total", total).text()));
  }
  void hasPage(int offset, const Documents& machines) {
    manager_.serves("GET", machinePageTarget(kScope, offset), ok(listOf("vms", machines)));
  }
  const VM_INFO& first() const { return dynamic_cast<const VM_INFO&>(*machines_.front()); }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& machine : machines_) names.push_back(machine->name);
    return names;
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  std::list<boost::shared_ptr<KestrelVisorObj>> machines_;
  KestrelVisor_rest_api api_;
};

TEST_F(MachineQuery, AsksForTheCountThenForAPageAndThenForEachDisk) {
  servesMachines(manager_, kScope, {aVm(1, kScope).withDisks(2), aVm(2, kScope)});
  manager_.serves("GET", discoveryTarget(volumeUuid(1)), ok(R"({"volumes":[]})"));
  manager_.serves("GET", discoveryTarget(volumeUuid(2)), ok(R"({"volumes":[]})"));

  EXPECT_TRUE(list());

  EXPECT_THAT(
      manager_.lines(),
      ElementsAre("POST /service/session",
                  "GET /service/sites/1/vms?limit=1&offset=0&scope=urn:sites:1:hosts:1",
                  "GET /service/sites/1/vms?limit=100&offset=0&scope=urn:sites:1:hosts:1&detail=2",
                  "GET /service/sites/1/volumes/compatibility/discovery?uuid="
                  "dddddddd-0000-4000-8000-000000000001&datestore=1&page=1&offset=0&limit=15",
                  "GET /service/sites/1/volumes/compatibility/discovery?uuid="
                  "dddddddd-0000-4000-8000-000000000002&datestore=1&page=1&offset=0&limit=15"));
}

TEST_F(MachineQuery, LeavesTheScopeOutOfEveryLineWhenItIsEmpty) {
  manager_.serves("GET", "/service/sites/1/vms?limit=1&offset=0", ok(R"({"total":2})"));
  manager_.serves("GET", "/service/sites/1/vms?limit=100&offset=0&detail=2",
                  ok(listOf("vms", {aVm(1, kScope), aVm(2, "")})));

  EXPECT_TRUE(list(""));

  // Even then the location must equal the scope.
  EXPECT_THAT(names(), ElementsAre("vm-2"));
  EXPECT_THAT(manager_.lines(),
              ElementsAre("POST /service/session", "GET /service/sites/1/vms?limit=1&offset=0",
                          "GET /service/sites/1/vms?limit=100&offset=0&detail=2"));
}

TEST_F(MachineQuery, FillsTheBaseFieldsWithTheSitesUrnInTheGuid) {
  servesMachines(manager_, kScope, {aVm(1, kScope)});

  ASSERT_TRUE(list());

  std::string text = "urn:sites:1" + machineUuid(1);
  EXPECT_EQ(first().type, 7);
  EXPECT_EQ(first().name, "vm-1");
  EXPECT_EQ(first().objectStr, "/service/sites/1/vms/1");
  EXPECT_EQ(first().oldGuid, machineUuid(1));
  EXPECT_EQ(first().guid, EnvProxy_string_to_uuid(text));
  EXPECT_EQ(first().detail.urn, "urn:sites:1:vms:1");
}

TEST_F(MachineQuery, TakesTheExternalIdentifiersOfTheDisks) {
  servesMachines(manager_, kScope, {aVm(1, kScope).withDisks(1)});
  manager_.serves("GET", discoveryTarget(volumeUuid(1)),
                  ok(R"({"volumes":[{"customProperties":{"external_uuid":"ext"}}]})"));
  ASSERT_TRUE(list());
  EXPECT_EQ(first().detail.vmConfig.disks.front().externalUuid, "ext");
}

TEST_F(MachineQuery, KeepsTheMachineWhenTheLookupOfADiskFails) {
  servesMachines(manager_, kScope, {aVm(1, kScope).withDisks(1), aVm(2, kScope)});
  manager_.serves("GET", discoveryTarget(volumeUuid(1)), refusal(500, "10000123"));

  EXPECT_TRUE(list());

  EXPECT_THAT(names(), ElementsAre("vm-1", "vm-2"));
  EXPECT_EQ(error_.errorCode, "00000000");
}

TEST_F(MachineQuery, DropsMachinesElsewhereAndTemplatesAndLinkedClonesWithoutALine) {
  servesMachines(
      manager_, kScope,
      {aVm(1, kScope + "2"), aVm(2, kScope).with("isTemplate", true),
       aVm(3, kScope).with("isLinkClone", true), aVm(4, kScope), aVm(5, "").without("location")});

  EXPECT_TRUE(list());

  EXPECT_THAT(names(), ElementsAre("vm-4"));
  EXPECT_THAT(log_.texts(3), ElementsAre("get token from map failed,vrmip: 127.0.0.1"));
}

TEST_F(MachineQuery, AsksForNoPageWhenThereIsNoMachine) {
  tellsTotal(0);
  EXPECT_TRUE(list());
  EXPECT_THAT(machines_, IsEmpty());
  EXPECT_THAT(manager_.lines(),
              ElementsAre("POST /service/session", "GET " + machineProbeTarget(kScope)));
  EXPECT_TRUE(log_.has(1, "the all vm count = 0"));
}

TEST_F(MachineQuery, AsksForNoPageWhenTheCountDoesNotFitASignedNumber) {
  tellsTotal(Json::UInt64{2147483648U});
  EXPECT_TRUE(list());
  EXPECT_THAT(machines_, IsEmpty());
  EXPECT_EQ(manager_.lines().size(), 2U);
  EXPECT_TRUE(log_.has(1, "the all vm count = -2147483648"));
}

TEST_F(MachineQuery, ThrowsForACountOutOfRangeOrOfTheWrongType) {
  for (const Json::Value& total :
       {Json::Value(-1), Json::Value(Json::UInt64{4294967296U}), Json::Value("many")}) {
    tellsTotal(total);
    EXPECT_THROW(list(), Json::Exception);
  }
}

struct PageRow {
  const char* name;
  int total;
  std::vector<int> offsets;
};
class MachinePages : public MachineQuery, public ::testing::WithParamInterface<PageRow> {};

TEST_P(MachinePages, AreAskedForByOffset) {
  tellsTotal(GetParam().total);
  std::vector<std::string> expected{"POST /service/session", "GET " + machineProbeTarget(kScope)};
  for (const int offset : GetParam().offsets) {
    hasPage(offset, {});
    expected.push_back("GET " + machinePageTarget(kScope, offset));
  }

  EXPECT_TRUE(list());

  EXPECT_EQ(manager_.lines(), expected);
}

INSTANTIATE_TEST_SUITE_P(MachineQuery, MachinePages,
                         ::testing::Values(PageRow{"OfOne", 1, {0}}, PageRow{"Of99", 99, {0}},
                                           PageRow{"Of100WithOneMore", 100, {0, 100}},
                                           PageRow{"Of101", 101, {0, 100}},
                                           PageRow{"Of200WithOneMore", 200, {0, 100, 200}},
                                           PageRow{"Of250", 250, {0, 100, 200}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(MachineQuery, WritesPortAndOffsetsPlainlyInAHostsLocale) {
  const GroupingLocale locale;
  tellsTotal(1000);
  for (int offset = 0; offset <= 1000; offset += 100) hasPage(offset, {});

  EXPECT_TRUE(list());

  EXPECT_EQ(manager_.lines().back(),
            "GET /service/sites/1/vms?limit=100&offset=1000&scope=urn:sites:1:hosts:1&detail=2");
  EXPECT_TRUE(log_.has(1, "the all vm count = 1000"));
}

// Each element is written out and read back, and the writer puts U+FFFD for what is no UTF-8.
TEST_F(MachineQuery, RepairsATextThatIsNoUtf8) {
  tellsTotal(1);
  std::string page = listOf("vms", {aVm(1, kScope).with("name", "bad-byte")});
  const std::size_t byte = page.find("byte");
  ASSERT_NE(byte, std::string::npos);
  manager_.serves("GET", machinePageTarget(kScope), ok(page.replace(byte, 4, "\xff")));

  EXPECT_TRUE(list());

  EXPECT_THAT(names(), ElementsAre("bad-\xEF\xBF\xBD"));
}

TEST_F(MachineQuery, TakesEachPageAsItComes) {
  tellsTotal(150);
  hasPage(0, {aVm(1, kScope)});
  hasPage(100, {aVm(2, kScope), aVm(1, kScope)});
  EXPECT_TRUE(list());
  EXPECT_THAT(names(), ElementsAre("vm-1", "vm-2", "vm-1"));
}

TEST_F(MachineQuery, CountsAllPagesInEachPagesLine) {
  tellsTotal(250);
  hasPage(0, {});
  hasPage(100, {aVm(1, kScope)});
  hasPage(200, {aVm(2, kScope)});

  ASSERT_TRUE(list());

  std::vector<std::pair<int, std::string>> lines;
  for (const auto& record : log_.records()) {
    if (record.function == "KestrelVisor_rest_api::getVMFromVrm()" && record.level > 0) {
      lines.emplace_back(record.level, record.text);
    }
  }
  EXPECT_THAT(lines, ElementsAre(std::pair(1, "the all vm count = 250"),
                                 std::pair(3, "the 0 get the vm size = 0"),
                                 std::pair(1, "the 1 get the vm size = 1"),
                                 std::pair(1, "the 2 get the vm size = 2"),
                                 std::pair(1, "get all the vm successfully")));
}

TEST_F(MachineQuery, SucceedsWithAWarningForEachPageWhenAllMachinesAreElsewhere) {
  tellsTotal(100);
  hasPage(0, {aVm(1, "elsewhere")});
  hasPage(100, {});
  EXPECT_TRUE(list());
  EXPECT_THAT(machines_, IsEmpty());
  EXPECT_TRUE(log_.has(3, "the 0 get the vm size = 0"));
  EXPECT_TRUE(log_.has(3, "the 1 get the vm size = 0"));
}

TEST_F(MachineQuery, LogsBothGuidsOfAMachine) {
  servesMachines(manager_, kScope, {aVm(1, kScope)});

  ASSERT_TRUE(list());

  const std::string uuid = machineUuid(1);
  EXPECT_TRUE(log_.has(0, "object str is :urn:sites:1" + uuid + " object GUID is:" + first().guid));
  EXPECT_TRUE(log_.has(0, "old vm GUID is :" + uuid + " object GUID is :" + first().guid));
  EXPECT_TRUE(log_.has(1, "getAllVMInfo: Vm Count = 1"));
}

TEST_F(MachineQuery, FailsWithTheManagersCodeWhenTheCountIsRefused) {
  manager_.serves("GET", machineProbeTarget(kScope), refusal(500, "10000123"));

  EXPECT_FALSE(list());

  EXPECT_EQ(error_.errorCode, "10000123");
  ASSERT_TRUE(log_.has(4, "Failed to get vm jsonObj"));
  EXPECT_EQ(log_.withText("Failed to get vm jsonObj").front().function,
            "KestrelVisor_rest_api::getVMFromVrm()");
}

TEST_F(MachineQuery, FailsWhenTheCountIsMissing) {
  manager_.serves("GET", machineProbeTarget(kScope), ok("{}"));
  EXPECT_FALSE(list());
  EXPECT_TRUE(log_.has(4, "Failed to get vm jsonObj"));
}

TEST_F(MachineQuery, KeepsEarlierPagesWhenALaterOneIsRefused) {
  tellsTotal(250);
  hasPage(0, {aVm(1, kScope)});
  manager_.serves("GET", machinePageTarget(kScope, 100), refusal(500, "10000123"));

  EXPECT_FALSE(list());

  EXPECT_THAT(names(), ElementsAre("vm-1"));
  EXPECT_EQ(error_.errorCode, "10000123");
  EXPECT_EQ(log_.withText("Failed to get vm jsonObj").front().function,
            "KestrelVisor_rest_api::getVmInfoFromVrmSub()");
  EXPECT_TRUE(log_.has(4, "Failed to get vms info from KestrelVisor"));
}

TEST_F(MachineQuery, AppendsBehindWhatTheListHolds) {
  machines_.push_back(boost::shared_ptr<KestrelVisorObj>(new KestrelVisorObj));
  machines_.front()->name = "earlier";
  servesMachines(manager_, kScope, {aVm(1, kScope)});
  EXPECT_TRUE(list());
  EXPECT_THAT(names(), ElementsAre("earlier", "vm-1"));
}

TEST_F(MachineQuery, ThrowsForAMachineOfTheWrongTypeAndWorksAgainAfterwards) {
  servesMachines(manager_, kScope, {aVm(1, kScope).with("name", Json::arrayValue)});
  EXPECT_THROW(list(), Json::Exception);
  EXPECT_THAT(machines_, IsEmpty());

  servesMachines(manager_, kScope, {aVm(1, kScope)});
  EXPECT_TRUE(list());
  EXPECT_THAT(names(), ElementsAre("vm-1"));
}

// A client whose reader refuses everything.
class UnreadingClient : public KestrelVisor_rest_api {
 public:
  bool getVMDetail(const std::string&, VM_DETAIL*) override { return false; }
};

TEST_F(MachineQuery, FailsWhenAMachineCannotBeReadBack) {
  servesMachines(manager_, kScope, {aVm(1, kScope)});
  UnreadingClient client;

  EXPECT_FALSE(client.getVMFromVrm(vrm_, kScope, machines_, error_));

  EXPECT_THAT(machines_, IsEmpty());
  EXPECT_TRUE(log_.has(4, "Failed to parse vm jsonObj"));
}

TEST_F(MachineQuery, ReadsTheGivenQueryForOnePage) {
  manager_.serves("GET", "/service/sites/1/vms?limit=7", ok(listOf("vms", {aVm(1, kScope)})));
  std::list<boost::shared_ptr<VM_INFO>> page;

  EXPECT_TRUE(api_.getVmInfoFromVrmSub(vrm_, kScope, page, "limit=7", error_));

  ASSERT_EQ(page.size(), 1U);
  // Kind and GUID are given later.
  EXPECT_EQ(page.front()->type, 1000);
  EXPECT_EQ(page.front()->guid, "");
  EXPECT_EQ(page.front()->oldGuid, machineUuid(1));
}

}  // namespace
