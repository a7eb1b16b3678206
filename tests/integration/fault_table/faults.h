#pragma once

#include <curl/curl.h>

#include <string>
#include <vector>

namespace kestrelvisor::test {

// What a client makes of the body of an answer.
enum class Body {
  ordinary,     // what the request asked for
  none,         // not a byte
  unreadable,   // no JSON text
  withoutKeys,  // JSON, but no object, or one without the wanted keys
  odd,          // the request kind's odd answer
};

// What a failed transfer has left in the client's buffer, where the body of the repeat is appended.
enum class Leftover { nothing, part, whole };

// What a fault makes of one attempt of a request.
struct Effect {
  std::vector<CURLcode> results;  // of the transfer, any of them; empty: it works
  Leftover leftover = Leftover::nothing;
  int status = 200;
  Body body = Body::ordinary;
  std::string code;  // of a refusal's body
  std::string text;
  bool withToken = true;  // in a login's headers
};

inline Effect works() { return {}; }
inline Effect failsWith(std::vector<CURLcode> results, Leftover leftover = Leftover::nothing) {
  Effect effect;
  effect.results = std::move(results);
  effect.leftover = leftover;
  return effect;
}
inline Effect timesOut(Leftover leftover = Leftover::nothing) {
  return failsWith({CURLE_OPERATION_TIMEDOUT}, leftover);
}
inline Effect answers(Body body, int status = 200) {
  Effect effect;
  effect.status = status;
  effect.body = body;
  return effect;
}
inline Effect refuses(int status, const std::string& code, const std::string& text = "") {
  Effect effect;
  effect.status = status;
  effect.body = Body::withoutKeys;
  effect.code = code;
  effect.text = text;
  return effect;
}
inline Effect answersWithoutToken() {
  Effect effect;
  effect.withToken = false;
  return effect;
}

// What a fault strikes: a connection before its request is read, a request before the manager acts
// on it, or the answer when it has acted.
enum class Strikes { connection, request, answer };
enum class Over { both, http, https };
enum class Patience { notNeeded, untilTimeout };

// A fault as the simulator takes it, and what it comes to. In its words "%ODD%" stands for the
// request kind's odd answer, "%NESTED%" for a file with deep nesting, "%LONG1%" and so on for a
// header line that is barely taken.
struct Fault {
  const char* name;
  const char* words;
  Over over;
  Strikes strikes;
  Effect effect;
  Patience patience = Patience::notNeeded;
  // What strikes the second attempt instead, if anything else does.
  const char* thenWords = nullptr;
  Effect thenEffect = {};
};

// To add a fault, add its line; a fault that comes to different things over HTTP and HTTPS takes
// two.
const std::vector<Fault>& faults();

}  // namespace kestrelvisor::test
