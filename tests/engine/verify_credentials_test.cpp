#include "platform/contract/helpers.h"
#include "tests/engine/engine_fixture.h"

#include <stdexcept>

namespace kestrelvisor::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::uint64_t kDetail = 20086;

std::string uuidOf(std::string text) { return EnvProxy_string_to_uuid(text); }

Parameters failureText(const std::string& text) { return {text, "", ""}; }

class VerifyCredentials : public EngineTest {
 protected:
  EnvProxyResult verify(const EnvironmentPath& path) {
    return engine.VerifyCredentials(path, description, guid);
  }
  void expectUntouched() const {
    EXPECT_EQ(description, "as it was");
    EXPECT_EQ(guid, "as it was, too");
  }
  std::string guid = "as it was, too";
};

TEST_F(VerifyCredentials, SucceedsWithOkAndTheGuidOfTheSite) {
  const EnvProxyResult result = verify(manager.path());

  EXPECT_THAT(result, IsBare(0));
  EXPECT_EQ(description, "OK");
  EXPECT_EQ(guid, uuidOf("/service/sites/1"));
  EXPECT_TRUE(log.has(0, "new VRM GUID is :" + guid));
}

TEST_F(VerifyCredentials, TellsItsStepsInTheLog) {
  verify(manager.path());

  EXPECT_TRUE(log.has(2, "KestrelVisorPublic::VerifyCredentials: VRM username: backup"));
  EXPECT_TRUE(log.has(1, "KestrelVisorPublic::validateCredential: Start to validate cred."));
  EXPECT_TRUE(log.has(1, "KestrelVisorPublic::validateCredential: port and protocol type" +
                             std::to_string(manager.port()) + " 0"));
  EXPECT_THAT(log.texts(4), IsEmpty());
}

TEST_F(VerifyCredentials, GivesTwoAddressesOfAManagerOneGuid) {
  verify(manager.path());
  const std::string first = guid;
  FakeManager again("127.0.0.2");
  again.serves("GET", kVersions, ok(R"({"versions":[{"version":"v6.5"}]})"));
  again.serves("GET", kSites, ownSite(again.address()));
  KestrelVisorEngine other;

  other.VerifyCredentials(again.path(), description, guid);

  EXPECT_EQ(guid, first);
  EXPECT_EQ(again.lines().size(), 5U);
  KestrelVisorPublic::getInstance().restApi.tokenMap.clear();
}

TEST_F(VerifyCredentials, WithoutAnOwnSiteGivesTheGuidOfTheEmptyText) {
  manager.serves("GET", kSites, ok(R"({"sites":[]})"));

  EXPECT_THAT(verify(manager.path()), IsBare(0));

  EXPECT_EQ(guid, uuidOf(""));
}

TEST_F(VerifyCredentials, FailsWhenNobodyListens) {
  EnvironmentPath path = manager.path();
  path.set_port(0, unusedPort(manager.address()));

  const EnvProxyResult result = verify(path);

  EXPECT_THAT(
      result,
      HasDetail(107, kDetail, failureText("Couldn't connect to server. The error code is 2000.")));
  EXPECT_TRUE(log.has(4, " Get VRM information failed !"));
  expectUntouched();
}

TEST_F(VerifyCredentials, FailsWithTheManagersWordsWhenTheFirstLoginIsRefused) {
  manager.serves("POST", kSession, refusal(401, "10100103", "no"));

  const EnvProxyResult result = verify(manager.path());

  EXPECT_THAT(result, HasDetail(107, kDetail,
                                failureText("User name or password is incorrect, or the user types "
                                            "is not the docking interface user. The error code is "
                                            "10100103.")));
  EXPECT_TRUE(log.has(4, " Get VRM information failed !"));
  EXPECT_TRUE(log.withText(" Verify Credentials failed !").empty());
  expectUntouched();
}

TEST_F(VerifyCredentials, WithoutACodeFailsWithTheDefaults) {
  manager.serves("GET", kSites, status(500, "<html>"));

  EXPECT_THAT(verify(manager.path()),
              HasDetail(107, kDetail, failureText("internal error. The error code is 00000000.")));
}

struct SecondFailure {
  const char* code;
  int number;
  const char* text;
};

class SecondFailureTest : public VerifyCredentials,
                          public ::testing::WithParamInterface<SecondFailure> {};

TEST_P(SecondFailureTest, IsToldInTheHostsWords) {
  const SecondFailure& failure = GetParam();
  manager.answers("GET", kSites, 2, refusal(500, failure.code, "the manager's words"));

  const EnvProxyResult result = verify(manager.path());

  const std::string code = failure.code;
  const std::string text = failure.text;
  EXPECT_THAT(result,
              HasDetail(107, kDetail, failureText(text + " The error code is " + code + ".")));
  EXPECT_TRUE(log.has(4, " Verify Credentials failed !"));
  EXPECT_TRUE(
      log.has(1, "Failed to validate credential,Error Code: " + std::to_string(failure.number)));
  EXPECT_TRUE(log.has(2, "Errer Des: " + text));
  expectUntouched();
}

constexpr const char* kWrongPassword = "Miss or input wrong KestrelVisor VRM username/password.";
constexpr const char* kUnreachable = "Can not connect to the specified KestrelVisor VRM.";
constexpr const char* kNoCertificate = "Failed to get KestrelVisor VRM ceritificate";
constexpr const char* kAnyOther = "KestrelVisor Engine internal error.";

INSTANTIATE_TEST_SUITE_P(VerifyCredentials, SecondFailureTest,
                         ::testing::Values(SecondFailure{"10100101", 1138754051, kWrongPassword},
                                           SecondFailure{"10100103", 1138754051, kWrongPassword},
                                           SecondFailure{"connectfailed", 1138754054, kUnreachable},
                                           SecondFailure{"1005", 1138754054, kUnreachable},
                                           SecondFailure{"2406", 1080000001, kNoCertificate},
                                           SecondFailure{"2405", 1080000002, kAnyOther},
                                           SecondFailure{"10100307", 1138754063, kAnyOther},
                                           SecondFailure{"99999999", 1077949019, kAnyOther}),
                         [](const auto& row) { return std::string("Code") + row.param.code; });

TEST_F(VerifyCredentials, CountsACodeThatStandsForSuccessAsSuccess) {
  manager.answers("GET", kSites, 2, refusal(500, "10100110"));

  const EnvProxyResult result = verify(manager.path());

  EXPECT_THAT(result, IsBare(0));
  EXPECT_EQ(description, kAnyOther);
  EXPECT_EQ(guid, uuidOf("/service/sites/1"));
}

TEST_F(VerifyCredentials, GoesToTheAddressThatTheSiteReports) {
  manager.serves("GET", kSites, ownSite("127.0.0.9"));

  const EnvProxyResult result = verify(manager.path());

  EXPECT_THAT(
      result,
      HasDetail(107, kDetail, failureText(std::string(kUnreachable) + " The error code is 2000.")));
  EXPECT_TRUE(log.has(4, "Send mssage to VRM failed, url=http://127.0.0.9:" +
                             std::to_string(manager.port()) + "/service/session"));
}

struct Protocol {
  const char* name;
  int value;
  const char* scheme;
};

class ProtocolTest : public VerifyCredentials, public ::testing::WithParamInterface<Protocol> {};

TEST_P(ProtocolTest, SelectsTheScheme) {
  EnvironmentPath path = manager.path();
  path.set_protocol(0, GetParam().value);
  path.set_port(0, unusedPort(manager.address()));

  verify(path);

  EXPECT_TRUE(log.has(0, std::string("URL=") + GetParam().scheme +
                             "://127.0.0.1:" + std::to_string(path.port(0)) + "/service/versions"));
}

INSTANTIATE_TEST_SUITE_P(VerifyCredentials, ProtocolTest,
                         ::testing::Values(Protocol{"Zero", 0, "https"}, Protocol{"One", 1, "http"},
                                           Protocol{"Two", 2, "https"},
                                           Protocol{"Negative", -1, "https"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(VerifyCredentials, ReadsAnEmptyRequestAsEmptyTextsAndZeros) {
  const EnvProxyResult result = verify(EnvironmentPath());

  EXPECT_TRUE(log.has(0, "URL=https://:0/service/versions"));
  EXPECT_EQ(result.status, 107);
  EXPECT_EQ(manager.connections(), 0U);
  expectUntouched();
}

TEST_F(VerifyCredentials, CannotDecryptAnAbsentPassword) {
  EnvironmentPath path = manager.path();
  path.clear_password();

  EXPECT_THAT(verify(path),
              HasDetail(107, kDetail, failureText("internal error. The error code is 00000000.")));

  EXPECT_TRUE(log.has(4, "Decryption failed !"));
  EXPECT_THAT(manager.lines(), ElementsAre("GET /service/versions"));
}

TEST_F(VerifyCredentials, NeedsNoCertificateOverPlainHttp) {
  EnvironmentPath path = manager.path();
  path.clear_cert();

  EXPECT_THAT(verify(path), IsBare(0));
}

TEST_F(VerifyCredentials, ReadsTheFirstOfSeveralElements) {
  EnvironmentPath path = manager.path();
  path.add_hv_address("127.0.0.9");
  path.add_username("other");
  path.add_port(1);

  EXPECT_THAT(verify(path), IsBare(0));
}

TEST_F(VerifyCredentials, LetsAnExceptionThroughAndWorksAgainAfterwards) {
  manager.answers("GET", kVersions, 1, ok(R"({"versions":[{"version":""}]})"));

  EXPECT_THROW(verify(manager.path()), std::out_of_range);

  expectUntouched();
  EXPECT_THAT(verify(manager.path()), IsBare(0));
}

}  // namespace
}  // namespace kestrelvisor::test
