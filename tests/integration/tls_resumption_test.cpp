// The engine, the reference platform's TLS and a manager that lets sessions be resumed.

#include "platform/reference/configuration.h"
#include "platform/reference/tls.h"
#include "tests/integration/integration_fixture.h"
#include "tests/vrmsim/rest_client.h"

#include <optional>
#include <utility>

namespace kestrelvisor::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using vrmsim::TlsVersion;

constexpr std::uint64_t kExchanges = 5;  // of a verification that works

class TlsResumption : public ::testing::TestWithParam<TlsVersion> {
 protected:
  TlsResumption() {
    resetConfiguration();
    renewTrust();
  }
  ~TlsResumption() override { resetConfiguration(); }

  static SimulatorOptions options() {
    SimulatorOptions options = simulatedSite(true);
    options.tlsVersion = GetParam();
    return options;
  }

  void serve(SimulatorOptions options) { manager.emplace(std::move(options)); }

  // Of a path with this certificate text; nothing: with that of the manager.
  int verify(const std::optional<std::string>& trusted = std::nullopt) {
    EnvironmentPath path = pathTo(*manager);
    if (trusted) path.set_cert(0, *trusted);
    return engine.VerifyCredentials(path, description, guid).status;
  }

  LogCapture log;
  FreshSessions fresh;
  std::optional<Simulator> manager;  // longer than the engine, which logs out
  KestrelVisorEngine engine;
  std::string description;
  std::string guid;
};

INSTANTIATE_TEST_SUITE_P(Manager, TlsResumption,
                         ::testing::Values(TlsVersion::v1_2, TlsVersion::v1_3),
                         [](const auto& row) {
                           return row.param == TlsVersion::v1_2 ? "ByTls12" : "ByTls13";
                         });

TEST_P(TlsResumption, SparesEveryHandshakeButTheFirst) {
  serve(options());
  ASSERT_EQ(verify(), 0);
  ASSERT_EQ(verify(), 0);

  EXPECT_GT(manager->handshakes(), kExchanges);
  EXPECT_EQ(manager->resumedHandshakes(), manager->handshakes() - 1);
}

TEST_P(TlsResumption, IsUpToTheManager) {
  SimulatorOptions without = options();
  without.tlsResumption = false;
  serve(std::move(without));
  ASSERT_EQ(verify(), 0);

  EXPECT_EQ(manager->handshakes(), kExchanges);
  EXPECT_EQ(manager->resumedHandshakes(), 0U);
}

TEST_P(TlsResumption, LetsNoWrongTextPass) {
  serve(options());
  const std::string wrong = Simulator(options()).certificatePem();
  ASSERT_EQ(verify(), 0);
  const std::size_t before = manager->journal().size();
  const std::uint64_t resumed = manager->resumedHandshakes();

  for (const std::string& text : {wrong, std::string()}) {
    FreshSessions();
    EXPECT_EQ(verify(text), 107);
  }

  EXPECT_THAT(manager->journal(), SizeIs(before));
  EXPECT_EQ(manager->resumedHandshakes(), resumed);
}

// The session of an exchange that went without verification helps only others of its kind.
TEST_P(TlsResumption, LeavesNoRefusalOutThatWasOverlookedOnce) {
  serve(options());
  const std::string wrong = Simulator(options()).certificatePem();
  setConfigurationValue("General", "CertAuthSwitch", "0");
  ASSERT_EQ(verify(wrong), 0);
  EXPECT_EQ(manager->handshakes(), 2 * kExchanges);
  EXPECT_EQ(manager->resumedHandshakes(), kExchanges - 1);
  const std::size_t before = manager->journal().size();

  setConfigurationValue("General", "CertAuthSwitch", "1");
  FreshSessions();
  EXPECT_EQ(verify(wrong), 107);

  EXPECT_THAT(manager->journal(), SizeIs(before));
}

TEST_P(TlsResumption, LetsNoOtherManagerOfTheSamePortPass) {
  serve(options());
  const std::string right = manager->certificatePem();
  SimulatorOptions samePort = options();
  samePort.port = manager->port();
  ASSERT_EQ(verify(), 0);
  FreshSessions();
  manager.reset();

  serve(std::move(samePort));
  EXPECT_EQ(verify(right), 107);

  EXPECT_THAT(manager->journal(), IsEmpty());
  EXPECT_EQ(manager->resumedHandshakes(), 0U);
  EXPECT_EQ(verify(), 0);
}

class ResumedCertificate : public ::testing::TestWithParam<const char*> {};

// Also where the manager would let sessions be resumed, a refused certificate gives none.
TEST_P(ResumedCertificate, IsRefusedAgainAfterItWasOverlooked) {
  renewTrust();
  LogCapture log;
  FreshSessions fresh;
  SimulatorOptions options = simulatedSite(true);
  options.certificate = GetParam();
  options.tlsResumption = true;
  const Simulator manager(std::move(options));
  KestrelVisorEngine engine;
  std::string description;
  std::string guid;
  setConfigurationValue("General", "CertAuthSwitch", "0");
  ASSERT_EQ(engine.VerifyCredentials(pathTo(manager), description, guid).status, 0);
  resetConfiguration();
  FreshSessions();
  const std::size_t before = manager.journal().size();

  EXPECT_EQ(engine.VerifyCredentials(pathTo(manager), description, guid).status, 107);

  EXPECT_THAT(manager.journal(), SizeIs(before));
}

INSTANTIATE_TEST_SUITE_P(Manager, ResumedCertificate,
                         ::testing::Values("expired", "wrong-address", "subject-name-only",
                                           "untrusted-root", "same-name-root"),
                         [](const auto& row) {
                           std::string name = row.param;
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
}  // namespace kestrelvisor::test
