#include "engine/kestrelvisor_engine.h"
#include "engine/kestrelvisor_public.h"
#include "platform/contract/helpers.h"
#include "tests/catalogue/log_script.h"
#include "tests/support/fake_manager.h"
#include "tests/support/test_headers.h"

#include <iostream>
#include <sstream>

namespace kestrelvisor::test {
namespace {

constexpr const char* kVersionsPath = "/service/versions";
constexpr const char* kVersions = R"({"versions":[{"version":"v1.2"}]})";
constexpr const char* kSitesPath = "/service/sites";
constexpr const char* kSite = "/service/sites/1";
constexpr const char* kSites =
    R"({"sites":[{"urn":"urn:sites:1","uri":"/service/sites/1","name":"site","ip":"127.0.0.1",)"
    R"("isSelf":true}]})";

constexpr const char* kMachineUri = "/service/sites/1/vms/1";
constexpr const char* kBackupPath = "/service/sites/1/vms/1/action/CBTbackup";

constexpr const char* kGuestsPath = "/service/sites/1/vms/osversions";
constexpr const char* kArmGuestsPath = "/service/sites/1/vms/osversions?arch=arm";
constexpr const char* kGuests = R"({"linux":[{"id":7,"versionDes":"Linux 7"}]})";
constexpr const char* kClustersPath = "/service/sites/1/clusters";
constexpr const char* kNoClusters = R"({"clusters":[]})";
constexpr const char* kFreeHostsPath = "/service/sites/1/hosts?scope=default";
constexpr const char* kHostUri = "/service/sites/1/hosts/1";
constexpr const char* kHostUrn = "urn:sites:1:hosts:1";
constexpr const char* kHosts =
    R"({"hosts":[{"urn":"urn:sites:1:hosts:1","uri":"/service/sites/1/hosts/1","name":"node",)"
    R"("physicalCpuQuantity":8}]})";
constexpr const char* kDatastoresPath = "/service/sites/1/datastores?status=NORMAL";
constexpr const char* kDatastores = R"({"total":1,"datastores":[{"storageType":"NAS"}]})";
constexpr const char* kProbe = "/service/sites/1/vms?limit=1&offset=0&scope=urn:sites:1:hosts:1";
constexpr const char* kTotal = R"({"total":2})";
constexpr const char* kPage =
    "/service/sites/1/vms?limit=100&offset=0&scope=urn:sites:1:hosts:1&detail=2";
constexpr const char* kMachineUuid = "6f2c7d1e-0f0a-4c57-9d5b-0a4a0c9f3e11";
constexpr const char* kDiskUuid = "0b6a2f7c-3f2e-4a0e-8d86-55f5a8d3c201";
constexpr const char* kMachines =
    R"({"vms":[{"location":"urn:sites:1:hosts:1","hostUrn":"urn:sites:1:hosts:1",)"
    R"("urn":"urn:sites:1:vms:1","uri":"/service/sites/1/vms/1","name":"good",)"
    R"("status":"running","group":"KC_a","uuid":"6f2c7d1e-0f0a-4c57-9d5b-0a4a0c9f3e11",)"
    R"("osOptions":{"osType":"Linux","osVersion":7},"vmConfig":{"disks":[)"
    R"({"pciType":"VIRTIO","volumeUuid":"0b6a2f7c-3f2e-4a0e-8d86-55f5a8d3c201",)"
    R"("datastoreUrn":"urn:sites:1:datastores:5","quantityGB":2}]}},)"
    R"({"location":"urn:sites:1:hosts:1","urn":"urn:sites:1:vms:2",)"
    R"("uri":"/service/sites/1/vms/2","name":"odd","uuid":"none"}]})";
constexpr const char* kDiscovery =
    "/service/sites/1/volumes/compatibility/discovery?uuid=0b6a2f7c-3f2e-4a0e-8d86-55f5a8d3c201&"
    "datestore=5&page=1&offset=0&limit=15";
constexpr const char* kVolumes = R"({"volumes":[]})";

std::string guidOf(std::string text) { return EnvProxy_string_to_uuid(text); }

void servesSite(FakeManager& manager) {
  manager.serves("GET", kVersionsPath, ok(kVersions));
  manager.serves("GET", kSitesPath, ok(kSites));
}

Script& versionsAsked(Script& script) {
  return script.line("header.acceptOnly", {"Accept: application/json;charset=UTF-8"})
      .line("transfer.url", {script.url(kVersionsPath)});
}

Script& versionTaken(Script& script) {
  return versionsAsked(script)
      .line("answer", {kVersions, "200"})
      .line("version.entry", {"1.2"})
      .line("version.chosen", {"1.2"});
}

Script& sitesRead(Script& script) {
  return script.loggedIn().answered(kSitesPath, kSites).line("json.ok");
}

// What every operation starts with.
Script& prepared(Script& script) { return sitesRead(versionTaken(script)); }

Script& versionRefused(Script& script) {
  return versionsAsked(script)
      .line("answer.refused", {"getResponse", "2404", "404 Page not found"})
      .line("version.refused", {script.url(kVersionsPath)})
      .line("prepare.noVersion", {"404 Page not found"});
}

Script entry() {
  kestrelvisor_engine_init();
  return Script().line("init");
}

// Each operation on an engine of its own, which logs out before the script is read.
void verify(const FakeManager& manager) {
  KestrelVisorEngine engine;
  std::string description;
  std::string guid;
  engine.VerifyCredentials(manager.path(), description, guid);
}

Script& verificationStarted(Script& script, const FakeManager& manager) {
  return prepared(script)
      .line("verify.user", {"backup"})
      .line("verify.start")
      .line("verify.port", {std::to_string(manager.port()), "0"})
      .loggedIn();
}

Script verification() {
  FakeManager manager;
  servesSite(manager);
  verify(manager);
  Script script(manager.connection());
  verificationStarted(script, manager).answered(kSitesPath, kSites).line("json.ok");
  return script.line("verify.guid", {guidOf(kSite)}).loggedOut();
}

Script verificationWithoutSite() {
  FakeManager manager;
  manager.serves("GET", kVersionsPath, status(404));
  verify(manager);
  Script script(manager.connection());
  return versionRefused(script).line("verify.noSite");
}

Script verificationThatFails() {
  FakeManager manager;
  servesSite(manager);
  manager.answers("GET", kSitesPath, 2, status(500));
  verify(manager);
  Script script(manager.connection());
  verificationStarted(script, manager).queryRefused(kSitesPath).line("sites.failed");
  return script.line("verify.number", {"1077949019"})
      .line("verify.description", {"KestrelVisor Engine internal error."})
      .line("verify.refused")
      .loggedOut();
}

// Scans, and keeps the dump for testers to itself.
void scan(const FakeManager& manager) {
  KestrelVisorEngine engine;
  ScanEnvironmentReply reply;
  std::string description;
  std::ostringstream dump;
  std::streambuf* const standardOutput = std::cout.rdbuf(dump.rdbuf());
  engine.scanEnvironment(reply, manager.path(), description);
  std::cout.rdbuf(standardOutput);
}

Script& scanStarted(Script& script) {
  return prepared(script)
      .line("tree.start", {"127.0.0.1", "backup"})
      .line("guests.filter", {"/vms/osversions"})
      .loggedIn();
}

Script& treeGrown(Script& script) {
  scanStarted(script).answered(kGuestsPath, kGuests).line("json.whole");
  script.line("guests.filter", {"/vms/osversions"}).sessionReused();
  script.answered(kArmGuestsPath, "{}").line("json.whole");
  script.line("tree.root", {kSite, guidOf(kSite)}).sessionReused();
  script.answered(kClustersPath, kNoClusters).line("json.ok").line("clusters.count", {"0"});
  script.sessionReused().answered(kFreeHostsPath, kHosts).line("json.ok");
  script.line("hosts.count", {"1"}).line("hosts.object", {kHostUri, guidOf(kHostUri), "0"});
  script.sessionReused().answered(kDatastoresPath, kDatastores).line("datastore.type", {"NAS"});
  return script.line("attach.rootHost", {"8", "x86", ""});
}

Script& machinesListed(Script& script) {
  const std::string good = std::string("urn:sites:1") + kMachineUuid;
  script.sessionReused().answered(kProbe, kTotal).line("json.ok").line("machines.total", {"2"});
  script.sessionReused().answered(kPage, kMachines).line("json.ok").line("page.count", {"2"});
  script.sessionReused().answered(kDiscovery, kVolumes).line("json.ok");
  script.line("machines.object", {good, guidOf(good)});
  script.line("machines.oldGuid", {kMachineUuid, guidOf(good)});
  script.line("machines.object", {"urn:sites:1none", guidOf("urn:sites:1none")});
  script.line("machines.oldGuid", {"none", guidOf("urn:sites:1none")});
  script.line("machines.page", {"0", "2"}).line("machines.done");
  return script.line("tree.host", {guidOf(kHostUri), kHostUrn, kHostUri});
}

Script& recordsMade(Script& script) {
  const std::string machine = std::string("urn:sites:1") + kMachineUuid;
  const std::string disk = std::string("urn:sites:1") + kDiskUuid;
  script.line("view.place", {kHostUrn, kHostUrn, "running"}).line("group.general");
  script.line("records.host", {guidOf(kHostUri), kHostUrn});
  script.line("records.machine", {kMachineUuid, machine, guidOf(machine), "KC_a", kHostUrn});
  script.line("records.disk", {kDiskUuid, guidOf(disk)});
  script.line("view.badUuid", {"none", "urn:sites:1:vms:2"});
  return script.line("records.noMachine", {"/service/sites/1/vms/2"});
}

Script& treeDumped(Script& script) {
  return script.line("dump.start")
      .line("dump.node", {"1", "site", "1", guidOf(kSite), "18446744073709551615", "0"})
      .line("dump.node", {"2", "node", "5", guidOf(kHostUri), "1", "0"})
      .line("dump.node", {"3", "good", "7", kMachineUuid, "2", "1"})
      .line("dump.invalid", {"odd", "/service/sites/1/vms/2"})
      .line("dump.end");
}

Script scanOfASite() {
  FakeManager manager;
  servesSite(manager);
  manager.serves("GET", kGuestsPath, ok(kGuests));
  manager.serves("GET", kArmGuestsPath, ok("{}"));
  manager.serves("GET", kClustersPath, ok(kNoClusters));
  manager.serves("GET", kFreeHostsPath, ok(kHosts));
  manager.serves("GET", kDatastoresPath, ok(kDatastores));
  manager.serves("GET", kProbe, ok(kTotal));
  manager.serves("GET", kPage, ok(kMachines));
  manager.serves("GET", kDiscovery, ok(kVolumes));
  scan(manager);
  Script script(manager.connection());
  treeDumped(recordsMade(machinesListed(treeGrown(script))));
  return script.line("scan.version", {"1.2"}).loggedOut();
}

Script scanWithoutSite() {
  FakeManager manager;
  servesSite(manager);
  manager.serves("GET", kSitesPath, status(500));
  scan(manager);
  Script script(manager.connection());
  versionTaken(script).loggedIn().queryRefused(kSitesPath).line("sites.failed");
  return script.line("prepare.noSites").line("scan.noSite");
}

Script scanThatFails() {
  FakeManager manager;
  servesSite(manager);
  manager.serves("GET", kGuestsPath, status(500));
  manager.serves("GET", kArmGuestsPath, ok("{}"));
  scan(manager);
  Script script(manager.connection());
  scanStarted(script).queryRefused(kGuestsPath).line("guests.failed");
  script.line("guests.filter", {"/vms/osversions"}).loggedIn();
  script.answered(kArmGuestsPath, "{}").line("json.whole").line("tree.noGuests");
  return script.line("scan.failed").loggedOut();
}

void disable(const EnvironmentPath& path) {
  KestrelVisorEngine engine;
  std::string description;
  engine.DisableCBT(path, kMachineUri, description);
}

// One list of the request empty, the next one with two elements, and so on.
Script requestWithoutParameters() {
  EnvironmentPath path;
  disable(path);
  path.add_hv_address("127.0.0.1");
  path.add_port(1);
  path.add_port(2);
  disable(path);
  path.mutable_port()->RemoveLast();
  disable(path);
  path.add_protocol(1);
  path.add_username("backup");
  path.add_username("auditor");
  disable(path);
  path.mutable_username()->RemoveLast();
  disable(path);
  path.add_password("");
  disable(path);
  return Script()
      .line("disable.noAddress")
      .line("disable.noPort")
      .line("disable.noProtocol")
      .line("disable.noUser")
      .line("disable.noPassword")
      .line("disable.noCert");
}

Script disablingWithoutSite() {
  FakeManager manager;
  manager.serves("GET", kVersionsPath, status(404));
  disable(manager.path());
  Script script(manager.connection());
  return versionRefused(script).line("prepare.failed", {"127.0.0.1"}).line("disable.noSite");
}

Script disabling() {
  FakeManager manager;
  servesSite(manager);
  manager.serves("DELETE", kBackupPath, ok("{}"));
  disable(manager.path());
  Script script(manager.connection());
  prepared(script).loggedIn().answered(kBackupPath, "{}");
  return script.line("disable.done", {script.url(kBackupPath), "{}"}).loggedOut();
}

Script& disablingRefused(Script& script, const std::string& code) {
  prepared(script).loggedIn();
  script.answered(kBackupPath, R"({"errorCode":")" + code + R"(","errorDes":""})", "400");
  script.line("answer.refused", {"getResponse", code, ""});
  script.line("exchange.refused", {script.url(kBackupPath)}).line("request.failed");
  script.line("disable.failed", {script.url(kBackupPath), code});
  return script.line("disable.refused", {kMachineUri, code});
}

Script disablingThatFails() {
  FakeManager manager;
  servesSite(manager);
  manager.serves("DELETE", kBackupPath, refusal(400, "10300428"));
  disable(manager.path());
  Script script(manager.connection());
  return disablingRefused(script, "10300428").loggedOut();
}

Script disablingThatFailsWithoutNumber() {
  FakeManager manager;
  servesSite(manager);
  manager.serves("DELETE", kBackupPath, refusal(400, "connectfailed"));
  disable(manager.path());
  Script script(manager.connection());
  disablingRefused(script, "connectfailed").line("disable.notANumber", {"connectfailed"});
  return script.loggedOut();
}

constexpr Scenario kScenarios[] = {
    {"Entry", entry},
    {"Verification", verification},
    {"VerificationWithoutSite", verificationWithoutSite},
    {"VerificationThatFails", verificationThatFails},
    {"ScanOfASite", scanOfASite},
    {"ScanWithoutSite", scanWithoutSite},
    {"ScanThatFails", scanThatFails},
    {"RequestWithoutParameters", requestWithoutParameters},
    {"DisablingWithoutSite", disablingWithoutSite},
    {"Disabling", disabling},
    {"DisablingThatFails", disablingThatFails},
    {"DisablingThatFailsWithoutNumber", disablingThatFailsWithoutNumber},
};

}  // namespace

std::span<const Scenario> operationScenarios() { return kScenarios; }

}  // namespace kestrelvisor::test
