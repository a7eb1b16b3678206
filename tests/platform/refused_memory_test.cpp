#include "platform/contract/log.h"
#include "platform/contract/security.h"
#include "platform/reference/logging.h"
#include "platform/reference/tls_sharing.h"
#include "tests/platform/quiet_log.h"
#include "tests/platform/tls_server.h"
#include "tests/support/test_headers.h"
#include "tests/torture/faults/allocator.h"

#include <curl/curl.h>
#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <string>

namespace kestrelvisor::test {
namespace {

using torture::Allocator;

// Writes a record while no memory is to be had; whether an exception left the statement.
bool statementThrows() {
  Allocator::arm({1, true});
  bool threw = false;
  try {
    LogProxy record(4, "tag", 0, "function", 1);
    record << 0 << "a text that is too long to stand in place, so that it needs memory"
           << "";
  } catch (...) {
    threw = true;
  }
  Allocator::disarm();
  return threw;
}

TEST(LogWithoutMemory, FailsNoStatement) {
  const QuietLog quiet;

  EXPECT_FALSE(statementThrows());
}

TEST(LogWithoutMemory, FailsNoStatementThatIsObserved) {
  const QuietLog quiet;
  const LogObserver observer([](const LogRecord&) {});

  EXPECT_FALSE(statementThrows());
}

TEST(LogWithoutMemory, NeedsNoneForARecordThatNobodyWants) {
  const QuietLog quiet;
  const LogObserver higher([](const LogRecord&) {}, nullptr, 2);
  const std::string piece =
      "token=secret and more that is too long to stand in place without memory";

  Allocator::arm({0, false});
  LogProxy(1, "tag", 0, "function", 1) << 0 << "words" << piece << 7 << "";
  const std::string cleaned = WipeSensitiveData(piece);

  EXPECT_EQ(Allocator::disarm().calls, 0U);
  EXPECT_EQ(cleaned, "");
}

TEST(LogWithoutMemory, LosesARecordOfWhichAPieceCannotBeCleaned) {
  const QuietLog quiet;
  std::vector<std::string> seen;
  const LogObserver observer([&](const LogRecord& record) { seen.push_back(record.text); });
  const std::string piece =
      "token=secret and more that is too long to stand in place without memory";
  bool threw = false;
  {
    LogProxy record(4, "tag", 0, "function", 1);
    record << 0;
    Allocator::arm({1, true});
    try {
      record << piece;
    } catch (...) {
      threw = true;
    }
    Allocator::disarm();
    record << "and what follows";
  }

  EXPECT_FALSE(threw);
  EXPECT_THAT(seen, ::testing::IsEmpty());
}

TEST(LogWithoutMemory, StillTellsObserversOfTheStatement) {
  const QuietLog quiet;
  int statements = 0;
  const LogObserver observer(nullptr, [&](int, std::string_view) { ++statements; });

  statementThrows();

  EXPECT_EQ(statements, 1);
}

TEST(LogWithoutMemory, CutsNoRecordShort) {
  const std::string piece = "a piece of a record that needs memory of its own. ";
  const QuietLog quiet;
  std::vector<std::string> seen;
  seen.reserve(1);
  const LogObserver observer([&](const LogRecord& record) { seen.push_back(record.text); });

  for (std::uint64_t nth = 1, refused = 1; refused != 0; ++nth) {
    seen.clear();
    Allocator::arm({nth, false});
    LogProxy(4, "tag", 0, "function", 1) << 0 << piece << piece.c_str() << piece << "";
    refused = Allocator::disarm().failed;

    EXPECT_THAT(seen, ::testing::Each(piece + piece + piece)) << nth;
  }
  EXPECT_THAT(seen, ::testing::SizeIs(1));
}

// Asks for random numbers, as a thread that is new to OpenSSL, until memory ends while OpenSSL
// renews them: every hundred threads or so, at some allocation.
void spoilRandomNumbers() {
  std::array<unsigned char, 16> bytes{};
  for (std::uint64_t nth = 1; nth < 60 && RAND_status() == 1; ++nth) {
    for (int thread = 0; thread < 300 && RAND_status() == 1; ++thread) {
      OPENSSL_thread_stop();
      Allocator::arm({nth, true});
      RAND_bytes(bytes.data(), static_cast<int>(bytes.size()));
      Allocator::disarm();
    }
  }
}

using Handle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;

Handle newHandle() { return {curl_easy_init(), curl_easy_cleanup}; }

TEST(TlsWithoutMemory, FindsItsRandomNumbersAgain) {
  const Handle handle = newHandle();
  std::string systemStore;
  spoilRandomNumbers();
  ASSERT_NE(RAND_status(), 1);

  SecuritySS::enrichSSL(handle.get(), systemStore);

  EXPECT_EQ(RAND_status(), 1);
}

std::uint64_t freedTwice = 0;

// One exchange that trusts the server alone; the answer does not matter. libcurl may wait for ever
// when OpenSSL finds no memory: its limits end that.
void ask(const TlsServer& server, std::string certificate) {
  const Handle handle = newHandle();
  if (!handle) return;
  curl_easy_setopt(handle.get(), CURLOPT_URL, server.url().c_str());
  curl_easy_setopt(handle.get(), CURLOPT_NOPROXY, "*");
  curl_easy_setopt(handle.get(), CURLOPT_CONNECTTIMEOUT_MS, 2000L);
  curl_easy_setopt(handle.get(), CURLOPT_TIMEOUT_MS, 2000L);
  SecuritySS::enrichSSL(handle.get(), certificate);
  curl_easy_perform(handle.get());
}

std::uint64_t allocationsOf(const TlsServer& server, const std::string& certificate) {
  Allocator::arm({0, false});
  ask(server, certificate);
  return Allocator::disarm().calls;
}

// Each allocation from the end of the handshake on is refused once, and an exchange with memory
// follows.
TEST(TlsWithoutMemory, LeavesLibcurlNoSessionThatIsFreedTwice) {
  const QuietLog quiet;
  const Identity identity("server", "IP:127.0.0.1");
  const TlsServer server(identity);
  const std::string certificate = identity.pem();
  ask(server, certificate);
  freedTwice = 0;
  Allocator::onFreedTwice([](const torture::FreedTwice&) { ++freedTwice; });
  Allocator::watch("no secret", false);
  const std::uint64_t first = allocationsOf(server, certificate) / 2;
  for (std::uint64_t nth = first, refused = 1; refused != 0; ++nth) {
    Allocator::arm({nth, false});
    try {
      ask(server, certificate);
    } catch (const std::bad_alloc&) {  // of the test's own texts
    }
    refused = Allocator::disarm().failed;
    ask(server, certificate);
    ASSERT_EQ(freedTwice, 0U) << nth;
  }
  Allocator::endWatch();
}

// What handles share is made with the first of them.
TEST(TlsWithoutMemory, SharesSessionsAsSoonAsThereIsSome) {
  const QuietLog quiet;
  const Identity identity("server", "IP:127.0.0.1");
  const TlsServer server(identity);
  std::string certificate = identity.pem();
  for (std::uint64_t nth = 1, refused = 1; refused != 0; ++nth) {
    forgetTlsShares();
    const Handle handle = newHandle();
    Allocator::arm({nth, false});
    SecuritySS::enrichSSL(handle.get(), certificate);
    refused = Allocator::disarm().failed;

    ask(server, certificate);
    const int resumed = server.resumed();
    ask(server, certificate);
    EXPECT_EQ(server.resumed(), resumed + 1) << nth;
  }
}

// With memory: the list of observers changes under a walk over it.
TEST(LogObserverList, MayLoseAnObserverWhileItIsWalked) {
  const QuietLog quiet;
  std::vector<std::string> seen;
  std::unique_ptr<LogObserver> second;
  const LogObserver first([&](const LogRecord& record) {
    seen.push_back("first: " + record.text);
    second.reset();
  });
  second = std::make_unique<LogObserver>(
      [&](const LogRecord& record) { seen.push_back("second: " + record.text); });
  const LogObserver third(
      [&](const LogRecord& record) { seen.push_back("third: " + record.text); });

  for (const char* text : {"a", "b"}) LogProxy(0, "tag", 0, "function", 1) << 0 << text << "";

  EXPECT_THAT(seen, ::testing::ElementsAre("first: a", "third: a", "first: b", "third: b"));
}

TEST(LogObserverList, MayGetAnObserverWhileItIsWalked) {
  const QuietLog quiet;
  std::vector<std::string> seen;
  std::unique_ptr<LogObserver> late;
  const LogObserver first([&](const LogRecord& record) {
    seen.push_back("first: " + record.text);
    if (late) return;
    late = std::make_unique<LogObserver>(
        [&](const LogRecord& other) { seen.push_back("late: " + other.text); });
  });

  for (const char* text : {"a", "b"}) LogProxy(0, "tag", 0, "function", 1) << 0 << text << "";

  EXPECT_THAT(seen, ::testing::ElementsAre("first: a", "first: b", "late: b"));
}

}  // namespace
}  // namespace kestrelvisor::test
