#include "tests/rest/rest_fixture.h"

#include <json/json.h>

#include <algorithm>
#include <stdexcept>
#include <type_traits>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSites = "/service/sites";
constexpr const char* kLogin = "POST /service/session";
constexpr const char* kLogoutLine = "DELETE /service/session";
constexpr const char* kQuery = "GET /service/sites";

class AuthenticatedRequest : public RestTest {
 protected:
  bool query(const std::string& key = "sites") {
    return api.getJSonObjFromKestrelVisor(vrm, kSites, key, error, root);
  }
  bool has(const std::string& address) const { return api.tokenMap.count(address) == 1; }

  Json::Value root;
};

TEST_F(AuthenticatedRequest, HandsBackTheWholeDocument) {
  manager.serves("GET", kSites, ok(R"({"sites":[1,2],"more":3})"));

  EXPECT_TRUE(query());

  EXPECT_EQ(root["sites"].size(), 2U);
  EXPECT_EQ(root["more"].asInt(), 3);
  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery));
  EXPECT_EQ(manager.journal()[1].header("X-Auth-Token"), "fake-session-token-1");
  EXPECT_TRUE(log.has(1, "getJSonObjFromJsonStr OK!"));
}

TEST_F(AuthenticatedRequest, UsesTheSessionOfTheOneBefore) {
  manager.serves("GET", kSites, ok(R"({"sites":[]})"));

  EXPECT_TRUE(query());
  EXPECT_TRUE(query());

  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery, kQuery));
}

TEST_F(AuthenticatedRequest, WithoutKeyHandsBackTheWholeDocument) {
  manager.serves("GET", kSites, ok(R"({"more":3})"));

  EXPECT_TRUE(query(""));

  EXPECT_EQ(root["more"].asInt(), 3);
  EXPECT_TRUE(
      log.has(1, "getJSonObjFromJsonStr: Just return all the jsonObj. GetJSonObjFromJsonStr OK!"));
}

TEST_F(AuthenticatedRequest, LogsInOnceMoreWhenTheManagerHasEndedTheSession) {
  manager.serves("GET", kSites, ok(R"({"sites":[]})"));
  manager.answers("GET", kSites, 2, refusal(401, "10000002"));
  ASSERT_TRUE(query());

  EXPECT_TRUE(query());

  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery, kQuery, kLogin, kQuery));
  EXPECT_EQ(manager.journal()[2].header("X-Auth-Token"), "fake-session-token-1");
  EXPECT_EQ(manager.journal()[4].header("X-Auth-Token"), "fake-session-token-2");
  EXPECT_EQ(api.tokenMap.at(manager.address()).certToken.authToken, "fake-session-token-2");
}

TEST_F(AuthenticatedRequest, KeepsTheCodeOfAnEndedSessionThoughTheRepeatWorked) {
  manager.serves("GET", kSites, ok(R"({"sites":[]})"));
  manager.answers("GET", kSites, 1, refusal(401, "10000002", "session ended"));

  EXPECT_TRUE(query());

  EXPECT_EQ(error.errorCode, "10000002");
  EXPECT_EQ(error.errorDescription, "session ended");
}

TEST_F(AuthenticatedRequest, TakesTheCodeOfAnEndedSessionAsANumberToo) {
  manager.serves("GET", kSites, ok(R"({"sites":[]})"));
  manager.answers("GET", kSites, 1, status(401, R"({"errorCode":10000002})"));

  EXPECT_TRUE(query());

  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery, kLogin, kQuery));
}

TEST_F(AuthenticatedRequest, GivesUpWhenTheNewSessionIsGoneToo) {
  manager.serves("GET", kSites, refusal(401, "10000002", "session ended"));

  EXPECT_FALSE(query());

  // The query's own token is the one that it logs out with.
  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery, kLogin, kQuery, kLogoutLine));
  EXPECT_EQ(manager.journal()[4].header("X-Auth-Token"), "fake-session-token-1");
  EXPECT_EQ(error.errorCode, "10000002");
  EXPECT_FALSE(has(manager.address()));
  EXPECT_EQ(log.texts(4).back(), "sendMessageToVrmRetry failed");
}

TEST_F(AuthenticatedRequest, ReportsTheFailureOfTheRepeat) {
  manager.answers("GET", kSites, 1, refusal(401, "10000002", "session ended"));
  manager.answers("GET", kSites, 2, status(404));

  EXPECT_FALSE(query());

  EXPECT_EQ(error.errorCode, "2404");
  EXPECT_EQ(error.errorDescription, "404 Page not found");
  EXPECT_FALSE(has(manager.address()));
}

TEST_F(AuthenticatedRequest, ReportsAFailedNewLogin) {
  manager.answers("POST", "/service/session", 2, refusal(401, "10100103"));
  manager.serves("GET", kSites, refusal(401, "10000002"));

  EXPECT_FALSE(query());

  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery, kLogin, kLogoutLine));
  EXPECT_EQ(error.errorCode, "10100103");
  EXPECT_TRUE(log.has(4, "checkLoginAgainAndCert failed"));
  EXPECT_FALSE(has(manager.address()));
}

TEST_F(AuthenticatedRequest, LeavesTheCallersTokenWhenItLogsInAnew) {
  manager.answers("GET", kSites, 1, refusal(401, "10000002"));
  manager.answers("GET", kSites, 2, ok("{}"));
  KestrelVisorCertToken token;
  token.authToken = "abc";
  std::string response;

  EXPECT_TRUE(
      api.sendMessageToVrmRetry(vrm, token, SEND_METHOD_GET, url(kSites), "", response, error));

  EXPECT_EQ(token.authToken, "abc");
  EXPECT_EQ(response, "{}");
  EXPECT_THAT(manager.lines(), ElementsAre(kQuery, kLogin, kQuery));
}

TEST_F(AuthenticatedRequest, RepeatsMethodAndBodyAfterTheNewLogin) {
  manager.answers("POST", kSites, 1, refusal(401, "10000002"));
  manager.answers("POST", kSites, 2, ok("{}"));
  KestrelVisorCertToken token;

  EXPECT_TRUE(api.sendMessageToVrm(vrm, token, SEND_METHOD_POST, url(kSites), "{\"a\":1}", error));

  ASSERT_EQ(manager.journal().size(), 3U);
  EXPECT_EQ(manager.journal()[2].line(), "POST /service/sites");
  EXPECT_EQ(manager.journal()[2].body, "{\"a\":1}");
}

TEST_F(AuthenticatedRequest, LogsInAnewForAStaleCodeOfAnEarlierFailure) {
  manager.answers("GET", kSites, 1, status(400, "<html>"));
  manager.answers("GET", kSites, 2, ok(R"({"sites":[]})"));
  error.errorCode = "10000002";

  EXPECT_TRUE(query());

  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery, kLogin, kQuery));
}

struct FailedQuery {
  const char* name;
  Answer answer;
  const char* code;
};
class FailedQueryTest : public AuthenticatedRequest,
                        public ::testing::WithParamInterface<FailedQuery> {};

TEST_P(FailedQueryTest, EndsTheSessionAndTheNextLogsInAnew) {
  manager.serves("GET", kSites, GetParam().answer);

  EXPECT_FALSE(query());

  EXPECT_EQ(error.errorCode, GetParam().code);
  EXPECT_FALSE(has(manager.address()));
  EXPECT_EQ(manager.lines().back(), kLogoutLine);
  EXPECT_EQ(manager.journal().back().header("X-Auth-Token"), "fake-session-token-1");
  EXPECT_TRUE(log.has(4, "sendMessageToVrmRetry failed"));

  manager.serves("GET", kSites, ok(R"({"sites":[]})"));
  EXPECT_TRUE(query());
  EXPECT_EQ(manager.journal().back().header("X-Auth-Token"), "fake-session-token-2");
}

INSTANTIATE_TEST_SUITE_P(
    RestClient, FailedQueryTest,
    ::testing::Values(FailedQuery{"MissingPage", status(404), "2404"},
                      FailedQuery{"ServerError", status(500), "500"},
                      FailedQuery{"Refusal", refusal(403, "10300001"), "10300001"},
                      FailedQuery{"ReleasedTask", refusal(409, "10300402"), "10300402"},
                      FailedQuery{"UnreadableRefusal", status(502, "<html>"), kNoErrorCode},
                      FailedQuery{"FailedTransfer", hangUp(), "2002"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(AuthenticatedRequest, ReportsAFailedLogin) {
  manager.serves("POST", "/service/session", status(503));

  EXPECT_FALSE(query());

  EXPECT_THAT(manager.lines(), ElementsAre(kLogin));
  EXPECT_EQ(error.errorCode, "503");
  EXPECT_EQ(log.texts(4).back(), "checkLoginAgainAndCert failed ");
}

TEST_F(AuthenticatedRequest, KeepsTheSessionWhenTheKeyIsMissing) {
  manager.serves("GET", kSites, ok(R"({"more":3})"));

  EXPECT_FALSE(query());

  EXPECT_EQ(root["more"].asInt(), 3);
  EXPECT_TRUE(has(manager.address()));
  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_THAT(log.texts(4), ElementsAre(R"(getJSonObjFromJsonStr:get root["sites"] is null!)"));
  EXPECT_THAT(manager.lines(), ElementsAre(kLogin, kQuery));
}

TEST_F(AuthenticatedRequest, KeepsTheSessionWhenTheAnswerCannotBeRead) {
  manager.serves("GET", kSites, ok("<html>"));

  EXPECT_FALSE(query());

  EXPECT_TRUE(has(manager.address()));
  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_THAT(log.texts(4), ElementsAre("getJSonObjFromJsonStr: parse the string is faild!"));
}

TEST_F(AuthenticatedRequest, CannotReadAnAnswerWithoutBody) {
  manager.serves("GET", kSites, status(200));

  EXPECT_FALSE(query());

  EXPECT_TRUE(has(manager.address()));
  EXPECT_THAT(log.texts(4), ElementsAre("getJSonObjFromJsonStr: parse the string is faild!"));
}

TEST_F(AuthenticatedRequest, SendsAUrlOfTheGreatestLength) {
  const std::size_t head = url("").size();
  const std::string uri = "/" + std::string(1023 - head - 1, 'x');
  manager.serves("GET", uri, ok("{}"));

  EXPECT_TRUE(api.getJSonObjFromKestrelVisor(vrm, uri, "", error, root));

  EXPECT_EQ(manager.journal().back().target, uri);
}

TEST_F(AuthenticatedRequest, RefusesALongerUrlBeforeItsRequest) {
  const std::size_t head = url("").size();
  const std::string uri = "/" + std::string(1024 - head - 1, 'x');

  EXPECT_FALSE(api.getJSonObjFromKestrelVisor(vrm, uri, "", error, root));

  EXPECT_THAT(manager.lines(), ElementsAre(kLogin));
  EXPECT_THAT(log.texts(4), ElementsAre("snprintf_s faild!"));
  EXPECT_TRUE(has(manager.address()));
  EXPECT_EQ(error.errorCode, kNoErrorCode);
}

TEST_F(AuthenticatedRequest, TakesAUriWithPercentSignsAsItIs) {
  manager.serves("GET", "/service/x?scope=%25s%d", ok("{}"));

  EXPECT_TRUE(api.getJSonObjFromKestrelVisor(vrm, "/service/x?scope=%25s%d", "", error, root));
}

struct DocumentWithoutKey {
  const char* name;
  const char* text;
};
class DocumentWithoutKeyTest : public ::testing::TestWithParam<DocumentWithoutKey> {};

TEST_P(DocumentWithoutKeyTest, FailsOnlyWhenAKeyIsWanted) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  Json::Value root;

  EXPECT_FALSE(api.getJSonObjFromJsonStr("key", GetParam().text, root));
  EXPECT_THAT(log.texts(4), ElementsAre(R"(getJSonObjFromJsonStr:get root["key"] is null!)"));

  EXPECT_TRUE(api.getJSonObjFromJsonStr("", GetParam().text, root));
  EXPECT_EQ(log.texts(4).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(RestClient, DocumentWithoutKeyTest,
                         ::testing::Values(DocumentWithoutKey{"OtherKeys", R"({"other":1})"},
                                           DocumentWithoutKey{"NullKey", R"({"key":null})"},
                                           DocumentWithoutKey{"NullRoot", "null"},
                                           DocumentWithoutKey{"ArrayRoot", R"([{"key":1}])"},
                                           DocumentWithoutKey{"TextRoot", R"("key")"},
                                           DocumentWithoutKey{"NumberRoot", "7"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Document, IsNotChangedByTheSearchForAKey) {
  KestrelVisor_rest_api api;
  Json::Value root;

  EXPECT_FALSE(api.getJSonObjFromJsonStr("key", R"({"other":1})", root));

  EXPECT_THAT(root.getMemberNames(), ElementsAre("other"));
}

TEST(Document, NestedTooDeeplyCannotBeRead) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  Json::Value root;
  const std::string deep = std::string(201, '[') + std::string(201, ']');

  EXPECT_FALSE(api.getJSonObjFromJsonStr("key", R"({"key":)" + deep + "}", root));

  EXPECT_THAT(log.texts(4), ElementsAre("getJSonObjFromJsonStr: parse the string is faild!"));
}

TEST(Document, MayBeFollowedByText) {
  KestrelVisor_rest_api api;
  Json::Value root;

  EXPECT_TRUE(api.getJSonObjFromJsonStr("key", R"({"key":1} and more)", root));
}

struct Conversion {
  const char* from;
  const char* to;
};

TEST(ObjectNames, OfAUriBecomeAUrn) {
  KestrelVisor_rest_api api;
  for (const Conversion& row :
       {Conversion{"/service/sites/1/vms/2", "urn:sites:1:vms:2"}, Conversion{"/abc/x", "urn"},
        Conversion{"plain", "plain"}, Conversion{"", ""}, Conversion{"/", "urn"},
        Conversion{"/servicex", "urnx"}, Conversion{"abcdefgh/i", "urn:i"},
        Conversion{"/service", "urn"}}) {
    EXPECT_EQ(api.uriToUrn(row.from), row.to) << row.from;
  }
}

TEST(ObjectNames, OfAUrnBecomeAUri) {
  KestrelVisor_rest_api api;
  for (const Conversion& row :
       {Conversion{"urn:sites:1:vms:2", "/service/sites/1/vms/2"}, Conversion{"ab:c", "/servicec"},
        Conversion{"plain", "plain"}, Conversion{"", ""}, Conversion{":", "/service"},
        Conversion{"abc:d", "/service/d"}, Conversion{"a:", "/service"}}) {
    EXPECT_EQ(api.urnToUri(row.from), row.to) << row.from;
  }
}

// The end of a client's life: one logout for each session.
class ClientEnd : public ::testing::Test {
 protected:
  ClientEnd() {
    for (FakeManager* manager : {&second_, &tenth_, &first_}) {
      KestrelVisorCertToken token;
      EXPECT_TRUE(client_->checkLoginAgainAndCert(manager->connection(), error_, token));
    }
    log_.clear();
  }
  static bool gotLogout(const FakeManager& manager) {
    return std::ranges::count(manager.lines(), kLogoutLine) == 1;
  }

  LogCapture log_;
  FakeManager first_{"127.0.0.1"};
  FakeManager second_{"127.0.0.2"};
  FakeManager tenth_{"127.0.0.10"};
  KestrelVisorErrorMessage error_;
  // Final: the client's own destructor is not virtual.
  class Client final : public KestrelVisor_rest_api {};

  std::unique_ptr<Client> client_ = std::make_unique<Client>();
};

TEST_F(ClientEnd, LogsOutOfEachManagerInTheOrderOfTheAddresses) {
  client_.reset();

  std::vector<std::string> ends;
  for (const std::string& text : log_.texts(1)) {
    if (text.find("vrm: ") != std::string::npos) ends.push_back(text);
  }
  EXPECT_THAT(ends,
              ElementsAre("Exit vrm: 127.0.0.1", "Exit vrm: 127.0.0.10", "Exit vrm: 127.0.0.2"));
  for (const FakeManager* manager : {&first_, &tenth_, &second_}) {
    EXPECT_TRUE(gotLogout(*manager)) << manager->address();
    EXPECT_EQ(manager->journal().back().header("X-Auth-Token"), "fake-session-token-1");
  }
}

TEST_F(ClientEnd, GoesOnAfterALogoutThatIsRefused) {
  first_.serves("DELETE", "/service/session", status(500));

  client_.reset();

  EXPECT_THAT(log_.texts(3), ElementsAre("sendMessageToVrm failed 127.0.0.1 reason: other error"));
  EXPECT_TRUE(gotLogout(tenth_));
  EXPECT_TRUE(gotLogout(second_));
}

TEST_F(ClientEnd, GoesOnAfterALogoutThatThrows) {
  int thrown = 0;
  const LogObserver thrower(nullptr, [&](int, std::string_view function) {
    if (function != "KestrelVisor_rest_api::logOutFromVrm()" || thrown > 0) return;
    ++thrown;
    throw std::runtime_error("no room for a log statement");
  });

  client_.reset();

  EXPECT_EQ(thrown, 1);
  EXPECT_FALSE(gotLogout(first_));
  EXPECT_TRUE(gotLogout(tenth_));
  EXPECT_TRUE(gotLogout(second_));
}

TEST(ClientWithSessions, CannotBeCopiedAndSoEndsThemOnce) {
  EXPECT_FALSE(std::is_copy_constructible_v<KestrelVisor_rest_api>);
  EXPECT_FALSE(std::is_copy_assignable_v<KestrelVisor_rest_api>);
}

TEST(ClientWithoutSessions, EndsInSilence) {
  const LogCapture log;

  { const KestrelVisor_rest_api api; }

  EXPECT_THAT(log.texts(), IsEmpty());
}

}  // namespace
}  // namespace kestrelvisor::test
