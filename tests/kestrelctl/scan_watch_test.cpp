#include "kestrelctl/watch/scan_watch.h"

#include "tests/kestrelctl/told_scan.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

MATCHER_P2(IsWarning, kind, text, "") {
  *result_listener << arg.kind << ": " << arg.text;
  return arg.kind == kind && arg.text.find(text) != std::string::npos;
}

// One cluster with one host, and a host without cluster.
class ScanAccounts : public ::testing::Test {
 protected:
  ScanAccounts() {
    told.prepare();
    told.clusters({"clusters/1"});
    told.hosts({"hosts/2"});
    told.hosts({"hosts/1"});
  }

  // The same machines in the cluster's pages and in those of its host; none on the other host.
  void tellTwice(const ToldScan::Page& machines) {
    told.place(machines.size(), machines);
    told.place(0, {});
    told.place(machines.size(), machines);
  }

  Accounting accounting(const std::vector<std::string>& recorded) const {
    return told.watch.accounting(replyWith(recorded));
  }
  std::vector<Warning> warnings(const std::vector<std::string>& recorded) const {
    return told.watch.warnings(replyWith(recorded));
  }

  ToldScan told;

 private:
  static ScanEnvironmentReply replyWith(const std::vector<std::string>& recorded) {
    return toldReply({"clusters/1", "hosts/2", "hosts/1"}, recorded);
  }
};

TEST_F(ScanAccounts, MachineThatClusterAndHostTellCountsOnce) {
  tellTwice({{"a", "hosts/1"}, {"b", "hosts/1"}});

  const Accounting accounts = accounting({"a", "b"});

  EXPECT_EQ(accounts.counted, 2U);
  EXPECT_EQ(accounts.recorded, 2U);
  EXPECT_EQ(accounts.unexplained(), 0);
  EXPECT_FALSE(accounts.isIncomplete());
  EXPECT_THAT(warnings({"a", "b"}), IsEmpty());
}

TEST_F(ScanAccounts, MachineThatTwoPagesTellCountsOnce) {
  told.place(0, {});
  told.count(2);
  told.page({{"a", "hosts/2"}, {"b", "hosts/2"}});
  told.page({{"b", "hosts/2"}});
  told.endPlace();
  told.place(0, {});

  const Accounting accounts = accounting({"a", "b", "b"});

  EXPECT_EQ(accounts.counted, 2U);
  EXPECT_EQ(accounts.recorded, 2U);
  EXPECT_THAT(warnings({"a", "b", "b"}),
              ElementsAre(IsWarning("machines-repeated", "1 machine stands here more than once")));
}

TEST_F(ScanAccounts, HostsCountWhereTheClusterDoesNotTellTheirMachines) {
  told.place(1, {{"a", "clusters/1"}});
  told.place(1, {{"b", "hosts/2"}});
  told.place(1, {{"c", "hosts/1"}});

  EXPECT_EQ(accounting({"a", "b", "c"}).counted, 3U);
  EXPECT_EQ(accounting({"a", "b", "c"}).unexplained(), 0);
}

TEST_F(ScanAccounts, HostsCountWhereTheClusterTellsMachinesOfOtherPlacesOnly) {
  told.place(1, {{"a", "hosts/2"}});
  told.place(0, {});
  told.place(1, {{"b", "hosts/1"}});

  EXPECT_EQ(accounting({"a", "b"}).counted, 2U);
  EXPECT_EQ(accounting({"a", "b"}).unexplained(), 0);
}

TEST_F(ScanAccounts, TemplatesAndLinkedClonesAreNoLoss) {
  tellTwice(
      {{"a", "hosts/1"}, {"t", "hosts/1", kTemplateMember}, {"l", "hosts/1", kLinkedCloneMember}});

  const Accounting accounts = accounting({"a"});

  EXPECT_EQ(accounts.counted, 3U);
  EXPECT_EQ(accounts.templates, 1U);
  EXPECT_EQ(accounts.linkedClones, 1U);
  EXPECT_FALSE(accounts.isIncomplete());
  EXPECT_THAT(warnings({"a"}), IsEmpty());
}

TEST_F(ScanAccounts, TemplateInAPlaceOutOfScopeIsATemplate) {
  tellTwice({{"t", "hosts/9", kTemplateMember}});

  EXPECT_EQ(accounting({}).templates, 1U);
  EXPECT_EQ(accounting({}).outOfScope, 0U);
}

TEST_F(ScanAccounts, PlaceThatIsNotInTheReplyIsOutOfScope) {
  tellTwice({{"a", "hosts/1"}, {"far", "hosts/9"}});

  const Accounting accounts = accounting({"a"});

  EXPECT_EQ(accounts.outOfScope, 1U);
  EXPECT_EQ(accounts.unexplained(), 0);
  EXPECT_TRUE(accounts.isIncomplete());
  EXPECT_THAT(warnings({"a"}),
              ElementsAre(IsWarning("machines-left-out",
                                    "1 machine is missing here: 1 in a place that is not part")));
}

TEST_F(ScanAccounts, UuidThatCannotBeReadIsTold) {
  tellTwice({{"a", "hosts/1"}, {"bad", "hosts/1"}});
  told.refusedUuid("bad", "x] of VM[urn:sites:S:vms:a");

  const Accounting accounts = accounting({"a"});

  EXPECT_EQ(accounts.unreadableUuid, 1U);
  EXPECT_EQ(accounts.unreadData, 0U);
  EXPECT_TRUE(accounts.isIncomplete());
  EXPECT_THAT(warnings({"a"}), ElementsAre(IsWarning("machines-left-out",
                                                     "1 with an unreadable UUID; --log-level")));
}

TEST_F(ScanAccounts, MachineThatTheEngineCannotUseHasUnreadData) {
  tellTwice({{"a", "hosts/1"}, {"odd", "hosts/1"}});
  told.refusedData("odd");

  EXPECT_EQ(accounting({"a"}).unreadData, 1U);
  EXPECT_TRUE(accounting({"a"}).isIncomplete());
}

TEST_F(ScanAccounts, MachineWithoutAPlaceHasUnreadData) {
  told.count(1);
  told.pageText(R"({"vms":[{"urn":"urn:sites:S:vms:a","location":null}]})");
  told.endPlace();

  EXPECT_EQ(accounting({}).unreadData, 1U);
}

TEST_F(ScanAccounts, MachineThatWasCountedAndNeverToldIsUnexplained) {
  told.place(3, {{"a", "hosts/1"}, {"b", "hosts/1"}});
  told.place(0, {});
  told.place(2, {{"a", "hosts/1"}, {"b", "hosts/1"}});

  const Accounting accounts = accounting({"a", "b"});

  EXPECT_EQ(accounts.counted, 3U);
  EXPECT_EQ(accounts.unexplained(), 1);
  EXPECT_TRUE(accounts.isIncomplete());
  EXPECT_THAT(warnings({"a", "b"}),
              ElementsAre(IsWarning("machines-unexplained",
                                    "nothing explains why 1 machine of the manager's count is")));
}

TEST_F(ScanAccounts, MachineThatCameIsMoreThanCountedAndNoLoss) {
  told.place(1, {{"a", "hosts/1"}});
  told.place(0, {});
  told.place(2, {{"a", "hosts/1"}, {"b", "hosts/1"}});

  const Accounting accounts = accounting({"a", "b"});

  EXPECT_EQ(accounts.unexplained(), -1);
  EXPECT_FALSE(accounts.isIncomplete());
  EXPECT_THAT(warnings({"a", "b"}),
              ElementsAre(IsWarning("machines-unexplained", "1 machine more than it had counted")));
}

TEST_F(ScanAccounts, MachineThatWentIsNotHiddenByOneThatCame) {
  told.place(2, {{"a", "hosts/1"}, {"gone", "hosts/1"}});
  told.place(0, {});
  told.place(2, {{"a", "hosts/1"}, {"b", "hosts/1"}});

  const Accounting accounts = accounting({"a", "b"});

  EXPECT_EQ(accounts.unexplained(), 0);
  EXPECT_EQ(accounts.vanished, 1U);
  EXPECT_TRUE(accounts.isIncomplete());
  EXPECT_THAT(warnings({"a", "b"}),
              ElementsAre(IsWarning("machines-unexplained", "1 machine went or moved")));
}

TEST_F(ScanAccounts, MachineThatMovedToAPlaceReadBeforeIsUnexplained) {
  told.place(1, {{"a", "hosts/1"}});
  told.place(0, {});
  told.count(1);
  told.page({});
  told.endPlace();

  EXPECT_EQ(accounting({}).unexplained(), 1);
  EXPECT_EQ(accounting({}).vanished, 1U);
}

TEST_F(ScanAccounts, MachineThatMovedBetweenTwoReadingsCountsOnce) {
  told.place(1, {{"a", "hosts/2"}});
  told.place(1, {{"a", "hosts/2"}});
  told.place(1, {{"a", "hosts/1"}});

  EXPECT_EQ(accounting({"a", "a"}).recorded, 1U);
}

TEST_F(ScanAccounts, TemplateThatBecameAMachineIsRecordedOnly) {
  told.place(1, {{"a", "hosts/1", kTemplateMember}});
  told.place(0, {});
  told.place(1, {{"a", "hosts/1"}});

  EXPECT_EQ(accounting({"a"}).templates, 0U);
  EXPECT_EQ(accounting({"a"}).unexplained(), 0);
}

TEST_F(ScanAccounts, ManagerThatSpellsUrnsOtherwiseLosesNothing) {
  told.count(1);
  told.pageText(R"({"vms":[{"urn":"odd","uri":"/service/sites/S/vms/a",)"
                R"("location":"urn:sites:S:hosts:1"}]})");
  told.endPlace();

  const Accounting accounts = accounting({"a"});

  EXPECT_EQ(accounts.recorded, 1U);
  EXPECT_EQ(accounts.vanished, 0U);
  EXPECT_EQ(accounts.unexplained(), 0);
}

TEST_F(ScanAccounts, PageThatCannotBeReadLeavesItsMachinesUnexplained) {
  told.count(2);
  told.pageText(R"({"vms":[{"urn":"urn:sites:S:vms:a","loca***)");
  told.endPlace();

  EXPECT_EQ(accounting({"a"}).unexplained(), 1);
}

TEST_F(ScanAccounts, ClusterThatStandsTwiceCountsOnce) {
  ToldScan twice;
  twice.prepare();
  twice.clusters({"clusters/1", "clusters/1"});
  twice.hosts({});
  for (int turn = 0; turn < 2; ++turn) {
    twice.hosts({});
    twice.place(1, {{"a", "clusters/1"}});
  }

  EXPECT_EQ(twice.watch.accounting(toldReply({"clusters/1"}, {"a"})).counted, 1U);
}

TEST(ScanWatch, SiteWithoutHostsIsAPlaceItself) {
  ToldScan told;
  told.prepare();
  told.clusters({});
  told.hosts({});
  told.count(1);
  told.pageText(R"({"vms":[{"urn":"urn:sites:S:vms:a","location":"urn:sites:S"}]})");
  told.endPlace();
  ScanEnvironmentReply reply = toldReply({}, {});
  reply.mutable_non_vm_records(0)->set_mo_reference("/service/sites/S");

  EXPECT_EQ(told.watch.accounting(reply).outOfScope, 0U);
  reply.add_machine_records()->set_mo(uriOf("vms/a"));
  EXPECT_EQ(told.watch.accounting(reply).unexplained(), 0);
}

TEST(ScanWatch, OwnSiteIsMissed) {
  ToldScan own;
  own.prepare(R"({"sites":[{"isSelf":false},{"isSelf":true}]})");
  ToldScan others;
  others.prepare(R"({"sites":[{"isSelf":false}]})");
  ToldScan none;
  none.prepare(R"({"sites":[]})");

  EXPECT_FALSE(own.watch.lacksOwnSite());
  EXPECT_TRUE(others.watch.lacksOwnSite());
  EXPECT_TRUE(none.watch.lacksOwnSite());
}

// The reply's machines of guest systems that the catalogue lacks.
ScanEnvironmentReply unknownGuests(const std::vector<std::string>& machines) {
  ScanEnvironmentReply reply = toldReply({"hosts/1"}, machines);
  for (machine_record& machine : *reply.mutable_machine_records()) machine.set_guestos("unknown");
  return reply;
}

TEST(ScanWatch, NamesTheMostFrequentUnknownGuestSystems) {
  ToldScan told;
  told.prepare();
  told.clusters({});
  told.hosts({"hosts/1"});
  ToldScan::Page page;
  std::vector<std::string> ids;
  for (int i = 0; i < 10; ++i) {
    const std::string version = std::to_string(i < 4 ? 900 : 900 + i);
    ids.push_back(std::to_string(i));
    page.push_back(
        {ids.back(), "hosts/1", R"(,"osOptions":{"osType":"Linux","osVersion":)" + version + "}"});
  }
  told.place(10, page);

  const auto warnings = told.watch.warnings(unknownGuests(ids));

  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].kind, "unknown-guest-systems");
  EXPECT_THAT(warnings[0].text,
              AllOf(HasSubstr("that of 10 machines: Linux number 900, Linux number 904,"),
                    HasSubstr(" and 4 others")));
}

TEST(ScanWatch, GuestSystemMayBeNamedOnlyOrNotAtAll) {
  ToldScan told;
  told.prepare();
  told.clusters({});
  told.hosts({"hosts/1"});
  told.place(2, {{"a", "hosts/1", R"(,"osOptions":{"guestOSName":"Minix"})"}, {"b", "hosts/1"}});

  const auto named = told.watch.warnings(unknownGuests({"a"}));
  const auto unnamed = told.watch.warnings(unknownGuests({"b"}));

  EXPECT_THAT(named.front().text, HasSubstr("that of 1 machine: Minix"));
  EXPECT_THAT(unnamed.front().text, HasSubstr("that of 1 machine: none told"));
}

TEST(ScanWatch, NameOfAGuestSystemIsCutBetweenCharacters) {
  ToldScan told;
  told.prepare();
  told.clusters({});
  told.hosts({"hosts/1"});
  const std::string name = std::string(59, 'x') + "\xc3\xa9tat";
  told.place(1, {{"a", "hosts/1", R"(,"osOptions":{"guestOSName":")" + name + "\"}"}});

  const auto warnings = told.watch.warnings(unknownGuests({"a"}));

  EXPECT_THAT(warnings.front().text, EndsWith(": " + std::string(59, 'x')));
}

TEST(ScanWatch, TakesAnyTextWithoutAnException) {
  const std::vector<std::string> answers = {
      "",
      "{",
      "null",
      "[]",
      "7",
      "\"text\"",
      "[{}]",
      R"({"vms":7})",
      R"({"vms":{"a":1}})",
      R"({"vms":[null,7,"x",[],{"urn":[]},{"urn":{}},{"urn":1,"location":{},"isTemplate":"x",)"
      R"("vmConfig":[],"osOptions":7},{"urn":"u","vmConfig":{"disks":[7,{"pciType":[]}]}}]})",
      R"({"clusters":{},"hosts":"x","sites":[7,[]]})",
      R"({"hosts":[7,null,{"uri":[]}]})",
      std::string(5000, '['),
      std::string("\0\xff\xfe{", 4)};
  const std::vector<std::pair<std::string, std::string>> lines = {
      {"KestrelVisor_rest_api::getOSListfromVrmByArch()", "getOSListFromVrm: filterStr"},
      {"KestrelVisor_rest_api::getClusterFromVrm()", "Cluster Count="},
      {"KestrelVisor_rest_api::getCnaFromVrm()", "cna Count = "},
      {"KestrelVisor_rest_api::getVMFromVrm()", "the all vm count = -3"},
      {"KestrelVisor_rest_api::getVMFromVrm()", "the all vm count = 99999999999999999999"},
      {"KestrelVisor_rest_api::getVMFromVrm()", "the all vm count = 5"},
      {"KestrelVisor_rest_api::getVmInfoFromVrmSub()", "getAllVMInfo: Vm Count = "},
      {"KestrelVisor_rest_api::getDiskDetailInfoFromVrm()", "Failed to get vm jsonObj"},
      {"KestrelVisor_rest_api::getVMFromVrm()", "get all the vm successfully"},
      {"KestrelVisor_rest_api::getTreeViewVMInfoFromVrm()", "The uuid["},
      {"KestrelVisor_rest_api::getTreeViewVMInfoFromVrm()", "The uuid[] of VM["},
      {"KestrelVisorPublic::CreateVMAndDiskTable()", "Failed to get VM["}};
  ToldScan told;
  for (int round = 0; round < 2; ++round) {
    for (const std::string& body : answers) {
      for (const auto& [function, text] : lines) {
        told.answer(body);
        told.take(function, text);
        told.watch.counts();
      }
    }
  }

  EXPECT_EQ(told.watch.counts().exchanges, 2 * answers.size() * lines.size());
  EXPECT_EQ(told.watch.accounting(ScanEnvironmentReply()).recorded, 0U);
}

TEST(ScanWatch, WordsOfOtherFunctionsTellNothing) {
  ToldScan told;
  told.prepare();
  told.answer(R"({"clusters":[{"uri":"/service/sites/S/clusters/1"}]})");
  told.take("KestrelVisor_rest_api::getDatastoreInfo()", "Cluster Count=1");

  EXPECT_EQ(told.watch.counts().phase, ScanPhase::preparing);
}

class ScanProgress : public ::testing::Test {
 protected:
  ScanProgress() { told.prepare(); }

  ScanCounts counts() const { return told.watch.counts(); }

  ToldScan told;
};

TEST_F(ScanProgress, BeginsWithPreparationAndCountsItsExchanges) {
  EXPECT_EQ(counts().phase, ScanPhase::preparing);
  told.take("any", "thing");
  EXPECT_EQ(counts().exchanges, 5U);  // versions, login, sites, two lists of guest systems
  EXPECT_FALSE(counts().exchangesExpected);
}

TEST_F(ScanProgress, CountsHostsAsTheirDatastoresCome) {
  told.clusters({"clusters/1"});
  told.hosts({"hosts/2", "hosts/3"});

  EXPECT_EQ(counts().phase, ScanPhase::hosts);
  EXPECT_EQ(counts().objects, 2U);  // the last datastores are not settled yet
  EXPECT_FALSE(counts().objectsExpected);

  told.hosts({"hosts/1"});
  told.take("any", "thing");
  EXPECT_EQ(counts().objects, 4U);
}

TEST_F(ScanProgress, ListsAClusterBeforeItReadsItsHosts) {
  told.clusters({"clusters/1"});
  told.hosts({});
  told.hosts({"hosts/1"});
  told.count(2);
  told.page({{"a", "hosts/1"}, {"b", "hosts/1"}});

  EXPECT_EQ(counts().phase, ScanPhase::listing);
  EXPECT_EQ(counts().objects, 2U);
  EXPECT_EQ(counts().objectsExpected, 2U);
  EXPECT_EQ(counts().listings, 2U);

  told.endPlace();
  EXPECT_EQ(counts().phase, ScanPhase::machines);
  EXPECT_EQ(counts().objects, 0U);
}

TEST_F(ScanProgress, MachineIsReadWhenItsDisksAre) {
  told.clusters({});
  told.hosts({"hosts/1"});
  told.count(3);
  told.page(
      {{"a", "hosts/1", "", 2}, {"t", "hosts/1", kTemplateMember, 1}, {"b", "hosts/1", "", 1}});

  EXPECT_EQ(counts().phase, ScanPhase::machines);
  EXPECT_EQ(counts().objects, 1U);  // the template
  told.lookups(2);
  EXPECT_EQ(counts().objects, 1U);
  told.lookups(1);
  EXPECT_EQ(counts().objects, 2U);
  told.endPlace();
  EXPECT_EQ(counts().objects, 3U);
  EXPECT_EQ(counts().objectsExpected, 3U);
  EXPECT_EQ(counts().phase, ScanPhase::reply);
}

TEST_F(ScanProgress, DisksThatTheEngineGivesUpAreNotWaitedFor) {
  told.clusters({});
  told.hosts({"hosts/1"});
  told.count(2);
  told.page({{"a", "hosts/1", "", 3}, {"b", "hosts/1", "", 1}});
  told.answer("{}");
  told.take("KestrelVisor_rest_api::getDiskDetailInfoFromVrm()", "Failed to get vm jsonObj", 4);

  EXPECT_EQ(counts().objects, 1U);
}

TEST_F(ScanProgress, KnowsWhatTheHostsOfAListedClusterWillTake) {
  told.clusters({"clusters/1"});
  told.hosts({});
  told.hosts({"hosts/1", "hosts/2"});
  told.place(3, {{"a", "hosts/1", "", 2}, {"b", "hosts/2", "", 1}, {"c", "clusters/9", "", 7}});
  told.take("any", "thing");

  // For each host a count and a page, and three disks in all.
  EXPECT_EQ(counts().exchangesExpected, counts().exchanges + 7);
  EXPECT_EQ(counts().listingsExpected, 5U);

  told.count(1);
  told.page({{"a", "hosts/1", "", 2}});
  EXPECT_EQ(counts().exchangesExpected, counts().exchanges + 5);
  told.lookups(2);
  told.endPlace();
  EXPECT_EQ(counts().exchangesExpected, counts().exchanges + 3);
}

TEST_F(ScanProgress, HostsThatWereReadStandForThoseThatWereNot) {
  told.clusters({});
  told.hosts({"hosts/1", "hosts/2", "hosts/3"});
  EXPECT_FALSE(counts().exchangesExpected);
  told.count(1);
  EXPECT_FALSE(counts().exchangesExpected);
  told.page({{"a", "hosts/1", "", 2}});
  told.lookups(2);
  told.endPlace();

  // A count, a page and two disks each.
  EXPECT_EQ(counts().exchangesExpected, counts().exchanges + 8);
}

TEST_F(ScanProgress, ClustersThatWereListedStandForThoseThatWereNot) {
  told.clusters({"clusters/1", "clusters/2"});
  told.hosts({});
  told.hosts({"hosts/1"});
  told.place(1, {{"a", "hosts/1", "", 2}});
  told.take("any", "thing");

  // The first cluster's host takes 4; the second cluster 4 and its hosts 4.
  EXPECT_EQ(counts().exchangesExpected, counts().exchanges + 12);
  EXPECT_FALSE(counts().objectsExpected);
}

TEST_F(ScanProgress, KnowsTheEndWhenNothingIsLeft) {
  told.clusters({});
  told.hosts({"hosts/1"});
  told.place(0, {});

  EXPECT_EQ(counts().phase, ScanPhase::reply);
  EXPECT_EQ(counts().exchangesExpected, counts().exchanges);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
