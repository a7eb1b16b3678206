#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/json_answer.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class DisableCbtQuestion : public ManagerTest {
 protected:
  std::string uri() const { return machineUri(manager.inventory(), 0); }
  bool isOn() const { return manager.cbtEnabled(uri()).value(); }
};

TEST_F(DisableCbtQuestion, WithoutATerminalIsWrongUsageUnlessYesIsSaid) {
  const Finished run(command({"disable-cbt", uri()}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("there is no terminal"), HasSubstr("--yes")));
  EXPECT_THAT(manager.journal(), IsEmpty());
  EXPECT_EQ(Finished(command({"disable-cbt", uri(), "--yes"})).status, 0);
  EXPECT_FALSE(isOn());
}

TEST_F(DisableCbtQuestion, NamesMachineAndManagerAndGoesAheadAfterYes) {
  TerminalProgram program(command({"disable-cbt", uri()}));
  program.waitForText("Switch changed-block tracking off on " + uri() + " at " + manager.url() +
                      "? [y/N] ");
  EXPECT_TRUE(program.showsWhatIsTyped());

  program.type("y\n");

  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(program.shown(), HasSubstr("Changed-block tracking is off: " + uri()));
  EXPECT_FALSE(isOn());
}

TEST_F(DisableCbtQuestion, AnythingElseSendsNothing) {
  for (const char* answer : {"\n", "n\n", "yesterday\n", "\x04"}) {
    TerminalProgram program(command({"disable-cbt", uri()}));
    program.waitForText("? [y/N] ");

    program.type(answer);

    EXPECT_EQ(program.wait(), 2) << answer;
    EXPECT_THAT(program.shown(), AllOf(HasSubstr("not confirmed, so nothing was sent"),
                                       HasSubstr("--yes goes ahead without asking")));
  }
  EXPECT_THAT(manager.journal(), IsEmpty());
  EXPECT_TRUE(isOn());
}

TEST_F(DisableCbtQuestion, ResultAsJsonNamesTheMachine) {
  const Finished run(command({"disable-cbt", uri(), "--yes", "-o", "json"}));

  EXPECT_EQ(run.status, 0);
  const Json::Value document = parsedAnswer(run.output);
  EXPECT_EQ(document["machineUri"], uri());
  EXPECT_EQ(document["manager"], manager.url());
  EXPECT_EQ(document["user"], kUser);
  EXPECT_EQ(document["dryRun"], false);
  EXPECT_EQ(document["cbtEnabled"], false);
  EXPECT_EQ(document["warnings"], Json::Value(Json::arrayValue));
}

class DryRun : public DisableCbtQuestion {
 protected:
  // Without any source of a password.
  Finished dryRun(const Arguments& more) const {
    Arguments words{"disable-cbt", uri(), "--dry-run", "--manager", manager.url(), "--user", kUser};
    words.insert(words.end(), more.begin(), more.end());
    return Finished(words);
  }

  vrmsim::RecordedRequest sentRequest() {
    EXPECT_EQ(Finished(command({"disable-cbt", uri(), "--yes"})).status, 0);
    for (const vrmsim::RecordedRequest& request : manager.journal()) {
      if (request.method == "DELETE" && request.target.find(uri()) == 0) return request;
    }
    ADD_FAILURE() << "no such request";
    return {};
  }
};

// Puts the manager's word in the place of what stands for it.
std::string filledIn(std::string text, const std::string& word, const std::string& value) {
  const std::size_t found = text.find(word);
  return found == std::string::npos ? text : text.replace(found, word.size(), value);
}

std::string headerOf(const vrmsim::RecordedRequest& request, const std::string& name) {
  for (const auto& header : request.headers) {
    if (header.first == name) return header.second;
  }
  ADD_FAILURE() << "no header " << name;
  return {};
}

TEST_F(DryRun, SendsNothingAndNeedsNoPassword) {
  const Finished run = dryRun({});

  EXPECT_EQ(run.status, 0) << run.talk;
  EXPECT_THAT(manager.journal(), IsEmpty());
  EXPECT_TRUE(isOn());
  EXPECT_THAT(run.output,
              StartsWith("DELETE " + manager.url() + uri() + "/action/CBTbackup\nHost: "));
  EXPECT_THAT(
      run.talk,
      HasSubstr("Nothing was sent. TOKEN and REST_VERSION stand for what the manager gives."));
}

TEST_F(DryRun, SendsNothingAfterYesEither) {
  const Finished run = dryRun({"--yes"});

  EXPECT_EQ(run.status, 0) << run.talk;
  EXPECT_THAT(run.output, StartsWith("DELETE "));
  EXPECT_THAT(manager.journal(), IsEmpty());
  EXPECT_TRUE(isOn());
}

TEST_F(DryRun, IsToTheLetterWhatIsSentLater) {
  const Json::Value planned = parsedAnswer(dryRun({"-o", "json"}).output)["request"];

  const vrmsim::RecordedRequest sent = sentRequest();

  EXPECT_EQ(planned["method"], sent.method);
  EXPECT_EQ(planned["url"], manager.url() + sent.target);
  EXPECT_EQ(planned["body"], sent.body);
  ASSERT_EQ(planned["headers"].size(), sent.headers.size());
  for (Json::ArrayIndex i = 0; i < planned["headers"].size(); ++i) {
    EXPECT_EQ(planned["headers"][i]["name"], sent.headers[i].first);
    std::string value = planned["headers"][i]["value"].asString();
    value = filledIn(value, "TOKEN", headerOf(sent, "X-Auth-Token"));
    value = filledIn(value, "REST_VERSION", "6.5");
    EXPECT_EQ(value.substr(value.find_first_not_of(' ')), sent.headers[i].second);
  }
}

TEST_F(DryRun, LeavesOutThePortThatTheSchemeImplies) {
  const auto hostOf = [&](const std::string& address) {
    const Finished run(
        {"disable-cbt", uri(), "--dry-run", "-o", "json", "--user", kUser, "--manager", address});
    return parsedAnswer(run.output)["request"]["headers"][0]["value"].asString();
  };

  EXPECT_EQ(hostOf("https://vrm:443"), " vrm");
  EXPECT_EQ(hostOf("https://vrm:80"), " vrm:80");
  EXPECT_EQ(hostOf("http://localhost:80"), " localhost");
  EXPECT_EQ(hostOf("https://[2001:db8::7]"), " [2001:db8::7]:7443");
}

TEST_F(DryRun, ShowsTheAddressAsItIsSent) {
  const std::string port = std::to_string(manager.port());
  const auto requestTo = [&](const std::string& address) {
    const Finished run(
        {"disable-cbt", uri(), "--dry-run", "-o", "json", "--user", kUser, "--manager", address});
    return parsedAnswer(run.output)["request"];
  };

  EXPECT_EQ(requestTo("http://127.1:" + port), requestTo(manager.url()));
  EXPECT_EQ(requestTo("https://[FE80:0::1%25lo]:443")["headers"][0]["value"], " [fe80::1]");
  EXPECT_EQ(requestTo("https://m\u00fcnchen.example:443")["headers"][0]["value"],
            " xn--mnchen-3ya.example");
}

TEST_F(DryRun, RefusesAUriThatWouldBeSentOtherwise) {
  for (const char* segment : {"..", ".", "%2e%2E", ".%2e"}) {
    for (const char* const end : {"", "/vms/1"}) {
      const Finished run({"disable-cbt", std::string("/service/") + segment + end, "--dry-run",
                          "--manager", manager.url(), "--user", kUser});
      EXPECT_EQ(run.status, 2) << segment;
      EXPECT_THAT(run.talk, HasSubstr("VM_URI: not the URI of a machine"));
    }
  }
  const Finished run({"disable-cbt", "/service/..vms/i-1...", "--dry-run", "--manager",
                      manager.url(), "--user", kUser});
  EXPECT_EQ(run.status, 0) << run.talk;
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
