#include "tests/rest/rest_fixture.h"

#include <json/json.h>

#include <array>
#include <cstdint>
#include <new>
#include <stdexcept>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSession = "/service/session";
constexpr const char* kGoodBody = R"({"validity":1800000,"roleList":["administrator"]})";
constexpr const char* kNoPrivileges = "The user does not have administrator privileges.";

Answer loginAnswer(const std::string& body, const std::string& headers) {
  return bytes("HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body);
}

std::string digestOf(const char* text) {
  std::string digest = "replaced";
  kestrelvisor_engine_sha256(text, digest);
  return digest;
}

TEST(PasswordDigest, IsSixtyFourLowerCaseDigitsWithLeadingZeros) {
  EXPECT_EQ(digestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(digestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(PasswordDigest, EndsAtTheFirstNul) { EXPECT_EQ(digestOf("abc\0def"), digestOf("abc")); }

class Login : public RestTest {
 protected:
  Login() { token.authToken = "stale"; }

  bool logIn() { return api.logIn(plain, status_, code, token, message); }
  void answers(const std::string& body, const std::string& headers = "X-Auth-Token: abc\r\n") {
    manager.serves("POST", kSession, loginAnswer(body, headers));
  }

  VRM_INFO plain = decrypted();
  SetClock clock{5000};
  KestrelVisorCertToken token;
  std::string status_ = "status";
  std::string code = "code";
  std::string message = "message";
};

TEST_F(Login, FillsTheTokenFromHeaderBodyAndClock) {
  answers(kGoodBody);

  EXPECT_TRUE(logIn());

  EXPECT_EQ(token.authToken, "abc");
  EXPECT_EQ(token.validTime, 1800U);
  EXPECT_EQ(token.startTime, 5000U);
  EXPECT_EQ(status_, "200");
  EXPECT_EQ(code, "code");
  EXPECT_EQ(message, "message");
  EXPECT_THAT(log.texts(4), IsEmpty());
}

TEST_F(Login, EntersNothingIntoTheCache) {
  EXPECT_TRUE(logIn());

  EXPECT_TRUE(api.tokenMap.empty());
}

TEST_F(Login, MakesTheVersionOfTheRecordTheOneOfTheClient) {
  plain.restVersion = "6.5";

  EXPECT_TRUE(logIn());

  EXPECT_EQ(api.getProtocolVersion(), "6.5");
}

TEST_F(Login, SendsTheDigestOfThePassword) {
  plain.clientPassword = "abc";

  EXPECT_TRUE(logIn());

  EXPECT_EQ(manager.journal()[0].header("X-Auth-Key"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(plain.clientPassword, "abc");
}

TEST_F(Login, NeverSendsAnOldToken) {
  EXPECT_TRUE(logIn());

  EXPECT_EQ(manager.journal()[0].header("X-Auth-Token"), "(none)");
}

TEST_F(Login, TrimsTheTokenOfItsHeader) {
  answers(kGoodBody, "X-Auth-Token:  abc \r\n");

  EXPECT_TRUE(logIn());

  EXPECT_EQ(token.authToken, "abc");
}

TEST_F(Login, WithoutTokenHeaderFailsWithCodeAndMessageUntouched) {
  answers(kGoodBody, "");

  EXPECT_FALSE(logIn());

  EXPECT_EQ(token.authToken, "");
  EXPECT_EQ(status_, "200");
  EXPECT_EQ(code, "code");
  EXPECT_EQ(message, "message");
  EXPECT_THAT(log.texts(4), ElementsAre("Login failed, url=" + url(kSession)));
}

TEST_F(Login, DoesNotKnowATokenHeaderInLowerCase) {
  answers(kGoodBody, "x-auth-token: abc\r\n");

  EXPECT_FALSE(logIn());

  EXPECT_EQ(token.authToken, "");
}

TEST_F(Login, WithAWrongPasswordFailsWithTheFixedMessage) {
  manager.serves("POST", kSession, refusal(401, "10100103", "told by the manager"));

  EXPECT_FALSE(logIn());

  EXPECT_EQ(status_, "401");
  EXPECT_EQ(code, "10100103");
  EXPECT_EQ(message,
            "User name or password is incorrect, or the user types is not the docking interface "
            "user.");
  EXPECT_THAT(
      log.texts(4),
      ElementsAre(
          "Invoke KestrelVisor_rest_api::logIn failed, the error code is 10100103(" + message + ")",
          "Login failed, url=" + url(kSession)));
}

TEST_F(Login, RefusedWithoutBodyGivesTheStatus) {
  manager.serves("POST", kSession, status(503));

  EXPECT_FALSE(logIn());

  EXPECT_EQ(status_, "503");
  EXPECT_EQ(code, "503");
  EXPECT_EQ(message, "other error");
}

TEST_F(Login, IsNotGoodWithAnyOtherGoodStatus) {
  manager.serves("POST", kSession, status(201, kGoodBody));

  EXPECT_FALSE(logIn());

  EXPECT_EQ(status_, "201");
  EXPECT_EQ(code, "");
}

TEST_F(Login, WhoseTransferFailsKeepsTheMessageAndTheStatus) {
  manager.serves("POST", kSession, hangUp());

  EXPECT_FALSE(logIn());

  EXPECT_EQ(manager.connections(), 2U);
  EXPECT_EQ(status_, "status");
  EXPECT_EQ(code, "2002");
  EXPECT_EQ(message, "message");
  EXPECT_EQ(token.authToken, "");
  EXPECT_EQ(log.texts(4).back(), "Send mssage to VRM failed, url=" + url(kSession));
}

TEST_F(Login, WhoseRepeatWorksIsGoodAndKeepsTheCodeOfTheAttempt) {
  manager.answers("POST", kSession, 1, reset());

  EXPECT_TRUE(logIn());

  EXPECT_EQ(manager.connections(), 2U);
  EXPECT_EQ(code, "2002");
  EXPECT_EQ(message, "message");
}

TEST_F(Login, WithoutBodyThrowsAndTheClientGoesOn) {
  manager.answers("POST", kSession, 1, loginAnswer("", "X-Auth-Token: abc\r\n"));

  EXPECT_THROW(logIn(), std::logic_error);
  EXPECT_EQ(token.authToken, "");

  EXPECT_TRUE(logIn());
}

TEST_F(Login, WithoutAcceptedRoleLeavesTheTokenEmptyButDated) {
  answers(R"({"validity":1800000,"roleList":["operator"]})");

  EXPECT_FALSE(logIn());

  EXPECT_EQ(code, "1006");
  EXPECT_EQ(message, kNoPrivileges);
  EXPECT_EQ(token.authToken, "");
  EXPECT_EQ(token.validTime, 1800U);
  EXPECT_EQ(token.startTime, 5000U);
  EXPECT_THAT(log.texts(4), ElementsAre("Login failed, url=" + url(kSession)));
}

struct LoginBody {
  const char* name;
  const char* body;
  bool accepted;
};
class LoginBodyTest : public ::testing::TestWithParam<LoginBody> {};

TEST_P(LoginBodyTest, DecidesByItsRoles) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;
  std::string code = "code";
  std::string message = "message";

  EXPECT_EQ(api.processLoginReponseCodeOK("HTTP/1.1 200 OK\r\nX-Auth-Token: abc\r\n",
                                          GetParam().body, code, message, token),
            GetParam().accepted);

  EXPECT_EQ(token.authToken, GetParam().accepted ? "abc" : "");
  EXPECT_EQ(code, GetParam().accepted ? "code" : "1006");
  EXPECT_EQ(message, GetParam().accepted ? "message" : kNoPrivileges);
}

INSTANTIATE_TEST_SUITE_P(
    Accepted, LoginBodyTest,
    ::testing::Values(
        LoginBody{"administrator", R"({"validity":1,"roleList":["administrator"]})", true},
        LoginBody{"sysadmin", R"({"validity":1,"roleList":["sysadmin"]})", true},
        LoginBody{"Administrator", R"({"validity":1,"roleList":["Administrator"]})", true},
        LoginBody{"Sysadmin", R"({"validity":1,"roleList":["Sysadmin"]})", true},
        LoginBody{"BehindAnother", R"({"validity":1,"roleList":["operator","sysadmin"]})", true},
        LoginBody{"ObjectOfRoles", R"({"validity":1,"roleList":{"a":"sysadmin"}})", true},
        LoginBody{"TrailingText", R"({"validity":1,"roleList":["sysadmin"]} and more)", true}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Refused, LoginBodyTest,
    ::testing::Values(
        LoginBody{"UpperCase", R"({"validity":1,"roleList":["SYSADMIN"]})", false},
        LoginBody{"MixedCase", R"({"validity":1,"roleList":["SysAdmin"]})", false},
        LoginBody{"Longer", R"({"validity":1,"roleList":["administrators"]})", false},
        LoginBody{"WithBlank", R"({"validity":1,"roleList":[" administrator"]})", false},
        LoginBody{"NoRole", R"({"validity":1,"roleList":[]})", false},
        LoginBody{"RoleListIsAText", R"({"validity":1,"roleList":"administrator"})", false},
        LoginBody{"RoleListIsNull", R"({"validity":1,"roleList":null})", false},
        LoginBody{"RoleListIsMissing", R"({"validity":1})", false},
        LoginBody{"ValidityIsNull", R"({"validity":null,"roleList":["sysadmin"]})", false},
        LoginBody{"ValidityIsMissing", R"({"roleList":["sysadmin"]})", false},
        LoginBody{"NoJson", "<html>", false}, LoginBody{"Empty", "", false},
        LoginBody{"NullRoot", "null", false},
        LoginBody{"ArrayRoot", R"([{"validity":1,"roleList":["sysadmin"]}])", false},
        LoginBody{"TextRoot", R"("roleList")", false}, LoginBody{"NumberRoot", "7", false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(LoginRoles, AreLoggedUpToTheFirstMatch) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;

  EXPECT_TRUE(
      api.chkUserRole(R"({"validity":1,"roleList":["operator","sysadmin","more"]})", token));

  EXPECT_THAT(log.texts(0), ElementsAre("KestrelVisorEngine::chkUserRole: operator",
                                        "KestrelVisorEngine::chkUserRole: sysadmin"));
}

TEST(LoginRoles, BehindDeepNestingCannotBeRead) {
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;
  const std::string deep = std::string(201, '[') + std::string(201, ']');

  EXPECT_FALSE(
      api.chkUserRole(R"({"validity":1,"roleList":["sysadmin"],"deep":)" + deep + "}", token));
}

struct Validity {
  const char* name;
  const char* thousandths;
  std::uint64_t seconds;
};
class ValidityTest : public ::testing::TestWithParam<Validity> {};

TEST_P(ValidityTest, IsHeldInSeconds) {
  const SetClock clock(77);
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;

  EXPECT_FALSE(api.chkUserRole(
      std::string(R"({"roleList":[],"validity":)") + GetParam().thousandths + "}", token));

  EXPECT_EQ(token.validTime, GetParam().seconds);
  EXPECT_EQ(token.startTime, 77U);
}

INSTANTIATE_TEST_SUITE_P(RestClient, ValidityTest,
                         ::testing::Values(Validity{"HalfAnHour", "1800000", 1800},
                                           Validity{"LessThanASecond", "999", 0},
                                           Validity{"Truncated", "1999", 1},
                                           Validity{"Zero", "0", 0},
                                           Validity{"Greatest", "2147483647", 2147483},
                                           Validity{"NegativeWraps", "-1000", UINT64_MAX},
                                           Validity{"SmallNegativeIsZero", "-999", 0},
                                           Validity{"Fraction", "1999.9", 1}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ValidityOfTheWrongType, ThrowsAndTheClientGoesOn) {
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;
  for (const char* validity : {"\"1800000\"", "[1]", "{}", "2147483648", "1e300"}) {
    const std::string body =
        std::string(R"({"roleList":["sysadmin"],"validity":)") + validity + "}";
    EXPECT_THROW(api.chkUserRole(body, token), Json::Exception) << validity;
  }
  EXPECT_TRUE(api.chkUserRole(R"({"validity":1,"roleList":["sysadmin"]})", token));
}

TEST(RoleOfTheWrongType, Throws) {
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;

  EXPECT_THROW(api.chkUserRole(R"({"validity":1,"roleList":[["sysadmin"]]})", token),
               Json::Exception);
}

class Logout : public RestTest {
 protected:
  Logout() {
    token.authToken = "abc";
    token.validTime = 5;
    token.startTime = 6;
    api.tokenMap.insert({manager.address(), VRMCertTokenInfo{vrm, KestrelVisorCertToken()}});
    api.tokenMap.insert({"127.0.0.9", VRMCertTokenInfo{vrm, KestrelVisorCertToken()}});
  }

  std::vector<std::string> addresses() const {
    std::vector<std::string> keys;
    for (const auto& [address, session] : api.tokenMap) keys.push_back(address);
    return keys;
  }
  void expectReset() const {
    EXPECT_EQ(token.authToken, "");
    EXPECT_EQ(token.validTime, 0U);
    EXPECT_EQ(token.startTime, 0U);
  }

  KestrelVisorCertToken token;
};

TEST_F(Logout, EndsTheSessionOfTheTokenAndForgetsTheAddressAlone) {
  api.logoutFromKestrelVisor(vrm, token);

  ASSERT_THAT(manager.lines(), ElementsAre("DELETE /service/session"));
  EXPECT_EQ(manager.journal()[0].header("X-Auth-Token"), "abc");
  EXPECT_THAT(addresses(), ElementsAre("127.0.0.9"));
  expectReset();
}

TEST_F(Logout, WithAnEmptyTokenSendsNothing) {
  token.authToken.clear();

  api.logoutFromKestrelVisor(vrm, token);

  EXPECT_THAT(manager.lines(), IsEmpty());
  EXPECT_THAT(addresses(), ElementsAre("127.0.0.9"));
  expectReset();
}

TEST_F(Logout, ThatFailsLeavesACleanStateAllTheSame) {
  manager.serves("DELETE", kSession, status(500));

  api.logoutFromKestrelVisor(vrm, token);

  EXPECT_THAT(addresses(), ElementsAre("127.0.0.9"));
  expectReset();
}

TEST_F(Logout, ReportsTheCodeOfAFailedRequest) {
  manager.serves("DELETE", kSession, status(500));
  std::string first = "first";
  std::string code = "code";
  std::string third = "third";

  EXPECT_FALSE(api.logOut(vrm, first, code, third, token));

  EXPECT_EQ(first, "");
  EXPECT_EQ(code, "500");
  EXPECT_EQ(third, "third");
  EXPECT_EQ(token.authToken, "abc");
}

TEST_F(Logout, ReportsTheDefaultCodeWhenTheRefusalBringsNone) {
  manager.serves("DELETE", kSession, status(500, "<html>"));
  std::string first;
  std::string code = "code";
  std::string third;

  EXPECT_FALSE(api.logOut(vrm, first, code, third, token));

  EXPECT_EQ(code, kNoErrorCode);
}

TEST_F(Logout, ThatWorksLeavesTheCode) {
  std::string first = "first";
  std::string code = "code";
  std::string third = "third";

  EXPECT_TRUE(api.logOut(vrm, first, code, third, token));

  EXPECT_EQ(first, "");
  EXPECT_EQ(code, "code");
}

TEST_F(Logout, OfTheDestructorLeavesCacheAndTokenAndTellsItsWay) {
  EXPECT_TRUE(api.logOutFromVrm(vrm, token));

  EXPECT_EQ(token.authToken, "abc");
  EXPECT_EQ(addresses().size(), 2U);
  EXPECT_THAT(log.texts(1), ElementsAre("Enter vrmip: 127.0.0.1",
                                        "Get returned info from VRM:{},returned http code:200",
                                        "Exit vrm: 127.0.0.1"));
}

TEST_F(Logout, OfTheDestructorWarnsWhenItFails) {
  manager.serves("DELETE", kSession, status(404));

  EXPECT_FALSE(api.logOutFromVrm(vrm, token));

  EXPECT_THAT(log.texts(3),
              ElementsAre("sendMessageToVrm failed 127.0.0.1 reason: 404 Page not found"));
}

TEST_F(Logout, IsNotRepeatedByALoginWhenTheSessionIsGone) {
  manager.serves("DELETE", kSession, refusal(401, "10000002"));

  EXPECT_FALSE(api.logOutFromVrm(vrm, token));

  EXPECT_THAT(manager.lines(), ElementsAre("DELETE /service/session"));
}

bool holds(const char* memory, std::size_t size, std::string_view secret) {
  return std::string_view(memory, size).find(secret) != std::string_view::npos;
}

TEST(SessionRecord, StartsEmpty) {
  KestrelVisorCertToken token;
  token.authToken = "abc";
  token.validTime = 1;
  token.startTime = 2;

  SetDefaultValueForKestrelVisorCertToken(token);

  EXPECT_EQ(token.authToken, "");
  EXPECT_EQ(token.validTime, 0U);
  EXPECT_EQ(token.startTime, 0U);
}

// A short token lies within the record itself, so its memory can be looked at afterwards.
TEST(SessionRecord, WipesItsTokenWhenItEnds) {
  alignas(KestrelVisorCertToken) std::array<char, sizeof(KestrelVisorCertToken)> memory{};
  auto* const token = new (memory.data()) KestrelVisorCertToken;
  token->authToken = "short-secret";
  ASSERT_TRUE(holds(memory.data(), memory.size(), "short-secret"));

  token->~KestrelVisorCertToken();

  EXPECT_FALSE(holds(memory.data(), memory.size(), "secret"));
}

TEST(SessionRecord, WipesATokenThatIsReplaced) {
  KestrelVisorCertToken token;
  token.authToken = "short-secret";  // short enough to stand inside the record
  ASSERT_TRUE(holds(reinterpret_cast<const char*>(&token), sizeof token, "secret"));
  KestrelVisorCertToken other;
  other.authToken = "x";

  token = other;

  EXPECT_FALSE(holds(reinterpret_cast<const char*>(&token), sizeof token, "secret"));
  EXPECT_EQ(token.authToken, "x");
}

TEST(SessionRecord, KeepsItsTokenWhenItIsAssignedToItself) {
  KestrelVisorCertToken token;
  token.authToken = "abc";
  const KestrelVisorCertToken& same = token;

  token = same;

  EXPECT_EQ(token.authToken, "abc");
}

}  // namespace
}  // namespace kestrelvisor::test
