#include "tests/vrmsim/simulator_fixture.h"

#include <zlib.h>

#include <chrono>
#include <stdexcept>

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kVersions =
    R"({"versions":[{"version":"v1.2"},{"version":"v6.0"},{"version":"v6.5"}]})";
constexpr const char* kVersionsHead =
    "HTTP/1.1 200 OK\r\nServer: vrmsim\r\nContent-Type: application/json; charset=UTF-8\r\n"
    "Content-Length: 71\r\n\r\n";

SimulatorOptions faultOptions(bool tls) {
  SimulatorOptions options = smallSiteOptions();
  options.tls = tls;
  return options;
}

std::string decompressed(std::string coded) {
  z_stream stream{};
  inflateInit2(&stream, MAX_WBITS + 16);  // gzip
  std::string text(10000, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(coded.data());
  stream.avail_in = static_cast<uInt>(coded.size());
  stream.next_out = reinterpret_cast<Bytef*>(text.data());
  stream.avail_out = static_cast<uInt>(text.size());
  const int outcome = inflate(&stream, Z_FINISH);
  text.resize(stream.total_out);
  inflateEnd(&stream);
  if (outcome != Z_STREAM_END) throw std::runtime_error("no gzip");
  return text;
}

// What a client gets that does not even begin with TLS.
Remainder plain(std::uint16_t port) {
  Connection connection(port);
  return connection.readToTheEnd();
}

// Every fault of an answer shows over plain HTTP and over TLS; the parameter is TLS.
class AnswerFault : public ::testing::TestWithParam<bool> {
 protected:
  Connection connect() const { return Connection(simulator.port(), simulator.certificatePem()); }

  // What a fresh client gets on its question for the versions, to the connection's end.
  Remainder ask() const {
    Connection connection = connect();
    connection.send("GET /service/versions HTTP/1.1\r\nHost: m\r\n\r\n");
    return connection.readToTheEnd();
  }

  // The same where the connection serves on.
  Answer answer() const { return connect().ask("GET", "/service/versions"); }

  Simulator simulator{faultOptions(GetParam())};
};

INSTANTIATE_TEST_SUITE_P(Over, AnswerFault, ::testing::Values(false, true),
                         [](const auto& row) { return row.param ? "Tls" : "Plain"; });

TEST_P(AnswerFault, StatusBringsAnErrorBody) {
  simulator.addFault("status=503");

  const Answer got = answer();

  EXPECT_EQ(got.head.substr(0, got.head.find('\r')), "HTTP/1.1 503 Service Unavailable");
  EXPECT_EQ(got.body,
            R"({"errorCode":"10009006","errorDes":"A fault rule asks for this answer."})");
}

TEST_P(AnswerFault, CodeAndTextFillTheErrorBody) {
  simulator.addFault(R"(status=401 code=10000002 text="gone \"away\"")");

  const Answer got = answer();

  EXPECT_EQ(got.status, 401);
  EXPECT_EQ(got.body, R"({"errorCode":"10000002","errorDes":"gone \"away\""})");
}

TEST_P(AnswerFault, BodyIsSentToTheLetter) {
  simulator.addFault(R"(body="a\0\xFFb")");

  EXPECT_EQ(answer().body, std::string("a\0\xFF"
                                       "b",
                                       4));
}

TEST_P(AnswerFault, CutAfterTheRequestSendsNothing) {
  simulator.addFault("cut=request");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes, "");
  EXPECT_EQ(got.end, StreamEnd::kClosed);
  EXPECT_EQ(simulator.journal().back().status, 0);
  EXPECT_EQ(simulator.journal().back().fault, "cut=request");
}

TEST_P(AnswerFault, CutInTheBodySendsItsBeginning) {
  simulator.addFault("cut=body:5");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes, std::string(kVersionsHead) + "{\"ver");
  EXPECT_EQ(got.end, StreamEnd::kClosed);
}

TEST_P(AnswerFault, ResetAfterTheRequestSendsNothing) {
  simulator.addFault("reset=request");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes, "");
  EXPECT_EQ(got.end, StreamEnd::kReset);
}

TEST_P(AnswerFault, ResetInTheBodySendsItsBeginning) {
  simulator.addFault("reset=body:7");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes, std::string(kVersionsHead) + "{\"versi");
  EXPECT_EQ(got.end, StreamEnd::kReset);
}

TEST_P(AnswerFault, StatusBelow400KeepsTheBody) {
  simulator.addFault("status=206");

  const Answer got = answer();

  EXPECT_EQ(got.status, 206);
  EXPECT_EQ(got.body, kVersions);
}

TEST_P(AnswerFault, StatusMayComeWithoutABody) {
  simulator.addFault("status=404 empty");

  const Answer got = answer();

  EXPECT_EQ(got.status, 404);
  EXPECT_TRUE(got.hasLine("Content-Length: 0"));
}

TEST_P(AnswerFault, EmptyLeavesOutTheBody) {
  simulator.addFault("empty");

  const Answer got = answer();

  EXPECT_EQ(got.status, 200);
  EXPECT_TRUE(got.hasLine("Content-Length: 0"));
}

TEST_P(AnswerFault, FindIsReplacedWhereverItStands) {
  simulator.addFault(R"(find=v6 replace="no \"v6\"")");

  EXPECT_EQ(answer().body,
            R"({"versions":[{"version":"v1.2"},{"version":"no "v6".0"},{"version":"no "v6".5"}]})");
}

TEST_P(AnswerFault, NulIsPutIntoTheBody) {
  simulator.addFault("nul=3");

  EXPECT_EQ(answer().body, std::string("{\"v") + '\0' + (kVersions + 3));
}

TEST_P(AnswerFault, NulBeyondTheBodyEndsIt) {
  simulator.addFault("nul=1000");

  EXPECT_EQ(answer().body, std::string(kVersions) + '\0');
}

TEST_P(AnswerFault, RedirectNamesThePlace) {
  simulator.addFault("redirect=https://elsewhere/x nth=1");
  simulator.addFault("redirect=https://elsewhere/x status=307");

  const Answer found = answer();
  EXPECT_EQ(found.status, 302);
  EXPECT_TRUE(found.hasLine("Location: https://elsewhere/x"));
  EXPECT_EQ(found.body, "");
  EXPECT_EQ(answer().status, 307);
}

TEST_P(AnswerFault, HeadersAreSetAndDropped) {
  simulator.addFault(R"(set-header="server: a" set-header="SERVER: b" drop-header=content-type)");

  EXPECT_EQ(answer().head, "HTTP/1.1 200 OK\r\nContent-Length: 71\r\nserver: a\r\nSERVER: b\r\n");
}

TEST_P(AnswerFault, HeaderSizeAddsALongHeader) {
  simulator.addFault("header-size=100000");

  EXPECT_TRUE(answer().hasLine("X-Fault: " + std::string(100000, 'x')));
}

TEST_P(AnswerFault, HeaderCountAddsHeaders) {
  simulator.addFault("header-count=3");

  EXPECT_EQ(answer().head,
            std::string(kVersionsHead).substr(0, std::string(kVersionsHead).size() - 2) +
                "X-Fault-1: 1\r\nX-Fault-2: 1\r\nX-Fault-3: 1\r\n");
}

TEST_P(AnswerFault, GzipCodesTheBody) {
  simulator.addFault("gzip");

  const Answer got = answer();

  EXPECT_TRUE(got.hasLine("Content-Encoding: gzip"));
  EXPECT_TRUE(got.hasLine("Content-Length: " + std::to_string(got.body.size())));
  EXPECT_EQ(decompressed(got.body), kVersions);
}

TEST_P(AnswerFault, LengthTellsWhatIsNotTrue) {
  const std::pair<const char*, const char*> lengths[] = {
      {"shorter", "35"},  {"longer", "143"},
      {"negative", "-1"}, {"huge", "9223372036854775807"},
      {"70", "70"},       {"9223372036854775809", "9223372036854775809"}};
  for (const auto& [how, told] : lengths) {
    simulator.clearFaults();
    simulator.addFault(std::string("cut=end length=") + how);

    const Remainder got = ask();

    EXPECT_THAT(got.bytes, HasSubstr(std::string("\r\nContent-Length: ") + told + "\r\n"));
    EXPECT_THAT(got.bytes, EndsWith(std::string("\r\n\r\n") + kVersions));
  }
}

TEST_P(AnswerFault, ChunksAreGoodBadOrCut) {
  const std::pair<const char*, const char*> bodies[] = {{"good", "3\r\nabc\r\n0\r\n\r\n"},
                                                        {"bad", "1\r\na\r\nno size\r\nbc\r\n"},
                                                        {"cut", "3\r\nabc\r\n"}};
  for (const auto& [how, body] : bodies) {
    simulator.clearFaults();
    simulator.addFault(std::string("body=abc cut=end chunk=") + how);

    const Remainder got = ask();

    EXPECT_THAT(got.bytes, HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
    EXPECT_THAT(got.bytes, Not(HasSubstr("Content-Length")));
    EXPECT_THAT(got.bytes, EndsWith(std::string("\r\n\r\n") + body));
  }
}

TEST_P(AnswerFault, ChunksOfALongBodyAreSeveral) {
  simulator.addFault("cut=end chunk=good body=" + std::string(5000, 'x'));

  EXPECT_THAT(ask().bytes, EndsWith("\r\n\r\n1000\r\n" + std::string(4096, 'x') + "\r\n388\r\n" +
                                    std::string(904, 'x') + "\r\n0\r\n\r\n"));
}

TEST_P(AnswerFault, ChunkCutEndsTheStream) {
  simulator.addFault("chunk=cut");

  EXPECT_THAT(ask().bytes, EndsWith(std::string(kVersions) + "\r\n"));
}

TEST_P(AnswerFault, EndlessSendsAsLongAsTheClientReads) {
  simulator.addFault("endless");
  Connection connection = connect();
  connection.send("GET /service/versions HTTP/1.1\r\n\r\n");

  const std::string head = connection.read(std::string(kVersionsHead).size() - 1);
  EXPECT_THAT(head, Not(HasSubstr("Content-Length")));
  EXPECT_THAT(head, EndsWith("\r\nConnection: close\r\n\r\n"));
  EXPECT_EQ(connection.read(71), kVersions);
  EXPECT_EQ(connection.read(1'000'000), std::string(1'000'000, ' '));
}

TEST_P(AnswerFault, EndlessMayBeChunkedAndEndAfterAll) {
  simulator.addFault("endless chunk=good body=abc cut=body:30000");

  const std::string bytes = ask().bytes;

  const std::string body = bytes.substr(bytes.find("\r\n\r\n") + 4);
  EXPECT_EQ(body.size(), 30000U);
  EXPECT_THAT(body, StartsWith("3\r\nabc\r\n4000\r\n" + std::string(16384, ' ') + "\r\n4000\r\n "));
}

TEST_P(AnswerFault, Http09SendsTheBodyAlone) {
  simulator.addFault("http09");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes, kVersions);
  EXPECT_EQ(got.end, StreamEnd::kClosed);
  EXPECT_EQ(simulator.journal().back().status, 0);
}

TEST_P(AnswerFault, GarbageStandsInForTheAnswer) {
  simulator.addFault("garbage=5000");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes.size(), 5000U);
  EXPECT_NE(got.bytes, ask().bytes);
  EXPECT_EQ(simulator.journal().back().status, 0);
}

TEST_P(AnswerFault, ContinuesComeFirst) {
  simulator.addFault("continues=2 cut=end");

  EXPECT_EQ(ask().bytes, std::string("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 100 Continue\r\n\r\n") +
                             kVersionsHead + kVersions);
}

TEST_P(AnswerFault, TrickleSendsEveryByteInTheEnd) {
  simulator.addFault("trickle=2000 cut=end");
  const auto begin = std::chrono::steady_clock::now();

  EXPECT_EQ(ask().bytes, std::string(kVersionsHead) + kVersions);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_P(AnswerFault, DelayComesBeforeTheAnswer) {
  simulator.addFault("delay=60ms");
  const auto begin = std::chrono::steady_clock::now();

  EXPECT_EQ(answer().body, kVersions);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(60));
}

TEST_P(AnswerFault, CutSendsWhatComesBeforeItsPlace) {
  const std::pair<const char*, std::string> places[] = {
      {"headers:0", ""},
      {"headers:7", "HTTP/1."},
      {"headers:27", std::string(kVersionsHead).substr(0, 27)},
      {"headers:1000", kVersionsHead},
      {"headers", kVersionsHead},
      {"body:0", kVersionsHead},
      {"body:1000", std::string(kVersionsHead) + kVersions},
      {"end", std::string(kVersionsHead) + kVersions}};
  for (const auto& [place, bytes] : places) {
    simulator.clearFaults();
    simulator.addFault(std::string("cut=") + place);

    const Remainder got = ask();

    EXPECT_EQ(got.bytes, bytes) << place;
    EXPECT_EQ(got.end, StreamEnd::kClosed) << place;
  }
}

TEST_P(AnswerFault, CutMayLeaveOutTheNoticeOfTls) {
  simulator.addFault("cut=headers clean=no");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes, kVersionsHead);
  EXPECT_EQ(got.end, GetParam() ? StreamEnd::kCut : StreamEnd::kClosed);
}

TEST_P(AnswerFault, ResetSendsWhatComesBeforeItsPlace) {
  const std::string body(3'000'000, 'x');  // more than the kernel holds
  simulator.addFault("reset=body:2500000 body=" + body);

  const Remainder got = ask();

  EXPECT_EQ(got.bytes.substr(got.bytes.find("\r\n\r\n") + 4), body.substr(0, 2'500'000));
  EXPECT_EQ(got.end, StreamEnd::kReset);
}

TEST_P(AnswerFault, ResetInTheHeadersSendsTheirBeginning) {
  simulator.addFault("reset=headers:20");

  const Remainder got = ask();

  EXPECT_EQ(got.bytes, "HTTP/1.1 200 OK\r\nSer");
  EXPECT_EQ(got.end, StreamEnd::kReset);
}

TEST_P(AnswerFault, BreakInTheHeadersCountsInterimAnswers) {
  simulator.addFault("continues=2 cut=headers:54");

  EXPECT_EQ(ask().bytes, "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 100 Continue\r\n\r\nHTTP");
}

TEST_P(AnswerFault, StatusIsRecordedWhenItsLineGoesOut) {
  const std::pair<const char*, int> rules[] = {{"cut=headers:14", 0},
                                               {"cut=headers:15", 200},
                                               {"continues=1 cut=headers:39", 0},
                                               {"continues=1 cut=headers:40", 200}};
  for (const auto& [rule, status] : rules) {
    simulator.clearFaults();
    simulator.addFault(rule);
    ask();

    EXPECT_EQ(simulator.journal().back().status, status) << rule;
  }
}

TEST_P(AnswerFault, SilenceSendsWhatComesBeforeItsPlace) {
  const std::pair<const char*, std::string> places[] = {
      {"request", ""},
      {"headers:9", "HTTP/1.1 "},
      {"headers", kVersionsHead},
      {"body:3", std::string(kVersionsHead) + "{\"v"},
      {"end", std::string(kVersionsHead) + kVersions}};
  for (const auto& [place, bytes] : places) {
    simulator.clearFaults();
    simulator.addFault(std::string("silence=") + place);
    Connection connection = connect();
    connection.send("GET /service/versions HTTP/1.1\r\n\r\n");
    EXPECT_EQ(connection.read(bytes.size()), bytes) << place;

    // Nobody speaks: what ends the silence is that the client hangs up.
    EXPECT_TRUE(connection.isSilent()) << place;
    connection.hangUp();
    EXPECT_EQ(connection.readToTheEnd().bytes, "") << place;
  }
}

TEST_P(AnswerFault, AcceptedConnectionsAreReset) {
  simulator.addFault("reset=accept connection=1");

  EXPECT_EQ(plain(simulator.port()).end, StreamEnd::kReset);
  EXPECT_EQ(answer().status, 200);
}

TEST_P(AnswerFault, AcceptedConnectionsAreCut) {
  simulator.addFault("cut=accept nth=2");

  EXPECT_EQ(answer().status, 200);
  const Remainder got = plain(simulator.port());
  EXPECT_EQ(got.bytes, "");
  EXPECT_EQ(got.end, StreamEnd::kClosed);
}

TEST_P(AnswerFault, AcceptedConnectionsAreLeftInSilence) {
  simulator.addFault("silence=accept count=1");
  Connection connection(simulator.port());
  connection.send("GET /service/versions HTTP/1.1\r\n\r\n");

  EXPECT_TRUE(connection.isSilent());
  connection.hangUp();
  EXPECT_EQ(connection.readToTheEnd().bytes, "");
  EXPECT_EQ(answer().status, 200);
}

// A client that hangs up is noticed wherever it waits.
TEST_P(AnswerFault, EndsWithTheClient) {
  for (const char* rule : {"delay=60m", "trickle=1", "silence=request", "endless trickle=1",
                           "delay=60m reset=request"}) {
    simulator.clearFaults();
    simulator.addFault(rule);
    Connection connection = connect();
    connection.send("GET /service/versions HTTP/1.1\r\n\r\n");

    connection.hangUp();

    EXPECT_LT(connection.readToTheEnd().bytes.size(), 20U) << rule;
  }
}

// Whatever a connection hangs in, the simulator's end is the connection's end.
TEST_P(AnswerFault, EndsWithTheSimulator) {
  for (const char* rule : {"delay=60m", "trickle=1", "silence=request", "endless", "cut=accept",
                           "silence=accept", "length=longer", "cut=headers"}) {
    auto manager = std::make_unique<Simulator>(faultOptions(GetParam()));
    Connection connection(manager->port(), manager->certificatePem());
    manager->addFault(rule);
    connection.send("GET /service/versions HTTP/1.1\r\n\r\n");
    Connection late(manager->port());

    manager.reset();

    EXPECT_NO_THROW(connection.readToTheEnd()) << rule;
    EXPECT_NO_THROW(late.readToTheEnd()) << rule;
  }
}

TEST_P(AnswerFault, LeavesOtherConnectionsAlone) {
  simulator.addFault("nth=1 delay=60m");
  Connection waiting = connect();
  waiting.send("GET /service/versions HTTP/1.1\r\n\r\n");
  waiting.send("GET /service/versions HTTP/1.1\r\n\r\n");

  EXPECT_EQ(answer().body, kVersions);
}

TEST_P(AnswerFault, ServesOnWhereTheConnectionCan) {
  simulator.addFault("nth=1 status=503 trickle=100000 delay=1ms");
  Connection connection = connect();
  connection.send("GET /service/versions HTTP/1.1\r\n\r\nGET /service/versions HTTP/1.1\r\n\r\n");

  EXPECT_EQ(connection.receive().status, 503);
  EXPECT_EQ(connection.receive().status, 200);
}

// All that a client gets from one run of questions, whatever becomes of its connections.
std::string bytesOfARun(bool tls, std::uint64_t seed) {
  SimulatorOptions options = faultOptions(tls);
  options.faultSeed = seed;
  Simulator manager(options);
  for (const char* rule :
       {"every=7 garbage=300", "every=5 gzip trickle=20000", "chance=30 status=503",
        "chance=20 endless cut=body:40000", "chance=50 chunk=bad cut=end clean=no",
        "chance=50 reset=body:20 header-size=50"}) {
    manager.addFault(rule);
  }
  std::string bytes;
  for (int i = 0; i < 40; ++i) {
    Connection connection(manager.port(), manager.certificatePem());
    std::string login = "POST /service/session HTTP/1.1\r\nConnection: close\r\n";
    for (const auto& [name, value] : loginHeaders("backup", "Backup@123")) {
      login += name + ": " + value + "\r\n";
    }
    connection.send(login + "\r\n");
    const Remainder got = connection.readToTheEnd();
    bytes += got.bytes + "#" + std::to_string(static_cast<int>(got.end));
  }
  return bytes;
}

TEST_P(AnswerFault, GivesTheSameBytesForTheSameSeed) {
  const std::string bytes = bytesOfARun(GetParam(), 3);

  EXPECT_EQ(bytes, bytesOfARun(GetParam(), 3));
  EXPECT_NE(bytes, bytesOfARun(GetParam(), 4));
}

class TlsFault : public ::testing::Test {
 protected:
  // A client's greeting as far as the server's patience goes.
  static std::string greeting() { return std::string("\x16\x03\x01\x00\x10\x01", 6); }

  Simulator simulator{faultOptions(true)};
};

TEST_F(TlsFault, AlertStandsInForTheGreeting) {
  simulator.addFault("tls=alert");
  Connection connection(simulator.port());
  connection.send(greeting());

  const Remainder got = connection.readToTheEnd();

  EXPECT_EQ(got.bytes, std::string("\x15\x03\x03\x00\x02\x02\x28", 7));
  EXPECT_EQ(got.end, StreamEnd::kClosed);
}

TEST_F(TlsFault, AlertIsOneThatClientsUnderstand) {
  simulator.addFault("tls=alert count=1");

  EXPECT_THROW(Connection(simulator.port(), simulator.certificatePem()), std::runtime_error);
  EXPECT_EQ(RestClient(simulator.port(), simulator.certificatePem()).logIn().status, 200);
}

TEST_F(TlsFault, StallNeverAnswersTheGreeting) {
  simulator.addFault("tls=stall");
  Connection connection(simulator.port());
  connection.send(greeting());

  EXPECT_TRUE(connection.isSilent());
  connection.hangUp();
  EXPECT_EQ(connection.readToTheEnd().bytes, "");
}

TEST_F(TlsFault, SilenceStallsWithinTheHandshake) {
  simulator.addFault("silence=handshake");
  Connection connection(simulator.port());
  connection.send(greeting());

  EXPECT_EQ(connection.read(11), std::string("\x16\x03\x03\x00\x7a\x02\x00\x00\x76\x03\x03", 11));
  EXPECT_TRUE(connection.isSilent());
}

TEST_F(TlsFault, ResetComesAfterTheHandshake) {
  simulator.addFault("reset=handshake");

  Connection connection(simulator.port(), simulator.certificatePem());

  EXPECT_EQ(connection.readToTheEnd().end, StreamEnd::kReset);
  EXPECT_TRUE(simulator.journal().empty());
}

TEST_F(TlsFault, CutComesAfterTheHandshake) {
  simulator.addFault("cut=handshake nth=1");
  simulator.addFault("cut=handshake nth=1 clean=no");

  EXPECT_EQ(Connection(simulator.port(), simulator.certificatePem()).readToTheEnd().end,
            StreamEnd::kClosed);
  EXPECT_EQ(Connection(simulator.port(), simulator.certificatePem()).readToTheEnd().end,
            StreamEnd::kCut);
}

TEST_F(TlsFault, IsRefusedWhereThereIsNoTls) {
  Simulator plainManager(faultOptions(false));
  for (const char* rule : {"tls=alert", "tls=stall", "reset=handshake", "silence=handshake"}) {
    EXPECT_THROW(plainManager.addFault(rule), FaultRuleError) << rule;
  }
  EXPECT_TRUE(plainManager.faults().empty());
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
