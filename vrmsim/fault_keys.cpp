#include "vrmsim/fault_keys.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>

namespace kestrelvisor::vrmsim {
namespace {

constexpr std::uint64_t kMostEvents = 1'000'000'000'000;  // requests, connections, sessions
constexpr std::uint64_t kMostBytes = 1ULL << 40;
constexpr std::uint64_t kMostBytesMade = 256ULL << 20;  // that one answer holds in memory
constexpr std::uint64_t kMostHeaders = 1'000'000;

std::uint64_t number(const std::string& value, std::uint64_t least, std::uint64_t most) {
  std::uint64_t read = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, read);
  if (error != std::errc() || stop != end || read < least || read > most) {
    throw FaultValueError("a number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return read;
}

const std::string& text(const std::string& value) {
  if (value.empty()) throw FaultValueError("a text that is not empty");
  return value;
}

// A key that stands alone is on; a JSON document may also say true or false.
bool flag(const std::string& value) {
  if (value.empty() || value == "yes") return true;
  if (value == "no") return false;
  throw FaultValueError("yes or no");
}

std::chrono::milliseconds duration(const std::string& value) {
  const std::size_t digits = std::min(value.find_first_not_of("0123456789"), value.size());
  const std::string unit = value.substr(digits);
  const char* const allowed = "a time such as 200ms, 5s or 2m, of a day at the most";
  const std::uint64_t thousandths = unit == "ms" ? 1 : unit == "s" ? 1000 : unit == "m" ? 60000 : 0;
  if (thousandths == 0 || digits == 0 || digits > 9) throw FaultValueError(allowed);
  const std::uint64_t length = std::stoull(value.substr(0, digits)) * thousandths;
  if (length > 24ULL * 3600 * 1000) throw FaultValueError(allowed);
  return std::chrono::milliseconds(length);
}

Header header(const std::string& value) {
  const std::size_t colon = value.find(": ");
  if (colon == std::string::npos || colon == 0) throw FaultValueError("\"Name: value\"");
  return {value.substr(0, colon), value.substr(colon + 2)};
}

std::string fileText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || file.peek() == std::ifstream::traits_type::eof() || !(text << file.rdbuf())) {
    throw FaultValueError("a file that can be read and is not empty");
  }
  return text.str();
}

struct Point {
  const char* name;
  BreakPoint at;
};
constexpr Point kSilencePoints[] = {{"accept", BreakPoint::kAccept},
                                    {"handshake", BreakPoint::kHello},
                                    {"request", BreakPoint::kRequest},
                                    {"headers", BreakPoint::kHeaders},
                                    {"end", BreakPoint::kEnd}};
constexpr Point kCutPoints[] = {{"accept", BreakPoint::kAccept},
                                {"handshake", BreakPoint::kHandshake},
                                {"request", BreakPoint::kRequest},
                                {"headers", BreakPoint::kHeaders},
                                {"end", BreakPoint::kEnd}};
constexpr Point kBytePoints[] = {{"headers:", BreakPoint::kHeaders}, {"body:", BreakPoint::kBody}};

template <std::size_t Count>
void interrupt(FaultRule& rule, Break kind, const Point (&points)[Count],
               const std::string& value) {
  rule.interruption.kind = kind;
  for (const Point& known : kBytePoints) {
    if (value.rfind(known.name, 0) != 0) continue;
    rule.interruption.at = known.at;
    rule.interruption.afterBytes = number(value.substr(std::strlen(known.name)), 0, kMostBytes);
    return;
  }
  const auto* const point = std::find_if(std::begin(points), std::end(points),
                                         [&](const Point& known) { return value == known.name; });
  if (point == std::end(points)) {
    throw FaultValueError("accept, handshake, request, headers, headers:N, body:N or end");
  }
  rule.interruption.at = point->at;
}

void silence(FaultRule& rule, const std::string& value) {
  interrupt(rule, Break::kSilence, kSilencePoints, value);
}

void cut(FaultRule& rule, const std::string& value) {
  interrupt(rule, Break::kCut, kCutPoints, value);
}

void reset(FaultRule& rule, const std::string& value) {
  interrupt(rule, Break::kReset, kCutPoints, value);
}

void tls(FaultRule& rule, const std::string& value) {
  if (value != "alert" && value != "stall") throw FaultValueError("alert or stall");
  rule.interruption.kind = value == "alert" ? Break::kAlert : Break::kSilence;
  rule.interruption.at = value == "alert" ? BreakPoint::kHello : BreakPoint::kHelloUnanswered;
}

void length(FaultRule& rule, const std::string& value) {
  constexpr std::pair<const char*, BodyLength> kLengths[] = {{"shorter", BodyLength::kShorter},
                                                             {"longer", BodyLength::kLonger},
                                                             {"negative", BodyLength::kNegative},
                                                             {"huge", BodyLength::kHuge}};
  for (const auto& [name, known] : kLengths) {
    if (value == name) rule.framing.length = known;
  }
  if (rule.framing.length != BodyLength::kRight) return;
  try {
    // No body is as long as that: what counts is that a client has to read the number.
    rule.framing.exactLength = number(value, 0, std::numeric_limits<std::uint64_t>::max());
  } catch (const FaultValueError& error) {
    throw FaultValueError(std::string("shorter, longer, negative, huge or ") + error.what());
  }
  rule.framing.length = BodyLength::kExact;
}

void chunk(FaultRule& rule, const std::string& value) {
  constexpr std::pair<const char*, Chunking> kChunkings[] = {
      {"good", Chunking::kGood}, {"bad", Chunking::kBad}, {"cut", Chunking::kCut}};
  for (const auto& [name, known] : kChunkings) {
    if (value == name) rule.framing.chunking = known;
  }
  if (rule.framing.chunking == Chunking::kNone) throw FaultValueError("good, bad or cut");
}

}  // namespace

const std::vector<FaultKey>& faultKeys() {
  using Rule = FaultRule;
  using Text = std::string;
  using enum FaultKeyKind;
  // clang-format off
  static const std::vector<FaultKey> kKeys{
      {"name", "TEXT", kMatch, false, "what logs and reports call the rule; its words otherwise",
       [](Rule& r, const Text& v) { r.name = text(v); }},

      {"method", "NAME", kRequestMatch, false, "requests with this method",
       [](Rule& r, const Text& v) { r.match.method = text(v); }},
      {"path", "GLOB", kRequestMatch, false, "requests to this path; * is any run of characters, and with a ? the query counts",
       [](Rule& r, const Text& v) { r.match.path = text(v); }},
      {"header", "GLOB", kRequestMatch, false, "requests with such a header line, as in header=\"Accept: *\"",
       [](Rule& r, const Text& v) { r.match.header = text(v); }},
      {"session", "N", kRequestMatch, false, "requests with the token of the Nth session opened",
       [](Rule& r, const Text& v) { r.match.session = number(v, 1, kMostEvents); }},
      {"connection", "N", kMatch, false, "the Nth connection",
       [](Rule& r, const Text& v) { r.match.connection = number(v, 1, kMostEvents); }},
      {"skip", "N", kMatch, false, "leaves the first N alone",
       [](Rule& r, const Text& v) { r.match.skip = number(v, 0, kMostEvents); }},
      {"nth", "N", kMatch, false, "the Nth only",
       [](Rule& r, const Text& v) { r.match.nth = number(v, 1, kMostEvents); }},
      {"every", "N", kMatch, false, "each Nth",
       [](Rule& r, const Text& v) { r.match.every = number(v, 1, kMostEvents); }},
      {"count", "N", kMatch, false, "acts N times at the most",
       [](Rule& r, const Text& v) { r.match.count = number(v, 1, kMostEvents); }},
      {"chance", "PERCENT", kMatch, false, "acts with this probability, by the seed",
       [](Rule& r, const Text& v) { r.match.chance = static_cast<std::uint32_t>(number(v, 0, 100)); }},

      {"status", "N", kAnswer, false, "this status; from 400 on with an error body",
       [](Rule& r, const Text& v) { r.answer.status = static_cast<int>(number(v, 100, 999)); }},
      {"code", "TEXT", kAnswer, false, "error body with this errorCode",
       [](Rule& r, const Text& v) { r.answer.code = v; }},
      {"text", "TEXT", kAnswer, false, "error body with this errorDes",
       [](Rule& r, const Text& v) { r.answer.description = v; }},
      {"body", "TEXT", kAnswer, false, "this body",
       [](Rule& r, const Text& v) { r.answer.body = v; }},
      {"body-file", "FILE", kAnswer, false, "the body that stands in the file",
       [](Rule& r, const Text& v) { r.answer.body = fileText(v); }},
      {"empty", "", kAnswer, false, "no body",
       [](Rule& r, const Text& v) { r.answer.empty = flag(v); }},
      {"find", "TEXT", kAnswer, false, "looks for this in the body, to replace it",
       [](Rule& r, const Text& v) { r.answer.find = text(v); }},
      {"replace", "TEXT", kAnswer, false, "what stands there instead, wherever it was found",
       [](Rule& r, const Text& v) { r.answer.replace = v; }},
      {"nul", "N", kAnswer, false, "a NUL behind the first N bytes of the body",
       [](Rule& r, const Text& v) { r.answer.nul = number(v, 0, kMostBytes); }},
      {"redirect", "URL", kAnswer, false, "status 302 with this Location",
       [](Rule& r, const Text& v) { r.answer.redirect = text(v); }},
      {"set-header", "LINE", kAnswer, true, "this header line, in place of all others of its name",
       [](Rule& r, const Text& v) { r.answer.setHeaders.push_back(header(v)); }},
      {"drop-header", "NAME", kAnswer, true, "no header of this name",
       [](Rule& r, const Text& v) { r.answer.dropHeaders.push_back(text(v)); }},
      {"header-size", "N", kAnswer, false, "one more header, with a value of N bytes",
       [](Rule& r, const Text& v) { r.answer.headerSize = number(v, 1, kMostBytesMade); }},
      {"header-count", "N", kAnswer, false, "N more headers",
       [](Rule& r, const Text& v) { r.answer.headerCount = number(v, 1, kMostHeaders); }},
      {"gzip", "", kAnswer, false, "the body compressed, with Content-Encoding",
       [](Rule& r, const Text& v) { r.answer.gzip = flag(v); }},
      {"length", "HOW", kAnswer, false, "a Content-Length that is shorter, longer, negative, huge, or N",
       length},
      {"chunk", "HOW", kAnswer, false, "the body in chunks: good, bad (a size that is none) or cut (without the last)",
       chunk},
      {"endless", "", kAnswer, false, "a body without an end",
       [](Rule& r, const Text& v) { r.framing.endless = flag(v); }},
      {"http09", "", kAnswer, false, "the body alone, without status line and headers",
       [](Rule& r, const Text& v) { r.framing.bodyAlone = flag(v); }},
      {"garbage", "N", kAnswer, false, "N bytes by the seed instead of the answer",
       [](Rule& r, const Text& v) { r.framing.garbage = number(v, 1, kMostBytesMade); }},
      {"continues", "N", kAnswer, false, "N interim answers \"100 Continue\" first",
       [](Rule& r, const Text& v) { r.framing.continues = number(v, 1, kMostHeaders); }},
      {"trickle", "N", kAnswer, false, "N bytes a second",
       [](Rule& r, const Text& v) { r.bytesPerSecond = static_cast<std::uint32_t>(number(v, 1, 1'000'000'000)); }},
      {"delay", "TIME", kPace, false, "waits before it answers, such as 200ms, 5s or 2m",
       [](Rule& r, const Text& v) { r.delay = duration(v); }},

      {"silence", "WHERE", kBreak, false, "sends nothing more and stays: accept, handshake, request, headers, headers:N, body:N, end",
       silence},
      {"cut", "WHERE", kBreak, false, "ends the stream: accept, handshake, request, headers, headers:N, body:N, end",
       cut},
      {"reset", "WHERE", kBreak, false, "resets the connection: accept, handshake, request, headers, headers:N, body:N, end",
       reset},
      {"tls", "HOW", kBreak, false, "answers the TLS greeting with an alert, or never (stall)",
       tls},
      {"clean", "HOW", kBreak, false, "clean=no: a cut without the notice of TLS",
       [](Rule& r, const Text& v) { r.interruption.clean = flag(v); }},

      {"expire-after", "N", kRequestState, false, "the session that is opened or used ends after N further requests",
       [](Rule& r, const Text& v) { r.state.expireAfter = number(v, 0, kMostEvents); }},
      {"kill-sessions", "", kState, false, "no session is known any more",
       [](Rule& r, const Text& v) { r.state.killSessions = flag(v); }},
      {"take-role", "NAME", kState, false, "no user has this role any more",
       [](Rule& r, const Text& v) { r.state.takeRole = text(v); }},
      {"site-address", "TEXT", kState, false, "the own site tells this address",
       [](Rule& r, const Text& v) { r.state.siteAddress = v; }},
      {"edit-inventory", "FILE", kState, false, "applies the JSON merge patch in the file to the inventory",
       [](Rule& r, const Text& v) { r.state.inventoryPatch = fileText(v); }},
      {"remove-vm", "URN", kState, true, "removes the virtual machine of this urn",
       [](Rule& r, const Text& v) { r.state.removedVms.push_back(text(v)); }},
      {"add-vms", "N", kState, false, "adds N virtual machines",
       [](Rule& r, const Text& v) { r.state.addedVms = number(v, 1, 100'000); }},
  };
  // clang-format on
  return kKeys;
}

const FaultKey* findFaultKey(const std::string& name) {
  for (const FaultKey& key : faultKeys()) {
    if (name == key.name) return &key;
  }
  return nullptr;
}

}  // namespace kestrelvisor::vrmsim
