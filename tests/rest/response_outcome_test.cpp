#include "rest/curl_owners.h"
#include "tests/rest/rest_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kWrongPasswordText =
    "User name or password is incorrect, or the user types is not the docking interface user.";
constexpr const char* kUnreadable = "Parse Json string failed.";

struct FailedTransfer {
  const char* name;
  CURLcode result;
  const char* code;
};
class FailedTransferTest : public ::testing::TestWithParam<FailedTransfer> {};

TEST_P(FailedTransferTest, BecomesACodeAndTheTextOfTheLibrary) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  const VRM_INFO vrm;
  std::string code = "before";
  std::string message = "before";

  api.processPerformNotOK(vrm, nullptr, nullptr, "caller", GetParam().result, code, message);

  EXPECT_EQ(code, GetParam().code);
  EXPECT_EQ(message, transferText(GetParam().result));
  EXPECT_THAT(log.texts(4),
              ElementsAre("Invoke caller failed, error code is " + code + "(" + message + ")"));
}

INSTANTIATE_TEST_SUITE_P(
    RestClient, FailedTransferTest,
    ::testing::Values(FailedTransfer{"Refused", CURLE_COULDNT_CONNECT, "2000"},
                      FailedTransfer{"Timeout", CURLE_OPERATION_TIMEDOUT, "2001"},
                      FailedTransfer{"UnknownHost", CURLE_COULDNT_RESOLVE_HOST, "2002"},
                      FailedTransfer{"BadCertificate", CURLE_PEER_FAILED_VERIFICATION, "2002"},
                      FailedTransfer{"EmptyAnswer", CURLE_GOT_NOTHING, "2002"},
                      FailedTransfer{"UnknownToTheLibrary", CURL_LAST, "2002"}),
    [](const auto& row) { return std::string(row.param.name); });

struct FailedAnswer {
  const char* name;
  const char* status;
  const char* body;  // nullptr: the manager sent none
  const char* code;
  const char* message;
  bool unreadable = false;
};
class FailedAnswerTest : public ::testing::TestWithParam<FailedAnswer> {};

TEST_P(FailedAnswerTest, BecomesCodeAndMessage) {
  const FailedAnswer& answer = GetParam();
  const LogCapture log;
  ReceivedBody body(answer.body);
  KestrelVisor_rest_api api;
  std::string code = "code before";
  std::string message = "before";

  api.processReponseCodeNOK("caller", body.chunk(), answer.status, code, message);

  EXPECT_EQ(code, answer.code);
  EXPECT_EQ(message, answer.message);
  std::vector<std::string> errors;
  if (answer.unreadable) errors.emplace_back(kUnreadable);
  errors.push_back("Invoke caller failed, the error code is " + code + "(" + message + ")");
  EXPECT_EQ(log.texts(4), errors);
}

INSTANTIATE_TEST_SUITE_P(
    WithoutBody, FailedAnswerTest,
    ::testing::Values(FailedAnswer{"NotFound", "404", nullptr, "2404", "404 Page not found"},
                      FailedAnswer{"ServerError", "500", nullptr, "500", "other error"},
                      FailedAnswer{"Created", "201", nullptr, "201", "other error"},
                      FailedAnswer{"NoStatus", "0", nullptr, "0", "other error"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    WithReadableBody, FailedAnswerTest,
    ::testing::Values(
        FailedAnswer{"CodeAndText", "400", R"({"errorCode":"17","errorDes":"why"})", "17", "why"},
        FailedAnswer{"NotFound", "404", R"({"errorCode":"17","errorDes":"why"})", "17", "why"},
        FailedAnswer{"NoCode", "400", R"({"errorDes":"why"})", "", "why"},
        FailedAnswer{"NoText", "400", R"({"errorCode":"17"})", "17", "before"},
        FailedAnswer{"Neither", "400", "{}", "", "before"},
        FailedAnswer{"EmptyText", "400", R"({"errorCode":"17","errorDes":""})", "17", ""},
        FailedAnswer{"NullMembers", "400", R"({"errorCode":null,"errorDes":null})", "", "before"},
        FailedAnswer{"NullRoot", "400", "null", "", "before"},
        FailedAnswer{"CodeIsANumber", "400", R"({"errorCode":10000002})", "10000002", "before"},
        FailedAnswer{"CodeIsTrue", "400", R"({"errorCode":true})", "true", "before"},
        FailedAnswer{"CodeIsAnArray", "400", R"({"errorCode":["1"],"errorDes":"why"})", "", "why"},
        FailedAnswer{"CodeIsAnObject", "400", R"({"errorCode":{},"errorDes":"why"})", "", "why"},
        FailedAnswer{"TextIsAnArray", "400", R"({"errorCode":"17","errorDes":[1]})", "17",
                     "before"},
        FailedAnswer{"TextIsAnObject", "400", R"({"errorCode":"17","errorDes":{"a":1}})", "17",
                     "before"},
        FailedAnswer{"TextIsANumber", "400", R"({"errorCode":"17","errorDes":5})", "17", "5"},
        FailedAnswer{"TrailingText", "400", R"({"errorCode":"17"} and more)", "17", "before"},
        FailedAnswer{"WrongPassword", "401", R"({"errorCode":"10100103"})", "10100103",
                     kWrongPasswordText},
        FailedAnswer{"WrongPasswordWithText", "401", R"({"errorCode":"10100103","errorDes":"why"})",
                     "10100103", kWrongPasswordText}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    WithUnreadableBody, FailedAnswerTest,
    ::testing::Values(FailedAnswer{"NoJson", "400", "<html>", "", "before", true},
                      FailedAnswer{"EmptyChunk", "400", "", "", "before", true},
                      FailedAnswer{"NotFound", "404", "<html>", "", "before", true},
                      FailedAnswer{"ArrayRoot", "400", R"([{"errorCode":"17"}])", "", "before",
                                   true},
                      FailedAnswer{"TextRoot", "400", R"("errorCode")", "", "before", true},
                      FailedAnswer{"NumberRoot", "400", "17", "", "before", true},
                      FailedAnswer{"Truncated", "400", R"({"errorCode":"17")", "", "before", true}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FailedAnswer, WithDeepNestingCountsAsUnreadable) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  std::string message = "before";

  EXPECT_EQ(api.getLoginErrorCode(std::string(201, '['), message), "");
  EXPECT_EQ(api.getLoginErrorCode(std::string(201, '[') + std::string(201, ']'), message), "");

  EXPECT_EQ(message, "before");
  EXPECT_THAT(log.texts(4), ElementsAre(kUnreadable, kUnreadable));
}

TEST(FailedAnswer, OfAReleasedTaskIsAWarning) {
  const LogCapture log;
  ReceivedBody body(R"({"errorCode":"10300402","errorDes":"released"})");
  KestrelVisor_rest_api api;
  std::string code;
  std::string message;

  api.processReponseCodeNOK("caller", body.chunk(), "409", code, message);

  EXPECT_EQ(code, "10300402");
  EXPECT_EQ(message, "released");
  EXPECT_THAT(log.texts(3), ElementsAre("The task was released : 10300402(released)"));
  EXPECT_THAT(log.texts(4), IsEmpty());
}

TEST(FailedAnswer, CanBeAskedForItsCodeAlone) {
  ReceivedBody body(R"({"errorCode":"17","errorDes":"why"})");
  KestrelVisor_rest_api api;
  std::string code;

  api.getSendErrorCode(body.chunk(), "400", code, "caller");

  EXPECT_EQ(code, "17");
}

TEST(FailedAnswer, LeavesTheBufferToItsOwner) {
  ReceivedBody body("<html>");
  KestrelVisor_rest_api api;
  std::string code;
  std::string message;

  api.processReponseCodeNOK("caller", body.chunk(), "400", code, message);

  EXPECT_EQ(body.chunk().size, 6U);
  EXPECT_STREQ(body.chunk().memory, "<html>");
}

// One exchange over a real socket.
class OneExchange : public RestTest {
 protected:
  bool send() {
    return api.sendMessageToVrm(vrm, token, SEND_METHOD_GET, url("/service/x"), "", response,
                                error);
  }

  KestrelVisorCertToken token;
  std::string response;
};

TEST_F(OneExchange, LeavesTheErrorRecordAsItWasWhenItIsClean) {
  manager.serves("GET", "/service/x", ok(R"({"a":1})"));
  error.errorCode = "7";
  error.errorDescription = "earlier";

  EXPECT_TRUE(send());

  EXPECT_EQ(response, R"({"a":1})");
  EXPECT_EQ(error.errorCode, "7");
  EXPECT_EQ(error.errorDescription, "earlier");
}

TEST_F(OneExchange, FailsForEveryStatusButTwoHundred) {
  int call = 0;
  for (const int code : {201, 202, 204, 206, 301, 302, 304, 400, 401, 403, 500, 503}) {
    manager.answers("GET", "/service/x", ++call, status(code));
    response = "kept";

    EXPECT_FALSE(send()) << code;

    EXPECT_EQ(error.errorCode, std::to_string(code));
    EXPECT_EQ(error.errorDescription, "other error");
    EXPECT_EQ(response, "kept");
  }
}

TEST_F(OneExchange, ReportsThatAPageIsMissing) {
  manager.serves("GET", "/service/x", status(404));

  EXPECT_FALSE(send());

  EXPECT_EQ(error.errorCode, "2404");
  EXPECT_EQ(error.errorDescription, "404 Page not found");
  EXPECT_THAT(log.texts(4),
              ElementsAre("Invoke getResponse failed, the error code is 2404(404 Page not found)",
                          "Get response failed, url=" + url("/service/x")));
}

TEST_F(OneExchange, TakesCodeAndTextOfARefusal) {
  manager.serves("GET", "/service/x", refusal(404, "10300100", "no such machine"));

  EXPECT_FALSE(send());

  EXPECT_EQ(error.errorCode, "10300100");
  EXPECT_EQ(error.errorDescription, "no such machine");
}

TEST_F(OneExchange, KeepsTheDefaultCodeWhenARefusalCannotBeRead) {
  manager.serves("GET", "/service/x", status(502, "<html>"));

  EXPECT_FALSE(send());

  EXPECT_EQ(error.errorCode, kNoErrorCode);
  EXPECT_EQ(error.errorDescription, kNoErrorText);
}

TEST_F(OneExchange, IsNotRepeatedAfterARefusal) {
  manager.serves("GET", "/service/x", status(500));

  EXPECT_FALSE(send());

  EXPECT_EQ(manager.connections(), 1U);
}

TEST_F(OneExchange, IsRepeatedOnceWhenTheTransferFails) {
  manager.serves("GET", "/service/x", hangUp());

  EXPECT_FALSE(send());

  EXPECT_EQ(manager.connections(), 2U);
  EXPECT_THAT(manager.lines(), ElementsAre("GET /service/x", "GET /service/x"));
  EXPECT_EQ(error.errorCode, "2002");
  EXPECT_EQ(error.errorDescription, transferText(CURLE_GOT_NOTHING));
  const std::string failed =
      "Invoke sendMassage failed, error code is 2002(" + transferText(CURLE_GOT_NOTHING) + ")";
  EXPECT_THAT(log.texts(4),
              ElementsAre(failed, failed, "Send mssage to VRM failed, url=" + url("/service/x")));
}

TEST_F(OneExchange, TellsOfAFailedAttemptThoughItsRepeatWorked) {
  manager.serves("GET", "/service/x", ok("{}"));
  manager.answers("GET", "/service/x", 1, hangUp());

  EXPECT_TRUE(send());

  EXPECT_EQ(response, "{}");
  EXPECT_EQ(manager.connections(), 2U);
  EXPECT_EQ(error.errorCode, "2002");
  EXPECT_EQ(error.errorDescription, transferText(CURLE_GOT_NOTHING));
}

TEST_F(OneExchange, ReportsARefusalOfTheRepeatWithTheTextOfTheAttemptWhenItBringsNone) {
  manager.answers("GET", "/service/x", 1, hangUp());
  manager.answers("GET", "/service/x", 2, status(400, R"({"errorCode":"17"})"));

  EXPECT_FALSE(send());

  EXPECT_EQ(error.errorCode, "17");
  EXPECT_EQ(error.errorDescription, transferText(CURLE_GOT_NOTHING));
}

TEST_F(OneExchange, KeepsWhatAFailedAttemptReceivedInFrontOfItsRepeat) {
  manager.serves("GET", "/service/x", ok("{}"));
  manager.answers("GET", "/service/x", 1,
                  bytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n[1]"));

  EXPECT_TRUE(send());

  EXPECT_EQ(response, "[1]{}");
}

TEST_F(OneExchange, ReportsATruncatedAnswer) {
  manager.serves("GET", "/service/x",
                 bytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"a\""));

  EXPECT_FALSE(send());

  EXPECT_EQ(error.errorCode, "2002");
  EXPECT_EQ(error.errorDescription, transferText(CURLE_PARTIAL_FILE));
  EXPECT_EQ(response, "");
}

TEST_F(OneExchange, ReportsARefusedConnection) {
  // An address of this case alone: no other manager can come to listen there.
  const std::string nobody =
      "http://127.0.0.77:" + std::to_string(unusedPort("127.0.0.77")) + "/service/x";

  EXPECT_FALSE(api.sendMessageToVrm(vrm, token, SEND_METHOD_GET, nobody, "", response, error));

  EXPECT_EQ(error.errorCode, "2000");
  EXPECT_EQ(error.errorDescription, transferText(CURLE_COULDNT_CONNECT));
  const std::string failed =
      "Invoke sendMassage failed, error code is 2000(" + transferText(CURLE_COULDNT_CONNECT) + ")";
  EXPECT_THAT(log.texts(4),
              ElementsAre(failed, failed, "Send mssage to VRM failed, url=" + nobody));
  EXPECT_THAT(manager.lines(), IsEmpty());
}

TEST(NullHandle, SendsNothingAndKeepsCodeMessageAndList) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  const VRM_INFO vrm;
  const CurlHeaders headers(curl_slist_append(nullptr, "X-Kept:1"));
  std::string code = "code";
  std::string message = "message";

  EXPECT_FALSE(api.sendMassage(vrm, nullptr, headers.get(), code, message));

  EXPECT_STREQ(headers->data, "X-Kept:1");  // freed by its owner, here
  EXPECT_EQ(code, "code");
  EXPECT_EQ(message, "message");
  EXPECT_THAT(log.texts(), ElementsAre("curlHandle is null !"));
  EXPECT_TRUE(log.has(4, "curlHandle is null !"));
}

struct HeaderLine {
  const char* name;
  const char* line;
  const char* key;
  int found;
  const char* value;
};
class HeaderLineTest : public ::testing::TestWithParam<HeaderLine> {};

TEST_P(HeaderLineTest, GivesTheValueBehindItsName) {
  KestrelVisor_rest_api api;
  std::string line = GetParam().line;
  std::string key = GetParam().key;
  std::string value = "before";

  EXPECT_EQ(api.httpParseLine(line, key, value), GetParam().found);

  EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    RestClient, HeaderLineTest,
    ::testing::Values(HeaderLine{"Plain", "X-Auth-Token: abc", "X-Auth-Token:", 0, "abc"},
                      HeaderLine{"NoBlank", "X-Auth-Token:abc", "X-Auth-Token:", 0, "abc"},
                      HeaderLine{"Trimmed", "X-Auth-Token:  abc \r", "X-Auth-Token:", 0, "abc"},
                      HeaderLine{"TrimmedOfAllKinds", "Key: \t\n\r abc \t\n\r", "Key:", 0, "abc"},
                      HeaderLine{"BlanksWithin", "Key: a b\tc", "Key:", 0, "a b\tc"},
                      HeaderLine{"NothingBehindIt", "Key:", "Key:", 0, "before"},
                      HeaderLine{"BlanksAlone", "Key:   ", "Key:", 0, "before"},
                      HeaderLine{"OnlyTrimmedCharacters", "Key: \t\r", "Key:", 0, ""},
                      HeaderLine{"OtherCase", "x-auth-token: abc", "X-Auth-Token:", -1, "before"},
                      HeaderLine{"OtherName", "X-Other: abc", "X-Auth-Token:", -1, "before"},
                      HeaderLine{"BlankBeforeColon", "Key : abc", "Key:", -1, "before"},
                      HeaderLine{"Shorter", "Key", "Key:", -1, "before"},
                      HeaderLine{"Empty", "", "Key:", -1, "before"},
                      HeaderLine{"EmptyWithEmptyKey", "", "", -1, "before"}),
    [](const auto& row) { return std::string(row.param.name); });

struct HeaderBlock {
  const char* name;
  const char* block;
  const char* key;
  int found;
  const char* value;
};
class HeaderBlockTest : public ::testing::TestWithParam<HeaderBlock> {};

TEST_P(HeaderBlockTest, IsSearchedLineByLine) {
  KestrelVisor_rest_api api;
  std::string block = GetParam().block;
  std::string key = GetParam().key;
  std::string value = "before";

  EXPECT_EQ(api.parse_response_header(block, key, value), GetParam().found);

  EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    RestClient, HeaderBlockTest,
    ::testing::Values(
        HeaderBlock{"Found", "HTTP/1.1 200 OK\r\nA: 1\r\nX-Auth-Token: abc\r\n\r\n",
                    "X-Auth-Token:", 0, "abc"},
        HeaderBlock{"FirstOfTwo", "HTTP/1.1 200 OK\r\nKey: 1\r\nKey: 2\r\n\r\n", "Key:", 0, "1"},
        HeaderBlock{"InTheFirstLine", "Key: 12345\r\n", "Key:", 0, "12345"},
        HeaderBlock{"OtherCase", "HTTP/1.1 200 OK\r\nx-auth-token: abc\r\n\r\n",
                    "X-Auth-Token:", -1, "before"},
        HeaderBlock{"Missing", "HTTP/1.1 200 OK\r\nA: 1\r\n\r\n", "Key:", -1, "before"},
        HeaderBlock{"LastLineWithoutEnd", "HTTP/1.1 200 OK\r\nKey: 1", "Key:", -1, "before"},
        HeaderBlock{"LastLineWithoutCarriageReturn", "HTTP/1.1 200 OK\r\nKey: 1\n", "Key:", -1,
                    "before"},
        HeaderBlock{"LineFeedAloneEndsNoLine", "HTTP/1.1 200 OK\nKey: 1\r\n", "Key:", -1, "before"},
        HeaderBlock{"CarriageReturnAloneEndsALine", "HTTP/1.1 200 OK\rKey: 1\r", "Key:", 0, "1"},
        HeaderBlock{"EmptyLinesBefore", "\r\n\r\n\r\n\r\n\r\nKey: 1\r\n", "Key:", 0, "1"},
        HeaderBlock{"ValueOfTheLineEndAlone", "HTTP/1.1 200 OK\r\nKey:\r\n", "Key:", 0, ""},
        HeaderBlock{"NineCharacters", "Key: 12\r\n", "Key:", -1, "before"},
        HeaderBlock{"TenCharacters", "Key: 123\r\n", "Key:", 0, "123"},
        HeaderBlock{"Empty", "", "Key:", -1, "before"},
        HeaderBlock{"Status", "HTTP/1.1 204 No Content\r\n\r\n", "status_code", 0, "before204"},
        HeaderBlock{"StatusCutShort", "HTTP/1.1 20", "status_code", 0, "before20"},
        HeaderBlock{"StatusOfNineCharacters", "HTTP/1.1 ", "status_code", -1, "before"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrelvisor::test
