#pragma once

#include "vrmsim/http_message.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kestrelvisor::vrmsim {

// Says which rule is wrong, which word of it, and what is allowed there.
class FaultRuleError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// When a fault shows itself. What comes before the request knows the connection only.
enum class FaultMoment {
  kAccept,     // a connection was accepted
  kHello,      // the client's first TLS message is here
  kHandshake,  // the TLS handshake was finished
  kRequest,    // a request was read
};

// Which requests or connections a rule is for; everything given must hold.
struct FaultMatch {
  std::string method;            // empty: any
  std::string path;              // glob; empty: any
  std::string header;            // glob over "Name: value"; empty: any
  std::uint64_t session = 0;     // number of the session whose token is carried; 0: any
  std::uint64_t connection = 0;  // 0: any
  // Counted over what the above lets through.
  std::uint64_t skip = 0;
  std::uint64_t nth = 0;                // only this one; 0: not asked
  std::uint64_t every = 0;              // each one whose number it divides; 0: not asked
  std::uint64_t count = 0;              // at most so many hits; 0: no limit
  std::optional<std::uint32_t> chance;  // percent
  bool operator==(const FaultMatch&) const = default;
};

// What the answer says instead of the manager's own.
struct AnswerEdit {
  std::optional<int> status;
  std::optional<std::string> code;         // of an error body
  std::optional<std::string> description;  // of an error body
  std::optional<std::string> body;
  bool empty = false;
  std::string find;
  std::optional<std::string> replace;
  std::string redirect;
  std::optional<std::uint64_t> nul;  // position in the body
  bool gzip = false;
  std::vector<Header> setHeaders;
  std::vector<std::string> dropHeaders;
  std::uint64_t headerSize = 0;   // bytes of one header's value; 0: no such header
  std::uint64_t headerCount = 0;  // further headers
  bool operator==(const AnswerEdit&) const = default;
};

enum class BodyLength { kRight, kShorter, kLonger, kNegative, kHuge, kExact };
enum class Chunking { kNone, kGood, kBad, kCut };

// How the answer is put on the wire.
struct Framing {
  BodyLength length = BodyLength::kRight;
  std::uint64_t exactLength = 0;  // with kExact
  Chunking chunking = Chunking::kNone;
  bool bodyAlone = false;                // as in HTTP/0.9
  bool endless = false;                  // the body never ends
  std::optional<std::uint64_t> garbage;  // bytes instead of the answer
  std::uint64_t continues = 0;           // interim answers first
  bool operator==(const Framing&) const = default;
};

enum class Break { kNone, kSilence, kCut, kReset, kAlert };

// In the order in which a conversation comes to them.
enum class BreakPoint {
  kAccept,
  kHelloUnanswered,
  kHello,  // within the handshake
  kHandshake,
  kRequest,
  kHeaders,
  kBody,
  kEnd
};

// Where the conversation breaks off.
struct Interruption {
  Break kind = Break::kNone;
  BreakPoint at = BreakPoint::kEnd;
  std::optional<std::uint64_t> afterBytes;  // of headers or body; nothing: all of them
  bool clean = true;                        // a cut says goodbye by TLS first
  bool operator==(const Interruption&) const = default;
};

// What happens to the manager itself.
struct StateChange {
  std::optional<std::uint64_t> expireAfter;  // further requests of the session
  bool killSessions = false;
  std::string takeRole;                    // empty: none
  std::optional<std::string> siteAddress;  // of the own site
  std::string inventoryPatch;              // JSON merge patch; empty: none
  std::vector<std::string> removedVms;     // urns
  std::uint64_t addedVms = 0;
  bool operator==(const StateChange&) const = default;
};

// One fault: what it is for and what it does.
struct FaultRule {
  std::string text;  // the rule as words
  std::string name;  // the text if none was given
  FaultMatch match;
  AnswerEdit answer;
  Framing framing;
  Interruption interruption;
  StateChange state;
  std::chrono::milliseconds delay{0};
  std::uint32_t bytesPerSecond = 0;  // 0: at once

  bool operator==(const FaultRule&) const = default;

  FaultMoment moment() const;

  // The request does not reach the manager: all that goes out is told by the rule.
  bool standsIn() const;
};

// Reads a rule of words "key=value", as docs/faults.md tells. Throws FaultRuleError.
FaultRule parseFaultRule(const std::string& text);

// The seed, if one is given, and the rules of a JSON document.
struct FaultDocument {
  std::optional<std::uint64_t> seed;
  std::vector<FaultRule> rules;
};

// Reads {"seed": N, "faults": [rule, ...]}, a list of rules or a single rule. A rule is an object
// of the same keys and values, or a text as above. Throws FaultRuleError.
FaultDocument parseFaultDocument(const std::string& json);

// Reads the file at path; throws FaultRuleError, which then begins with the path.
FaultDocument loadFaultDocument(const std::string& path);

// The rule that answers the nth request of that method and path with the given answer.
struct CannedAnswer;
FaultRule cannedAnswerRule(const std::string& method, const std::string& path, std::uint32_t nth,
                           CannedAnswer answer);

}  // namespace kestrelvisor::vrmsim
