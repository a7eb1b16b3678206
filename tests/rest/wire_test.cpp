#include "tests/rest/rest_fixture.h"

#include <json/json.h>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class Wire : public RestTest {
 protected:
  Wire() { token.authToken = "abc"; }

  bool send(SEND_METHOD method, const std::string& body) {
    std::string response;
    return api.sendMessageToVrm(vrm, token, method, url("/service/x"), body, response, error);
  }

  KestrelVisorCertToken token;
};

TEST_F(Wire, LoginCarriesCredentialsAndNoTokenHeader) {
  vrm.restVersion = "6.5";
  VRM_INFO plain = decrypted();
  std::string status;
  std::string code;
  std::string message;

  EXPECT_TRUE(api.logIn(plain, status, code, token, message));

  ASSERT_THAT(manager.lines(), ElementsAre("POST /service/session"));
  EXPECT_THAT(manager.journal()[0].headers,
              ElementsAre(host(), "Accept: application/json;version=6.5; charset=UTF-8",
                          "Content-Type: application/json; version=6.5; charset=UTF-8",
                          "Accept-Language:en_US", "X-Auth-User:backup",
                          "X-Auth-Key:" + std::string(kPasswordDigest), "X-Auth-UserType:2",
                          "Content-Length: 0"));
  EXPECT_EQ(manager.journal()[0].body, "");
}

TEST_F(Wire, AuthenticatedRequestCarriesAcceptTokenAndContentType) {
  vrm.restVersion = "6.5";
  manager.serves("GET", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_GET, ""));

  ASSERT_THAT(manager.lines(), ElementsAre("GET /service/x"));
  EXPECT_THAT(manager.journal()[0].headers,
              ElementsAre(host(), "Accept: application/json;version=6.5; charset=UTF-8",
                          "X-Auth-Token:abc", "Content-Type: application/json; charset=UTF-8"));
}

TEST_F(Wire, VersionQueryCarriesAcceptAlone) {
  manager.serves("GET", "/service/versions", ok(R"({"versions":[{"version":"v1.2"}]})"));
  std::string version;

  EXPECT_TRUE(api.getKestrelVisorSupportRestVersion(vrm, version, error));

  ASSERT_THAT(manager.lines(), ElementsAre("GET /service/versions"));
  EXPECT_THAT(manager.journal()[0].headers,
              ElementsAre(host(), "Accept: application/json;charset=UTF-8"));
}

TEST_F(Wire, LogoutIsADeleteWithTheTokenOfItsSession) {
  api.logoutFromKestrelVisor(vrm, token);

  ASSERT_THAT(manager.lines(), ElementsAre("DELETE /service/session"));
  EXPECT_THAT(manager.journal()[0].headers,
              ElementsAre(host(), "Accept: application/json;version=1.2; charset=UTF-8",
                          "X-Auth-Token:abc", "Content-Type: application/json; charset=UTF-8"));
}

TEST_F(Wire, PostCarriesItsBody) {
  manager.serves("POST", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_POST, "{\"a\":1}"));

  ASSERT_THAT(manager.lines(), ElementsAre("POST /service/x"));
  EXPECT_EQ(manager.journal()[0].body, "{\"a\":1}");
  EXPECT_EQ(manager.journal()[0].header("Content-Length"), "7");
}

TEST_F(Wire, PutCarriesItsBody) {
  manager.serves("PUT", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_PUT, "{\"a\":1}"));

  ASSERT_THAT(manager.lines(), ElementsAre("PUT /service/x"));
  EXPECT_EQ(manager.journal()[0].body, "{\"a\":1}");
  EXPECT_EQ(manager.journal()[0].header("Content-Length"), "7");
}

TEST_F(Wire, DeleteIgnoresItsBody) {
  manager.serves("DELETE", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_DELETE, "{\"a\":1}"));

  ASSERT_THAT(manager.lines(), ElementsAre("DELETE /service/x"));
  EXPECT_EQ(manager.journal()[0].body, "");
  EXPECT_EQ(manager.journal()[0].header("Content-Length"), "(none)");
}

TEST_F(Wire, GetIgnoresItsBody) {
  manager.serves("GET", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_GET, "{\"a\":1}"));

  EXPECT_EQ(manager.journal()[0].body, "");
  EXPECT_EQ(manager.journal()[0].header("Content-Length"), "(none)");
}

TEST_F(Wire, CertificateQueryUsesTheDefaultVerb) {
  manager.serves("GET", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_CERTINFO, "{\"a\":1}"));

  ASSERT_THAT(manager.lines(), ElementsAre("GET /service/x"));
  EXPECT_EQ(manager.journal()[0].body, "");
}

TEST_F(Wire, UnknownMethodIsLoggedAndUsesTheDefaultVerb) {
  manager.serves("GET", "/service/x", ok("{}"));

  EXPECT_TRUE(send(static_cast<SEND_METHOD>(7), ""));

  EXPECT_THAT(manager.lines(), ElementsAre("GET /service/x"));
  EXPECT_THAT(log.texts(4), ElementsAre("Send method[7] is fault !"));
}

TEST_F(Wire, UrlIsLoggedAsItCame) {
  manager.serves("GET", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_GET, ""));

  EXPECT_TRUE(log.has(0, "URL=" + url("/service/x")));
}

TEST_F(Wire, EachExchangeHasAConnectionOfItsOwn) {
  manager.serves("GET", "/service/x", ok("{}"));

  EXPECT_TRUE(send(SEND_METHOD_GET, ""));
  EXPECT_TRUE(send(SEND_METHOD_GET, ""));

  EXPECT_EQ(manager.connections(), 2U);
}

TEST_F(Wire, BodyThatArrivesInPiecesIsWhole) {
  std::string text(300000, 'x');
  text = "{\"a\":\"" + text + "\"}";
  manager.serves("GET", "/service/x", ok(text));
  std::string response;

  EXPECT_TRUE(
      api.sendMessageToVrm(vrm, token, SEND_METHOD_GET, url("/service/x"), "", response, error));

  EXPECT_EQ(response, text);
}

TEST_F(Wire, BodyEndsAtItsFirstNul) {
  manager.serves("GET", "/service/x", ok(std::string("{}\0behind", 9)));
  std::string response;

  EXPECT_TRUE(
      api.sendMessageToVrm(vrm, token, SEND_METHOD_GET, url("/service/x"), "", response, error));

  EXPECT_EQ(response, "{}");
  EXPECT_THAT(log.texts(1), ElementsAre("Get returned info from VRM:{},returned http code:200"));
}

TEST_F(Wire, AnswerWithoutBodyReadsAsEmpty) {
  manager.serves("GET", "/service/x", status(200));
  std::string response = "replaced";

  EXPECT_TRUE(
      api.sendMessageToVrm(vrm, token, SEND_METHOD_GET, url("/service/x"), "", response, error));

  EXPECT_EQ(response, "");
  for (const std::string& text : log.texts())
    EXPECT_THAT(text, Not(HasSubstr("Get returned info")));
}

TEST_F(Wire, BodyIsLoggedWithoutItsSecrets) {
  manager.serves("GET", "/service/x", ok(R"({"a":1,"password":"swordfish"})"));

  EXPECT_TRUE(send(SEND_METHOD_GET, ""));

  EXPECT_THAT(log.texts(1), ElementsAre(R"(Get returned info from VRM:{"a":1,"password":"***"})"
                                        ",returned http code:200"));
}

TEST_F(Wire, PlaintextPasswordIsNeverSent) {
  manager.serves("GET", "/service/x", ok("{}"));
  Json::Value root;

  EXPECT_TRUE(api.getJSonObjFromKestrelVisor(vrm, "/service/x", "", error, root));
  ASSERT_EQ(manager.journal().size(), 2U);

  for (const Request& request : manager.journal()) {
    EXPECT_THAT(request.headers, Not(::testing::Contains(HasSubstr(std::string(kPassword)))));
    EXPECT_THAT(request.body, IsEmpty());
  }
}

TEST_F(Wire, ClosingFreesHandleAndListAndForgetsThem) {
  void* curl = nullptr;
  curl_slist* headers = nullptr;
  api.openCurl(vrm, token, SEND_METHOD_GET, url("/service/x"), "", curl, headers);
  ASSERT_NE(curl, nullptr);
  ASSERT_NE(headers, nullptr);

  api.closeCurl(curl, headers);
  EXPECT_EQ(curl, nullptr);
  EXPECT_EQ(headers, nullptr);

  api.closeCurl(curl, headers);  // nothing left: nothing happens
  EXPECT_EQ(curl, nullptr);
}

}  // namespace
}  // namespace kestrelvisor::test
