#include "engine/kestrelvisor_engine.h"
#include "platform/reference/clock.h"
#include "platform/reference/password_cipher.h"
#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/json_answer.h"

#include <csignal>
#include <iostream>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class ScanOutput : public ManagerTest {
 protected:
  // Machines without disks: a disk costs an exchange, and these tests are about what is printed.
  void serve(std::uint32_t machines) {
    manager.changeInventory([&](vrmsim::Inventory& site) {
      vrmsim::InventorySizes sizes;
      sizes.vms = machines;
      sizes.disks = 0;
      site = vrmsim::generateInventory(sizes);
    });
  }

  // What jq says of the document that a scan pipes into it.
  std::string judgedByJq(const std::string& filter) const {
    std::vector<std::string> words{"-c", "\"$@\" | jq -e '" + filter + "'", "sh",
                                   KESTRELCTL_EXECUTABLE};
    for (const std::string& word : command({"scan", "-o", "json"})) words.push_back(word);
    vrmsim::test::Process shell("/bin/sh", words);
    const std::string said = shell.restOfOutput();
    EXPECT_THAT(shell.errors(), HasSubstr(" at the manager"));
    EXPECT_EQ(shell.wait(), 0);
    return said;
  }

  const std::string saved = folder.file("reply.pb");
};

TEST_F(ScanOutput, JsonIsOneDocumentForAnyNumberOfMachines) {
  for (const std::uint32_t machines : {0U, 1U, 10000U}) {
    serve(machines);
    EXPECT_EQ(judgedByJq(".machines | length"), std::to_string(machines) + "\n");
  }
}

TEST_F(ScanOutput, JsonIsADocumentThatJqTakesForTrue) {
  const std::string document = judgedByJq(".");

  EXPECT_THAT(document, StartsWith("{\n"));
  expectConforms("reply", document);
}

TEST_F(ScanOutput, ProgramsGetADocumentOfAnEmptySiteToo) {
  serve(0);

  EXPECT_THAT(Finished(command({"scan", "-o", "json"})).output, HasSubstr("\"machines\" : []"));
  EXPECT_THAT(Finished(command({"scan", "-o", "jsonl"})).output,
              HasSubstr("\n{\"record\":\"summary\","));
}

TEST_F(ScanOutput, KnowsEveryFormat) {
  const vrmsim::Inventory site = manager.inventory();
  const std::map<std::string, std::string> parts{
      {"tree", "─ " + site.vms[0].name},      {"table", "\nMACHINE  "},
      {"wide", "  GROUP    CLUSTER"},         {"json", "\"machines\" : "},
      {"jsonl", "\n{\"record\":\"summary\""}, {"name", machineUri(site, 0) + "\n"},
      {"protobuf", site.vms[0].name}};
  for (const auto& [format, part] : parts) {
    const Finished run(command({"scan", "-o", format}));
    EXPECT_EQ(run.status, 0) << format << run.talk;
    EXPECT_THAT(run.output, HasSubstr(part)) << format;
  }
}

TEST_F(ScanOutput, ShownAgainItIsTheSame) {
  for (const char* format : {"tree", "table", "wide", "name", "protobuf"}) {
    const Finished scan(command({"scan", "-o", format, "--save", saved}));
    EXPECT_EQ(Finished({"show", saved, "-o", format}).output, scan.output) << format;
  }
}

// A reply does not say how many machines the manager has counted.
TEST_F(ScanOutput, ShownAgainItIsTheSameForProgramsButTheAccounting) {
  const auto withoutAccounting = [](const std::string& output) {
    Json::Value document = parsedAnswer(output);
    document.removeMember("accounting");
    return document;
  };
  const Finished scan(command({"scan", "-o", "json", "--save", saved}));

  EXPECT_EQ(withoutAccounting(Finished({"show", saved, "-o", "json"}).output),
            withoutAccounting(scan.output));
}

TEST_F(ScanOutput, TwoScansOfOneSiteDoNotDiffer) {
  const std::string second = folder.file("second.pb");
  Finished(command({"scan", "--save", saved}));
  Finished(command({"scan", "--save", second}));

  EXPECT_EQ(Finished({"diff", saved, second}).status, 0);
}

TEST_F(ScanOutput, ScanAfterAChangeDiffers) {
  const std::string second = folder.file("second.pb");
  Finished(command({"scan", "--save", saved}));
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].name = "renamed-one"; });
  Finished(command({"scan", "--save", second}));

  const Finished run({"diff", saved, second});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, HasSubstr("renamed  machine  renamed-one"));
}

TEST_F(ScanOutput, TerminalGetsNoBytesAndTheManagerNoRequest) {
  TerminalProgram terminal(command({"scan", "-o", "protobuf"}));

  EXPECT_EQ(terminal.wait(), 2);
  EXPECT_THAT(terminal.shown(), HasSubstr("nothing for a terminal"));
  EXPECT_THAT(manager.journal(), ::testing::IsEmpty());
}

// What a host that loads the engine finds on its standard output after a scan.
class HostOutput {
 public:
  explicit HostOutput(const Simulator& manager) {
    std::string key;
    std::string cipher;
    std::string problem;
    EXPECT_TRUE(generateKey(key, problem) && setPasswordKey(key, problem)) << problem;
    EXPECT_TRUE(encryptPassword(kSecret, cipher, problem)) << problem;
    path_.add_hv_address("127.0.0.1");
    path_.add_port(manager.port());
    path_.add_protocol(1);
    path_.add_username(kUser);
    path_.add_password(cipher);
    path_.add_cert("");
  }
  ~HostOutput() { forgetPasswordKey(); }
  HostOutput(const HostOutput&) = delete;
  HostOutput& operator=(const HostOutput&) = delete;

  std::string scan() const {
    std::ostringstream printed;
    std::streambuf* const before = std::cout.rdbuf(printed.rdbuf());
    ScanEnvironmentReply reply;
    std::string description;
    KestrelVisorEngine engine;
    const int status = static_cast<int>(engine.scanEnvironment(reply, path_, description).status);
    std::cout.rdbuf(before);
    EXPECT_EQ(status, 0) << description;
    return printed.str();
  }

 private:
  EnvironmentPath path_;
};

TEST_F(ScanOutput, TesterDumpIsToTheByteWhatTheLibraryPrints) {
  const std::string dump = folder.file("dump");
  const Finished run(command({"scan", "-o", "json", "--save", saved, "--tester-dump", dump}));
  ASSERT_EQ(run.status, 0) << run.talk;
  ScanEnvironmentReply reply;
  ASSERT_TRUE(reply.ParseFromString(TemporaryFolder::read(saved)));

  // The dump tells its time: the host scans at the same one.
  holdClock(std::chrono::system_clock::time_point(std::chrono::seconds(reply.timestamp(0))));
  const std::string printed = HostOutput(manager).scan();
  releaseClock();

  EXPECT_THAT(printed, HasSubstr("6 disk(s), 3 machine(s), timestamp:"));
  EXPECT_EQ(TemporaryFolder::read(dump), printed);
  EXPECT_THAT(run.output, AllOf(StartsWith("{\n"), Not(HasSubstr("DEBUG"))));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
