#include "tests/vrmsim/simulator_fixture.h"

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SimulatorSites : public SimulatorTest {};
class SimulatorClusters : public SimulatorTest {};
class SimulatorHosts : public SimulatorTest {};
class SimulatorDatastores : public SimulatorTest {};
class SimulatorVms : public SimulatorTest {};
class SimulatorVolumes : public SimulatorTest {};
class SimulatorOsVersions : public SimulatorTest {};

std::string urn(const char* collection, const char* id) {
  return std::string("urn:sites:S1:") + collection + ":" + id;
}

TEST_F(SimulatorSites, TellTheAddressThatTheClientReachedAsTheirOwn) {
  SimulatorOptions options = smallSiteOptions();
  options.bindAddress = "0.0.0.0";
  const Simulator everywhere(options);
  RestClient there(everywhere.port());
  there.logIn();

  const Answer answer =
      Connection(everywhere.port(), "", "127.0.0.7")
          .ask("GET", "/service/sites", {{"Accept", kAccept}, {"X-Auth-Token", there.token()}});

  EXPECT_EQ(answer.body,
            R"({"sites":[{"urn":"urn:sites:S1","uri":"/service/sites/S1","name":"here",)"
            R"("ip":"127.0.0.7","isSelf":true},{"urn":"urn:sites:S2","uri":"/service/sites/S2",)"
            R"("name":"there","ip":"10.9.9.9","isSelf":false}]})");
}

TEST_F(SimulatorSites, TellAnIpv4AddressToAnIpv4ClientOfAnIpv6Socket) {
  if (!machineHasIpv6()) GTEST_SKIP() << "this machine has no IPv6";
  SimulatorOptions options = smallSiteOptions();
  options.bindAddress = "::";
  const Simulator everywhere(options);
  RestClient there(everywhere.port());
  there.logIn();

  EXPECT_EQ(there.get("/service/sites").json()["sites"][0]["ip"].asString(), "127.0.0.1");
}

TEST_F(SimulatorSites, AnswerForTheOwnSiteOnly) {
  const Answer answer = client.get("/service/sites/S2/clusters");

  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.errorCode(), "10000008");
}

TEST_F(SimulatorClusters, AreListedInOrderWithTheKeysTheyHave) {
  const Answer answer = client.get(under("/clusters"));

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body,
            R"({"total":2,"clusters":[{"urn":"urn:sites:S1:clusters:c1",)"
            R"("uri":"/service/sites/S1/clusters/c1","name":"cluster c1","description":"",)"
            R"("arch":"arm"},{"urn":"urn:sites:S1:clusters:c2",)"
            R"("uri":"/service/sites/S1/clusters/c2","name":"cluster c2","description":""}]})");
}

TEST_F(SimulatorHosts, AreAllListedWithoutAScope) {
  const Json::Value hosts = client.get(under("/hosts")).json()["hosts"];

  EXPECT_THAT(eachOf(hosts, "name"), ElementsAre("host h1", "host h2", "host h3"));
}

TEST_F(SimulatorHosts, OfAClusterNameIt) {
  const Json::Value hosts =
      client.get(under("/hosts?scope=urn:sites:S1:clusters:c1")).json()["hosts"];

  EXPECT_THAT(eachOf(hosts, "urn"), ElementsAre(urn("hosts", "h1"), urn("hosts", "h2")));
  EXPECT_THAT(eachOf(hosts, "clusterUrn"),
              ElementsAre(urn("clusters", "c1"), urn("clusters", "c1")));
  EXPECT_THAT(eachOf(hosts, "clusterName"), ElementsAre("cluster c1", "cluster c1"));
}

TEST_F(SimulatorHosts, WithoutAClusterAreTheDefaultScope) {
  const Json::Value hosts = client.get(under("/hosts?scope=default")).json()["hosts"];

  EXPECT_THAT(eachOf(hosts, "uri"), ElementsAre("/service/sites/S1/hosts/h3"));
  EXPECT_THAT(eachOf(hosts, "clusterUrn"), ElementsAre(""));
}

TEST_F(SimulatorHosts, OfAnEmptyClusterAreNone) {
  const Answer answer = client.get(under("/hosts?scope=urn:sites:S1:clusters:c2"));

  EXPECT_EQ(answer.body, R"({"total":0,"hosts":[]})");
}

TEST_F(SimulatorHosts, AreFoundByAnEscapedScope) {
  const Json::Value hosts =
      client.get(under("/hosts?scope=urn%3asites%3AS1:clusters:c1")).json()["hosts"];

  EXPECT_EQ(hosts.size(), 2U);
}

TEST_F(SimulatorHosts, OfAnUnknownClusterDoNotExist) {
  const Answer answer = client.get(under("/hosts?scope=urn:sites:S1:clusters:nope"));

  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.errorCode(), "10000008");
}

TEST_F(SimulatorDatastores, AreFilteredByTheirStatus) {
  const Json::Value answer = client.get(under("/datastores?status=NORMAL")).json();

  EXPECT_THAT(eachOf(answer["datastores"], "name"),
              ElementsAre("store d1", "store d2", "store d4"));
  EXPECT_EQ(answer["total"].asUInt(), 3U);
}

TEST_F(SimulatorDatastores, OfAClusterAreThoseOfItsHosts) {
  const Json::Value answer =
      client.get(under("/datastores?scope=urn:sites:S1:clusters:c1&status=NORMAL")).json();

  EXPECT_THAT(eachOf(answer["datastores"], "name"), ElementsAre("store d1"));
  EXPECT_EQ(answer["total"].asUInt(), 1U);
}

TEST_F(SimulatorDatastores, MayBelongToAClusterWithoutHosts) {
  const Json::Value stores =
      client.get(under("/datastores?scope=urn:sites:S1:clusters:c2")).json()["datastores"];

  ASSERT_EQ(stores.size(), 1U);
  EXPECT_EQ(stores[0]["name"].asString(), "store d4");
  EXPECT_TRUE(stores[0]["hosts"].isArray());
  EXPECT_TRUE(stores[0]["hosts"].empty());
}

TEST_F(SimulatorDatastores, CarryTypeSizesAndHosts) {
  const Answer answer = client.get(under("/datastores?scope=urn:sites:S1:hosts:h3"));

  EXPECT_EQ(answer.body,
            R"({"total":1,"datastores":[{"urn":"urn:sites:S1:datastores:d2",)"
            R"("uri":"/service/sites/S1/datastores/d2","name":"store d2","status":"NORMAL",)"
            R"("storageType":"tapePome","actualCapacityGB":1024,"actualFreeSizeGB":512,)"
            R"("hosts":["urn:sites:S1:hosts:h3"]}]})");
}

TEST_F(SimulatorDatastores, TellTheUnitBelowThem) {
  simulator.changeInventory([](Inventory& inventory) {
    inventory.datastores[0].storageUnit = "lun-1";
    inventory.datastores[0].storageDevice = "array";
    inventory.datastores[0].version = "2.0";
  });

  const Json::Value store = client.get(under("/datastores")).json()["datastores"][0];

  EXPECT_EQ(store["suUrn"].asString(), urn("storageunits", "lun-1"));
  EXPECT_EQ(store["storageUnits"][0]["urn"].asString(), urn("storageunits", "lun-1"));
  EXPECT_EQ(store["storageUnits"][0]["suName"].asString(), "lun-1");
  EXPECT_EQ(store["storageUnits"][0]["sdName"].asString(), "array");
  EXPECT_EQ(store["version"].asString(), "2.0");
}

TEST_F(SimulatorDatastores, AreToldAnewAfterAChange) {
  client.get(under("/datastores"));
  simulator.changeInventory([](Inventory& inventory) {
    inventory.datastores[0].name = "another name";
    inventory.datastores.pop_back();
  });

  const Json::Value answer = client.get(under("/datastores?status=NORMAL")).json();

  EXPECT_THAT(eachOf(answer["datastores"], "name"), ElementsAre("another name", "store d2"));
}

TEST_F(SimulatorVms, ProbeTellsTheWholeCount) {
  const Json::Value answer =
      client.get(under("/vms?limit=1&offset=0&scope=urn:sites:S1:clusters:c1")).json();

  EXPECT_EQ(answer["total"].asUInt(), 5U);
  EXPECT_EQ(answer["vms"].size(), 1U);
}

TEST_F(SimulatorVms, OfAHostAreThoseLocatedOnIt) {
  const Json::Value vms = client.get(under("/vms?scope=urn:sites:S1:hosts:h1")).json()["vms"];

  EXPECT_THAT(eachOf(vms, "name"), ElementsAre("machine v1", "machine v2"));
  EXPECT_THAT(eachOf(vms, "location"), ElementsAre(urn("hosts", "h1"), urn("hosts", "h1")));
}

TEST_F(SimulatorVms, OfAClusterIncludeThoseOnItsHosts) {
  const Json::Value vms = client.get(under("/vms?scope=urn:sites:S1:clusters:c1")).json()["vms"];

  EXPECT_THAT(eachOf(vms, "location"),
              ElementsAre(urn("hosts", "h1"), urn("hosts", "h1"), urn("clusters", "c1"),
                          urn("hosts", "h2"), urn("hosts", "h2")));
}

TEST_F(SimulatorVms, ComePageByPage) {
  EXPECT_THAT(eachOf(client.get(under("/vms?limit=4&offset=0")).json()["vms"], "name"),
              ElementsAre("machine v1", "machine v2", "machine v3", "machine v4"));
  EXPECT_THAT(eachOf(client.get(under("/vms?limit=4&offset=4")).json()["vms"], "name"),
              ElementsAre("machine t1", "machine l1"));
  EXPECT_THAT(eachOf(client.get(under("/vms?limit=4&offset=8")).json()["vms"], "name"), IsEmpty());
}

TEST_F(SimulatorVms, AreRefusedForAPageThatIsNoNumber) {
  for (const char* query : {"limit=ten", "limit=-1", "offset=1x", "offset="}) {
    const Answer answer = client.get(under("/vms?") + query);
    EXPECT_EQ(answer.status, 400) << query;
    EXPECT_EQ(answer.errorCode(), "10009004") << query;
  }
}

TEST_F(SimulatorVms, OfAnUnknownScopeDoNotExist) {
  EXPECT_EQ(client.get(under("/vms?scope=urn:sites:S1:hosts:nope")).errorCode(), "10000008");
}

TEST_F(SimulatorVms, TellLittleWithoutDetail) {
  const Json::Value vm = client.get(under("/vms?limit=1&offset=0")).json()["vms"][0];

  EXPECT_THAT(
      vm.getMemberNames(),
      ElementsAre("clusterUrn", "description", "group", "hostUrn", "isLinkClone", "isTemplate",
                  "location", "locationName", "name", "status", "uri", "urn", "uuid"));
}

// A machine with something in every list.
Vm fullMachine() {
  Vm vm = smallSite().vms[0];
  vm.disks[0].name = "disk \"one\"";
  vm.disks[0].storageProtocol = "1";
  vm.nics.push_back({"n1", "card", "p1", "net", "28:6e:d4:00:00:01", "10.0.1.1", 1, 0, 3});
  vm.usbControllers = {"ehci"};
  vm.gpu = "g1";
  vm.securityGroups = {"sg"};
  vm.osVersion = 2;
  vm.guestOSName = "Linux";
  vm.hostname = "machine";
  vm.externalUuid = "external machine";
  return vm;
}

TEST_F(SimulatorVms, TellEverythingWithDetail) {
  simulator.changeInventory([](Inventory& inventory) { inventory.vms = {fullMachine()}; });

  const Answer answer = client.get(under("/vms?limit=100&offset=0&detail=2"));

  EXPECT_EQ(
      answer.body,
      R"({"total":1,"vms":[{"urn":"urn:sites:S1:vms:v1","uri":"/service/sites/S1/vms/v1",)"
      R"("name":"machine v1","uuid":"00000000-0000-4000-8000-0000000000v1","description":"",)"
      R"("group":"","location":"urn:sites:S1:hosts:h1","locationName":"host h1",)"
      R"("hostUrn":"urn:sites:S1:hosts:h1","clusterUrn":"urn:sites:S1:clusters:c1",)"
      R"("status":"running","isTemplate":false,"isLinkClone":false,"pvDriverStatus":"running",)"
      R"("cdRomStatus":"empty","toolInstallStatus":"empty","toolsVersion":"3.0.1",)"
      R"("createTime":"2023-03-01 08:00:00","deleteTime":"","imcSetting":"","fileMode":false,)"
      R"("isBindingHost":false,"vncAcessInfo":{"hostIp":"10.0.0.1","vncPort":5900},)"
      R"("vmConfig":{"cpu":{"quantity":2,"reservation":0,"weight":2000,"limit":0,)"
      R"("cpuHotPlug":0},"memory":{"quantityMB":4096,"reservation":0,"weight":40960,"limit":0,)"
      R"("memHotPlug":0},"disks":[{"volumeUrn":"urn:sites:S1:volumes:v1-1",)"
      R"("diskName":"disk \"one\"","datastoreUrn":"urn:sites:S1:datastores:d1",)"
      R"("datastoreName":"store d1","storageType":"LUNPOME","sequenceNum":1,"quantityGB":40,)"
      R"("isThin":true,"isDataCopy":false,"type":"normal","volumeUuid":"volume of v1",)"
      R"("indepDisk":false,"persistentDisk":true,"volType":0,"pciType":"VIRTIO",)"
      R"("maxReadBytes":0,"maxWriteBytes":0,"maxReadRequest":0,"maxWriteRequest":0,)"
      R"("systemVolume":false,"ioMode":"dataplane","bootOrder":-1,"storageProtocol":1,)"
      R"("customProperties":{"external_uuid":"external v1"}}],)"
      R"("nics":[{"urn":"urn:sites:S1:nics:n1","uri":"/service/sites/S1/nics/n1","name":"card",)"
      R"("portGroupUrn":"urn:sites:S1:portgroups:p1","portGroupName":"net",)"
      R"("mac":"28:6e:d4:00:00:01","ip":"10.0.1.1","virtIo":1,"sequenceNum":0,"bootOrder":3}],)"
      R"("usb":[{"controllerType":"ehci"}],"gpu":[{"gpuUrn":"urn:sites:S1:gpus:g1"}],)"
      R"("properties":{"bootOption":"disk","vmFaultProcess":"notprocess",)"
      R"("clockMode":"freeClock","isAutoUpgrade":true,"isEnableHa":true,"reoverByHost":false,)"
      R"("isEnableMemVol":false,"isEnableFt":false,"attachType":false,"gpuShareType":"shared",)"
      R"("isReserveResource":false,"bootFirmware":"BIOS","cdRomBootOrder":-1}},)"
      R"("osOptions":{"osType":"Linux","osVersion":2,"guestOSName":"Linux",)"
      R"("hostname":"machine"},"dataStoreUrns":["urn:sites:S1:datastores:d1"],)"
      R"("securityGroupSet":[{"groupId":"sg"}],"params":{"externalUuid":"external machine"}}]})");
}

TEST_F(SimulatorVms, SendAStorageProtocolInWordsAsText) {
  simulator.changeInventory(
      [](Inventory& inventory) { inventory.vms[0].disks[0].storageProtocol = "iscsi"; });

  const Json::Value vm = client.get(under("/vms?limit=1&offset=0&detail=2")).json()["vms"][0];

  EXPECT_EQ(vm["vmConfig"]["disks"][0]["storageProtocol"], Json::Value("iscsi"));
}

TEST_F(SimulatorVolumes, AreFoundByUuidAndDatastore) {
  const Answer answer =
      client.get(under("/volumes/compatibility/discovery?uuid=volume%20of%20v1&datestore=d1"
                       "&page=1&offset=0&limit=15"));

  EXPECT_EQ(answer.body,
            R"({"total":1,"volumes":[{"urn":"urn:sites:S1:volumes:v1-1",)"
            R"("uri":"/service/sites/S1/volumes/v1-1","name":"","uuid":"volume of v1",)"
            R"("quantityGB":40,"datastoreUrn":"urn:sites:S1:datastores:d1",)"
            R"("datastoreName":"store d1","storageType":"LUNPOME",)"
            R"("customProperties":{"external_uuid":"external v1"}}]})");
}

TEST_F(SimulatorVolumes, OnAnotherDatastoreAreNone) {
  const Answer answer =
      client.get(under("/volumes/compatibility/discovery?uuid=volume%20of%20v1&datestore=d2"
                       "&page=1&offset=0&limit=15"));

  EXPECT_EQ(answer.body, R"({"total":0,"volumes":[]})");
}

TEST_F(SimulatorVolumes, SharedBySeveralMachinesStandOnceForEach) {
  simulator.changeInventory([](Inventory& inventory) {
    inventory.vms[1].disks[0].uuid = inventory.vms[0].disks[0].uuid;
    inventory.vms[1].disks[0].externalUuid.clear();
  });

  const Json::Value volumes =
      client
          .get(under("/volumes/compatibility/discovery?uuid=volume%20of%20v1&datestore=d1"
                     "&page=1&offset=0&limit=15"))
          .json()["volumes"];

  ASSERT_EQ(volumes.size(), 2U);
  EXPECT_TRUE(volumes[0].isMember("customProperties"));
  EXPECT_FALSE(volumes[1].isMember("customProperties"));
}

TEST_F(SimulatorOsVersions, AreThoseOfX86ByDefault) {
  EXPECT_EQ(client.get(under("/vms/osversions")).body,
            R"({"windows":[{"id":1,"versionDes":"Windows"}],)"
            R"("linux":[{"id":2,"versionDes":"Linux"}],"other":[]})");
}

TEST_F(SimulatorOsVersions, OfArmHaveAListOfTheirOwn) {
  EXPECT_EQ(client.get(under("/vms/osversions?arch=arm")).body,
            R"({"windows":[],"linux":[{"id":2,"versionDes":"Linux on arm"}],"other":[]})");
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
