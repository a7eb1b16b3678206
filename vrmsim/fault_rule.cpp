#include "vrmsim/fault_rule.h"

#include "vrmsim/fault_keys.h"
#include "vrmsim/json_reader.h"
#include "vrmsim/options.h"

#include <json/json.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

namespace kestrelvisor::vrmsim {
namespace {

using Word = std::pair<std::string, std::string>;  // key and value

constexpr std::string_view kBlanks = " \t\r\n";

// Of these keys a rule has one at the most.
const std::vector<std::vector<const char*>> kAlternatives{
    {"nth", "every"},
    {"silence", "cut", "reset", "tls"},
    {"body", "body-file", "empty", "code", "redirect"},
    {"body", "body-file", "empty", "text", "redirect"},
    {"length", "chunk", "http09"},
    {"endless", "empty"},
};

// A key that means nothing without the other.
constexpr std::pair<const char*, const char*> kCompanions[] = {
    {"find", "replace"}, {"replace", "find"}, {"clean", "cut"}};

int hexDigit(char digit) {
  const std::string_view digits = "0123456789abcdefABCDEF";
  const std::size_t at = digits.find(digit);
  if (at == std::string_view::npos) return -1;
  return static_cast<int>(at < 16 ? at : at - 6);
}

// Takes the words of a rule from its text, front to back.
class WordReader {
 public:
  explicit WordReader(std::string_view text) : text_(text) { skipBlanks(); }

  bool atEnd() const { return at_ == text_.size(); }

  Word next() {
    Word word;
    while (!atEnd() && !blankHere() && text_[at_] != '=') word.first += text_[at_++];
    if (!atEnd() && text_[at_] == '=') {
      ++at_;
      word.second = !atEnd() && text_[at_] == '"' ? quoted() : bare();
    }
    if (!atEnd() && !blankHere()) throw FaultRuleError("a blank is missing behind a closing quote");
    skipBlanks();
    return word;
  }

 private:
  bool blankHere() const { return kBlanks.find(text_[at_]) != std::string_view::npos; }

  void skipBlanks() { at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size()); }

  std::string bare() {
    std::string value;
    while (!atEnd() && !blankHere()) value += text_[at_++];
    return value;
  }

  std::string quoted() {
    std::string value;
    for (++at_; !atEnd() && text_[at_] != '"';) {
      const char letter = text_[at_++];
      value += letter == '\\' ? escaped() : letter;
    }
    if (atEnd()) throw FaultRuleError("a closing quote is missing");
    ++at_;
    return value;
  }

  char escaped() {
    constexpr std::string_view kLetters = "\"\\nrt0";
    constexpr std::string_view kMeanings("\"\\\n\r\t\0", 6);
    const char letter = atEnd() ? ' ' : text_[at_++];
    const std::size_t known = kLetters.find(letter);
    if (known != std::string_view::npos) return kMeanings[known];
    const int high = letter == 'x' && at_ + 1 < text_.size() ? hexDigit(text_[at_]) : -1;
    const int low = high >= 0 ? hexDigit(text_[at_ + 1]) : -1;
    if (low < 0) {
      throw FaultRuleError(R"(after a \ stands one of " \ n r t 0 or xNN, for the byte NN)");
    }
    at_ += 2;
    return static_cast<char>(high * 16 + low);
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

std::vector<Word> wordsOf(const std::string& text) {
  std::vector<Word> words;
  for (WordReader reader(text); !reader.atEnd();) words.push_back(reader.next());
  return words;
}

bool needsQuotes(const std::string& value) {
  return value.empty() || value.front() == '"' ||
         std::any_of(value.begin(), value.end(), [](char letter) {
           return static_cast<unsigned char>(letter) <= ' ' || letter == 0x7F;
         });
}

std::string quoted(const std::string& value) {
  constexpr std::string_view kHex = "0123456789abcdef";
  std::string text = "\"";
  for (const char letter : value) {
    const auto code = static_cast<unsigned char>(letter);
    if (letter == '"' || letter == '\\') text += '\\';
    if (code < ' ' || code == 0x7F) {
      text.append("\\x") += kHex[code >> 4];
      text += kHex[code & 0xF];
    } else {
      text += letter;
    }
  }
  return text + "\"";
}

std::string textOf(const Word& word) {
  const FaultKey* const key = findFaultKey(word.first);
  if (word.second.empty() && key != nullptr && *key->value == '\0') return word.first;
  return word.first + "=" + (needsQuotes(word.second) ? quoted(word.second) : word.second);
}

std::string textOf(const std::vector<Word>& words) {
  std::string text;
  for (const Word& word : words) text.append(text.empty() ? "" : " ").append(textOf(word));
  return text;
}

std::string allKeys() {
  std::string names;
  for (const FaultKey& key : faultKeys()) names.append(names.empty() ? "" : ", ").append(key.name);
  return names;
}

void readWord(FaultRule& rule, const Word& word) {
  const FaultKey* const key = findFaultKey(word.first);
  if (key == nullptr) {
    throw FaultRuleError("\"" + word.first + "\" is no key; the keys are " + allKeys());
  }
  try {
    key->read(rule, word.second);
  } catch (const FaultValueError& error) {
    throw FaultRuleError(textOf(word) + ": expected " + error.what());
  }
}

// Which keys a rule has, for the rules on what can stand together.
class KeySet {
 public:
  explicit KeySet(const std::vector<Word>& words) {
    for (const Word& word : words) add(word.first);
  }

  bool has(const char* name) const { return names_.count(name) > 0; }

  // A key of that kind; null when there is none.
  const FaultKey* anyOf(FaultKeyKind kind, const std::string& except = "") const {
    for (const FaultKey& key : faultKeys()) {
      if (key.kind == kind && has(key.name) && key.name != except) return &key;
    }
    return nullptr;
  }

 private:
  void add(const std::string& name) {
    if (!names_.insert(name).second && !findFaultKey(name)->repeatable) {
      throw FaultRuleError("\"" + name + "\" stands twice; once is allowed");
    }
  }

  std::set<std::string> names_;
};

void refuse(const FaultKey* key, const std::string& why) {
  if (key != nullptr) throw FaultRuleError("\"" + std::string(key->name) + "\" " + why);
}

void checkAlternatives(const KeySet& keys) {
  for (const auto& alternatives : kAlternatives) {
    const char* first = nullptr;
    for (const char* name : alternatives) {
      if (!keys.has(name)) continue;
      if (first != nullptr) {
        throw FaultRuleError("\"" + std::string(first) + "\" and \"" + name +
                             "\" exclude each other; keep one of them");
      }
      first = name;
    }
  }
  for (const auto& [name, companion] : kCompanions) {
    if (keys.has(name) && !keys.has(companion)) {
      throw FaultRuleError("\"" + std::string(name) + "\" needs \"" + companion + "\"");
    }
  }
}

void checkMoment(const FaultRule& rule, const KeySet& keys) {
  using enum FaultKeyKind;
  if (rule.moment() != FaultMoment::kRequest) {
    const std::string why =
        "knows a request, and a fault at accept or in the handshake comes before it; match by "
        "connection, skip, nth, every, count or chance";
    refuse(keys.anyOf(kRequestMatch), why);
    refuse(keys.anyOf(kRequestState), why);
  }
  if (rule.interruption.kind != Break::kNone && rule.interruption.at <= BreakPoint::kRequest) {
    refuse(keys.anyOf(kAnswer), "shapes an answer, and this fault ends before any is sent");
  }
}

void check(const FaultRule& rule, const std::vector<Word>& words) {
  using enum FaultKeyKind;
  const KeySet keys(words);
  checkAlternatives(keys);
  checkMoment(rule, keys);
  if (rule.framing.garbage) {
    refuse(keys.anyOf(kAnswer, "garbage"),
           "shapes an answer, and \"garbage\" stands instead of any");
  }
  for (const FaultKeyKind act : {kAnswer, kPace, kBreak, kState, kRequestState}) {
    if (keys.anyOf(act) != nullptr) return;
  }
  throw FaultRuleError("it does nothing; add what to do, such as status=503 or cut=headers");
}

// A JSON value as the text that would stand behind the "=".
std::string valueText(const std::string& key, const Json::Value& value) {
  if (value.isString()) return value.asString();
  if (value.isBool()) return value.asBool() ? "yes" : "no";
  if (value.isUInt64()) return std::to_string(value.asUInt64());
  throw FaultRuleError("\"" + key + "\": expected a text, a number without sign, true or false");
}

void appendWords(std::vector<Word>& words, const std::string& key, const Json::Value& value) {
  const FaultKey* const known = findFaultKey(key);
  const bool standsAlone = known != nullptr && *known->value == '\0';
  if (value.isArray()) {
    for (const Json::Value& element : value) words.emplace_back(key, valueText(key, element));
  } else if (standsAlone && value.isBool()) {
    if (value.asBool()) words.emplace_back(key, "");
  } else {
    words.emplace_back(key, valueText(key, value));
  }
}

std::vector<Word> wordsOf(const Json::Value& object) {
  std::vector<Word> words;
  for (const FaultKey& key : faultKeys()) {
    if (object.isMember(key.name)) appendWords(words, key.name, object[key.name]);
  }
  for (const std::string& name : object.getMemberNames()) {
    if (findFaultKey(name) == nullptr) words.emplace_back(name, "");
  }
  return words;
}

FaultRule ruleOf(const std::vector<Word>& words, const std::string& text) {
  FaultRule rule;
  for (const Word& word : words) readWord(rule, word);
  check(rule, words);
  rule.text = text;
  if (rule.name.empty()) rule.name = text;
  return rule;
}

std::string shown(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

FaultRule ruleOf(const Json::Value& value) {
  if (value.isString()) return parseFaultRule(value.asString());
  if (!value.isObject()) throw FaultRuleError("expected a rule, found " + shown(value));
  try {
    const std::vector<Word> words = wordsOf(value);
    return ruleOf(words, textOf(words));
  } catch (const FaultRuleError& error) {
    throw FaultRuleError("fault rule " + shown(value) + ": " + error.what());
  }
}

std::vector<FaultRule> rulesOf(const Json::Value& list) {
  if (!list.isArray()) throw FaultRuleError("expected a list of rules, found " + shown(list));
  std::vector<FaultRule> rules;
  for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
    try {
      rules.push_back(ruleOf(list[i]));
    } catch (const FaultRuleError& error) {
      throw FaultRuleError("faults[" + std::to_string(i) + "]: " + error.what());
    }
  }
  return rules;
}

Json::Value documentRoot(const std::string& json) {
  try {
    return parsedJson(json);
  } catch (const JsonError& error) {
    throw FaultRuleError(error.what());
  }
}

std::optional<std::uint64_t> seedOf(const Json::Value& root) {
  if (!root.isMember("seed")) return std::nullopt;
  if (!root["seed"].isUInt64()) throw FaultRuleError("\"seed\": expected a number without sign");
  return root["seed"].asUInt64();
}

}  // namespace

FaultMoment FaultRule::moment() const {
  if (interruption.kind == Break::kNone) return FaultMoment::kRequest;
  switch (interruption.at) {
    case BreakPoint::kAccept:
      return FaultMoment::kAccept;
    case BreakPoint::kHelloUnanswered:
    case BreakPoint::kHello:
      return FaultMoment::kHello;
    case BreakPoint::kHandshake:
      return FaultMoment::kHandshake;
    default:
      return FaultMoment::kRequest;
  }
}

bool FaultRule::standsIn() const {
  const bool endsBefore =
      interruption.kind != Break::kNone && interruption.at <= BreakPoint::kRequest;
  const bool ownBody = answer.body || answer.code || answer.description ||
                       !answer.redirect.empty() || framing.garbage;
  return endsBefore || ownBody || answer.status.value_or(0) >= 400;
}

FaultRule parseFaultRule(const std::string& text) {
  try {
    const std::vector<Word> words = wordsOf(text);
    return ruleOf(words, text);
  } catch (const FaultRuleError& error) {
    throw FaultRuleError("fault rule '" + text + "': " + error.what());
  }
}

FaultDocument parseFaultDocument(const std::string& json) {
  const Json::Value root = documentRoot(json);
  if (root.isArray()) return {std::nullopt, rulesOf(root)};
  if (!root.isObject() || !root.isMember("faults")) return {std::nullopt, {ruleOf(root)}};
  for (const std::string& name : root.getMemberNames()) {
    if (name != "seed" && name != "faults") {
      throw FaultRuleError("\"" + name + "\": beside \"faults\" only \"seed\" may stand");
    }
  }
  return {seedOf(root), rulesOf(root["faults"])};
}

FaultDocument loadFaultDocument(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) throw FaultRuleError(path + ": cannot be read");
  try {
    return parseFaultDocument(text.str());
  } catch (const FaultRuleError& error) {
    throw FaultRuleError(path + ": " + error.what());
  }
}

FaultRule cannedAnswerRule(const std::string& method, const std::string& path, std::uint32_t nth,
                           CannedAnswer answer) {
  FaultRule rule;
  rule.match.method = method;
  rule.match.path = path;
  rule.match.nth = std::max<std::uint32_t>(nth, 1);
  rule.answer.status = answer.status;
  rule.answer.body = std::move(answer.body);
  rule.answer.setHeaders = std::move(answer.headers);
  rule.text = textOf({{"method", method},
                      {"path", path},
                      {"nth", std::to_string(rule.match.nth)},
                      {"status", std::to_string(answer.status)}});
  rule.name = rule.text;
  return rule;
}

}  // namespace kestrelvisor::vrmsim
