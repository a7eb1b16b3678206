#include "kestrelctl/worker/session_ledger.h"

#include "kestrelctl/engine_session.h"
#include "kestrelctl/standard_output_exchange.h"
#include "tests/kestrelctl/fixture.h"

namespace kestrelvisor::ctl::test {
namespace {

LogRecord record(const std::string& function, const std::string& text) {
  LogRecord made;
  made.level = 1;
  made.tag = "KestrelVisorEngine";
  made.function = function;
  made.text = text;
  return made;
}

constexpr const char* kCheck = "KestrelVisor_rest_api::checkLoginAgainAndCert()";
constexpr const char* kExit = "KestrelVisor_rest_api::logOutFromVrm()";
constexpr const char* kSent = "KestrelVisor_rest_api::sendMessageToVrm()";

class Ledger : public ::testing::Test {
 protected:
  void take(const std::string& function, const std::string& text) {
    ledger.take(record(function, text));
  }
  void logIn() {
    take(kCheck, "send request to KestrelVisor with rest version = 6.5");
    take(kCheck, "Success to Login with the credential and cert.");
  }

  SessionLedger ledger;
};

TEST_F(Ledger, KnowsOfNoSessionAtFirst) { EXPECT_EQ(ledger.open(), 0U); }

// The manager may have opened it by the time when the process is killed.
TEST_F(Ledger, CountsALoginThatIsOnItsWay) {
  take(kCheck, "send request to KestrelVisor with rest version = 6.5");

  EXPECT_EQ(ledger.open(), 1U);
  EXPECT_FALSE(ledger.hasLoggedIn());
}

TEST_F(Ledger, KnowsThatALoginHasWorkedWhateverBecameOfIt) {
  logIn();
  take(kExit, "Enter vrmip: 127.0.0.1");
  take(kExit, "Exit vrm: 127.0.0.1");

  EXPECT_EQ(ledger.open(), 0U);
  EXPECT_TRUE(ledger.hasLoggedIn());
}

TEST_F(Ledger, CountsDownWithTheLogoutsAtTheEnd) {
  logIn();
  logIn();
  EXPECT_EQ(ledger.open(), 2U);

  take(kExit, "Enter vrmip: 127.0.0.1");
  EXPECT_EQ(ledger.open(), 2U);
  EXPECT_TRUE(ledger.isLoggingOut());
  take("KestrelVisor_rest_api::getResponse()", "Get returned info from VRM:{}");
  EXPECT_EQ(ledger.open(), 2U);
  take(kExit, "Exit vrm: 127.0.0.1");

  EXPECT_EQ(ledger.open(), 1U);
  EXPECT_FALSE(ledger.isLoggingOut());
}

TEST_F(Ledger, KeepsASessionWhoseLogoutFailed) {
  logIn();

  take(kExit, "Enter vrmip: 127.0.0.1");
  take("KestrelVisor_rest_api::processPerformNotOK()",
       "Invoke sendMassage failed, error code is 2001(Timeout was reached.)");
  take(kSent, "Send mssage to VRM failed, url=http://127.0.0.1:1/service/session");
  take(kExit, "sendMessageToVrm failed 127.0.0.1 reason: Timeout was reached.");

  EXPECT_EQ(ledger.open(), 1U);
}

TEST_F(Ledger, DropsASessionThatTheManagerNoLongerKnowsAtItsLogout) {
  logIn();

  take(kExit, "Enter vrmip: 127.0.0.1");
  take("KestrelVisor_rest_api::processReponseCodeNOK()",
       "Invoke getResponse failed, the error code is 10000002(No session)");
  take(kSent, "Get response failed, url=http://127.0.0.1:1/service/session");
  take(kExit, "sendMessageToVrm failed 127.0.0.1 reason: No session");

  EXPECT_EQ(ledger.open(), 0U);
}

// A login that hangs behind the logout must not be spared.
TEST_F(Ledger, RenewalIsNoLogout) {
  logIn();
  take("IsKestrelVisorCertTokenValid()", "valid time:1800,start time:0,current time:2000");

  take(kCheck, "send request to KestrelVisor with rest version = 6.5");

  EXPECT_FALSE(ledger.isLoggingOut());
  EXPECT_EQ(ledger.open(), 2U);
  take(kCheck, "Success to Login with the credential and cert.");
  EXPECT_EQ(ledger.open(), 1U);
}

// What the ledger reads in the engine's log against what the manager knows, at the end of an
// operation in this process, which keeps its sessions.
struct SessionRow {
  const char* name;
  std::vector<std::string> faults;
  OperationKind kind = OperationKind::verify;
  bool exact = true;  // or the manager may have fewer
};
void PrintTo(const SessionRow& row, std::ostream* out) { *out << row.name; }

class SessionsInTheLog : public ::testing::TestWithParam<SessionRow> {
 protected:
  // Whatever comes of it.
  void operate() {
    ConnectionOptions options;
    options.manager = readManagerAddress(manager.url());
    options.user = kUser;
    EngineSession session(options);
    session.usePassword(kSecret);
    const LogObserver observer([this](const LogRecord& line) { ledger.take(line); }, nullptr,
                               SessionLedger::kLowestLevel);
    try {
      ScanEnvironmentReply reply;
      Discard dump;
      if (GetParam().kind == OperationKind::verify) session.verify();
      if (GetParam().kind == OperationKind::scan) session.scan(reply, dump);
      if (GetParam().kind == OperationKind::disableCbt) session.disableCbt("/service/none");
    } catch (const Failure&) {
    }
  }

  Simulator manager{optionsOfNextManager()};
  SessionLedger ledger;
};

TEST_P(SessionsInTheLog, AreThoseThatTheManagerKnows) {
  for (const std::string& fault : GetParam().faults) manager.addFault(fault);

  operate();

  EXPECT_EQ(manager.unfiredFaults(), std::vector<std::string>());
  if (GetParam().exact) {
    EXPECT_EQ(ledger.open(), manager.openSessions());
  } else {
    EXPECT_GT(ledger.open(), manager.openSessions());
  }
}

constexpr OperationKind kScan = OperationKind::scan;
constexpr OperationKind kDisable = OperationKind::disableCbt;

INSTANTIATE_TEST_SUITE_P(
    Ledger, SessionsInTheLog,
    ::testing::Values(
        SessionRow{"AfterAVerification", {}}, SessionRow{"AfterAScan", {}, kScan},
        SessionRow{"WhenTheVersionsAreRefused", {"path=/service/versions status=500"}},
        SessionRow{"WhenTheLoginIsRefused",
                   {"method=POST path=/service/session status=401 code=10100103"}},
        SessionRow{"WhenTheRoleIsMissing",
                   {"method=POST path=/service/session take-role=administrator"}},
        SessionRow{"WhenTheTokenIsMissing",
                   {"method=POST path=/service/session drop-header=X-Auth-Token"}},
        SessionRow{"WhenALoginIsAnsweredWithoutABody", {"method=POST path=/service/session empty"}},
        SessionRow{"WhenTheFirstLoginAnswerBreaksOff",
                   {"method=POST path=/service/session nth=1 cut=headers:0"}},
        SessionRow{"WhenAllLoginAnswersBreakOff",
                   {"method=POST path=/service/session cut=headers:20"}},
        SessionRow{"WhenAConnectionIsCutBeforeTheLogin",
                   {"method=POST path=/service/session nth=1 reset=request"},
                   OperationKind::verify,
                   false},
        SessionRow{"WhenTheSitesAreRefused", {"path=/service/sites status=500"}},
        SessionRow{
            "WhenTheClustersAreRefused", {"path=/service/sites/*/clusters status=500"}, kScan},
        SessionRow{
            "WhenDatastoresAreRefused", {"path=/service/sites/*/datastores* status=500"}, kScan},
        SessionRow{"WhenDisablingIsRefused", {}, kDisable},
        SessionRow{"WhenAQueryAndItsLogoutAreRefused",
                   {"path=/service/sites/*/clusters status=500",
                    "method=DELETE path=/service/session status=500"},
                   kScan},
        SessionRow{"WhenTheManagerForgetsASession",
                   {"path=/service/sites/*/clusters nth=1 kill-sessions"},
                   kScan,
                   false},
        SessionRow{"WhenASessionExpires",
                   {"method=POST path=/service/session nth=2 expire-after=3"},
                   kScan},
        SessionRow{"WhenARenewedSessionIsRefused",
                   {"path=/service/sites/*/hosts nth=1 status=401 code=10000002",
                    "path=/service/sites/*/hosts status=500"},
                   kScan}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrelvisor::ctl::test
