// The exit codes that scripts rely on, against a manager, with the object that programs read. 1 has
// its test beside diff, 7 and 128+n have theirs beside the time limit and the signals.

#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/json_answer.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::HasSubstr;

class ExitCodes : public ManagerTest {
 protected:
  // Ends with a code, and standard output holds nothing but the object that says the same.
  static Json::Value errorOf(const Finished& run, int exitCode, const char* exitName) {
    EXPECT_EQ(run.status, exitCode) << run.talk;
    EXPECT_THAT(run.talk, HasSubstr("kestrelctl: error: "));
    const Json::Value error = parsedAnswer(run.output)["error"];
    EXPECT_EQ(error["exitCode"], exitCode);
    EXPECT_EQ(error["exitName"], exitName);
    EXPECT_THAT(run.talk, HasSubstr(error["what"].asString()));
    return error;
  }
};

TEST_F(ExitCodes, SuccessIs0) {
  EXPECT_EQ(Finished(command({"verify"})).status, 0);
  EXPECT_EQ(Finished(command({"scan"})).status, 0);
}

TEST_F(ExitCodes, WrongUsageIs2) {
  errorOf(Finished({"scna", "-o", "json"}), 2, "wrongUsage");
  errorOf(Finished({"verify", "--output=json"}), 2, "wrongUsage");
  errorOf(Finished(command({"verify", "-o", "json"}, {"--no-such-option"})), 2, "wrongUsage");
  const Json::Value error =
      errorOf(Finished(command({"scan", "-ojson"}, {"--save", "/dev/null"})), 2, "wrongUsage");
  EXPECT_EQ(error["retry"], false);
  EXPECT_TRUE(error["operationStatus"].isNull());
}

TEST_F(ExitCodes, PartialIs3) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].uuid = "no uuid"; });

  const Finished run(command({"scan", "-o", "json", "--strict"}));

  EXPECT_EQ(run.status, 3);
  EXPECT_TRUE(parsedAnswer(run.output).isMember("machines"));  // what there is, no error
}

TEST(ExitCodeOfFiles, ReplyThatCannotBeKeptIs3AndTakesTheWarningsAlong) {
  const TemporaryFolder folder;
  const std::string place = folder.file("place");
  std::filesystem::create_directory(place);
  SimulatorOptions options = managerOptions(true);
  options.onRequest = [place](const auto&) {
    std::error_code ignored;
    std::filesystem::remove_all(place, ignored);
  };
  const Simulator manager(std::move(options));

  const Finished run({"scan", "-o", "json", "--manager", manager.url(), "--user", kUser,
                      "--password-stdin", "--no-strict-tls", "--save", place + "/reply.pb"},
                     {kSecret, {}});

  EXPECT_EQ(run.status, 3);
  const Json::Value document = parsedAnswer(run.output);
  EXPECT_EQ(document["error"]["exitName"], "partial");
  EXPECT_THAT(document["error"]["what"].asString(), HasSubstr("reply.pb cannot be written"));
  ASSERT_EQ(document["warnings"].size(), 1U);
  EXPECT_EQ(document["warnings"][0]["kind"], "unverified-tls");
  const std::string warning = document["warnings"][0]["text"].asString();
  EXPECT_EQ(run.talk.find(warning), run.talk.rfind(warning)) << run.talk;
}

TEST_F(ExitCodes, RefusedLoginIs4) {
  folder.write("password", "wrong");

  const Json::Value error = errorOf(Finished(command({"verify", "-o", "json"})), 4, "refusedLogin");

  EXPECT_EQ(error["managerCode"], "10100103");
  EXPECT_EQ(error["operationStatus"], 107);
  EXPECT_EQ(error["detailId"], 20086);
  EXPECT_EQ(error["retry"], false);
}

TEST_F(ExitCodes, UnreachableIs5) {
  manager.addFault("path=/service/versions cut=request");

  const Json::Value error = errorOf(Finished(command({"scan", "-o", "json"})), 5, "unreachable");

  EXPECT_EQ(error["managerCode"], "2002");
  EXPECT_EQ(error["operationStatus"], 104);
  EXPECT_EQ(error["retry"], true);
}

TEST(ExitCodeOfCertificates, RefusedCertificateIs6) {
  const Simulator manager(managerOptions(true));

  const Finished run(
      {"verify", "-o", "json", "--manager", manager.url(), "--user", kUser, "--password-stdin"},
      {kSecret, {}});

  EXPECT_EQ(run.status, 6);
  const Json::Value error = parsedAnswer(run.output)["error"];
  EXPECT_EQ(error["exitName"], "refusedCertificate");
  EXPECT_THAT(error["hint"].asString(), HasSubstr("--ca-cert FILE"));
}

TEST_F(ExitCodes, RefusalOfTheManagerIs8) {
  manager.answerOnce("GET", "/service/sites", 1,
                     {500, {}, R"({"errorCode":"10000004","errorDes":"Database is down"})"});

  const Json::Value error = errorOf(Finished(command({"scan", "-o", "json"})), 8, "managerFailed");

  EXPECT_EQ(error["managerCode"], "10000004");
  EXPECT_EQ(error["text"], "Database is down");
  EXPECT_EQ(error["retry"], true);
}

TEST_F(ExitCodes, StatusOfATrackingFailureIsTold) {
  const std::string uri = machineUri(manager.inventory(), 3);  // the template

  const Json::Value error =
      errorOf(Finished(command({"disable-cbt", uri, "--yes", "-o", "json"})), 8, "managerFailed");

  EXPECT_EQ(error["operationStatus"], 100);
  EXPECT_EQ(error["managerCode"], "10300427");
  EXPECT_EQ(error["retry"], false);
  EXPECT_TRUE(error["detailId"].isNull());
}

TEST_F(ExitCodes, UnreadableAnswerIs9) {
  manager.answerOnce("GET", "/service/sites", 1, {200, {}, "certainly no JSON"});
  errorOf(Finished(command({"verify", "-o", "json"})), 9, "unreadableAnswer");
}

TEST_F(ExitCodes, ExceptionFromTheEngineIs9) {
  manager.answerOnce("GET", "/service/versions", 1, {200, {}, R"({"versions":[{"version":""}]})"});
  errorOf(Finished(command({"verify", "-o", "json"})), 9, "unreadableAnswer");
}

TEST(ExitCodeOfAnException, ThatNobodyExpectedIs9) {
  const std::string line = std::string("ulimit -v 500000; exec ") + KESTRELCTL_EXECUTABLE +
                           " show -o json - < /dev/zero";
  vrmsim::test::Process run("/bin/sh", {"-c", line});

  const std::string talk = run.errors();
  EXPECT_EQ(run.wait(), 9);
  EXPECT_THAT(talk, HasSubstr("kestrelctl did not expect this: std::bad_alloc"));
  const Json::Value error = parsedAnswer(run.restOfOutput())["error"];
  EXPECT_THAT(error["hint"].asString(), HasSubstr("memory may have run out"));
}

TEST_F(ExitCodes, ErrorAsALineIsALine) {
  const Finished run({"scan", "-o", "jsonl"});

  EXPECT_EQ(run.output.find('\n'), run.output.size() - 1);
  EXPECT_EQ(parsedAnswer(run.output)["error"]["exitCode"], 2);
}

TEST_F(ExitCodes, WithoutJsonStandardOutputStaysEmpty) {
  EXPECT_EQ(Finished({"scna"}).output, "");
  EXPECT_EQ(Finished({"scan", "-o", "tree", "--nonsense"}).output, "");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
