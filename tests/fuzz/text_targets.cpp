// Texts that answers hold, or are.

#include "platform/reference/redaction.h"
#include "rest/json_utils.h"
#include "tests/fuzz/session.h"
#include "tests/fuzz/targets.h"

#include <algorithm>
#include <string>

namespace kestrelvisor::fuzz {
namespace {

std::string rewritten(const Json::Value& value) {
  return Json::writeString(Json::StreamWriterBuilder(), value);
}

// Replaces the head by length and one character by another, as the rules tell it.
std::string literalConversion(const std::string& text, std::size_t head, const std::string& newHead,
                              char from, char to) {
  if (text.find(from) == std::string::npos) return text;
  std::string converted = newHead;
  for (std::size_t i = head; i < text.size(); ++i) converted.push_back(text[i]);
  for (char& c : converted) {
    if (c == from) c = to;
  }
  return converted;
}

bool isHex(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// 32 hexadecimal digits, all dashes or none, both braces or none.
bool literalUuid(std::string_view text) {
  if (text.starts_with('{')) {
    if (!text.ends_with('}')) return false;
    text = text.substr(1, text.size() - 2);
  }
  const bool dashes = text.size() == 36;
  if (!dashes && text.size() != 32) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dash = dashes && (i == 8 || i == 13 || i == 18 || i == 23);
    if (dash ? text[i] != '-' : !isHex(text[i])) return false;
  }
  return true;
}

}  // namespace

// Nothing may be thrown, and what was read can be written and read again: elements of a page are.
// Writing repairs bytes that are no UTF-8, in keys too, which then sort elsewhere or fall together;
// what was repaired stays.
void jsonText(std::string_view input) {
  Json::Value root;
  if (!CJsonUtils::StringToJson(std::string(input), root)) return;
  std::string text = rewritten(root);
  require(CJsonUtils::StringToJson(text, root), "what was written can be read");
  text = rewritten(root);
  Json::Value again;
  require(CJsonUtils::StringToJson(text, again), "what was repaired can be read");
  require(rewritten(again) == text, "it reads the same");
}

void uriAndUrn(std::string_view input) {
  const std::string text(input);
  Client client;
  const std::string urn = client.uriToUrn(text);
  const std::string uri = client.urnToUri(text);
  require(urn == literalConversion(text, 8, "urn", '/', ':'), "a URI becomes a URN as told");
  require(uri == literalConversion(text, 3, "/service", ':', '/'), "a URN becomes a URI as told");
  const bool plain = text.starts_with("/service/") && text.find(':') == std::string::npos;
  if (plain) require(client.urnToUri(urn) == text, "a URI comes back from its URN");
}

void uuid(std::string_view input) {
  Client client;
  require(client.checkUUID(std::string(input)) == literalUuid(input), "a uuid is one as told");
}

void redaction(std::string_view input) {
  const std::string text(input);
  const std::string clean = withoutSecrets(text);
  require(withoutSecrets(text) == clean, "the same text gives the same copy");
  // Whatever stands behind it, a named secret is found.
  const std::string secret = "fake-session-token-0123456789abcdef";
  if (text.find(secret) != std::string::npos) return;
  const std::string answer = "{\"authToken\":\"" + secret + "\",\"more\":\"" + text + "\"}";
  require(withoutSecrets(answer).find(secret) == std::string::npos, "a named secret is removed");
}

}  // namespace kestrelvisor::fuzz
