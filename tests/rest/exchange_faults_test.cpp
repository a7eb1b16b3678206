#include "platform/reference/configuration.h"
#include "rest/clock.h"
#include "rest/curl_owners.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/rest/scripted_curl.h"
#include "tests/rest/watched_memory.h"
#include "tests/support/fake_manager.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <json/json.h>

#include <array>
#include <stdexcept>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::array<std::string_view, 3> kSecrets{kPassword, kPasswordDigest, kScriptedToken};
constexpr const char* kUrl = "http://127.0.0.1:7070/service/x";

Transfer failed(CURLcode result) { return {result, 0, {}, {}}; }

Transfer answer(long status, const std::string& body) { return {CURLE_OK, status, {}, {body}}; }

Transfer goodLogin() {
  return {CURLE_OK,
          200,
          {"HTTP/1.1 200 OK\r\n", "X-Auth-Token: " + std::string(kTokenMark) + "\r\n", "\r\n"},
          {R"({"validity":1800000,)", R"("roleList":["sysadmin"]})"}};
}

// A record for a manager that nobody reaches: all transfers are scripted.
VRM_INFO record() {
  VRM_INFO vrm;
  vrm.vrmIp = "127.0.0.1";
  vrm.vrmPort = 7070;
  vrm.clientUsername = "backup";
  vrm.clientPassword = encryptedPassword();
  vrm.restVersion = "1.2";
  return vrm;
}

class Faults : public ::testing::Test {
 protected:
  ~Faults() override { resetConfiguration(); }

  // Nothing may be left over once a client is gone, and nothing may have been freed twice.
  void expectNothingLeft() {
    EXPECT_EQ(curl.handlesFreed, curl.handlesMade);
    EXPECT_EQ(curl.listsFreed, curl.listsMade);
    EXPECT_EQ(curl.listsFreedWithTheirTexts, 0);
    EXPECT_EQ(memory.buffersAlive(), 0);
  }
  long optionAt(std::size_t transfer, CURLoption option) const {
    const auto& options = curl.performed.at(transfer);
    const auto found = options.find(option);
    return found == options.end() ? -1 : found->second;
  }

  WatchedMemory memory;
  ScriptedCurl curl;
  VRM_INFO vrm = record();
  KestrelVisorErrorMessage error;
};

class OneTransfer : public Faults {
 protected:
  bool send() {
    return api.sendMessageToVrm(vrm, token, SEND_METHOD_GET, kUrl, "", response, error);
  }

  LogCapture log;
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;
  std::string response;
};

TEST_F(OneTransfer, FreesHandleAndListOnceAfterAGoodAnswer) {
  EXPECT_TRUE(send());

  EXPECT_EQ(curl.handlesMade, 1);
  EXPECT_EQ(curl.listsMade, 1);
  expectNothingLeft();
}

TEST_F(OneTransfer, FreesHandleAndListOnceAfterARefusal) {
  curl.transfers = {answer(500, "<html>")};

  EXPECT_FALSE(send());

  EXPECT_EQ(curl.handlesMade, 1);
  expectNothingLeft();
}

TEST_F(OneTransfer, FreesHandleListAndPartialBodyOnceAfterTwoFailures) {
  curl.transfers = {{CURLE_PARTIAL_FILE, 200, {}, {"par", "tial"}},
                    {CURLE_PARTIAL_FILE, 200, {}, {"again"}}};

  EXPECT_FALSE(send());

  EXPECT_EQ(curl.performed.size(), 2U);
  EXPECT_EQ(curl.handlesMade, 1);
  expectNothingLeft();
}

TEST_F(OneTransfer, IsRepeatedOnceWhateverTheFailure) {
  for (const CURLcode result :
       {CURLE_COULDNT_CONNECT, CURLE_OPERATION_TIMEDOUT, CURLE_PEER_FAILED_VERIFICATION,
        CURLE_URL_MALFORMAT, CURLE_OUT_OF_MEMORY, CURLE_RECV_ERROR}) {
    curl.performed.clear();
    curl.transfers = {failed(result), failed(result), answer(200, "{}")};

    EXPECT_FALSE(send()) << result;

    EXPECT_EQ(curl.performed.size(), 2U) << result;
    curl.transfers.clear();
  }
  expectNothingLeft();
}

TEST_F(OneTransfer, ReportsTheFailureOfItsRepeat) {
  curl.transfers = {failed(CURLE_COULDNT_CONNECT), failed(CURLE_OPERATION_TIMEDOUT)};

  EXPECT_FALSE(send());

  EXPECT_EQ(error.errorCode, "2001");
  EXPECT_EQ(error.errorDescription,
            curl_easy_strerror(CURLE_OPERATION_TIMEDOUT) + std::string("."));
}

TEST_F(OneTransfer, WorksAfterATimeoutAndKeepsItsCode) {
  curl.transfers = {failed(CURLE_OPERATION_TIMEDOUT), answer(200, R"({"a":1})")};

  EXPECT_TRUE(send());

  EXPECT_EQ(response, R"({"a":1})");
  EXPECT_EQ(error.errorCode, "2001");
}

struct TextlessFailure {
  CURLcode result;
  const char* before;
  const char* after;
};

TEST_F(OneTransfer, HasTextsOfItsOwnWhereTheLibraryHasNone) {
  curl.textOfResults = nullptr;
  for (const TextlessFailure& row :
       {TextlessFailure{CURLE_COULDNT_CONNECT, "before", "Connect to VRM failed."},
        TextlessFailure{CURLE_OPERATION_TIMEDOUT, "before", "Connect to VRM timeout."},
        TextlessFailure{CURLE_RECV_ERROR, "", "Curl internal unknown error."},
        TextlessFailure{CURLE_RECV_ERROR, "before", "before"}}) {
    std::string code;
    std::string message = row.before;
    api.processPerformNotOK(vrm, nullptr, nullptr, "caller", row.result, code, message);
    EXPECT_EQ(message, row.after);
  }
}

TEST_F(OneTransfer, EndsTheTextOfTheLibraryWithOneFullStop) {
  std::string code;
  std::string message = "before";
  for (const auto& [text, after] : std::map<std::string, std::string>{
           {"No stop", "No stop."}, {"A stop.", "A stop."}, {"", ""}}) {
    curl.textOfResults = text.c_str();
    api.processPerformNotOK(vrm, nullptr, nullptr, "caller", CURLE_COULDNT_CONNECT, code, message);
    EXPECT_EQ(message, after);
  }
}

TEST_F(OneTransfer, HasTheTimeoutsAndNoReuse) {
  EXPECT_TRUE(send());

  EXPECT_EQ(optionAt(0, CURLOPT_FORBID_REUSE), 1);
  EXPECT_EQ(optionAt(0, CURLOPT_NOSIGNAL), 1);
  EXPECT_EQ(optionAt(0, CURLOPT_CONNECTTIMEOUT), 10);
  EXPECT_EQ(optionAt(0, CURLOPT_TIMEOUT), 600);
  EXPECT_EQ(optionAt(0, CURLOPT_VERBOSE), 0);
}

TEST_F(OneTransfer, IsAssembledInOrder) {
  EXPECT_TRUE(send());

  EXPECT_THAT(curl.options,
              ElementsAre(CURLOPT_HTTPHEADER, CURLOPT_URL, CURLOPT_HTTPGET, CURLOPT_FORBID_REUSE,
                          CURLOPT_NOSIGNAL, CURLOPT_CONNECTTIMEOUT, CURLOPT_TIMEOUT,
                          CURLOPT_VERBOSE, CURLOPT_WRITEFUNCTION, CURLOPT_WRITEDATA));
}

struct MethodOptions {
  std::uint32_t method;
  std::vector<CURLoption> options;
};

TEST_F(OneTransfer, SetsTheOptionsOfItsMethodInOrder) {
  const CurlHandle handle(api.initCurl());
  for (const MethodOptions& row :
       {MethodOptions{SEND_METHOD_POST, {CURLOPT_POST, CURLOPT_POSTFIELDS}},
        MethodOptions{SEND_METHOD_DELETE, {CURLOPT_CUSTOMREQUEST}},
        MethodOptions{SEND_METHOD_PUT, {CURLOPT_CUSTOMREQUEST, CURLOPT_POSTFIELDS}},
        MethodOptions{SEND_METHOD_GET, {CURLOPT_HTTPGET}},
        MethodOptions{SEND_METHOD_CERTINFO,
                      {CURLOPT_CERTINFO, CURLOPT_SSL_VERIFYPEER, CURLOPT_SSL_VERIFYHOST}},
        MethodOptions{7, {}}}) {
    curl.options.clear();
    const std::string body = "body";

    api.setCurlSendMethod(static_cast<SEND_METHOD>(row.method), handle.get(), body);

    EXPECT_EQ(curl.options, row.options) << row.method;
  }
}

TEST_F(OneTransfer, AsksForCertificatesWithoutVerification) {
  EXPECT_TRUE(api.sendMessageToVrm(vrm, token, SEND_METHOD_CERTINFO, kUrl, "", response, error));

  EXPECT_EQ(optionAt(0, CURLOPT_CERTINFO), 1);
  EXPECT_EQ(optionAt(0, CURLOPT_SSL_VERIFYPEER), 0);
  EXPECT_EQ(optionAt(0, CURLOPT_SSL_VERIFYHOST), 0);
}

TEST_F(OneTransfer, IsEnrichedWithTheCertificateWhenHttpsIsExactlyOne) {
  vrm.vrmCert = "certificate";
  for (const int useHttps : {0, 2, -1}) {
    vrm.useHttps = useHttps;
    EXPECT_TRUE(send());
    EXPECT_THAT(curl.enriched, IsEmpty()) << useHttps;
  }
  vrm.useHttps = 1;

  EXPECT_TRUE(send());

  EXPECT_THAT(curl.enriched, ElementsAre("certificate"));
}

TEST_F(OneTransfer, IsEnrichedBehindItsMethodAndBeforeItsTimeouts) {
  vrm.useHttps = 1;

  EXPECT_TRUE(send());

  EXPECT_THAT(curl.options,
              ElementsAre(CURLOPT_HTTPHEADER, CURLOPT_URL, CURLOPT_HTTPGET, CURLOPT_SSL_VERIFYPEER,
                          CURLOPT_SSL_VERIFYHOST, CURLOPT_FORBID_REUSE, CURLOPT_NOSIGNAL,
                          CURLOPT_CONNECTTIMEOUT, CURLOPT_TIMEOUT, CURLOPT_VERBOSE,
                          CURLOPT_WRITEFUNCTION, CURLOPT_WRITEDATA));
}

TEST_F(OneTransfer, GoesOnUnverifiedWhenTheHostAllowsARefusedCertificate) {
  setConfigurationValue("General", "CertAuthSwitch", "0");
  vrm.useHttps = 1;
  curl.transfers = {failed(CURLE_PEER_FAILED_VERIFICATION), answer(200, "{}")};

  EXPECT_TRUE(send());

  EXPECT_EQ(optionAt(0, CURLOPT_SSL_VERIFYPEER), 1);
  EXPECT_EQ(optionAt(0, CURLOPT_SSL_VERIFYHOST), 2);
  EXPECT_EQ(optionAt(1, CURLOPT_SSL_VERIFYPEER), 0);
  EXPECT_EQ(optionAt(1, CURLOPT_SSL_VERIFYHOST), 0);
  EXPECT_THAT(log.texts(3),
              ElementsAre("peer cert check failed: " +
                          std::string(curl_easy_strerror(CURLE_PEER_FAILED_VERIFICATION)) + "."));
}

TEST_F(OneTransfer, LooksAndWarnsAtEachCertificateThatIsRefused) {
  setConfigurationValue("General", "CertAuthSwitch", "0");
  vrm.useHttps = 1;
  curl.transfers = {failed(CURLE_PEER_FAILED_VERIFICATION), failed(CURLE_PEER_FAILED_VERIFICATION)};

  EXPECT_FALSE(send());

  const std::string warning =
      "peer cert check failed: " + std::string(curl_easy_strerror(CURLE_PEER_FAILED_VERIFICATION)) +
      ".";
  EXPECT_EQ(curl.performed.size(), 2U);
  EXPECT_THAT(log.texts(3), ElementsAre(warning, warning));
  EXPECT_EQ(error.errorCode, "2002");
}

TEST_F(OneTransfer, StaysStrictAfterARefusedCertificateUnlessTheHostAllows) {
  setConfigurationValue("General", "CertAuthSwitch", "1");
  vrm.useHttps = 1;
  curl.transfers = {failed(CURLE_PEER_FAILED_VERIFICATION), failed(CURLE_PEER_FAILED_VERIFICATION)};

  EXPECT_FALSE(send());

  EXPECT_EQ(optionAt(1, CURLOPT_SSL_VERIFYPEER), 1);
  EXPECT_EQ(optionAt(1, CURLOPT_SSL_VERIFYHOST), 2);
  EXPECT_EQ(error.errorCode, "2002");
  EXPECT_THAT(log.texts(3), IsEmpty());
}

TEST_F(OneTransfer, StaysStrictAfterAnyOtherFailure) {
  setConfigurationValue("General", "CertAuthSwitch", "0");
  vrm.useHttps = 1;
  curl.transfers = {failed(CURLE_SSL_CONNECT_ERROR), answer(200, "{}")};

  EXPECT_TRUE(send());

  EXPECT_EQ(optionAt(1, CURLOPT_SSL_VERIFYPEER), 1);
}

TEST_F(OneTransfer, IsStrictAgainInTheNextExchange) {
  setConfigurationValue("General", "CertAuthSwitch", "0");
  vrm.useHttps = 1;
  curl.transfers = {failed(CURLE_PEER_FAILED_VERIFICATION)};
  EXPECT_TRUE(send());

  EXPECT_TRUE(send());

  ASSERT_EQ(curl.performed.size(), 3U);
  EXPECT_EQ(optionAt(2, CURLOPT_SSL_VERIFYPEER), 1);
}

TEST_F(OneTransfer, WithoutAHandleSendsNothingAndFreesItsListOnce) {
  curl.handlesUntilFailure = 0;

  EXPECT_FALSE(send());

  EXPECT_THAT(curl.performed, IsEmpty());
  EXPECT_EQ(error.errorCode, "00000000");
  EXPECT_THAT(log.texts(4), ElementsAre("curlHandle is null !",
                                        "Send mssage to VRM failed, url=" + std::string(kUrl)));
  EXPECT_EQ(curl.handlesFreed, 0);
  EXPECT_EQ(curl.listsMade, 1);
  expectNothingLeft();
}

TEST_F(OneTransfer, WithoutRoomForAHeaderIsSentWithoutAny) {
  for (int appends = 0; appends < 3; ++appends) {
    curl.performed.clear();
    curl.options.clear();
    curl.appendsUntilFailure = appends;

    EXPECT_TRUE(send());

    EXPECT_EQ(curl.performed.size(), 1U);
    EXPECT_THAT(curl.options, ::testing::Not(::testing::Contains(CURLOPT_HTTPHEADER)));
  }
  expectNothingLeft();
}

TEST_F(OneTransfer, ReadsAsEmptyWhenTheLastPieceFoundNoMemory) {
  curl.transfers = {{CURLE_OK, 200, {}, {"{\"a\"", ":1}"}}};
  memory.failBuffer(2);

  EXPECT_TRUE(send());

  EXPECT_TRUE(memory.bufferFailed());
  EXPECT_EQ(response, "");
  expectNothingLeft();
}

TEST_F(OneTransfer, ReadsAsEmptyWhenAMiddlePieceFoundNoMemory) {
  curl.transfers = {{CURLE_OK, 200, {}, {"{\"a\"", ":1", "}"}}};
  memory.failBuffer(2);
  response = "replaced";

  EXPECT_TRUE(send());

  EXPECT_TRUE(memory.bufferFailed());
  EXPECT_EQ(response, "");
  expectNothingLeft();
}

// Nothing was received before, so nothing stands in front of the rest.
TEST_F(OneTransfer, ReadsAsItsRestWhenTheFirstPieceFoundNoMemory) {
  curl.transfers = {{CURLE_OK, 200, {}, {"{\"a\"", ":1", "}"}}};
  memory.failBuffer(1);

  EXPECT_TRUE(send());

  EXPECT_TRUE(memory.bufferFailed());
  EXPECT_EQ(response, ":1}");
  expectNothingLeft();
}

TEST_F(OneTransfer, CountsARefusalThatFoundNoMemoryAsOneWithoutBody) {
  curl.transfers = {answer(404, R"({"errorCode":"17"})")};
  memory.failBuffer(1);

  EXPECT_FALSE(send());

  EXPECT_EQ(error.errorCode, "2404");
}

TEST_F(Faults, ReceiveBufferKeepsItsSizeWhenItFindsNoMemory) {
  MemoryStruct chunk;
  std::string piece = "abc";
  const auto receive = [&] {
    return KestrelVisor_rest_api::writeMemoryCallback(piece.data(), 1, piece.size(), &chunk);
  };
  EXPECT_EQ(receive(), 3U);
  memory.failBuffer(1);

  EXPECT_EQ(receive(), 3U);  // libcurl never learns of it
  EXPECT_EQ(chunk.memory, nullptr);
  EXPECT_EQ(chunk.size, 3U);
  EXPECT_EQ(memory.buffersAlive(), 0);

  EXPECT_EQ(receive(), 3U);
  ASSERT_EQ(chunk.size, 6U);
  EXPECT_EQ(std::string(chunk.memory, 7), std::string("\0\0\0abc\0", 7));
  delete[] chunk.memory;
}

TEST_F(Faults, ReceiveBufferKeepsItsSizeWhenItsOldBytesCannotBeCopied) {
  MemoryStruct chunk;
  std::string piece = "abc";
  const auto receive = [&] {
    return KestrelVisor_rest_api::writeMemoryCallback(piece.data(), 1, piece.size(), &chunk);
  };
  EXPECT_EQ(receive(), 3U);
  memory.failCopy();

  EXPECT_EQ(receive(), 3U);

  EXPECT_EQ(chunk.memory, nullptr);
  EXPECT_EQ(chunk.size, 3U);
  EXPECT_EQ(memory.buffersAlive(), 0);
}

TEST_F(Faults, WatchNoticesASecretInFreedMemory) {
  memory.searchFor(kSecrets);

  for (const std::string_view secret : kSecrets) {
    const std::string careless("in front of " + std::string(secret));
    EXPECT_FALSE(careless.empty());
  }

  EXPECT_GE(memory.secretsFreed(), 3);
}

TEST_F(Faults, SendMassageFreesHandleAndListOnlyWhenItFails) {
  KestrelVisor_rest_api api;
  std::string code;
  std::string message;
  void* handle = api.initCurl();
  curl_slist* headers = curl_slist_append(nullptr, "X-A:1");

  EXPECT_TRUE(api.sendMassage(vrm, handle, headers, code, message));
  EXPECT_EQ(curl.handlesFreed, 0);
  EXPECT_EQ(curl.listsFreed, 0);

  curl.transfers = {failed(CURLE_RECV_ERROR), failed(CURLE_RECV_ERROR)};
  EXPECT_FALSE(api.sendMassage(vrm, handle, headers, code, message));
  EXPECT_EQ(curl.handlesFreed, 1);
  EXPECT_EQ(curl.listsFreed, 1);
}

TEST_F(Faults, SendMassageWithoutAListFreesTheHandleAlone) {
  KestrelVisor_rest_api api;
  std::string code;
  std::string message;
  curl.transfers = {failed(CURLE_RECV_ERROR), failed(CURLE_RECV_ERROR)};

  EXPECT_FALSE(api.sendMassage(vrm, api.initCurl(), nullptr, code, message));

  EXPECT_EQ(curl.handlesFreed, 1);
  EXPECT_EQ(curl.listsFreed, 0);
}

TEST_F(Faults, SendMassageWithoutAHandleFreesNothing) {
  KestrelVisor_rest_api api;
  std::string code;
  std::string message;
  const CurlHeaders headers(curl_slist_append(nullptr, "X-A:1"));

  EXPECT_FALSE(api.sendMassage(vrm, nullptr, headers.get(), code, message));

  EXPECT_EQ(curl.listsFreed, 0);
}

TEST_F(Faults, VersionQueryWithoutAHandleIsReportedInTheLogAlone) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  std::string version = "before";
  curl.handlesUntilFailure = 0;

  EXPECT_FALSE(api.getKestrelVisorSupportRestVersion(vrm, version, error));

  EXPECT_EQ(version, "before");
  EXPECT_EQ(error.errorCode, "00000000");
  EXPECT_THAT(log.texts(),
              ElementsAre("Init curlHandle failed, url=http://127.0.0.1:7070/service/versions"));
}

TEST_F(Faults, VersionQueryIsEnrichedWithTheCertificateWhenHttpsIsExactlyOne) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  std::string version;
  vrm.vrmCert = "certificate";
  vrm.useHttps = 2;
  const Transfer versions = answer(200, R"({"versions":[{"version":"v1.2"}]})");
  curl.transfers = {versions, versions};
  EXPECT_TRUE(api.getKestrelVisorSupportRestVersion(vrm, version, error));
  EXPECT_THAT(curl.enriched, IsEmpty());
  EXPECT_TRUE(log.has(0, "URL=https://127.0.0.1:7070/service/versions"));
  vrm.useHttps = 1;

  EXPECT_TRUE(api.getKestrelVisorSupportRestVersion(vrm, version, error));

  EXPECT_THAT(curl.enriched, ElementsAre("certificate"));
  expectNothingLeft();
}

TEST_F(Faults, VersionQueryIsEnrichedBehindItsMethodAndBeforeItsTimeouts) {
  KestrelVisor_rest_api api;
  std::string version;
  vrm.useHttps = 1;
  curl.transfers = {answer(200, R"({"versions":[{"version":"v1.2"}]})")};

  EXPECT_TRUE(api.getKestrelVisorSupportRestVersion(vrm, version, error));

  EXPECT_THAT(curl.options,
              ElementsAre(CURLOPT_HTTPHEADER, CURLOPT_URL, CURLOPT_HTTPGET, CURLOPT_SSL_VERIFYPEER,
                          CURLOPT_SSL_VERIFYHOST, CURLOPT_FORBID_REUSE, CURLOPT_NOSIGNAL,
                          CURLOPT_CONNECTTIMEOUT, CURLOPT_TIMEOUT, CURLOPT_VERBOSE,
                          CURLOPT_WRITEFUNCTION, CURLOPT_WRITEDATA));
}

TEST_F(Faults, QueryIsSentOverHttpsForAnySettingButZero) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  Json::Value root;
  vrm.useHttps = 2;
  curl.transfers = {goodLogin(), answer(200, "{}")};

  EXPECT_TRUE(api.getJSonObjFromKestrelVisor(vrm, "/service/sites", "", error, root));

  EXPECT_TRUE(log.has(0, "URL=https://127.0.0.1:7070/service/sites"));
}

class ScriptedLogin : public Faults {
 protected:
  ScriptedLogin() { vrm.clientPassword = std::string(kPassword); }

  bool logIn() { return api.logIn(vrm, status, code, token, message); }

  LogCapture log;
  KestrelVisor_rest_api api;
  KestrelVisorCertToken token;
  std::string status = "status";
  std::string code = "code";
  std::string message = "message";
};

TEST_F(ScriptedLogin, IsAssembledInOrder) {
  curl.transfers = {goodLogin()};

  EXPECT_TRUE(logIn());

  EXPECT_THAT(curl.options,
              ElementsAre(CURLOPT_HTTPHEADER, CURLOPT_URL, CURLOPT_POST, CURLOPT_POSTFIELDS,
                          CURLOPT_HEADERFUNCTION, CURLOPT_HEADERDATA, CURLOPT_WRITEFUNCTION,
                          CURLOPT_WRITEDATA, CURLOPT_FORBID_REUSE, CURLOPT_NOSIGNAL,
                          CURLOPT_CONNECTTIMEOUT, CURLOPT_TIMEOUT, CURLOPT_VERBOSE));
  expectNothingLeft();
}

TEST_F(ScriptedLogin, IsEnrichedBehindItsBuffersAndBeforeItsTimeouts) {
  vrm.useHttps = 1;
  curl.transfers = {goodLogin()};

  EXPECT_TRUE(logIn());

  EXPECT_THAT(curl.options,
              ElementsAre(CURLOPT_HTTPHEADER, CURLOPT_URL, CURLOPT_POST, CURLOPT_POSTFIELDS,
                          CURLOPT_HEADERFUNCTION, CURLOPT_HEADERDATA, CURLOPT_WRITEFUNCTION,
                          CURLOPT_WRITEDATA, CURLOPT_SSL_VERIFYPEER, CURLOPT_SSL_VERIFYHOST,
                          CURLOPT_FORBID_REUSE, CURLOPT_NOSIGNAL, CURLOPT_CONNECTTIMEOUT,
                          CURLOPT_TIMEOUT, CURLOPT_VERBOSE));
}

TEST_F(ScriptedLogin, IsEnrichedWithTheCertificateWhenHttpsIsExactlyOne) {
  vrm.vrmCert = "certificate";
  vrm.useHttps = 2;
  curl.transfers = {goodLogin(), goodLogin()};
  EXPECT_TRUE(logIn());
  EXPECT_THAT(curl.enriched, IsEmpty());
  EXPECT_TRUE(log.has(0, "URL=https://127.0.0.1:7070/service/session"));
  vrm.useHttps = 1;

  EXPECT_TRUE(logIn());

  EXPECT_THAT(curl.enriched, ElementsAre("certificate"));
}

TEST_F(ScriptedLogin, WithoutAHandleTouchesNothing) {
  curl.handlesUntilFailure = 0;

  EXPECT_FALSE(logIn());

  EXPECT_EQ(status, "status");
  EXPECT_EQ(code, "code");
  EXPECT_EQ(message, "message");
  EXPECT_EQ(api.getProtocolVersion(), "1.2");
  EXPECT_THAT(log.texts(),
              ElementsAre("Init curlHandle failed, url=http://127.0.0.1:7070/service/session"));
  expectNothingLeft();
}

TEST_F(ScriptedLogin, WithoutRoomForAnyHeaderTouchesNothingAndFreesTheHandle) {
  for (int appends = 0; appends < 7; ++appends) {
    curl.appendsUntilFailure = appends;
    log.clear();

    EXPECT_FALSE(logIn()) << appends;

    EXPECT_EQ(code, "code");
    EXPECT_EQ(message, "message");
    EXPECT_THAT(log.texts(4),
                ElementsAre("Init curlHeader failed, url=http://127.0.0.1:7070/service/session"));
  }
  EXPECT_THAT(curl.performed, IsEmpty());
  EXPECT_EQ(curl.handlesMade, 7);
  expectNothingLeft();
}

TEST_F(ScriptedLogin, FreesBothBuffersAfterAFailedTransfer) {
  Transfer partial = goodLogin();
  partial.result = CURLE_PARTIAL_FILE;
  curl.transfers = {partial, partial};

  EXPECT_FALSE(logIn());

  EXPECT_EQ(code, "2002");
  EXPECT_EQ(message, "message");
  expectNothingLeft();
}

TEST_F(ScriptedLogin, WithoutHeaderThrowsAndTheClientGoesOn) {
  curl.transfers = {answer(200, "{}"), goodLogin()};

  EXPECT_THROW(logIn(), std::logic_error);
  expectNothingLeft();

  EXPECT_TRUE(logIn());
}

TEST_F(ScriptedLogin, WithoutBodyThrowsAndLeaksNothing) {
  Transfer noBody = goodLogin();
  noBody.body.clear();
  curl.transfers = {noBody};

  EXPECT_THROW(logIn(), std::logic_error);

  expectNothingLeft();
}

// A whole operation of a client, from the first byte to its end.
struct Operation {
  const char* name;
  bool https;
  std::vector<Transfer> transfers;
};

std::vector<Operation> operations() {
  const Transfer gone = answer(401, R"({"errorCode":"10000002"})");
  return {
      {"GoodQuery", false, {goodLogin(), answer(200, R"({"sites":[]})")}},
      {"GoodQueryOverHttps", true, {goodLogin(), answer(200, R"({"sites":[]})")}},
      {"RefusedQuery", false, {goodLogin(), answer(500, "<html>")}},
      {"FailedQuery", false, {goodLogin(), failed(CURLE_RECV_ERROR), failed(CURLE_RECV_ERROR)}},
      {"RefusedCertificate",
       true,
       {failed(CURLE_PEER_FAILED_VERIFICATION), goodLogin(), failed(CURLE_PEER_FAILED_VERIFICATION),
        answer(200, R"({"sites":[]})")}},
      {"EndedSession", false, {goodLogin(), gone, goodLogin(), answer(200, R"({"sites":[]})")}},
      {"FailedLogin", false, {failed(CURLE_RECV_ERROR), failed(CURLE_RECV_ERROR)}},
      {"RefusedLogin", false, {answer(401, R"({"errorCode":"10100103"})")}},
  };
}

class WholeOperation : public Faults, public ::testing::WithParamInterface<Operation> {
 protected:
  WholeOperation() {
    setConfigurationValue("General", "CertAuthSwitch", "0");
    vrm.useHttps = GetParam().https ? 1 : 0;
    setClock([] { return std::time_t{1000}; });
  }
  ~WholeOperation() override { setClock(nullptr); }

  void run() {
    curl.transfers = GetParam().transfers;
    KestrelVisor_rest_api api;
    Json::Value root;
    std::string version;
    KestrelVisorErrorMessage failure;
    api.getJSonObjFromKestrelVisor(vrm, "/service/sites", "sites", failure, root);
    curl.transfers.clear();
    api.getKestrelVisorSupportRestVersion(vrm, version, failure);
  }
};

// Runs the operation once for each of its log statements, which then throws.
TEST_P(WholeOperation, FreesEverythingOnceWhicheverLogStatementThrows) {
  int statements = 0;
  int throwAt = 0;
  const LogObserver thrower(nullptr, [&](int, std::string_view) {
    if (++statements == throwAt) throw std::runtime_error("no room for a log statement");
  });
  run();
  const int all = statements;
  ASSERT_GT(all, 10);
  expectNothingLeft();

  for (throwAt = 1; throwAt <= all; ++throwAt) {
    statements = 0;
    try {
      run();
    } catch (const std::runtime_error&) {
      // Statements of the destructor stay within it.
    }
    expectNothingLeft();
  }
}

TEST_P(WholeOperation, FreesEverythingOnceWhicheverReceiveBufferFails) {
  int failures = 0;
  for (int nth = 1; nth < 40; ++nth) {
    memory.failBuffer(nth);
    try {
      run();
    } catch (const std::logic_error&) {
      // A login answer that was lost in whole.
    }
    expectNothingLeft();
    failures += memory.bufferFailed() ? 1 : 0;
  }
  EXPECT_GT(failures, 0);
}

TEST_P(WholeOperation, LeavesNoSecretInFreedMemory) {
  // The lists that are freed are looked at too: expectNothingLeft.
  memory.searchFor(kSecrets);

  run();

  EXPECT_EQ(memory.secretsFreed(), 0);
  expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(RestClient, WholeOperation, ::testing::ValuesIn(operations()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrelvisor::test
