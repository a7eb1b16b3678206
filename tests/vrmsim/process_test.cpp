#include "tests/vrmsim/process.h"

#include "tests/support/test_headers.h"
#include "tests/vrmsim/rest_client.h"
#include "tests/vrmsim/returning_client.h"
#include "tests/vrmsim/running_simulator.h"
#include "tests/vrmsim/simulator_fixture.h"
#include "vrmsim/certificate_matrix.h"
#include "vrmsim/digest.h"
#include "vrmsim/inventory_file.h"
#include "vrmsim/inventory_generator.h"

#include <algorithm>
#include <csignal>
#include <regex>

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

Json::Value parsed(const std::string& text) {
  Answer answer;
  answer.body = text;
  return answer.json();
}

std::vector<Json::Value> logLines(const std::string& path) {
  std::istringstream text(TemporaryFolder::read(path));
  std::vector<Json::Value> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(parsed(line));
  return lines;
}

TEST(VrmsimProcess, TellsItsAddressInOneLine) {
  RunningSimulator simulator({});

  EXPECT_THAT(simulator.readyLine, MatchesRegex("vrmsim ready: http://127\\.0\\.0\\.1:[0-9]+"));
  EXPECT_EQ(RestClient(simulator.port()).get("/service/versions").status, 200);
  EXPECT_EQ(simulator.end(), 0);
  EXPECT_EQ(simulator.process.restOfOutput(), "");
  EXPECT_EQ(simulator.process.errors(), "");
}

TEST(VrmsimProcess, EndsCleanlyOnEitherSignal) {
  EXPECT_EQ(RunningSimulator({}).end(SIGTERM), 0);
  EXPECT_EQ(RunningSimulator({}).end(SIGINT), 0);
}

TEST(VrmsimProcess, EndsCleanlyWithAClientConnected) {
  RunningSimulator simulator({});
  Connection connection(simulator.port());
  connection.ask("GET", "/service/versions");

  EXPECT_EQ(simulator.end(), 0);
}

TEST(VrmsimProcess, ServesHttpsWithTheCertificateItWrote) {
  const TemporaryFolder folder;
  const std::string file = folder.file("manager.pem");
  RunningSimulator simulator({"--tls", "--cert-out", file});

  EXPECT_THAT(simulator.readyLine, StartsWith("vrmsim ready: https://127.0.0.1:"));
  RestClient client(simulator.port(), TemporaryFolder::read(file));
  EXPECT_EQ(client.logIn().status, 200);
  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST(VrmsimProcess, ServesTheCertificateThatIsNamed) {
  const TemporaryFolder folder;
  const std::string file = folder.file("root.pem");
  RunningSimulator good({"--tls", "--certificate", "intermediate", "--cert-out", file});
  RunningSimulator bad({"--tls", "--certificate", "incomplete-chain"});

  const std::string root = TemporaryFolder::read(file);
  EXPECT_EQ(RestClient(good.port(), root).get("/service/versions").status, 200);
  EXPECT_THROW(RestClient(bad.port(), root).get("/service/versions"), std::runtime_error);
}

TEST(VrmsimProcess, LetsClientsResumeSessionsAsTold) {
  const auto resumes = [](const Arguments& arguments) {
    RunningSimulator simulator(arguments);
    ReturningClient client(simulator.port());
    const bool first = client.resumes();
    return !first && client.resumes();
  };

  EXPECT_TRUE(resumes({"--tls"}));
  EXPECT_FALSE(resumes({"--tls", "--no-tls-resumption"}));
  EXPECT_FALSE(resumes({"--tls", "--certificate", "ecdsa"}));
  EXPECT_TRUE(resumes({"--tls", "--certificate", "ecdsa", "--tls-resumption"}));
}

TEST(VrmsimProcess, ListsTheCertificatesItCanServe) {
  const Outcome outcome({"--list-certificates"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  std::istringstream lines(std::regex_replace(outcome.output, std::regex("\n +"), " "));
  for (const CertificateCase& row : certificateCases()) {
    std::string line;
    std::getline(lines, line);
    EXPECT_THAT(line, StartsWith(std::string(row.name) + ' '));
    EXPECT_THAT(line, HasSubstr(row.accepted ? " good: " : " bad: "));
    EXPECT_THAT(line, ::testing::EndsWith(std::string(row.description)));
  }
  EXPECT_EQ(lines.peek(), std::istringstream::traits_type::eof());
}

TEST(VrmsimProcess, BracketsAnIpv6Address) {
  if (!machineHasIpv6()) GTEST_SKIP() << "this machine has no IPv6";
  RunningSimulator simulator({"--bind", "::1"});

  EXPECT_THAT(simulator.readyLine, MatchesRegex("vrmsim ready: http://\\[::1\\]:[0-9]+"));
}

TEST(VrmsimProcess, ServesTheSampleSite) {
  RunningSimulator simulator({"--inventory", VRMSIM_SAMPLE_SITE});
  RestClient client(simulator.port());
  client.logIn();

  const Json::Value sites = client.get("/service/sites").json()["sites"];
  ASSERT_EQ(sites.size(), 2U);
  const std::string site = sites[0]["uri"].asString();
  EXPECT_EQ(client.get(site + "/clusters").json()["total"].asInt(), 3);
  EXPECT_EQ(client.get(site + "/hosts").json()["total"].asInt(), 12);
  EXPECT_EQ(client.get(site + "/hosts?scope=default").json()["total"].asInt(), 2);
  EXPECT_EQ(client.get(site + "/vms?limit=1&offset=0").json()["total"].asInt(), 200);
  EXPECT_EQ(client.get(site + "/datastores?status=NORMAL").json()["total"].asInt(), 10);
}

TEST(VrmsimProcess, ServesAGeneratedSite) {
  RunningSimulator simulator({"--clusters", "2", "--hosts", "5", "--standalone-hosts", "1", "--vms",
                              "7", "--disks", "1", "--datastores", "3", "--seed", "9"});
  const InventorySizes sizes{.clusters = 2,
                             .hosts = 5,
                             .standaloneHosts = 1,
                             .vms = 7,
                             .disks = 1,
                             .datastores = 3,
                             .seed = 9};
  RestClient client(simulator.port());
  client.logIn();

  const Json::Value vms =
      client.get("/service/sites/4A5F0A21/vms?limit=100&offset=0&detail=2").json()["vms"];

  std::vector<std::string> uuids;
  for (const Vm& vm : generateInventory(sizes).vms) uuids.push_back(vm.uuid);
  EXPECT_EQ(eachOf(vms, "uuid"), uuids);
}

TEST(VrmsimProcess, PrintsTheInventoryItWouldServe) {
  const Outcome outcome(
      {"--print-inventory", "--seed", "3", "--vms", "4", "--hosts-per-datastore", "2"});

  InventorySizes sizes;
  sizes.seed = 3;
  sizes.vms = 4;
  sizes.hostsPerDatastore = 2;
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, writeInventory(generateInventory(sizes)));
}

TEST(VrmsimProcess, TakesUserPasswordRolesVersionsAndValidity) {
  const TemporaryFolder folder;
  const std::string password = folder.write("password", "from the file\nsecond line\n");
  RunningSimulator simulator({"--user", "eve", "--password-file", password, "--role", "operator",
                              "--role", "sysadmin", "--api-version", "v6.0", "--api-version",
                              "v1.2", "--token-validity", "90"});
  RestClient eve(simulator.port());

  EXPECT_EQ(eve.get("/service/versions").body,
            R"({"versions":[{"version":"v6.0"},{"version":"v1.2"}]})");
  EXPECT_EQ(eve.logIn().status, 401);
  EXPECT_EQ(eve.logIn("eve", "from the file").body,
            R"({"userName":"eve","roleList":["operator","sysadmin"],"validity":90000})");
}

TEST(VrmsimProcess, ComplainsOfUnknownRoutesOnStandardError) {
  RunningSimulator simulator({});
  RestClient client(simulator.port());

  client.get("/service/versions");
  client.get("/service/nonsense");
  client.ask("PUT", "/service/sites");
  simulator.end();

  EXPECT_EQ(simulator.process.errors(),
            "vrmsim: nobody serves GET /service/nonsense\n"
            "vrmsim: nobody serves PUT /service/sites, only GET\n");
}

TEST(VrmsimRequestLog, HoldsALineForEachRequest) {
  const TemporaryFolder folder;
  const std::string file = folder.file("requests.jsonl");
  RunningSimulator simulator({"--request-log", file});
  Connection(simulator.port())
      .ask("PUT", "/x?y=1", {{"b-Header", "1"}, {"A", "\xC3\xA9"}}, "a \"body\"");

  const std::vector<Json::Value> lines = logLines(file);  // while the simulator runs

  ASSERT_EQ(lines.size(), 1U);
  Json::Value line = lines[0];
  EXPECT_THAT(line["time"].asString(),
              MatchesRegex("20[0-9]{2}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z"));
  line.removeMember("time");
  EXPECT_EQ(line, parsed(R"({"sequence":1,"connection":1,"tls":false,"method":"PUT",)"
                         R"("target":"/x?y=1","headers":[["Host","manager"],["b-Header","1"],)"
                         R"(["A","\u00e9"],["Content-Length","8"]],"body":"a \"body\"",)"
                         R"("status":404})"));
}

TEST(VrmsimRequestLog, ReplacesSecretsByAFingerprint) {
  const TemporaryFolder folder;
  const std::string file = folder.file("requests.jsonl");
  RunningSimulator simulator({"--request-log", file});
  RestClient client(simulator.port());
  client.logIn();
  client.get("/service/sites");
  client.get("/service/sites");
  simulator.end();

  const std::string text = TemporaryFolder::read(file);
  const std::string key = sha256Hex("Backup@123");
  EXPECT_EQ(text.find(key), std::string::npos);
  EXPECT_EQ(text.find(client.token()), std::string::npos);
  const std::vector<Json::Value> lines = logLines(file);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(TemporaryFolder::read(file),
              HasSubstr("\"X-Auth-Key\",\"sha256:" + sha256Hex(key).substr(0, 12) + "\""));
  EXPECT_EQ(lines[1]["headers"], lines[2]["headers"]);
  EXPECT_THAT(
      text,
      HasSubstr("\"X-Auth-Token\",\"sha256:" + sha256Hex(client.token()).substr(0, 12) + "\""));
}

TEST(VrmsimRequestLog, ThatCannotBeWrittenEndsTheStart) {
  const Outcome outcome({"--request-log", "/nowhere/log"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.errors, "vrmsim: the request log /nowhere/log cannot be written\n");
}

TEST(VrmsimCommandLine, TellsItsVersion) {
  const Outcome outcome({"--version"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, MatchesRegex("vrmsim [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(VrmsimCommandLine, HelpsWithExamplesOfOptionsItHas) {
  const Outcome outcome({"--help"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.output, HasSubstr("Examples:\n  vrmsim "));
  for (const char* option : {"--inventory",
                             "--clusters",
                             "--hosts",
                             "--standalone-hosts",
                             "--vms",
                             "--disks",
                             "--datastores",
                             "--hosts-per-datastore",
                             "--seed",
                             "--print-inventory",
                             "--bind",
                             "--port",
                             "--tls",
                             "--certificate",
                             "--tls-resumption",
                             "--no-tls-resumption",
                             "--list-certificates",
                             "--cert-out",
                             "--request-log",
                             "--user",
                             "--password-file",
                             "--role",
                             "--token-validity",
                             "--api-version",
                             "--fault",
                             "--faults",
                             "--fault-seed",
                             "--control-port",
                             "--require-faults",
                             "--help-faults",
                             "Backup@123"}) {
    EXPECT_THAT(outcome.output, HasSubstr(option));
  }
}

struct WrongUsage {
  const char* name;
  Arguments arguments;
  const char* message;
};
class VrmsimWrongUsage : public ::testing::TestWithParam<WrongUsage> {};

TEST_P(VrmsimWrongUsage, EndsWithAMessage) {
  const Outcome outcome(GetParam().arguments);

  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.errors, HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    VrmsimCommandLine, VrmsimWrongUsage,
    ::testing::Values(
        WrongUsage{"UnknownOption", {"--bogus"}, "--bogus"},
        WrongUsage{"StrayWord", {"start"}, "start"},
        WrongUsage{"PortOutOfRange",
                   {"--port", "70000"},
                   "vrmsim: --port: expected a number from 0 to 65535\n"
                   "vrmsim --help tells the options.\n"},
        WrongUsage{"ControlPortOutOfRange",
                   {"--control-port", "-1"},
                   "vrmsim: --control-port: expected a number from 0 to 65535\n"},
        WrongUsage{"NegativeSeed",
                   {"--fault-seed", "-1"},
                   "vrmsim: --fault-seed: expected a number from 0 to 18446744073709551615\n"},
        WrongUsage{"SizeThatIsNoNumber", {"--vms", "many"}, "--vms"},
        WrongUsage{"NegativeSize", {"--vms", "-5"}, "--vms"},
        WrongUsage{"NegativeHostsPerDatastore",
                   {"--hosts-per-datastore", "-1"},
                   "vrmsim: --hosts-per-datastore: expected a number from 0 to 4294967295\n"},
        WrongUsage{"NegativeValidity", {"--token-validity", "-1"}, "--token-validity"},
        WrongUsage{"CertificateWithoutTls", {"--cert-out", "x"}, "--cert-out requires --tls"},
        WrongUsage{"NamedCertificateWithoutTls",
                   {"--certificate", "expired"},
                   "--certificate requires --tls"},
        WrongUsage{
            "ResumptionWithoutTls", {"--no-tls-resumption"}, "--tls-resumption requires --tls"},
        WrongUsage{"UnknownCertificate",
                   {"--tls", "--certificate", "outdated"},
                   "--certificate: no certificate is called outdated; there are: expired not-yet"},
        WrongUsage{"FileAndSizes", {"--inventory", "x", "--vms", "3"}, "--vms"},
        WrongUsage{"SizesThatContradict",
                   {"--hosts", "1", "--standalone-hosts", "2"},
                   "vrmsim: more standalone hosts than hosts\n"},
        WrongUsage{"EmptyFileName", {"--inventory", ""}, "--inventory: no file is named"},
        WrongUsage{"MissingInventory",
                   {"--inventory", "/nowhere/x.json"},
                   "vrmsim: /nowhere/x.json: cannot be read\n"},
        WrongUsage{"MissingPassword",
                   {"--password-file", "/nowhere/password"},
                   "vrmsim: --password-file: /nowhere/password cannot be read or is empty\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(VrmsimCommandLine, NamesThePlaceOfAFaultInTheInventory) {
  const TemporaryFolder folder;
  const std::string file =
      folder.write("site.json", R"({"sites":[{"id":"S","isSelf":true}],"vms":[{"id":3}]})");

  const Outcome outcome({"--inventory", file});

  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.errors, "vrmsim: " + file + ": vms[0].id: expected a text, found 3\n");
}

TEST(VrmsimCommandLine, EndsWhenNobodyCanLearnTheAddress) {
  Process shell("/bin/sh", {"-c", "exec \"$0\" > /dev/full", VRMSIM_EXECUTABLE});

  EXPECT_EQ(shell.wait(), 1);
  EXPECT_THAT(shell.errors(), HasSubstr("the ready line cannot be written"));
}

TEST(VrmsimCommandLine, SaysWhenThePortIsTaken) {
  RunningSimulator first({});

  const Outcome outcome({"--port", std::to_string(first.port())});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.errors, HasSubstr("vrmsim: cannot listen on 127.0.0.1 port "));
}

TEST(SampleSite, HoldsWhatARealSiteHas) {
  const Inventory site = loadInventory(VRMSIM_SAMPLE_SITE);
  const auto machines = [&site](auto property) {
    return std::count_if(site.vms.begin(), site.vms.end(), property);
  };
  const auto disks = [&](auto property) {
    return machines(
        [&](const Vm& vm) { return std::any_of(vm.disks.begin(), vm.disks.end(), property); });
  };

  EXPECT_EQ(machines([](const Vm& vm) { return vm.isTemplate; }), 4);
  EXPECT_EQ(machines([](const Vm& vm) { return vm.isLinkClone; }), 12);
  EXPECT_EQ(machines([](const Vm& vm) { return vm.host.empty() && !vm.isTemplate; }), 4);
  EXPECT_EQ(disks([](const Disk& disk) { return disk.indepDisk; }), 11);
  EXPECT_EQ(disks([](const Disk& disk) { return disk.storageProtocol == "1"; }), 2);
  for (const char* bus : {"IDE", "SCSI", "VIRTIO"}) {
    EXPECT_GT(disks([bus](const Disk& disk) { return disk.pciType == bus; }), 0) << bus;
  }
  for (const char* group : {"KC_", "KSP", "KM_", "VDI"}) {
    EXPECT_GT(machines([group](const Vm& vm) { return vm.group.compare(0, 3, group) == 0; }), 0);
  }
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
