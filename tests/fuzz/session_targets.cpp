// Answers around a session: versions, login, refusals, the action.

#include "rest/json_utils.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/fuzz/targets.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrelvisor::fuzz {
namespace {

// The header reader as its rules are told, step by step.

int literalLine(const std::string& line, const std::string& key, std::string& value) {
  if (line.empty() || line.size() < key.size()) return -1;
  for (std::size_t i = 0; i < key.size(); ++i) {
    if (line[i] != key[i]) return -1;
  }
  std::size_t at = key.size();
  while (at < line.size() && line[at] == ' ') ++at;
  if (at == line.size()) return 0;
  const auto isBlank = [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; };
  std::size_t end = line.size();
  while (at < end && isBlank(line[at])) ++at;
  while (end > at && isBlank(line[end - 1])) --end;
  value = line.substr(at, end - at);
  return 0;
}

int literalHeaders(const std::string& text, const std::string& key, std::string& value) {
  if (text.size() <= 9) return -1;
  if (key == "status_code") {
    for (std::size_t i = 9; i < 12 && i < text.size(); ++i) value.push_back(text[i]);
    return 0;
  }
  std::string line;
  for (const char c : text) {
    if (line.empty() && (c == '\r' || c == '\n')) continue;
    line.push_back(c);
    if (c != '\r' || line.size() < 2) continue;
    if (literalLine(line, key, value) == 0) return 0;
    line.clear();
  }
  return -1;
}

// The text of a key in an error body; false when it counts as absent.
bool literalText(const Json::Value& document, const char* key, std::string& text) {
  if (!document.isObject() || !document.isMember(key)) return false;
  const Json::Value& value = document[key];
  if (!value.isString() && !value.isNumeric() && !value.isBool()) return false;
  text = value.asString();
  return true;
}

void requireFailedLogin(const KestrelVisor_rest_api& api, const KestrelVisorCertToken& token) {
  require(api.tokenMap.empty(), "a failed login leaves no entry");
  require(token.authToken.empty(), "a failed login leaves an empty token");
}

void requireGoodLogin(const KestrelVisor_rest_api& api, const KestrelVisorCertToken& token) {
  require(api.tokenMap.size() == 1, "a good login leaves one entry");
  const VRMCertTokenInfo& session = api.tokenMap.begin()->second;
  require(session.certToken.authToken == token.authToken, "the cache holds the token");
  require(token.startTime == kNow, "a validity begins at the login");
}

}  // namespace

void versions(std::string_view input) {
  const std::string before = "0.9";
  Client client;
  std::string version = before;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  bool found = false;
  const bool good = endsWithout<Json::Exception, std::out_of_range>([&] {
    const ScriptedManager manager(input);
    found = client.getKestrelVisorSupportRestVersion(vrm, version, error);
  });
  if (!found) require(version == before, "without a usable entry the version stays");
  if (found) require(client.protocolVersion == version, "the client takes the version");
  require(std::strtod(version.c_str(), nullptr) > 0.0, "only positive versions are taken");
  if (!good) client.requireToWork();
}

void login(std::string_view input) {
  Client client;
  client.tokenMap.clear();
  const VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  KestrelVisorCertToken token;
  bool done = false;
  bool loggedIn = false;
  try {
    done = endsWithout<Json::Exception>([&] {
      const ScriptedManager manager(input, ScriptedManager::Sessions::scripted);
      loggedIn = client.checkLoginAgainAndCert(vrm, error, token);
    });
  } catch (const std::logic_error& missingPart) {
    require(std::string_view(missingPart.what()).starts_with("login answer 200 without a "),
            "only a missing part of a login answer is a logic error");
  }
  if (loggedIn) requireGoodLogin(client, token);
  if (!loggedIn) requireFailedLogin(client, token);
  if (!done) client.requireToWork();
}

// The first line is the name of the header, the others are the block.
void headerBlock(std::string_view input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  std::string key(input.substr(0, end));
  std::string block(input.substr(std::min(end + 1, input.size())));
  std::string value = "before";
  std::string expected = "before";
  Client client;
  const int found = client.parse_response_header(block, key, value);
  require(found == literalHeaders(block, key, expected), "a header is found as told");
  require(value == expected, "a header's value is read as told");

  const int matched = client.httpParseLine(block, key, value);
  require(matched == literalLine(block, key, expected), "a line matches as told");
  require(value == expected, "a line's value is read as told");
}

void errorBody(std::string_view input) {
  std::vector<char> body(input.begin(), input.end());
  body.push_back('\0');
  MemoryStruct chunk;
  chunk.size = input.size();
  chunk.memory = body.data();
  Json::Value document;
  std::string expectedCode;
  std::string expectedMessage = "before";
  if (CJsonUtils::StringToJson(body.data(), document)) {
    literalText(document, "errorCode", expectedCode);
    literalText(document, "errorDes", expectedMessage);
  }
  if (expectedCode == "10100103") {
    expectedMessage =
        "User name or password is incorrect, or the user types is not the docking interface user.";
  }
  std::string code;
  std::string message = "before";
  Client client;
  client.processReponseCodeNOK("errorBody", chunk, "500", code, message);
  require(code == expectedCode, "the code of a refusal is read as told");
  require(message == expectedMessage, "the text of a refusal is read as told");
}

void disableCbt(std::string_view input) {
  Client client;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  const ScriptedManager manager(input);
  // No document of an answer is read here beyond its code, so nothing may be thrown.
  const bool disabled = client.disableVmCbt(vrm, "/service/sites/1/vms/2", error);
  require(manager.transfers() <= 4, "one request, one repeat, each attempted twice");
  if (disabled) require(client.tokenMap.size() == 1, "a good request keeps the session");
}

}  // namespace kestrelvisor::fuzz
