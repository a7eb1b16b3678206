#include "kestrelctl/log_evidence.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

LogRecord record(int level, const std::string& text) {
  LogRecord made;
  made.level = level;
  made.text = text;
  return made;
}

// The end of a request other than a login or logout.
LogRecord endOfRequest() {
  LogRecord made = record(4, "Get response failed, url=http://vrm:1/service/sites");
  made.function = "KestrelVisor_rest_api::sendMessageToVrm()";
  return made;
}

TEST(LogEvidence, KeepsCodeAndWordsOfTheLastRefusal) {
  LogEvidence evidence;
  evidence.take(record(4, "Invoke sendMassage failed, error code is 2000(Couldn't connect.)"));
  evidence.take(record(4, "Invoke getResponse failed, the error code is 10000004(Down (again))"));
  evidence.take(endOfRequest());

  ASSERT_TRUE(evidence.refusal());
  EXPECT_EQ(evidence.refusal()->code, "10000004");
  EXPECT_EQ(evidence.refusal()->text, "Down (again)");
}

TEST(LogEvidence, RefusalWithoutACodeIsOneToo) {
  LogEvidence evidence;
  evidence.take(record(4, "Invoke getResponse failed, the error code is ()"));
  evidence.take(endOfRequest());

  ASSERT_TRUE(evidence.refusal());
  EXPECT_EQ(evidence.refusal()->code, "");
}

TEST(LogEvidence, WordsOfTheManagerCannotForgeACode) {
  LogEvidence evidence;
  evidence.take(
      record(4, "Invoke getResponse failed, the error code is 500(error code is 2000(x))"));
  evidence.take(endOfRequest());

  ASSERT_TRUE(evidence.refusal());
  EXPECT_EQ(evidence.refusal()->code, "500");
}

TEST(LogEvidence, AttemptWhoseRepetitionWorkedIsNoRefusal) {
  LogEvidence evidence;
  evidence.take(record(4, "Invoke sendMassage failed, error code is 2000(Couldn't connect.)"));

  EXPECT_FALSE(evidence.refusal());
}

TEST(LogEvidence, FailedLogoutLeavesTheRefusalBeforeIt) {
  LogEvidence evidence;
  evidence.take(record(4, "Invoke getResponse failed, the error code is 10000004(Down)"));
  evidence.take(endOfRequest());
  evidence.take(record(4, "Invoke getResponse failed, the error code is 10000002(No session)"));
  LogRecord logout = endOfRequest();
  logout.text = "Get response failed, url=http://vrm:1/service/session";
  evidence.take(logout);

  ASSERT_TRUE(evidence.refusal());
  EXPECT_EQ(evidence.refusal()->code, "10000004");
}

TEST(LogEvidence, FailedLoginIsARefusal) {
  LogEvidence evidence;
  evidence.take(record(4, "Invoke KestrelVisor_rest_api::logIn failed, the error code is 1(No)"));
  LogRecord login = record(4, "Login failed, url=http://vrm:1/service/session");
  login.function = "KestrelVisor_rest_api::logIn()";
  evidence.take(login);

  ASSERT_TRUE(evidence.refusal());
  EXPECT_EQ(evidence.refusal()->text, "No");
}

TEST(LogEvidence, KeepsCodesOfLoginAndTracking) {
  LogEvidence evidence;
  evidence.take(record(4, "checkLoginAgainAndCert: logIn is failed,reason is 1006"));
  evidence.take(
      record(4, "Failed to disable the CBT for VM with uri: /a, and with error code: 95"));

  EXPECT_EQ(evidence.loginCode(), "1006");
  EXPECT_EQ(evidence.cbtCode(), "95");
}

TEST(LogEvidence, KeepsWhyAPassedCertificateWasRefused) {
  LogEvidence evidence;
  EXPECT_FALSE(evidence.passedCertificate());

  evidence.take(record(3, "peer cert check failed: self-signed."));

  EXPECT_EQ(evidence.passedCertificate(), "self-signed.");
}

TEST(LogEvidence, OtherLevelsTellNothing) {
  LogEvidence evidence;
  evidence.take(record(1, "Invoke sendMassage failed, error code is 2000(x)"));
  evidence.take(record(4, "peer cert check failed: self-signed."));

  EXPECT_FALSE(evidence.refusal());
  EXPECT_FALSE(evidence.passedCertificate());
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
