#include "platform/reference/configuration.h"
#include "rest/clock.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/catalogue/faults.h"
#include "tests/catalogue/log_script.h"
#include "tests/support/fake_manager.h"
#include "tests/support/loopback_socket.h"
#include "tests/support/test_headers.h"

#include <json/json.h>

#include <ctime>

namespace kestrelvisor::test {
namespace {

constexpr const char* kSession = "/service/session";
constexpr const char* kVersions = "/service/versions";
constexpr const char* kSites = "/service/sites";
constexpr const char* kNoSites = R"({"sites":[]})";

// libcurl's words for a result, as a sentence.
std::string wordsFor(CURLcode result) {
  std::string text = curl_easy_strerror(result);
  if (text.back() != '.') text += '.';
  return text;
}

VRM_INFO unreachable() {
  VRM_INFO vrm = FakeManager().connection();
  vrm.vrmPort = unusedPort(vrm.vrmIp);
  return vrm;
}

Script& neverConnected(Script& script) {
  const std::vector<std::string> pieces{"sendMassage", "2000", wordsFor(CURLE_COULDNT_CONNECT)};
  return script.line("transfer.failed", pieces).line("transfer.failed", pieces);
}

Script headerTexts() {
  KestrelVisor_rest_api api;
  VRM_INFO vrm;
  vrm.restVersion = "2.1";
  api.getAccept();
  api.getAccept(vrm);
  api.getAcceptWithoutVersion();
  api.getContentType();
  api.getContentTypeWithVersion();
  api.getLanguage();

  return Script()
      .line("header.version", {"version=1.2; charset=UTF-8"})
      .line("header.accept", {"Accept: application/json;version=1.2; charset=UTF-8"})
      .line("header.accept", {"Accept: application/json;version=2.1; charset=UTF-8"})
      .line("header.acceptOnly", {"Accept: application/json;charset=UTF-8"})
      .line("header.content", {"Content-Type: application/json; charset=UTF-8"})
      .line("header.version", {"version=1.2; charset=UTF-8"})
      .line("header.contentVersion", {"Content-Type: application/json; version=1.2; charset=UTF-8"})
      .line("header.language", {"Accept-Language:en_US"});
}

Script methodOutsideTheTable() {
  KestrelVisor_rest_api api;
  void* curl = api.initCurl();
  curl_slist* headers = nullptr;
  api.setCurlSendMethod(static_cast<SEND_METHOD>(7), curl, "");
  api.closeCurl(curl, headers);
  return Script().line("transfer.method", {"7"});
}

Script requestWithoutHandle() {
  KestrelVisor_rest_api api;
  std::string code;
  std::string message;
  api.sendMassage(VRM_INFO(), nullptr, nullptr, code, message);
  return Script().line("transfer.noHandle");
}

// One exchange, as a token at hand would make it.
void exchange(KestrelVisor_rest_api& api, VRM_INFO vrm, const std::string& path) {
  KestrelVisorErrorMessage error;
  std::string response;
  api.sendMessageToVrm(vrm, KestrelVisorCertToken(), SEND_METHOD_GET,
                       "http://" + vrm.vrmIp + ":" + std::to_string(vrm.vrmPort) + path, "",
                       response, error);
}

Script managerThatNobodyReaches() {
  KestrelVisor_rest_api api;
  const VRM_INFO vrm = unreachable();
  exchange(api, vrm, "/x");
  Script script(vrm);
  script.assembled("/x");
  return neverConnected(script).line("exchange.notSent", {script.url("/x")});
}

Script certificateThatIsLetPass() {
  FakeManager manager;
  manager.serves("GET", "/x", ok("{}"));
  KestrelVisor_rest_api api;
  setConfigurationValue("General", "CertAuthSwitch", "0");
  failNextTransfer(CURLE_PEER_FAILED_VERIFICATION);
  exchange(api, manager.connection(), "/x");
  resetConfiguration();

  const std::string words = wordsFor(CURLE_PEER_FAILED_VERIFICATION);
  return Script(manager.connection())
      .assembled("/x")
      .line("transfer.failed", {"sendMassage", "2002", words})
      .line("transfer.unverified", {words})
      .line("answer", {"{}", "200"});
}

Script transferThatTookTooLong() {
  FakeManager manager;
  manager.serves("GET", "/x", ok("{}"));
  KestrelVisor_rest_api api;
  failNextTransfer(CURLE_OPERATION_TIMEDOUT);
  exchange(api, manager.connection(), "/x");

  const std::string words = wordsFor(CURLE_OPERATION_TIMEDOUT);
  return Script(manager.connection())
      .assembled("/x")
      .line("transfer.failed", {"sendMassage", "2001", words})
      .line("answer", {"{}", "200"});
}

// One exchange that the manager refuses; what it leaves behind the answer's line.
Script refusedExchange(int code, const std::string& body, std::string_view id,
                       std::vector<std::string> pieces) {
  FakeManager manager;
  manager.serves("GET", "/x", status(code, body));
  KestrelVisor_rest_api api;
  exchange(api, manager.connection(), "/x");
  Script script(manager.connection());
  script.assembled("/x");
  if (!body.empty()) script.line("answer", {body, std::to_string(code)});
  if (body == "<html>") script.line("answer.unreadable");
  return script.line(id, std::move(pieces)).line("exchange.refused", {script.url("/x")});
}

Script refusalWithCode() {
  return refusedExchange(400, R"({"errorCode":"10000008","errorDes":"gone"})", "answer.refused",
                         {"getResponse", "10000008", "gone"});
}

Script refusalWithoutBody() {
  return refusedExchange(404, "", "answer.refused", {"getResponse", "2404", "404 Page not found"});
}

Script refusalThatCannotBeRead() {
  return refusedExchange(400, "<html>", "answer.refused", {"getResponse", "", ""});
}

Script releasedTask() {
  return refusedExchange(400, R"({"errorCode":"10300402","errorDes":"released"})",
                         "answer.released", {"10300402", "released"});
}

// Asks for the versions; the script holds what is written before the answer.
Script versionsAsked(VRM_INFO vrm) {
  KestrelVisor_rest_api api;
  KestrelVisorErrorMessage error;
  std::string version = "1.1";
  api.getKestrelVisorSupportRestVersion(vrm, version, error);
  Script script(vrm);
  return script.line("header.acceptOnly", {"Accept: application/json;charset=UTF-8"})
      .line("transfer.url", {script.url(kVersions)});
}

Script versionsAnswered(const Answer& answer) {
  FakeManager manager;
  manager.serves("GET", kVersions, answer);
  return versionsAsked(manager.connection());
}

Script lastUsableVersion() {
  const std::string body = R"({"versions":[{"version":"v1.2"},{"version":"vnext"}]})";
  return versionsAnswered(ok(body))
      .line("answer", {body, "200"})
      .line("version.entry", {"1.2"})
      .line("version.entry", {"next"})
      .line("version.chosen", {"1.2"});
}

Script noVersions() {
  return versionsAnswered(ok(R"({"versions":[]})"))
      .line("answer", {R"({"versions":[]})", "200"})
      .line("version.none");
}

Script unreadableVersions() {
  Script script = versionsAnswered(ok("nothing"));
  return script.line("answer", {"nothing", "200"})
      .line("version.unreadable")
      .line("version.unusable", {script.url(kVersions)});
}

Script refusedVersions() {
  Script script = versionsAnswered(status(404));
  return script.line("answer.refused", {"getResponse", "2404", "404 Page not found"})
      .line("version.refused", {script.url(kVersions)});
}

Script versionsThatNobodyReaches() {
  Script script = versionsAsked(unreachable());
  return neverConnected(script).line("version.notSent", {script.url(kVersions)});
}

Script versionsWithoutHandle() {
  const NoCurlHandles fault;
  VRM_INFO vrm = unreachable();
  KestrelVisor_rest_api api;
  KestrelVisorErrorMessage error;
  api.getKestrelVisorSupportRestVersion(vrm, vrm.restVersion, error);
  Script script(vrm);
  return script.line("version.noHandle", {script.url(kVersions)});
}

void logIn(const VRM_INFO& vrm) {
  KestrelVisor_rest_api api;
  KestrelVisorErrorMessage error;
  KestrelVisorCertToken token;
  api.checkLoginAgainAndCert(vrm, error, token);
}

Script loginWithoutHandle() {
  const NoCurlHandles fault;
  const VRM_INFO vrm = unreachable();
  logIn(vrm);
  Script script(vrm);
  return script.line("token.none", {vrm.vrmIp})
      .line("token.login", {"1.2"})
      .line("login.noHandle", {script.url(kSession)})
      .line("token.failed", {""});
}

Script loginWithoutHeaders() {
  const NoCurlHeaders fault;
  const VRM_INFO vrm = unreachable();
  logIn(vrm);
  Script script(vrm);
  return script.line("token.none", {vrm.vrmIp})
      .line("token.login", {"1.2"})
      .line("header.accept", {"Accept: application/json;version=1.2; charset=UTF-8"})
      .line("login.noHeaders", {script.url(kSession)})
      .line("token.failed", {""});
}

Script loginThatNobodyHears() {
  const VRM_INFO vrm = unreachable();
  logIn(vrm);
  Script script(vrm);
  script.loginAsked();
  return neverConnected(script)
      .line("login.notSent", {script.url(kSession)})
      .line("token.failed", {"2000"});
}

Script wrongPassword() {
  FakeManager manager;
  manager.serves("POST", kSession, refusal(401, "10100103", "no"));
  logIn(manager.connection());
  Script script(manager.connection());
  return script.loginAsked()
      .line("answer.refused", {"KestrelVisor_rest_api::logIn", "10100103",
                               "User name or password is incorrect, or the user types is not the "
                               "docking interface user."})
      .line("login.failed", {script.url(kSession)})
      .line("token.failed", {"10100103"});
}

Script roleThatMayNotBackUp() {
  FakeManager manager;
  manager.serves("POST", kSession,
                 ok(R"({"validity":1800000,"roleList":["operator","SYSADMIN"]})"));
  logIn(manager.connection());
  Script script(manager.connection());
  return script.loginAsked()
      .line("token.clock", {std::to_string(kNow)})
      .line("login.role", {"operator"})
      .line("login.role", {"SYSADMIN"})
      .line("login.failed", {script.url(kSession)})
      .line("token.failed", {"1006"});
}

Script sessionForAnotherUser() {
  FakeManager manager;
  VRM_INFO vrm = manager.connection();
  KestrelVisorErrorMessage error;
  KestrelVisorCertToken token;
  {
    KestrelVisor_rest_api api;
    api.checkLoginAgainAndCert(vrm, error, token);
    vrm.clientUsername = "auditor";
    api.checkLoginAgainAndCert(vrm, error, token);
  }
  Script script(vrm);
  script.loggedIn().line("token.otherUser", {vrm.vrmIp, "auditor"}).line("token.login", {"1.2"});
  return script.sessionEnded().loginPosted().loginTaken().loggedOut();
}

Script sessionForAnotherPassword() {
  FakeManager manager;
  const VRM_INFO vrm = manager.connection();
  KestrelVisorErrorMessage error;
  KestrelVisorCertToken token;
  {
    KestrelVisor_rest_api api;
    api.checkLoginAgainAndCert(vrm, error, token);
    api.tokenMap.at(vrm.vrmIp).vrmInfo.clientPassword = "earlier";
    api.checkLoginAgainAndCert(vrm, error, token);
  }
  Script script(vrm);
  script.loggedIn().line("token.otherPassword", {vrm.vrmIp, vrm.clientUsername});
  script.line("token.login", {"1.2"});
  return script.sessionEnded().loginPosted().loginTaken().loggedOut();
}

Script sessionPastHalfOfItsValidity() {
  FakeManager manager;
  const VRM_INFO vrm = manager.connection();
  KestrelVisorErrorMessage error;
  KestrelVisorCertToken token;
  {
    KestrelVisor_rest_api api;
    api.checkLoginAgainAndCert(vrm, error, token);
    setClock([] { return std::time_t{kNow + 901}; });
    api.checkLoginAgainAndCert(vrm, error, token);
  }
  const std::string start = std::to_string(kNow);
  const std::string now = std::to_string(kNow + 901);
  Script script(vrm);
  script.loggedIn()
      .line("token.clock", {now})
      .line("token.age", {"1800", start, now})
      .line("token.old", {"1800", start, now})
      .line("token.login", {"1.2"});
  return script.sessionEnded().loginPosted().loginTaken(kNow + 901).loggedOut();
}

Script logoutThatFails() {
  FakeManager manager;
  manager.serves("DELETE", kSession, status(500));
  const VRM_INFO vrm = manager.connection();
  logIn(vrm);
  Script script(vrm);
  return script.loggedIn()
      .line("logout.start", {vrm.vrmIp})
      .assembled(kSession)
      .line("answer.refused", {"getResponse", "500", "other error"})
      .line("exchange.refused", {script.url(kSession)})
      .line("logout.failed", {vrm.vrmIp, "other error"});
}

// Queries the sites once, and lets the client end.
void query(VRM_INFO vrm, const std::string& uri = kSites, const std::string& key = "sites") {
  KestrelVisor_rest_api api;
  KestrelVisorErrorMessage error;
  Json::Value root;
  api.getJSonObjFromKestrelVisor(vrm, uri, key, error, root);
}

Script& sessionGone(Script& script) {
  return script.answered(kSites, R"({"errorCode":"10000002","errorDes":""})", "401")
      .line("answer.refused", {"getResponse", "10000002", ""})
      .line("exchange.refused", {script.url(kSites)});
}

Script newLoginThatFails() {
  FakeManager manager;
  manager.serves("GET", kSites, refusal(401, "10000002"));
  manager.answers("POST", kSession, 2, status(503));
  query(manager.connection());
  Script script(manager.connection());
  sessionGone(script.loggedIn());
  return script.loginAsked()
      .line("answer.refused", {"KestrelVisor_rest_api::logIn", "503", "other error"})
      .line("login.failed", {script.url(kSession)})
      .line("token.failed", {"503"})
      .line("request.noNewLogin")
      .sessionEnded();
}

Script repeatThatFails() {
  FakeManager manager;
  manager.serves("GET", kSites, refusal(401, "10000002"));
  query(manager.connection());
  Script script(manager.connection());
  sessionGone(script.loggedIn());
  sessionGone(script.loggedIn());
  return script.line("request.failed").sessionEnded();
}

Script requestThatFails() {
  FakeManager manager;
  manager.serves("GET", kSites, status(500));
  query(manager.connection());
  return Script(manager.connection()).loggedIn().queryRefused(kSites);
}

Script passwordThatCannotBeDecrypted() {
  VRM_INFO vrm = unreachable();
  vrm.clientPassword = "not a cipher";
  query(vrm);
  return Script(vrm).line("token.undecrypted").line("query.noLogin");
}

Script uriThatIsTooLong() {
  FakeManager manager;
  query(manager.connection(), "/" + std::string(1024, 'x'));
  return Script(manager.connection()).loggedIn().line("query.urlTooLong").loggedOut();
}

Script answeredQuery(const std::string& body, const std::string& key, std::string_view id,
                     std::vector<std::string> pieces = {}) {
  FakeManager manager;
  manager.serves("GET", kSites, ok(body));
  query(manager.connection(), kSites, key);
  Script script(manager.connection());
  script.loggedIn().answered(kSites, body).line(id, std::move(pieces));
  return script.loggedOut();
}

Script answerThatCannotBeRead() { return answeredQuery("nothing", "sites", "json.unreadable"); }

Script answerWithoutTheKey() { return answeredQuery(kNoSites, "hosts", "json.noKey", {"hosts"}); }

Script wholeAnswer() { return answeredQuery(kNoSites, "", "json.whole"); }

Script answerWithTheKey() { return answeredQuery(kNoSites, "sites", "json.ok"); }

constexpr Scenario kScenarios[] = {
    {"HeaderTexts", headerTexts},
    {"MethodOutsideTheTable", methodOutsideTheTable},
    {"RequestWithoutHandle", requestWithoutHandle},
    {"ManagerThatNobodyReaches", managerThatNobodyReaches},
    {"CertificateThatIsLetPass", certificateThatIsLetPass},
    {"TransferThatTookTooLong", transferThatTookTooLong},
    {"RefusalWithCode", refusalWithCode},
    {"RefusalWithoutBody", refusalWithoutBody},
    {"RefusalThatCannotBeRead", refusalThatCannotBeRead},
    {"ReleasedTask", releasedTask},
    {"LastUsableVersion", lastUsableVersion},
    {"NoVersions", noVersions},
    {"UnreadableVersions", unreadableVersions},
    {"RefusedVersions", refusedVersions},
    {"VersionsThatNobodyReaches", versionsThatNobodyReaches},
    {"VersionsWithoutHandle", versionsWithoutHandle},
    {"LoginWithoutHandle", loginWithoutHandle},
    {"LoginWithoutHeaders", loginWithoutHeaders},
    {"LoginThatNobodyHears", loginThatNobodyHears},
    {"WrongPassword", wrongPassword},
    {"RoleThatMayNotBackUp", roleThatMayNotBackUp},
    {"SessionForAnotherUser", sessionForAnotherUser},
    {"SessionForAnotherPassword", sessionForAnotherPassword},
    {"SessionPastHalfOfItsValidity", sessionPastHalfOfItsValidity},
    {"LogoutThatFails", logoutThatFails},
    {"NewLoginThatFails", newLoginThatFails},
    {"RepeatThatFails", repeatThatFails},
    {"RequestThatFails", requestThatFails},
    {"PasswordThatCannotBeDecrypted", passwordThatCannotBeDecrypted},
    {"UriThatIsTooLong", uriThatIsTooLong},
    {"AnswerThatCannotBeRead", answerThatCannotBeRead},
    {"AnswerWithoutTheKey", answerWithoutTheKey},
    {"WholeAnswer", wholeAnswer},
    {"AnswerWithTheKey", answerWithTheKey},
};

}  // namespace

std::span<const Scenario> sessionScenarios() { return kScenarios; }

}  // namespace kestrelvisor::test
