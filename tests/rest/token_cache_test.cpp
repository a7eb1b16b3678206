#include "tests/rest/rest_fixture.h"

#include <json/json.h>

#include <cstdint>
#include <limits>
#include <stdexcept>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSession = "/service/session";

struct TokenAge {
  const char* name;
  std::uint64_t validTime;
  std::uint64_t startTime;
  std::uint64_t now;
  bool valid;
};
class TokenAgeTest : public ::testing::TestWithParam<TokenAge> {};

TEST_P(TokenAgeTest, DecidesAtHalfOfTheValidity) {
  const TokenAge& age = GetParam();
  const LogCapture log;
  KestrelVisorCertToken token;
  token.validTime = age.validTime;
  token.startTime = age.startTime;

  EXPECT_EQ(IsKestrelVisorCertTokenValid(token, age.now), age.valid);

  const std::string line = "valid time:" + std::to_string(age.validTime) +
                           ",start time:" + std::to_string(age.startTime) +
                           ",current time:" + std::to_string(age.now);
  EXPECT_THAT(log.texts(1), ElementsAre(line));
  if (age.valid) {
    EXPECT_THAT(log.texts(3), IsEmpty());
  } else {
    EXPECT_THAT(log.texts(3), ElementsAre(line));
  }
}

INSTANTIATE_TEST_SUITE_P(
    RestClient, TokenAgeTest,
    ::testing::Values(TokenAge{"Fresh", 1800, 1000, 1000, true},
                      TokenAge{"AtTheLimit", 1800, 1000, 1900, true},
                      TokenAge{"PastTheLimit", 1800, 1000, 1901, false},
                      TokenAge{"OddAtTheLimit", 5, 1000, 1002, true},
                      TokenAge{"OddPastTheLimit", 5, 1000, 1003, false},
                      TokenAge{"NoValidityInTheSameSecond", 0, 1000, 1000, true},
                      TokenAge{"NoValidityASecondLater", 0, 1000, 1001, false},
                      TokenAge{"OneSecondASecondLater", 1, 1000, 1001, false},
                      TokenAge{"ClockSetBackwards", 1800, 1000, 999, false},
                      TokenAge{"EndlessValidity", UINT64_MAX, 1000, 2000000, true}),
    [](const auto& row) { return std::string(row.param.name); });

class LocalTime : public ::testing::Test {
 protected:
  LogCapture log;
  KestrelVisor_rest_api api;
};

TEST_F(LocalTime, IsTheClockInSecondsSince1970) {
  for (const std::time_t seconds : {std::time_t{0}, std::time_t{1}, std::time_t{951782400},
                                    std::time_t{1767225599}, std::time_t{4102444800}}) {
    const SetClock clock(seconds);
    EXPECT_EQ(api.getLocalTime(), static_cast<std::uint64_t>(seconds));
  }
}

TEST_F(LocalTime, GoesOnBehindTheYear9999AndBefore1970) {
  for (const std::time_t seconds :
       {std::time_t{253402300799}, std::time_t{253402300800}, std::time_t{67767976233532799},
        std::time_t{-1}, std::time_t{-62167219201}}) {
    const SetClock clock(seconds);
    EXPECT_EQ(api.getLocalTime(), static_cast<std::uint64_t>(seconds));
  }
}

TEST_F(LocalTime, IsLogged) {
  const SetClock clock(1767225599);

  api.getLocalTime();

  EXPECT_THAT(log.texts(1), ElementsAre("Snap create time=1767225599"));
}

TEST_F(LocalTime, ThrowsWhenTheClockCannotBeConverted) {
  const SetClock clock(std::numeric_limits<std::time_t>::max());
  std::string text;

  try {
    api.getLocalTime();
  } catch (const std::runtime_error& failure) {
    text = failure.what();
  }

  EXPECT_EQ(text, "could not convert calendar time to UTC time");
}

class TokenCache : public RestTest {
 protected:
  bool check() { return api.checkLoginAgainAndCert(vrm, error, token); }
  std::string tokenOf(std::size_t request) const {
    return manager.journal().at(request).header("X-Auth-Token");
  }

  SetClock clock{1000};
  KestrelVisorCertToken token;
};

TEST_F(TokenCache, LogsInWhenItHoldsNothing) {
  EXPECT_TRUE(check());

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session"));
  EXPECT_EQ(token.authToken, "fake-session-token-1");
  EXPECT_EQ(token.validTime, 1800U);
  EXPECT_EQ(token.startTime, 1000U);
  EXPECT_THAT(log.texts(3), ElementsAre("get token from map failed,vrmip: 127.0.0.1"));
  EXPECT_TRUE(log.has(1, "send request to KestrelVisor with rest version = 1.2"));
  EXPECT_TRUE(log.has(1, "Success to Login with the credential and cert."));
}

TEST_F(TokenCache, KeepsTokenUserAndDecryptedPassword) {
  EXPECT_TRUE(check());

  ASSERT_EQ(api.tokenMap.size(), 1U);
  const VRMCertTokenInfo& session = api.tokenMap.at("127.0.0.1");
  EXPECT_EQ(session.vrmInfo.clientUsername, "backup");
  EXPECT_EQ(session.vrmInfo.clientPassword, kPassword);
  EXPECT_EQ(session.certToken.authToken, "fake-session-token-1");
  EXPECT_EQ(session.certToken.validTime, 1800U);
  EXPECT_EQ(session.certToken.startTime, 1000U);
}

TEST_F(TokenCache, LeavesTheCallersPasswordEncrypted) {
  const std::string before = vrm.clientPassword;

  EXPECT_TRUE(check());

  EXPECT_EQ(vrm.clientPassword, before);
}

TEST_F(TokenCache, AnswersWithoutARequestUpToHalfOfTheValidity) {
  EXPECT_TRUE(check());
  KestrelVisorCertToken later;
  clock.set(1900);

  EXPECT_TRUE(api.checkLoginAgainAndCert(vrm, error, later));

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session"));
  EXPECT_EQ(later.authToken, "fake-session-token-1");
}

TEST_F(TokenCache, EndsTheOldSessionAndLogsInAnewAfterThat) {
  EXPECT_TRUE(check());
  clock.set(1901);

  EXPECT_TRUE(check());

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session", "DELETE /service/session",
                                           "POST /service/session"));
  EXPECT_EQ(tokenOf(1), "fake-session-token-1");
  EXPECT_EQ(token.authToken, "fake-session-token-2");
  EXPECT_EQ(token.startTime, 1901U);
}

TEST_F(TokenCache, LogsInAnewWhenTheClockWasSetBackwards) {
  EXPECT_TRUE(check());
  clock.set(999);

  EXPECT_TRUE(check());

  EXPECT_EQ(token.authToken, "fake-session-token-2");
}

TEST_F(TokenCache, ServesATokenWithoutValidityWithinTheSecondOnly) {
  manager.serves("POST", kSession,
                 bytes("HTTP/1.1 200 OK\r\nX-Auth-Token: abc\r\nContent-Length: 38\r\n\r\n"
                       R"({"validity":9,"roleList":["sysadmin"]})"));
  EXPECT_TRUE(check());
  EXPECT_TRUE(check());
  EXPECT_EQ(manager.journal().size(), 1U);
  clock.set(1001);

  EXPECT_TRUE(check());

  EXPECT_EQ(manager.journal().size(), 3U);
}

TEST_F(TokenCache, EndsTheSessionOfAnotherUserWithItsToken) {
  EXPECT_TRUE(check());
  log.clear();
  vrm.clientUsername = "other";

  EXPECT_TRUE(check());

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session", "DELETE /service/session",
                                           "POST /service/session"));
  EXPECT_EQ(tokenOf(1), "fake-session-token-1");
  EXPECT_EQ(manager.journal()[2].header("X-Auth-User"), "other");
  EXPECT_EQ(api.tokenMap.at("127.0.0.1").vrmInfo.clientUsername, "other");
  EXPECT_EQ(api.tokenMap.at("127.0.0.1").certToken.authToken, "fake-session-token-2");
  EXPECT_THAT(log.texts(3),
              ElementsAre("The clientUsername is changed,vrmip: 127.0.0.1,name: other"));
}

TEST_F(TokenCache, EndsTheSessionOfAnotherPasswordWithItsToken) {
  EXPECT_TRUE(check());
  api.tokenMap.at("127.0.0.1").vrmInfo.clientPassword = "the password before";
  log.clear();

  EXPECT_TRUE(check());

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session", "DELETE /service/session",
                                           "POST /service/session"));
  EXPECT_EQ(tokenOf(1), "fake-session-token-1");
  EXPECT_EQ(api.tokenMap.at("127.0.0.1").vrmInfo.clientPassword, kPassword);
  EXPECT_EQ(api.tokenMap.at("127.0.0.1").certToken.authToken, "fake-session-token-2");
  EXPECT_THAT(log.texts(3), ElementsAre("The password is changed,vrmip: 127.0.0.1,name: backup"));
}

TEST_F(TokenCache, HandsOutTheOldTokenThoughTheUserChanged) {
  EXPECT_TRUE(check());
  VRM_INFO other = decrypted();
  other.clientUsername = "other";
  KestrelVisorCertToken found;

  EXPECT_FALSE(api.getTokenFromMap(other, found));

  EXPECT_EQ(found.authToken, "fake-session-token-1");
  EXPECT_EQ(api.tokenMap.size(), 1U);
}

TEST_F(TokenCache, LeavesTheTokenWhenTheAddressIsUnknown) {
  KestrelVisorCertToken found;
  found.authToken = "kept";

  EXPECT_FALSE(api.getTokenFromMap(vrm, found));

  EXPECT_EQ(found.authToken, "kept");
}

TEST_F(TokenCache, SendsNothingWhenThePasswordCannotBeDecrypted) {
  vrm.clientPassword = "no cipher text";

  EXPECT_FALSE(check());

  EXPECT_THAT(manager.lines(), IsEmpty());
  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_EQ(error.errorDescription, kNoErrorText);
  EXPECT_TRUE(log.has(4, "Decryption failed !"));
}

TEST_F(TokenCache, KeepsItsEntryWhenThePasswordCannotBeDecrypted) {
  EXPECT_TRUE(check());
  vrm.clientPassword = "no cipher text";

  EXPECT_FALSE(check());

  EXPECT_EQ(api.tokenMap.count("127.0.0.1"), 1U);
  EXPECT_EQ(manager.journal().size(), 1U);
}

TEST_F(TokenCache, HoldsIndependentEntriesForTwoManagers) {
  FakeManager second("127.0.0.2");
  const VRM_INFO other = second.connection();
  {
    KestrelVisor_rest_api client;
    KestrelVisorCertToken otherToken;
    EXPECT_TRUE(client.checkLoginAgainAndCert(vrm, error, token));
    EXPECT_TRUE(client.checkLoginAgainAndCert(other, error, otherToken));
    EXPECT_TRUE(client.checkLoginAgainAndCert(vrm, error, token));
    EXPECT_TRUE(client.checkLoginAgainAndCert(other, error, otherToken));

    EXPECT_EQ(client.tokenMap.size(), 2U);
    EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session"));
    EXPECT_THAT(second.lines(), ElementsAre("POST /service/session"));
  }
  EXPECT_THAT(second.lines(), ElementsAre("POST /service/session", "DELETE /service/session"));
}

TEST_F(TokenCache, IsEachClientsOwn) {
  KestrelVisor_rest_api other;
  KestrelVisorCertToken otherToken;

  EXPECT_TRUE(check());
  EXPECT_TRUE(other.checkLoginAgainAndCert(vrm, error, otherToken));

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session", "POST /service/session"));
}

TEST_F(TokenCache, EndsTheSessionThatTheCallerHandsIn) {
  token.authToken = "abc";

  EXPECT_TRUE(check());

  EXPECT_THAT(manager.lines(), ElementsAre("DELETE /service/session", "POST /service/session"));
  EXPECT_EQ(tokenOf(0), "abc");
}

TEST_F(TokenCache, HoldsNothingAfterAFailedLogin) {
  EXPECT_TRUE(check());
  manager.serves("POST", kSession, refusal(401, "10100103"));
  clock.set(1901);

  EXPECT_FALSE(check());

  EXPECT_TRUE(api.tokenMap.empty());
  EXPECT_EQ(token.authToken, "");
  EXPECT_EQ(token.validTime, 0U);
  EXPECT_EQ(error.errorCode, "10100103");
  EXPECT_EQ(error.errorDescription,
            "User name or password is incorrect, or the user types is not the docking interface "
            "user.");
  EXPECT_EQ(log.texts(4).back(), "checkLoginAgainAndCert: logIn is failed,reason is 10100103");
}

TEST_F(TokenCache, ReportsAFailedTransferOfALoginByItsCodeAlone) {
  manager.serves("POST", kSession, hangUp());

  EXPECT_FALSE(check());

  EXPECT_EQ(error.errorCode, "2002");
  EXPECT_EQ(error.errorDescription, kNoErrorText);
}

TEST_F(TokenCache, ReportsAMissingRoleAndSendsNoLogout) {
  manager.serves("POST", kSession,
                 bytes("HTTP/1.1 200 OK\r\nX-Auth-Token: abc\r\nContent-Length: 38\r\n\r\n"
                       R"({"validity":9,"roleList":["operator"]})"));

  EXPECT_FALSE(check());

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session"));
  EXPECT_EQ(error.errorCode, "1006");
  EXPECT_EQ(error.errorDescription, "The user does not have administrator privileges.");
  EXPECT_TRUE(api.tokenMap.empty());
}

TEST_F(TokenCache, KeepsTheDefaultsWhenTheLoginAnswerBringsNoToken) {
  manager.serves("POST", kSession, ok(R"({"validity":9,"roleList":["sysadmin"]})"));

  EXPECT_FALSE(check());

  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_EQ(error.errorDescription, kNoErrorText);
  EXPECT_EQ(log.texts(4).back(), "checkLoginAgainAndCert: logIn is failed,reason is ");
}

TEST_F(TokenCache, LetsTheErrorOfALoginWithoutBodyThroughAndGoesOn) {
  manager.answers("POST", kSession, 1, status(200));

  EXPECT_THROW(check(), std::logic_error);
  EXPECT_TRUE(api.tokenMap.empty());

  EXPECT_TRUE(check());
  EXPECT_EQ(api.tokenMap.size(), 1U);
}

TEST_F(TokenCache, LogsInWhenTheClockIsBehindTheYear9999) {
  clock.set(253402300800);

  EXPECT_TRUE(check());

  EXPECT_EQ(token.startTime, 253402300800U);
}

TEST_F(TokenCache, LetsTheErrorOfTheClockThroughAndGoesOn) {
  EXPECT_TRUE(check());
  clock.set(std::numeric_limits<std::time_t>::max());
  EXPECT_THROW(check(), std::runtime_error);
  clock.set(1001);

  EXPECT_TRUE(check());

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session"));
}

}  // namespace
}  // namespace kestrelvisor::test
