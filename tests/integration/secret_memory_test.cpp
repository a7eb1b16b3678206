// The memory of a host, searched from outside while it stands still: at its own word, or because
// the manager holds an answer back.

#include "tests/integration/integration_fixture.h"
#include "tests/integration/process_memory.h"
#include "vrmsim/digest.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>

namespace kestrelvisor::test {
namespace {

using vrmsim::test::onlyChildOf;
using vrmsim::test::Process;
using vrmsim::test::TemporaryFolder;

constexpr const char* kLongPassword = "Correct-Horse-Battery-7-Staple-And-Then-Some-More";
constexpr const char* kShortPassword = "Tr0ub4dor&3x";  // fits into a string object itself

// Lets requests pass, and holds one back when told to.
class Gate {
 public:
  // The nth request with this line from now on, counted from 1.
  void holdAt(std::string line, int nth) {
    const std::lock_guard lock(mutex_);
    line_ = std::move(line);
    countdown_ = nth;
  }

  // On the manager's thread.
  void pass(const RecordedRequest& request) {
    std::unique_lock lock(mutex_);
    noteToken(request);
    const bool counts = request.method + " " + request.target == line_;
    if (!counts || open_ || --countdown_ != 0) return;
    held_ = true;
    changed_.notify_all();
    changed_.wait(lock, [&] { return !held_ || open_; });
  }

  // False when the request does not come.
  bool waitUntilHeld() {
    constexpr std::chrono::seconds kLongest(60);
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLongest, [&] { return held_; });
  }

  void release() {
    const std::lock_guard lock(mutex_);
    held_ = false;
    changed_.notify_all();
  }

  void openForGood() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

  // In the order in which they were first used.
  std::vector<std::string> tokens() const {
    const std::lock_guard lock(mutex_);
    return tokens_;
  }

 private:
  void noteToken(const RecordedRequest& request) {
    for (const auto& [name, value] : request.headers) {
      if (name != "X-Auth-Token") continue;
      if (std::ranges::find(tokens_, value) == tokens_.end()) tokens_.push_back(value);
    }
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::string line_;
  int countdown_ = 0;
  bool held_ = false;
  bool open_ = false;
  std::vector<std::string> tokens_;
};

constexpr const char* kEnv = "/usr/bin/env";
constexpr const char* kLogin = "POST /service/session";
constexpr const char* kClusters = "GET /service/sites/S1/clusters";
constexpr const char* kLogout = "DELETE /service/session";

struct Setup {
  const char* name;
  bool tls;
  const char* password;
};

// The secrets of a host whose engine has two clients, each with a session of its own.
struct Secrets {
  Copies password;
  Copies digest;
  Copies digestBytes;  // what the digits of the digest stand for
  Copies firstToken;
  Copies secondToken;

  bool operator==(const Secrets&) const = default;
};

void PrintTo(const Secrets& secrets, std::ostream* out) {
  const auto print = [out](const char* name, const Copies& copies) {
    *out << "\n  " << name << ": ";
    PrintTo(copies, out);
  };
  print("password", secrets.password);
  print("digest", secrets.digest);
  print("bytes of the digest", secrets.digestBytes);
  print("first token", secrets.firstToken);
  print("second token", secrets.secondToken);
}

void PrintTo(const Setup& setup, std::ostream* out) { *out << setup.name; }

std::string bytesOfDigits(const std::string& digits) {
  std::string bytes;
  for (std::size_t at = 0; at < digits.size(); at += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
  }
  return bytes;
}

// A manager that can hold its answers back, and what hosts of it may hold in their memory.
class WatchedManager : public ::testing::Test {
 protected:
  WatchedManager(bool tls, const std::string& password)
      : password_(password), manager(options(tls)) {}
  ~WatchedManager() override { gate.openForGood(); }

  // The host goes on up to the nth request with this line, whose answer does not come.
  void waitForRequest(pid_t host) {
    ASSERT_TRUE(gate.waitUntilHeld());
    ASSERT_TRUE(waitUntilIdle(host));
  }

  Secrets secretsOf(pid_t host) const {
    const ProcessMemory memory(host);
    const std::vector<std::string> tokens = gate.tokens();
    Secrets secrets;
    secrets.password = copiesIn(memory, password_);
    const std::string digest = vrmsim::sha256Hex(password_);
    secrets.digest = copiesIn(memory, digest);
    secrets.digestBytes = bareCopiesIn(memory, bytesOfDigits(digest));
    if (!tokens.empty()) secrets.firstToken = copiesIn(memory, tokens[0]);
    if (tokens.size() > 1) secrets.secondToken = copiesIn(memory, tokens[1]);
    return secrets;
  }

  // libcurl keeps the head of a request that went through TLS for as long as the exchange lasts.
  std::size_t requestsKept() const { return manager.certificatePem().empty() ? 0 : 1; }

  Secrets duringAScan() const {
    Secrets expected;
    expected.password = {.alone = 2};  // in the caches of both clients
    expected.firstToken = {.alone = 1};
    expected.secondToken = {.alone = 2, .header = 1, .request = requestsKept()};
    return expected;
  }

 private:
  SimulatorOptions options(bool tls) {
    SimulatorOptions options = simulatedSite(tls);
    options.users.front().password = password_;
    options.onRequest = [this](const RecordedRequest& request) { gate.pass(request); };
    return options;
  }

  std::string password_;

 protected:
  Gate gate;
  TemporaryFolder folder;
  Simulator manager;
};

// A host's words behind /usr/bin/env. Everything is bound at the start: when the loader binds a
// function at its first call, it saves the vector registers on the stack, and what was copied last
// with them.
std::vector<std::string> boundAtStart(const std::string& program, std::vector<std::string> words) {
  words.insert(words.begin(), {"LD_BIND_NOW=1", program});
  return words;
}

// The words with which a probe is started.
std::vector<std::string> wordsOfProbe(const Simulator& manager, const TemporaryFolder& folder,
                                      const std::string& allocators) {
  const std::string certificate = manager.certificatePem();
  return boundAtStart(SECRET_PROBE, {manager.address(), std::to_string(manager.port()),
                                     certificate.empty() ? "http" : "https", "backup",
                                     folder.write("manager.pem", certificate), allocators});
}

class SecretMemory : public WatchedManager, public ::testing::WithParamInterface<Setup> {
 protected:
  explicit SecretMemory(const std::string& allocators = "wiping")
      : WatchedManager(GetParam().tls, GetParam().password),
        host(kEnv, wordsOfProbe(manager, folder, allocators)) {
    host.write(std::string(GetParam().password) + "\n");
    EXPECT_EQ(host.readLine(), "ready");
  }

  // Runs an operation up to the nth request with this line.
  void runUpTo(const std::string& operation, const std::string& line, int nth) {
    gate.holdAt(line, nth);
    host.write(operation + "\n");
    waitForRequest(host.id());
  }

  // Runs an operation to its end and expects its status.
  void run(const std::string& operation, const std::string& status) {
    host.write(operation + "\n");
    EXPECT_EQ(host.readLine(), status);
  }

  // A refused query makes its client end its session. A verification asks twice: the first client
  // and then the second.
  void refuseQuery(std::uint32_t nth) {
    manager.answerOnce("GET", "/service/sites", nth, {500, {}, R"({"errorCode":"10000004"})"});
  }

  // A login that gets as far as a token, and no further.
  void spoilLogin(const std::string& token, const std::string& body) {
    manager.answerOnce("POST", "/service/session", 1, {200, {{"X-Auth-Token", token}}, body});
  }

  Secrets secrets() const { return secretsOf(host.id()); }

  Process host;
};

TEST_P(SecretMemory, HoldsNothingBeforeTheFirstLogin) { EXPECT_EQ(secrets(), Secrets()); }

TEST_P(SecretMemory, HoldsThePasswordAndItsDigestOnceEachDuringALogin) {
  runUpTo("scan", kLogin, 1);

  Secrets expected;
  expected.password = {.alone = 1};
  expected.digest = {.alone = 1, .header = 1, .request = requestsKept()};
  EXPECT_EQ(secrets(), expected);
}

TEST_P(SecretMemory, HoldsNothingOfAnEarlierLoginDuringTheNext) {
  runUpTo("scan", kLogin, 2);

  Secrets expected;
  expected.password = {.alone = 2};  // the first client's cache and the login
  expected.digest = {.alone = 1, .header = 1, .request = requestsKept()};
  expected.firstToken = {.alone = 1};
  EXPECT_EQ(secrets(), expected);
}

TEST_P(SecretMemory, HoldsTheTokenInCacheCallAndRequestDuringAScan) {
  runUpTo("scan", kClusters, 1);

  EXPECT_EQ(secrets(), duringAScan());
}

TEST_P(SecretMemory, HoldsTheTokenCachesAloneAfterAScan) {
  run("scan", "status 0");

  Secrets expected;
  expected.password = {.alone = 2};
  expected.firstToken = {.alone = 1};
  expected.secondToken = {.alone = 1};
  EXPECT_EQ(secrets(), expected);
}

TEST_P(SecretMemory, HoldsTheTokenInCallAndRequestDuringALogout) {
  run("scan", "status 0");
  refuseQuery(2);
  runUpTo("verify", kLogout, 1);

  Secrets expected;
  expected.password = {.alone = 1};  // the first client's cache
  expected.firstToken = {.alone = 1};
  expected.secondToken = {.alone = 1, .header = 1, .request = requestsKept()};
  EXPECT_EQ(secrets(), expected);
}

TEST_P(SecretMemory, HoldsNothingAfterTheLogouts) {
  run("scan", "status 0");
  refuseQuery(2);
  run("verify", "status 107");
  refuseQuery(1);
  run("verify", "status 107");

  EXPECT_EQ(manager.openSessions(), 0U);
  EXPECT_EQ(secrets(), Secrets());
}

TEST_P(SecretMemory, HoldsNothingAfterARefusedLogin) {
  manager.answerOnce("POST", "/service/session", 1, {401, {}, R"({"errorCode":"10100103"})"});
  run("verify", "status 107");

  EXPECT_EQ(secrets(), Secrets());
}

TEST_P(SecretMemory, HoldsNothingAfterALoginThatLacksTheRole) {
  const std::string token = "0123456789abcdef-a-token-that-nobody-uses-0123456789";
  spoilLogin(token, R"({"roleList":["operator"],"validity":1800000})");
  run("verify", "status 107");

  EXPECT_EQ(secrets(), Secrets());
  EXPECT_EQ(copiesIn(ProcessMemory(host.id()), token), Copies());
}

TEST_P(SecretMemory, HoldsNothingAfterALoginThatThrows) {
  const std::string token = "0123456789abcdef-a-token-that-nobody-uses-0123456789";
  spoilLogin(token, "");
  run("verify", "status -1");

  EXPECT_EQ(secrets(), Secrets());
  EXPECT_EQ(copiesIn(ProcessMemory(host.id()), token), Copies());
}

TEST_P(SecretMemory, HoldsTheCachesAndTheLastLogoutAtExit) {
  run("scan", "status 0");
  runUpTo("end", kLogout, 1);

  Secrets expected;
  expected.password = {.alone = 2};
  expected.firstToken = {.alone = 1};
  expected.secondToken = {.alone = 1, .header = 1, .request = requestsKept()};
  EXPECT_EQ(secrets(), expected);
}

TEST_P(SecretMemory, HoldsNothingWhenTheClientsAreGone) {
  run("scan", "status 0");
  host.write("end\n");
  ASSERT_EQ(host.readLine(), "ended");

  EXPECT_EQ(manager.openSessions(), 0U);
  EXPECT_EQ(secrets(), Secrets());
  host.write("go\n");
  EXPECT_EQ(host.wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(Host, SecretMemory,
                         ::testing::Values(Setup{"OverHttp", false, kLongPassword},
                                           Setup{"OverHttps", true, kLongPassword},
                                           Setup{"WithAShortPassword", true, kShortPassword}),
                         [](const auto& row) { return std::string(row.param.name); });

// Without the wiping allocators: what the engine itself leaves behind, and what libcurl does.
class PlainMemory : public SecretMemory {
 protected:
  PlainMemory() : SecretMemory("plain") {}
};

TEST_P(PlainMemory, LeavesTokensInRequestsOfLibcurlAlone) {
  run("scan", "status 0");

  const Secrets found = secrets();

  EXPECT_EQ(found.password, (Copies{.alone = 2}));
  EXPECT_EQ(found.firstToken.alone, 1U);
  EXPECT_EQ(found.secondToken.alone, 1U);
  for (const Copies& copies : {found.digest, found.firstToken, found.secondToken}) {
    EXPECT_EQ(copies.header, 0U);
    EXPECT_EQ(copies.encoded, 0U);
  }
  EXPECT_GE(found.secondToken.request, 1U) << "there is nothing to wipe";
}

INSTANTIATE_TEST_SUITE_P(Host, PlainMemory,
                         ::testing::Values(Setup{"OverHttp", false, kLongPassword},
                                           Setup{"OverHttps", true, kLongPassword}),
                         [](const auto& row) { return std::string(row.param.name); });

// Whichever allocators libcurl and OpenSSL have, sessions stay usable.
class ResumedSessions : public SecretMemory {
 protected:
  explicit ResumedSessions(const std::string& allocators = "wiping") : SecretMemory(allocators) {}

  void expectAllButTheFirstResumed() {
    run("scan", "status 0");
    run("verify", "status 0");
    host.write("end\n");
    ASSERT_EQ(host.readLine(), "ended");

    EXPECT_GT(manager.handshakes(), 10U);
    EXPECT_EQ(manager.resumedHandshakes(), manager.handshakes() - 1);
  }
};
class ResumedSessionsInPlainMemory : public ResumedSessions {
 protected:
  ResumedSessionsInPlainMemory() : ResumedSessions("plain") {}
};

TEST_P(ResumedSessions, SpareEveryHandshakeButTheFirst) { expectAllButTheFirstResumed(); }

TEST_P(ResumedSessionsInPlainMemory, SpareEveryHandshakeButTheFirst) {
  expectAllButTheFirstResumed();
}

INSTANTIATE_TEST_SUITE_P(Host, ResumedSessions,
                         ::testing::Values(Setup{"OverHttps", true, kLongPassword}));
INSTANTIATE_TEST_SUITE_P(Host, ResumedSessionsInPlainMemory,
                         ::testing::Values(Setup{"OverHttps", true, kLongPassword}));

// kestrelctl is a host of two processes: one reads the password, the other one has the engine.
class KestrelctlMemory : public WatchedManager, public ::testing::WithParamInterface<Setup> {
 protected:
  KestrelctlMemory() : WatchedManager(GetParam().tls, GetParam().password) {}

  std::vector<std::string> words() const {
    const std::string password = folder.write("password", GetParam().password);
    std::filesystem::permissions(password, std::filesystem::perms(0600));
    std::vector<std::string> words{"scan",   "--manager",       manager.url(), "--user",
                                   "backup", "--password-file", password};
    if (!GetParam().tls) return words;
    words.insert(words.end(), {"--ca-cert", folder.write("ca", manager.certificatePem())});
    return words;
  }
};

TEST_P(KestrelctlMemory, OfItsWorkerHoldsWhatTheEngineDoesDuringAScanAndNoMore) {
  gate.holdAt(kClusters, 1);
  const Process host(KESTRELCTL, words());
  waitForRequest(host.id());
  const pid_t worker = onlyChildOf(host.id());
  waitForRequest(worker);

  EXPECT_EQ(secretsOf(worker), duringAScan());
}

TEST_P(KestrelctlMemory, HoldsNothingOnceTheWorkerHasThePassword) {
  gate.holdAt(kClusters, 1);
  const Process host(KESTRELCTL, words());
  waitForRequest(host.id());

  EXPECT_EQ(secretsOf(host.id()), Secrets());
}

INSTANTIATE_TEST_SUITE_P(Host, KestrelctlMemory,
                         ::testing::Values(Setup{"OverHttp", false, kLongPassword},
                                           Setup{"OverHttps", true, kLongPassword},
                                           Setup{"WithAShortPassword", true, kShortPassword}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(MemorySearch, TellsCopiesApartByWhatTheyAreAPartOf) {
  const std::string secret = "a-secret-of-thirty-two-characters";
  const std::string half = secret.substr(secret.size() / 2);
  const ProcessMemory memory({"X-Auth-Token: " + secret + "X-Auth-Token:" + secret,
                              "\r\nX-Auth-Key:" + secret + "\r\nX-Auth-Key:" + half, half,
                              secret.substr(0, secret.size() / 2)});

  EXPECT_EQ(copiesIn(memory, secret),
            (Copies{.alone = 1, .header = 1, .request = 1, .fragment = 3, .encoded = 0}));
}

TEST(MemorySearch, FindsTheBytesThatDigitsStandFor) {
  const std::string bytes = bytesOfDigits(vrmsim::sha256Hex("secret"));
  const ProcessMemory memory({"x" + bytes, bytes.substr(bytes.size() / 2),
                              "K7gNU3sdo+OL0wNhqoVWhr3g6s1xYv72ol/pe/Unols="});

  EXPECT_EQ(bareCopiesIn(memory, bytes), (Copies{.alone = 1, .fragment = 1, .encoded = 1}));
}

struct EncodedSecret {
  const char* name;
  std::string bytes;  // behind other text in some
};
void PrintTo(const EncodedSecret& secret, std::ostream* out) { *out << secret.name; }

// As the compiler writes it, the low byte first.
std::string bytesOf(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

class EncodedSecretTest : public ::testing::TestWithParam<EncodedSecret> {};

TEST_P(EncodedSecretTest, IsFound) {
  const ProcessMemory memory({GetParam().bytes});

  EXPECT_GE(copiesIn(memory, "a-secret-of-thirty-two-characters").encoded, 1U);
}

INSTANTIATE_TEST_SUITE_P(
    MemorySearch, EncodedSecretTest,
    ::testing::Values(
        EncodedSecret{"LowerCaseHexadecimal",
                      "x612d7365637265742d6f662d7468697274792d74776f2d63686172616374657273"},
        EncodedSecret{"UpperCaseHexadecimal",
                      "x612D7365637265742D6F662D7468697274792D74776F2D63686172616374657273"},
        EncodedSecret{"Base64", "YS1zZWNyZXQtb2YtdGhpcnR5LXR3by1jaGFyYWN0ZXJz"},
        EncodedSecret{"Base64BehindOneByte", "eGEtc2VjcmV0LW9mLXRoaXJ0eS10d28tY2hhcmFjdGVycw=="},
        EncodedSecret{"Base64BehindTwoBytes", "eHlhLXNlY3JldC1vZi10aGlydHktdHdvLWNoYXJhY3RlcnN6"},
        EncodedSecret{"Utf16", bytesOf(u"a-secret-of-thirty-two-characters")},
        EncodedSecret{"Utf16HighByteFirst",
                      std::string(1, '\0') + bytesOf(u"a-secret-of-thirty-two-characters")}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrelvisor::test
