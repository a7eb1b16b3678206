#include "tests/vrmsim/simulator_fixture.h"

namespace kestrelvisor::vrmsim::test {
namespace {

constexpr const char* kVersionsHead =
    "HTTP/1.1 200 OK\r\nServer: vrmsim\r\nContent-Type: application/json; charset=UTF-8\r\n"
    "Content-Length: 71\r\n\r\n";

SimulatorOptions faultOptions(bool tls) {
  SimulatorOptions options = smallSiteOptions();
  options.tls = tls;
  return options;
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

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
