#include "tests/integration/fault_table/faults.h"

namespace kestrelvisor::test {
namespace {

using enum Over;
using enum Strikes;
using enum Patience;

// A connection ended while the client opened it, wrote to it or waited: which of them it notices is
// the network's business.
Effect breaksBeforeTheAnswer() {
  return failsWith({CURLE_GOT_NOTHING, CURLE_RECV_ERROR, CURLE_SEND_ERROR, CURLE_COULDNT_CONNECT});
}

Effect failsHandshake() { return failsWith({CURLE_SSL_CONNECT_ERROR}); }
Effect failsHandshakeOrBefore() {
  return failsWith({CURLE_SSL_CONNECT_ERROR, CURLE_COULDNT_CONNECT});
}

constexpr const char* kRuleText = "A fault rule asks for this answer.";

}  // namespace

// clang-format off
const std::vector<Fault>& faults() {
  static const std::vector<Fault> kFaults{
      {"CutAtAccept", "cut=accept", http, connection, breaksBeforeTheAnswer()},
      {"CutAtAccept", "cut=accept", https, connection, failsHandshake()},
      {"ResetAtAccept", "reset=accept", http, connection, breaksBeforeTheAnswer()},
      {"ResetAtAccept", "reset=accept", https, connection, failsHandshakeOrBefore()},
      {"SilenceAtAccept", "silence=accept", both, connection, timesOut(), untilTimeout},
      {"AlertInsteadOfHandshake", "tls=alert", https, connection, failsHandshake()},
      {"UnansweredHandshake", "tls=stall", https, connection, timesOut(), untilTimeout},
      {"SilenceInHandshake", "silence=handshake", https, connection, timesOut(), untilTimeout},
      {"CutAfterHandshake", "cut=handshake", https, connection, breaksBeforeTheAnswer()},
      {"ResetAfterHandshake", "reset=handshake", https, connection, breaksBeforeTheAnswer()},

      {"SilenceAfterRequest", "silence=request", both, request, timesOut(), untilTimeout},
      {"CutAfterRequest", "cut=request", both, request, failsWith({CURLE_GOT_NOTHING})},
      {"ResetAfterRequest", "reset=request", both, request, failsWith({CURLE_RECV_ERROR})},
      {"SilenceInHeaders", "silence=headers:20", both, answer, timesOut(), untilTimeout},
      {"CutInStatusLine", "cut=headers:7", both, answer, failsWith({CURLE_GOT_NOTHING})},
      {"CutInHeaders", "cut=headers:20", both, answer, answers(Body::none)},
      {"ResetInHeaders", "reset=headers:20", both, answer, failsWith({CURLE_RECV_ERROR})},
      {"SilenceAfterHeaders", "silence=headers", both, answer, timesOut(), untilTimeout},
      {"CutAfterHeaders", "cut=headers", both, answer, failsWith({CURLE_PARTIAL_FILE})},
      {"ResetAfterHeaders", "reset=headers", both, answer, failsWith({CURLE_RECV_ERROR})},
      {"SilenceInBody", "silence=body:1", both, answer, timesOut(Leftover::part), untilTimeout},
      {"CutInBody", "cut=body:1", both, answer, failsWith({CURLE_PARTIAL_FILE}, Leftover::part)},
      {"CutInBodyWithoutGoodbye", "cut=body:1 clean=no", https, answer, failsWith({CURLE_PARTIAL_FILE}, Leftover::part)},
      {"ResetInBody", "reset=body:1", both, answer, failsWith({CURLE_RECV_ERROR}, Leftover::part)},
      {"CutAfterBody", "cut=end", both, answer, works()},

      {"TooShortLength", "length=shorter", both, answer, answers(Body::unreadable)},
      {"ZeroLength", "length=0", both, answer, answers(Body::none)},
      {"TooLongLength", "length=longer", both, answer, timesOut(Leftover::whole), untilTimeout},
      {"TooLongLengthThenCut", "length=longer cut=end", both, answer, failsWith({CURLE_PARTIAL_FILE}, Leftover::whole)},
      {"NegativeLength", "length=negative", both, answer, failsWith({CURLE_WEIRD_SERVER_REPLY})},
      {"HugeLengthThenCut", "length=huge cut=end", both, answer, failsWith({CURLE_PARTIAL_FILE}, Leftover::whole)},
      {"LengthBeyond63Bits", "length=9223372036854775809 cut=end", both, answer, works()},
      {"GoodChunks", "chunk=good", both, answer, works()},
      {"BadChunkSize", "chunk=bad", both, answer, failsWith({CURLE_RECV_ERROR}, Leftover::part)},
      {"ChunksWithoutEnd", "chunk=cut", both, answer, failsWith({CURLE_PARTIAL_FILE}, Leftover::whole)},
      {"Http09", "http09", both, answer, failsWith({CURLE_UNSUPPORTED_PROTOCOL})},
      {"Garbage", "garbage=64", both, request, failsWith({CURLE_UNSUPPORTED_PROTOCOL})},
      {"InterimAnswers", "continues=3", both, answer, works()},
      {"FloodOfInterimAnswers", "continues=1000", both, answer, works()},
      {"LongHeader", "header-size=20000", both, answer, works()},
      {"TooLongHeader", "header-size=1048576", both, answer, failsWith({CURLE_OUT_OF_MEMORY})},
      {"ManyHeaders", "header-count=500", both, answer, works()},
      {"TooManyHeaders", "header-count=50000", both, answer, failsWith({CURLE_RECV_ERROR})},
      {"TooMuchOfHeaders", "set-header=%LONG1% set-header=%LONG2% set-header=%LONG3% header-size=90000", both, answer, failsWith({CURLE_RECV_ERROR})},
      {"EndlessBody", "endless trickle=1000000", both, answer, timesOut(Leftover::whole), untilTimeout},
      {"TrickledAnswer", "trickle=2", both, answer, timesOut(), untilTimeout},
      {"DelayedAnswer", "delay=20ms", both, answer, works()},

      {"NoBody", "empty", both, answer, answers(Body::none)},
      {"EditedBody", "find={ replace=[", both, answer, answers(Body::unreadable)},
      {"OtherContentType", "set-header=\"Content-Type: text/plain\"", both, answer, works()},
      {"GzippedBody", "gzip", both, answer, answers(Body::unreadable)},
      {"NulFirst", "nul=0", both, answer, answers(Body::unreadable)},
      {"NulInBody", "nul=1", both, answer, answers(Body::unreadable)},
      {"HtmlBody", "body=\"<html>busy</html>\"", both, request, answers(Body::unreadable)},
      {"HalfAText", R"(body="{\"total\":1,\"si")", both, request, answers(Body::unreadable)},
      {"DeepNesting", "body-file=%NESTED%", both, request, answers(Body::unreadable)},
      {"ArrayForObject", "body=[]", both, request, answers(Body::withoutKeys)},
      {"NullForObject", "body=null", both, request, answers(Body::withoutKeys)},
      {"NumberForObject", "body=42", both, request, answers(Body::withoutKeys)},
      {"EmptyObject", "body={}", both, request, answers(Body::withoutKeys)},
      {"OddValues", "body=%ODD%", both, request, answers(Body::odd)},
      {"NoTokenHeader", "drop-header=X-Auth-Token", both, answer, answersWithoutToken()},

      {"Created", "status=201", both, answer, answers(Body::withoutKeys, 201)},
      {"NoContent", "status=204", both, answer, answers(Body::none, 204)},
      {"Redirect", "redirect=http://127.0.0.1:1/service/sites", both, request, answers(Body::none, 302)},
      {"Unavailable", "status=503", both, request, refuses(503, "10009006", kRuleText)},
      {"UnavailableWithoutBody", "status=503 empty", both, request, answers(Body::none, 503)},
      {"NotFoundWithoutBody", "status=404 empty", both, request, answers(Body::none, 404)},
      {"HtmlRefusal", "status=502 body=\"<html>bad gateway</html>\"", both, request, answers(Body::unreadable, 502)},
      {"RefusalWithoutCode", R"(status=500 body="{\"errorDes\":\"busy\"}")", both, request, refuses(500, "", "busy")},
      {"RefusalByArray", "status=500 body=[]", both, request, answers(Body::unreadable, 500)},
      {"RefusalByNull", "status=500 body=null", both, request, refuses(500, "")},
      {"SessionGone", "status=401 code=10000002 text=gone", both, request, refuses(401, "10000002", "gone")},
      {"WrongPassword", "status=401 code=10100103 text=wrong", both, request, refuses(401, "10100103", "wrong")},
      {"UnknownUser", "status=401 code=10100101 text=unknown", both, request, refuses(401, "10100101", "unknown")},
      {"CodeThatStopsNothing", "status=403 code=10100110 text=soon", both, request, refuses(403, "10100110", "soon")},
      {"TaskReleased", "status=409 code=10300402 text=released", both, request, refuses(409, "10300402", "released")},
      {"ObjectMissing", "status=404 code=10000008 text=missing", both, request, refuses(404, "10000008", "missing")},
      {"DatabaseFailure", "status=500 code=10000004 text=database", both, request, refuses(500, "10000004", "database")},

      {"CutThenRefusalWithoutCode", "cut=request", both, request, failsWith({CURLE_GOT_NOTHING}), notNeeded, "status=500 body={}", refuses(500, "")},
      {"CutThenRefusalWithoutBody", "cut=request", both, request, failsWith({CURLE_GOT_NOTHING}), notNeeded, "status=503 empty", answers(Body::none, 503)},
      {"CutInBodyThenSessionGone", "cut=body:1", both, answer, failsWith({CURLE_PARTIAL_FILE}, Leftover::part), notNeeded, "status=401 code=10000002 text=gone", refuses(401, "10000002", "gone")},
  };
  return kFaults;
}
// clang-format on

}  // namespace kestrelvisor::test
