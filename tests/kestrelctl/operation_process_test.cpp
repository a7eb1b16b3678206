#include "environment.pb.h"
#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/widest_line.h"

#include <json/json.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <iterator>
#include <sstream>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* kGuidLine =
    "[0-9a-f]{8}-[0-9a-f]{4}-5[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\n";

Json::Value parsed(const std::string& text) {
  Json::Value value;
  std::istringstream stream(text);
  std::string problem;
  EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &problem))
      << problem;
  return value;
}

CannedAnswer refusal(int status, const std::string& code, const std::string& words) {
  return {status, {}, R"({"errorCode":")" + code + R"(","errorDes":")" + words + "\"}"};
}

// A port on which nobody listens, kept for the test.
class DeadPort {
 public:
  DeadPort() : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(socket_, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
  }
  ~DeadPort() { close(socket_); }
  DeadPort(const DeadPort&) = delete;
  DeadPort& operator=(const DeadPort&) = delete;

  int port = 0;

 private:
  int socket_;
};

class Verify : public ManagerTest {};

TEST_F(Verify, PrintsTheGuidAndNothingElse) {
  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, MatchesRegex(kGuidLine));
  EXPECT_EQ(run.talk, "The manager " + manager.url() + " accepts backup. Its GUID:\n");
}

TEST_F(Verify, LeavesNoSessionBehind) {
  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(Verify, RefusedPasswordGivesExitCode4) {
  folder.write("password", "wrong");

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, AllOf(HasSubstr("the manager refuses the login"),
                              HasSubstr("(code 10100103)"), HasSubstr("status 107, detail 20086"),
                              HasSubstr("check user name and password")));
}

TEST_F(Verify, NobodyListeningGivesExitCode5) {
  const DeadPort dead;

  const Finished run({"verify", "--manager", "http://127.0.0.1:" + std::to_string(dead.port),
                      "--user", kUser, "--password-file", passwordFile});

  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.talk,
              AllOf(HasSubstr("the manager cannot be reached"), HasSubstr("(code 2000)")));
}

TEST_F(Verify, RefusalOfTheManagerGivesExitCode8WithItsWords) {
  manager.answerOnce("GET", "/service/sites", 1, refusal(500, "10000004", "Database is down"));

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 8);
  EXPECT_THAT(run.talk, HasSubstr("Database is down (code 10000004)"));
}

TEST_F(Verify, RefusalThatCannotBeReadGivesExitCode8) {
  manager.answerOnce("GET", "/service/sites", 1, {502, {}, "<html>Bad gateway</html>"});

  EXPECT_EQ(Finished(command({"verify"})).status, 8);
}

TEST_F(Verify, AnswerThatCannotBeReadGivesExitCode9) {
  manager.answerOnce("GET", "/service/sites", 1, {200, {}, "certainly no JSON"});

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 9);
  EXPECT_THAT(run.talk, HasSubstr("the manager's answer cannot be read"));
}

TEST_F(Verify, ExceptionFromTheEngineGivesExitCode9) {
  manager.answerOnce("GET", "/service/versions", 1, {200, {}, R"({"versions":[{"version":""}]})"});

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 9);
  EXPECT_THAT(run.talk, HasSubstr("gave up with an exception: "));
}

TEST_F(Verify, ControlCharactersOfTheManagerDoNotReachTheTerminal) {
  manager.answerOnce("GET", "/service/sites", 1, refusal(500, "10000004", "\\u001b[2J gone"));

  const Finished run(command({"verify"}));

  EXPECT_THAT(run.talk, AllOf(HasSubstr("\\x1b[2J gone"), Not(HasSubstr("\x1b"))));
}

TEST_F(Verify, WritesTheLogToAFileWithoutThePassword) {
  const std::string log = folder.file("log");

  const Finished run(command({"verify"}, {"--log-file", log, "--log-level", "trace"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(
      TemporaryFolder::read(log),
      AllOf(HasSubstr("validateCredential"), HasSubstr("logOutFromVrm"), Not(HasSubstr(kSecret))));
}

TEST_F(Verify, WritesTheLogToStandardErrorWhenAsked) {
  const Finished run(command({"verify"}, {"--log-level", "info"}));

  EXPECT_THAT(run.output, MatchesRegex(kGuidLine));
  EXPECT_THAT(run.talk, HasSubstr("KestrelVisorEngine"));
}

TEST(VerifyRole, AccountWithoutTheRoleGivesExitCode4) {
  SimulatorOptions options = managerOptions();
  options.users.front().roles = {"auditor"};
  const Simulator manager(std::move(options));

  const Finished run({"verify", "--manager", manager.url(), "--user", kUser, "--password-stdin"},
                     {kSecret, {}});

  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("(code 1006)"), HasSubstr("give the account the role")));
}

TEST(VerifyAddress, TakesAnIpv6Address) {
  SimulatorOptions options = managerOptions();
  options.bindAddress = "::1";
  const Simulator manager(std::move(options));

  const Finished run({"verify", "--manager", "http://[::1]:" + std::to_string(manager.port()),
                      "--user", kUser, "--password-stdin"},
                     {kSecret, {}});

  EXPECT_EQ(run.status, 0) << run.talk;
}

TEST(VerifyAddress, TakesManagerAndUserFromTheEnvironment) {
  const Simulator manager(managerOptions());

  const Finished run(
      {"verify", "--password-stdin"},
      {kSecret, {{"KESTRELVISOR_MANAGER", manager.url()}, {"KESTRELVISOR_USER", kUser}}});

  EXPECT_EQ(run.status, 0) << run.talk;
}

// A manager over HTTPS whose certificate nobody knows.
class Certificates : public ManagerTest {
 protected:
  Certificates() : ManagerTest(managerOptions(true)) {}

  const std::string certificate = folder.write("manager.pem", manager.certificatePem());
};

TEST_F(Certificates, NamedCertificateIsTrusted) {
  EXPECT_EQ(Finished(command({"verify"}, {"--ca-cert", certificate})).status, 0);
}

TEST_F(Certificates, UnknownCertificateGivesExitCode6) {
  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 6);
  EXPECT_THAT(run.talk,
              AllOf(HasSubstr("certificate is not trusted"), HasSubstr("--ca-cert FILE")));
}

TEST_F(Certificates, CertificateOfAnotherManagerGivesExitCode6) {
  const Simulator other(managerOptions(true));
  const std::string wrong = folder.write("other.pem", other.certificatePem());

  EXPECT_EQ(Finished(command({"scan"}, {"--ca-cert", wrong})).status, 6);
  EXPECT_EQ(Finished(command({"disable-cbt", "/service/x", "--yes"}, {"--ca-cert", wrong})).status,
            6);
}

TEST_F(Certificates, RefusedCertificatePassesWithAWarningWhenTheUserSaysSo) {
  const Finished run(command({"verify"}, {"--no-strict-tls"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, HasSubstr("warning: the manager's certificate is not trusted"));
}

TEST_F(Certificates, TrustedCertificateNeedsNoWarning) {
  const Finished run(command({"verify"}, {"--no-strict-tls", "--ca-cert", certificate}));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, ::testing::Not(HasSubstr("warning")));
}

TEST_F(Certificates, ConfigurationFileLetsARefusedCertificatePass) {
  const std::string file = folder.write("engine.ini", "[General]\nCertAuthSwitch = 0\n");

  EXPECT_EQ(Finished(command({"verify"}), {"", {{"KESTRELVISOR_CONFIG", file}}}).status, 0);
}

TEST_F(Certificates, OptionWinsOverTheConfigurationFile) {
  const std::string file = folder.write("engine.ini", "[General]\nCertAuthSwitch = 0\n");

  const Finished run(command({"verify"}, {"--strict-tls"}), {"", {{"KESTRELVISOR_CONFIG", file}}});

  EXPECT_EQ(run.status, 6);
}

TEST_F(Certificates, FileWithoutACertificateIsWrongUsage) {
  const Finished run(
      command({"verify"}, {"--ca-cert", folder.write("empty.pem", "nothing here\n")}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("holds no PEM certificate"));
  EXPECT_THAT(manager.journal(), IsEmpty());
}

class ErrorOnATerminal : public ManagerTest {
 protected:
  ErrorOnATerminal() { folder.write("password", "wrong"); }

  const Arguments words =
      command({"disable-cbt", "/service/sites/3F2A0911/vms/i-00000101", "--yes"});
  const Setting plain{"", {{"NO_COLOR", "1"}}};
};

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream stream(text);
  return std::vector<std::string>(std::istream_iterator<std::string>(stream), {});
}

TEST_F(ErrorOnATerminal, BreaksItsLinesBetweenWords) {
  TerminalProgram program(words, plain, 80);
  EXPECT_EQ(program.wait(), 4);

  EXPECT_LE(widestLine(program.shown()), 80U + 1U) << program.shown();  // with its carriage return
  EXPECT_EQ(wordsOf(program.shown()), wordsOf(Finished(words).talk));
}

TEST_F(ErrorOnATerminal, IsAsNarrowAsTheTerminal) {
  TerminalProgram program(words, plain, 60);
  EXPECT_EQ(program.wait(), 4);

  EXPECT_LE(widestLine(program.shown()), 60U + 1U) << program.shown();
}

TEST_F(ErrorOnATerminal, StaysOnOneLineInAPipe) {
  std::istringstream talk(Finished(words).talk);
  std::string headline;
  std::getline(talk, headline);

  EXPECT_THAT(headline, AllOf(StartsWith("kestrelctl: error: "), HasSubstr(" failed: ")));
  EXPECT_GT(headline.size(), 80U);
}

// A manager whose site claims another address: where the other server really is, or none at all.
class OtherAddress : public ManagerTest {
 protected:
  OtherAddress() : other(otherOptions()) {}

  void reportSite(const std::string& ip, const std::string& uri = "/service/sites/S") {
    manager.answerOnce("GET", "/service/sites", 1,
                       {200,
                        {},
                        R"({"sites":[{"isSelf":true,"urn":"u","name":"n","ip":")" + ip +
                            R"(","uri":")" + uri + "\"}]}"});
  }
  // A server, where the manager's port would follow, which a fragment swallows.
  std::string addressOfOther() const { return "127.0.0.2:" + std::to_string(other.port()) + "/#"; }

  Simulator other;

 private:
  static SimulatorOptions otherOptions() {
    SimulatorOptions options = managerOptions();
    options.bindAddress = "127.0.0.2";
    return options;
  }
};

TEST_F(OtherAddress, GetsNothingAndIsToldWithTheOptionsThatHelp) {
  reportSite(addressOfOther());

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(other.journal(), IsEmpty());
  const std::string server = "127.0.0.2:" + std::to_string(other.port());
  EXPECT_THAT(run.talk, AllOf(HasSubstr("verifying failed: the manager points at another server"),
                              HasSubstr("leads to " + server + ", which is not allowed"),
                              HasSubstr("--keep-address stays"), HasSubstr("--follow-address"),
                              Not(HasSubstr("Unsupported protocol"))));
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(OtherAddress, IsToldWithAHintThatFitsATerminal) {
  reportSite(addressOfOther());

  const Finished run(command({"verify"}));

  std::istringstream hint(run.talk.substr(run.talk.find("  what to do  ")));
  std::size_t count = 0;
  for (std::string line; std::getline(hint, line); ++count) EXPECT_LE(line.size(), 80U) << line;
  EXPECT_GT(count, 1U);
}

TEST_F(OtherAddress, GetsNothingByAUriEither) {
  reportSite("127.0.0.1", "@127.0.0.2:" + std::to_string(other.port()) + "/service/sites/S");

  const Finished run(command({"scan"}));

  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(other.journal(), IsEmpty());
  EXPECT_THAT(run.talk, HasSubstr("--follow-address"));
}

TEST_F(OtherAddress, IsFollowedWhenTheUserSaysSo) {
  reportSite(addressOfOther());

  const Finished run(command({"verify"}, {"--follow-address", "--allow-plaintext"}));

  EXPECT_NE(run.status, 0);
  EXPECT_THAT(other.journal(), Not(IsEmpty()));
}

TEST_F(OtherAddress, IsReplacedWhenTheUserSaysSo) {
  reportSite("192.0.2.7");

  const Finished run(command({"verify"}, {"--keep-address"}));

  EXPECT_EQ(run.status, 0) << run.talk;
}

TEST_F(OtherAddress, MayBeOneThatTheManagersNameStandsFor) {
  reportSite("127.0.0.1");

  const Finished run({"verify", "--manager", "http://localhost:" + std::to_string(manager.port()),
                      "--user", kUser, "--password-file", passwordFile});

  EXPECT_EQ(run.status, 0) << run.talk;
}

TEST_F(OtherAddress, CannotBeBothFollowedAndReplaced) {
  const Finished run(command({"verify"}, {"--keep-address", "--follow-address"}));

  EXPECT_EQ(run.status, 2);
}

class Scan : public ManagerTest {
 protected:
  const std::string saved = folder.file("reply.pb");

  std::vector<std::string> filesInFolder() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.file(""))) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST_F(Scan, ShowsTheTreeAndTheCounts) {
  const Finished run(command({"scan"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "4 machines at the manager: 3 recorded, 1 template.\n");
  const vrmsim::Inventory site = manager.inventory();
  EXPECT_THAT(run.output, StartsWith(site.sites.front().name + "  site"));
  for (const auto& cluster : site.clusters) EXPECT_THAT(run.output, HasSubstr("─ " + cluster.name));
  for (const auto& host : site.hosts) EXPECT_THAT(run.output, HasSubstr("─ " + host.name));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_THAT(run.output, HasSubstr("─ " + site.vms[i].name));
  }
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("  Machines       3\n"), HasSubstr("  Disks          6  "),
                    HasSubstr("1 site, 1 cluster, 2 hosts"), HasSubstr("  REST version   6.5\n")));
}

TEST_F(Scan, DrawsWithAsciiAloneInAPlainLocale) {
  const Finished run(command({"scan"}), {"", {{"LC_ALL", "C"}}});

  EXPECT_THAT(run.output, HasSubstr("\n|- "));
  EXPECT_TRUE(std::all_of(run.output.begin(), run.output.end(),
                          [](char c) { return static_cast<unsigned char>(c) < 0x80; }));
}

TEST_F(Scan, PrintsOneJsonDocument) {
  const Finished run(command({"scan", "-o", "json"}));

  EXPECT_EQ(run.status, 0);
  const Json::Value document = parsed(run.output);
  EXPECT_EQ(document["counts"]["machines"].asInt(), 3);
  EXPECT_THAT(document["machines"], SizeIs(3));
  EXPECT_EQ(document["machines"][0]["disks"].size(), 2U);
  EXPECT_EQ(document["restVersion"].asString(), "6.5");
}

TEST_F(Scan, KeepsTheReplyForItsOwnerAlone) {
  const Finished run(command({"scan", "--save", saved}));

  EXPECT_EQ(run.status, 0);
  ScanEnvironmentReply reply;
  ASSERT_TRUE(reply.ParseFromString(TemporaryFolder::read(saved)));
  EXPECT_EQ(reply.machine_records_size(), 3);
  EXPECT_EQ(reply.environment_version(0), "6.5");
  struct stat status = {};
  ASSERT_EQ(stat(saved.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(filesInFolder(), (std::vector<std::string>{"password", "reply.pb"}));
}

TEST_F(Scan, FailureLeavesTheKeptReplyAlone) {
  folder.write("reply.pb", "of yesterday");
  const vrmsim::Inventory site = manager.inventory();
  manager.answerOnce("GET", vrmsim::siteUri(site.ownSite()) + "/clusters", 1,
                     refusal(500, "10000004", "Database is down"));

  const Finished run(command({"scan", "--save", saved, "--tester-dump", folder.file("dump")}));

  EXPECT_EQ(run.status, 8);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("status 104, detail 20111"),
                              HasSubstr("Database is down (code 10000004)")));
  EXPECT_EQ(TemporaryFolder::read(saved), "of yesterday");
  EXPECT_EQ(filesInFolder(), (std::vector<std::string>{"password", "reply.pb"}));
}

std::size_t filesIn(const TemporaryFolder& folder) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(folder.file("")), {}));
}

// Lets this process and those that it starts write small files only.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit small{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

TEST_F(Scan, FileThatMayNotGrowGivesExitCode3AndLeavesNothing) {
  const std::string target = folder.file("reply.pb");
  const std::size_t before = filesIn(folder);

  const Finished run = [&] {
    const FileSizeLimit limit(64);
    return Finished(command({"scan"}, {"--save", target}));
  }();

  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.talk, HasSubstr(target + " cannot be written: File too large"));
  EXPECT_EQ(filesIn(folder), before);
}

TEST_F(Scan, TargetThatIsNoFileIsRefusedBeforeAnyRequest) {
  const Finished run(command({"scan", "--save", "/dev/null"}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("--save: /dev/null is there and not a regular file"));
  EXPECT_THAT(manager.journal(), IsEmpty());
}

TEST_F(Scan, ReaderThatLeavesIsNoReasonToTalk) {
  manager.changeInventory([](vrmsim::Inventory& site) {
    vrmsim::InventorySizes sizes;  // more than a pipe holds
    sizes.vms = 1500;
    site = vrmsim::generateInventory(sizes);
  });
  Program program(command({"scan"}));
  program.closeOutput();

  EXPECT_EQ(program.wait(), 128 + SIGPIPE);
  EXPECT_EQ(program.talk(), "");
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(Scan, SignalEndsItWithTheSignalsNumber) {
  // A manager that takes connections and never answers.
  const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(listener, reinterpret_cast<sockaddr*>(&address), size);
  listen(listener, 1);
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  Program program({"scan", "--manager",
                   "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)), "--user", kUser,
                   "--password-file", passwordFile});
  const int connection = accept(listener, nullptr, nullptr);

  program.signal(SIGTERM);

  EXPECT_EQ(program.wait(), 128 + SIGTERM);
  close(connection);
  close(listener);
}

class DisableCbt : public ManagerTest {
 protected:
  std::string uriOf(std::size_t machine) const { return machineUri(manager.inventory(), machine); }
};

TEST_F(DisableCbt, SwitchesItOff) {
  const Finished run(command({"disable-cbt", uriOf(0), "--yes"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "Changed-block tracking is off: " + uriOf(0) + "\n");
  EXPECT_EQ(run.talk, "");
  EXPECT_EQ(manager.cbtEnabled(uriOf(0)), false);
  EXPECT_EQ(manager.cbtEnabled(uriOf(1)), true);
}

TEST_F(DisableCbt, UnknownMachineGivesExitCode8WithBothTexts) {
  const Finished run(command({"disable-cbt", uriOf(0) + "x", "--yes"}));

  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk,
              AllOf(Not(HasSubstr("warning")), HasSubstr("The object does not exist"),
                    HasSubstr("(code 10000008)"), HasSubstr("KestrelVisor object does not exist"),
                    HasSubstr("status 95")));
}

TEST_F(DisableCbt, RequestWithoutAnAnswerMayHaveBeenCarriedOut) {
  manager.addFault("path=*/action/CBTbackup cut=headers:0");

  const Finished run(command({"disable-cbt", uriOf(0), "--yes"}));

  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.talk, HasSubstr("warning: the manager may have switched changed-block tracking "
                                  "off all the same\n"));
}

TEST_F(DisableCbt, TemplateGivesExitCode8) {
  const Finished run(command({"disable-cbt", uriOf(3), "--yes"}));

  EXPECT_EQ(run.status, 8);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("(code 10300427)"), HasSubstr("status 100")));
}

TEST_F(DisableCbt, RefusedPasswordGivesExitCode4) {
  folder.write("password", "wrong");

  const Finished run(command({"disable-cbt", uriOf(0), "--yes"}));

  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("(code 10100103)"), HasSubstr("status 1")));
  EXPECT_EQ(manager.cbtEnabled(uriOf(0)), true);
}

TEST_F(DisableCbt, NobodyListeningGivesExitCode5) {
  const DeadPort dead;

  const Finished run({"disable-cbt", uriOf(0), "--yes", "--manager",
                      "http://127.0.0.1:" + std::to_string(dead.port), "--user", kUser,
                      "--password-file", passwordFile});

  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.talk, HasSubstr("(code 2000)"));
}

TEST_F(DisableCbt, TextThatIsNoUriIsWrongUsage) {
  EXPECT_EQ(Finished(command({"disable-cbt", "i-00000101"})).status, 2);
  EXPECT_EQ(Finished(command({"disable-cbt", "/service/x\r\nHost: other"})).status, 2);
  EXPECT_THAT(manager.journal(), IsEmpty());
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
