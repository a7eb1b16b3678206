#include "kestrelctl/outcome.h"

#include "tests/support/test_headers.h"

#include <curl/curl.h>

#include <algorithm>

namespace kestrelvisor::ctl::test {
namespace {

const Attempt kAttempt{"scanning", "https://vrm:7443", "backup"};

EnvProxyResult resultOf(EnvProxyStatus status, unsigned long detail, const std::string& text) {
  EnvProxyResult result;
  result.status = status;
  result.AddDetail(detail, text, "", "");
  return result;
}

// What the log of a failed request tells.
LogEvidence evidenceOf(std::vector<std::string> errorLines) {
  LogEvidence evidence;
  errorLines.push_back("Get response failed, url=http://vrm:1/service/sites");
  for (const std::string& line : errorLines) {
    LogRecord record;
    record.level = 4;
    record.text = line;
    evidence.take(record);
  }
  return evidence;
}

std::string factOf(const Failure& failure, const std::string& label) {
  const auto found = std::find_if(failure.facts.begin(), failure.facts.end(),
                                  [&](const Failure::Fact& fact) { return fact.label == label; });
  return found == failure.facts.end() ? "(none)" : found->text;
}

struct CodeRow {
  const char* name;
  std::string text;
  const char* code;
  ExitCode exitCode;
};
class FailedScan : public ::testing::TestWithParam<CodeRow> {};

TEST_P(FailedScan, GivesTheExitCodeOfItsCode) {
  const CodeRow& row = GetParam();
  const auto result = resultOf(104, 20111, row.text + "The error code is " + row.code + ".");

  const Failure failure = failureOf(kAttempt, result, "", {});

  EXPECT_EQ(failure.exitCode, row.exitCode);
  EXPECT_EQ(factOf(failure, "reason"), row.text + " (code " + row.code + ")");
  EXPECT_EQ(factOf(failure, "engine"), "status 104, detail 20111");
  EXPECT_EQ(factOf(failure, "manager"), "https://vrm:7443 as backup");
  EXPECT_FALSE(failure.hint.empty());
}

std::string curlText(CURLcode code) { return std::string(curl_easy_strerror(code)) + "."; }

INSTANTIATE_TEST_SUITE_P(
    Outcome, FailedScan,
    ::testing::Values(
        CodeRow{"Connect", "Couldn't connect to server.", "2000", ExitCode::unreachable},
        CodeRow{"TimeLimit", "Timeout was reached.", "2001", ExitCode::timeLimit},
        CodeRow{"Certificate", curlText(CURLE_PEER_FAILED_VERIFICATION), "2002",
                ExitCode::refusedCertificate},
        CodeRow{"Issuer", curlText(CURLE_SSL_ISSUER_ERROR), "2002", ExitCode::refusedCertificate},
        CodeRow{"TrustStore", curlText(CURLE_SSL_CACERT_BADFILE), "2002",
                ExitCode::refusedCertificate},
        CodeRow{"Resolve", curlText(CURLE_COULDNT_RESOLVE_HOST), "2002", ExitCode::unreachable},
        CodeRow{"Handshake", curlText(CURLE_SSL_CONNECT_ERROR), "2002", ExitCode::unreachable},
        CodeRow{"UnknownUser", "no", "10100101", ExitCode::refusedLogin},
        CodeRow{"WrongPassword", "no", "10100103", ExitCode::refusedLogin},
        CodeRow{"Role", "no", "1006", ExitCode::refusedLogin},
        CodeRow{"NotFound", "404 Page not found", "2404", ExitCode::managerFailed},
        CodeRow{"BareStatus", "other error", "503", ExitCode::managerFailed},
        CodeRow{"Database", "down", "10000004", ExitCode::managerFailed}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Outcome, OtherCodeOfAFailedLoginIsARefusedLogin) {
  const auto result = resultOf(107, 20086, "locked The error code is 10100113.");
  const auto evidence = evidenceOf({"checkLoginAgainAndCert: logIn is failed,reason is 10100113"});

  EXPECT_EQ(failureOf(kAttempt, result, "", evidence).exitCode, ExitCode::refusedLogin);
  EXPECT_EQ(failureOf(kAttempt, result, "", {}).exitCode, ExitCode::managerFailed);
}

TEST(Outcome, VerificationTextComesWithoutItsBlank) {
  const auto result = resultOf(107, 20086, "Database is down The error code is 10000004.");

  EXPECT_EQ(factOf(failureOf(kAttempt, result, "", {}), "reason"),
            "Database is down (code 10000004)");
}

TEST(Outcome, WordsOfTheRequestReplaceTheEnginesOwn) {
  const auto result = resultOf(
      107, 20086, "Can not connect to the specified KestrelVisor VRM. The error code is 2000.");
  const auto evidence =
      evidenceOf({"Invoke sendMassage failed, error code is 2000(Couldn't connect to server.)"});

  EXPECT_EQ(factOf(failureOf(kAttempt, result, "", evidence), "reason"),
            "Couldn't connect to server. (code 2000)");
}

TEST(Outcome, NoCodeAfterAGoodAnswerMeansItCannotBeRead) {
  const auto result = resultOf(104, 20111, "internal error.The error code is 00000000.");

  const Failure failure = failureOf(kAttempt, result, "", {});

  EXPECT_EQ(failure.exitCode, ExitCode::unreadableAnswer);
  EXPECT_EQ(factOf(failure, "reason"), "internal error.");
}

TEST(Outcome, NoCodeAfterARefusalMeansTheManagerFailed) {
  const auto result = resultOf(104, 20111, "internal error.The error code is 00000000.");
  const auto evidence = evidenceOf({"Invoke getResponse failed, the error code is ()"});

  EXPECT_EQ(failureOf(kAttempt, result, "", evidence).exitCode, ExitCode::managerFailed);
}

TEST(Outcome, TrackingFailureTellsCodeWordsAndMeaning) {
  EnvProxyResult result;
  result.status = 95;
  const auto evidence =
      evidenceOf({"Invoke getResponse failed, the error code is 10000008(No such machine)",
                  "Failed to disable the CBT for VM with uri: /x, and with error code: 10000008"});

  const Failure failure =
      failureOf(kAttempt, result, "KestrelVisor object does not exist", evidence);

  EXPECT_EQ(failure.exitCode, ExitCode::managerFailed);
  EXPECT_EQ(factOf(failure, "reason"), "No such machine (code 10000008)");
  EXPECT_EQ(factOf(failure, "meaning"), "KestrelVisor object does not exist");
  EXPECT_EQ(factOf(failure, "engine"), "status 95");
  EXPECT_EQ(failure.hint, "scan again: the machine is gone or its URI has changed");
}

TEST(Outcome, TrackingFailureThatTheManagerDoesNotExplainHasTheGeneralHint) {
  EnvProxyResult result;
  result.status = 97;
  const auto evidence =
      evidenceOf({"Failed to disable the CBT for VM with uri: /x, and with error code: 11000000"});

  EXPECT_THAT(failureOf(kAttempt, result, "internal error", evidence).hint,
              ::testing::HasSubstr("look the code up"));
}

TEST(Outcome, TrackingFailureBeforeTheRequestTakesItsCodeFromTheLog) {
  EnvProxyResult result;
  result.status = 1;
  const auto evidence = evidenceOf({"checkLoginAgainAndCert: logIn is failed,reason is 1006"});

  EXPECT_EQ(failureOf(kAttempt, result, "", evidence).exitCode, ExitCode::refusedLogin);
}

TEST(Outcome, WordsOfTheManagerAreCleaned) {
  const auto result = resultOf(104, 20111, "no X-Auth-Token: abcThe error code is 17.");

  const Failure failure = failureOf(kAttempt, result, "", {});

  EXPECT_EQ(factOf(failure, "reason"), "no X-Auth-Token: *** (code 17)");
}

TEST(Outcome, RequestThatWasKeptBackTellsWhyAndWhatHelps) {
  const auto result = resultOf(104, 20111, "Unsupported protocol.The error code is 2002.");

  const Failure failure = failureOf(
      kAttempt, result, "", evidenceOf({"Request refused: its URL leads to a:1, no. An address"}));

  EXPECT_EQ(failure.what(), std::string("scanning failed: the manager points at another server"));
  EXPECT_EQ(factOf(failure, "refused"), "a request whose URL leads to a:1, no");
  EXPECT_EQ(factOf(failure, "reason"), "(none)");
  EXPECT_THAT(failure.hint, ::testing::StartsWith("--keep-address stays"));
}

TEST(Outcome, RequestThatWasKeptBackIsNotToBlameForAnotherFailure) {
  const auto result = resultOf(104, 20111, "Down.The error code is 10000004.");

  const Failure failure = failureOf(
      kAttempt, result, "", evidenceOf({"Request refused: its URL leads to a:1, no. An address"}));

  EXPECT_EQ(factOf(failure, "refused"), "(none)");
}

TEST(Outcome, ExceptionIsToldInItsWords) {
  const Failure failure = failureOfException(kAttempt, "basic_string::substr");

  EXPECT_EQ(failure.exitCode, ExitCode::unreadableAnswer);
  EXPECT_EQ(factOf(failure, "engine"), "gave up with an exception: basic_string::substr");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
