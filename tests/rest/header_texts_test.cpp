#include "rest/curl_owners.h"
#include "tests/rest/rest_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;

class HeaderTexts : public ::testing::Test {
 protected:
  HeaderTexts() {
    vrm.restVersion = "6.5";
    vrm.clientUsername = "backup";
    token.authToken = "abc";
  }

  LogCapture log;
  KestrelVisor_rest_api api;
  VRM_INFO vrm;
  KestrelVisorCertToken token;
};

std::vector<std::string> textsOf(const curl_slist* list) {
  std::vector<std::string> texts;
  for (; list != nullptr; list = list->next) texts.emplace_back(list->data);
  return texts;
}

TEST_F(HeaderTexts, StartFromTheDefaultProtocol) {
  EXPECT_EQ(api.getProtocolVersion(), "1.2");
  EXPECT_EQ(api.getProtocolCharset(), "UTF-8");
  EXPECT_EQ(api.getProtocolLanguage(), "en_US");
}

TEST_F(HeaderTexts, AcceptOfARecordNamesTheVersionOfTheRecord) {
  EXPECT_EQ(api.getAccept(vrm), "Accept: application/json;version=6.5; charset=UTF-8");
  EXPECT_THAT(log.texts(0),
              ElementsAre("KestrelVisor rest interface acceptVersionAndCharset setting=[Accept: "
                          "application/json;version=6.5; charset=UTF-8]."));
}

TEST_F(HeaderTexts, AcceptWithoutARecordNamesTheVersionOfTheClient) {
  EXPECT_EQ(api.getAccept(), "Accept: application/json;version=1.2; charset=UTF-8");
  EXPECT_THAT(
      log.texts(0),
      ElementsAre(
          "KestrelVisor rest interface versionAndCharset setting=[version=1.2; charset=UTF-8].",
          "KestrelVisor rest interface acceptVersionAndCharset setting=[Accept: "
          "application/json;version=1.2; charset=UTF-8]."));
}

TEST_F(HeaderTexts, AcceptWithoutVersionNamesTheCharsetAlone) {
  EXPECT_EQ(api.getAcceptWithoutVersion(), "Accept: application/json;charset=UTF-8");
  EXPECT_THAT(log.texts(0),
              ElementsAre("KestrelVisor rest interface acceptVersionAndCharset without version "
                          "setting=[Accept: application/json;charset=UTF-8]."));
}

TEST_F(HeaderTexts, VersionAndCharsetNameTheVersionOfTheClient) {
  EXPECT_EQ(api.getVersionAndCharset(), "version=1.2; charset=UTF-8");
  EXPECT_TRUE(log.has(
      0, "KestrelVisor rest interface versionAndCharset setting=[version=1.2; charset=UTF-8]."));
}

TEST_F(HeaderTexts, ContentTypeNamesNoVersion) {
  EXPECT_EQ(api.getContentType(), "Content-Type: application/json; charset=UTF-8");
  EXPECT_THAT(log.texts(0),
              ElementsAre("KestrelVisor rest interface contentTypeCharset setting=[Content-Type: "
                          "application/json; charset=UTF-8]."));
}

TEST_F(HeaderTexts, ContentTypeWithVersionNamesTheVersionOfTheClient) {
  EXPECT_EQ(api.getContentTypeWithVersion(),
            "Content-Type: application/json; version=1.2; charset=UTF-8");
  EXPECT_THAT(
      log.texts(0),
      ElementsAre(
          "KestrelVisor rest interface versionAndCharset setting=[version=1.2; charset=UTF-8].",
          "KestrelVisor rest interface contentTypeVersionAndCharset setting=[Content-Type: "
          "application/json; version=1.2; charset=UTF-8]."));
}

TEST_F(HeaderTexts, LanguageHasNoBlankBehindItsColon) {
  EXPECT_EQ(api.getLanguage(), "Accept-Language:en_US");
  EXPECT_THAT(log.texts(0), ElementsAre("KestrelVisor rest interface acceptLanguage "
                                        "setting=[Accept-Language:en_US]."));
}

TEST_F(HeaderTexts, TokenIsNotLogged) {
  EXPECT_EQ(api.getAuthToken(token), "X-Auth-Token:abc");
  EXPECT_THAT(log.texts(), ElementsAre());
}

TEST_F(HeaderTexts, AuthenticatedListHasThreeEntriesInOrder) {
  const CurlHandle curl(api.initCurl());

  const CurlHeaders headers(api.setCurlHeader(token, curl.get(), vrm));

  EXPECT_THAT(textsOf(headers.get()),
              ElementsAre("Accept: application/json;version=6.5; charset=UTF-8", "X-Auth-Token:abc",
                          "Content-Type: application/json; charset=UTF-8"));
}

TEST_F(HeaderTexts, LoginListHasSevenEntriesInOrderAndAnEmptyToken) {
  const CurlHandle curl(api.initCurl());
  token.authToken.clear();

  const CurlHeaders headers(api.setCurlLoginHeader(token, curl.get(), vrm, "digest"));

  EXPECT_THAT(textsOf(headers.get()),
              ElementsAre("Accept: application/json;version=6.5; charset=UTF-8", "X-Auth-Token:",
                          "Content-Type: application/json; version=1.2; charset=UTF-8",
                          "Accept-Language:en_US", "X-Auth-User:backup", "X-Auth-Key:digest",
                          "X-Auth-UserType:2"));
}

TEST_F(HeaderTexts, CredentialIsTheUserForTypeOneAndTheKeyForAnyOther) {
  std::string header = "replaced";
  api.constructCredentialCurl(header, "name", 1);
  EXPECT_EQ(header, "X-Auth-User:name");

  for (const unsigned int type : {0U, 2U, 3U}) {
    api.constructCredentialCurl(header, "digest", type);
    EXPECT_EQ(header, "X-Auth-Key:digest") << type;
  }
}

TEST_F(HeaderTexts, SessionUrlIsHttpsForTypeOneAndHttpForAnyOther) {
  std::string url = "replaced";
  api.constructURLCurl(url, "10.0.0.1", 7443, 1);
  EXPECT_EQ(url, "https://10.0.0.1:7443/service/session");

  for (const unsigned int type : {0U, 2U, 3U}) {
    api.constructURLCurl(url, "10.0.0.1", 7070, type);
    EXPECT_EQ(url, "http://10.0.0.1:7070/service/session") << type;
  }
}

TEST_F(HeaderTexts, VersionOfARecordBecomesTheVersionOfTheClient) {
  KestrelVisorErrorMessage error;

  EXPECT_DOUBLE_EQ(api.getAPIVersion(vrm, error), 6.5);

  EXPECT_EQ(api.getProtocolVersion(), "6.5");
  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_EQ(error.errorDescription, kNoErrorText);
}

TEST_F(HeaderTexts, VersionThatIsNoNumberCountsAsZero) {
  KestrelVisorErrorMessage error;
  vrm.restVersion = "next";

  EXPECT_DOUBLE_EQ(api.getAPIVersion(vrm, error), 0.0);

  EXPECT_EQ(api.getProtocolVersion(), "next");
}

TEST(HexadecimalDigit, HasItsValueInUpperCaseOnly) {
  KestrelVisor_rest_api api;
  const std::string digits = "0123456789ABCDEF";
  for (std::size_t value = 0; value < digits.size(); ++value) {
    EXPECT_EQ(api.my_atoi(digits[value]), static_cast<int>(value));
  }
  for (const char other : {'a', 'f', 'G', '@', '/', ':', ' ', '\0'}) {
    EXPECT_EQ(api.my_atoi(other), -1) << other;
  }
}

TEST(JsonText, IsCopiedAsItIs) {
  KestrelVisor_rest_api api;
  std::string target = "replaced";

  EXPECT_TRUE(api.getJsonObjAsString("{not json", target));

  EXPECT_EQ(target, "{not json");
}

}  // namespace
}  // namespace kestrelvisor::test
