#include "vrmsim/certificate_matrix.h"

#include "platform/reference/configuration.h"
#include "tests/integration/integration_fixture.h"
#include "tests/vrmsim/rest_client.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kRefused = "SSL peer certificate or SSH remote key was not OK.";
constexpr const char* kNoConnection = "SSL connect error.";
constexpr std::size_t kExchanges = 5;   // of a verification that works
constexpr std::uint64_t kAttempts = 2;  // of an exchange that fails

struct Expected {
  const char* certificate;
  const char* text;  // of libcurl's result; nullptr: accepted
};

// A refused certificate may be overlooked; what fails otherwise may not.
const std::vector<Expected>& refusedCertificates() {
  static const std::vector<Expected> rows{{"expired", kRefused},
                                          {"not-yet-valid", kRefused},
                                          {"wrong-name", kRefused},
                                          {"wrong-address", kRefused},
                                          {"subject-name-only", kRefused},
                                          {"untrusted-root", kRefused},
                                          {"same-name-root", kRefused},
                                          {"incomplete-chain", kRefused},
                                          {"sha1-leaf", kRefused},
                                          {"rsa-1024", kRefused},
                                          {"client-only-purpose", kRefused},
                                          {"ca-false-issuer", kRefused},
                                          {"name-constraint", kRefused},
                                          {"path-length", kRefused},
                                          {"unknown-critical-extension", kRefused}};
  return rows;
}

const std::vector<Expected>& refusedConnections() {
  static const std::vector<Expected> rows{{"tls-1.0-only", kNoConnection},
                                          {"tls-1.1-only", kNoConnection},
                                          {"client-certificate-demanded", kNoConnection}};
  return rows;
}

const std::vector<Expected>& accepted() {
  static const std::vector<Expected> rows{
      {"intermediate", nullptr},  {"out-of-order-chain", nullptr}, {"thousand-names", nullptr},
      {"empty-subject", nullptr}, {"rsa-4096", nullptr},           {"ecdsa", nullptr},
      {"ed25519", nullptr}};
  return rows;
}

// Verifies credentials against a manager with a certificate of the matrix.
class ManagersCertificate : public ::testing::Test {
 protected:
  ManagersCertificate() { resetConfiguration(); }
  ~ManagersCertificate() override { resetConfiguration(); }

  void serve(const char* certificate, const char* address = "127.0.0.1") {
    SimulatorOptions options = simulatedSite(true);
    options.certificate = certificate;
    options.bindAddress = address;
    manager.emplace(std::move(options));
  }

  static void allowRefusedCertificates() {
    setConfigurationValue("General", "CertAuthSwitch", "0");
  }

  // address: by which the manager is reached; nullptr: the one that it is bound to.
  EnvProxyResult verify(const char* address = nullptr) {
    EnvironmentPath path = pathTo(*manager);
    if (address != nullptr) path.set_hv_address(0, address);
    return engine.VerifyCredentials(path, description, guid);
  }

  std::vector<std::string> overlooked() const {
    std::vector<std::string> warnings;
    for (std::string& text : log.texts(3)) {
      if (text.rfind("peer cert check failed: ", 0) == 0) warnings.push_back(std::move(text));
    }
    return warnings;
  }

  void expectRefusal(const char* text, const char* address = nullptr) {
    const EnvProxyResult result = verify(address);

    EXPECT_EQ(result.status, 107);
    ASSERT_THAT(result.details, SizeIs(1));
    EXPECT_EQ(result.details.front().detailId, 20086);
    EXPECT_THAT(result.details.front().detailParams,
                ElementsAre(std::string(text) + " The error code is 2002.", "", ""));
    EXPECT_THAT(manager->journal(), IsEmpty());
    EXPECT_EQ(manager->handshakes(), kAttempts);
    EXPECT_THAT(overlooked(), IsEmpty());
  }

  void expectAcceptance(const char* address = nullptr) {
    EXPECT_EQ(verify(address).status, 0);

    EXPECT_EQ(description, "OK");
    EXPECT_THAT(manager->journal(), SizeIs(kExchanges));
    EXPECT_EQ(manager->handshakes(), kExchanges);
    EXPECT_THAT(overlooked(), IsEmpty());
    EXPECT_THAT(log.texts(4), IsEmpty());
  }

  LogCapture log;
  FreshSessions fresh;
  std::optional<Simulator> manager;  // longer than the engine, which logs out
  KestrelVisorEngine engine;
  std::string description;
  std::string guid;
};

class CertificateCases : public ManagersCertificate,
                         public ::testing::WithParamInterface<Expected> {
 protected:
  CertificateCases() { serve(GetParam().certificate); }
};

std::string nameOfRow(const ::testing::TestParamInfo<Expected>& row) {
  std::string name = row.param.certificate;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '-' || c == '.'; }, '_');
  return name;
}

class RefusedCertificate : public CertificateCases {};

TEST_P(RefusedCertificate, EndsBeforeAnyRequest) { expectRefusal(GetParam().text); }

// Each exchange is refused once, and repeated once on a connection of its own.
TEST_P(RefusedCertificate, IsOverlookedAtTheSecondAttemptWhenTheSwitchAllows) {
  allowRefusedCertificates();

  EXPECT_EQ(verify().status, 0);

  EXPECT_EQ(description, "OK");
  std::vector<std::uint64_t> connections;
  for (const RecordedRequest& request : manager->journal()) {
    connections.push_back(request.connection);
  }
  EXPECT_THAT(connections, ElementsAre(2, 4, 6, 8, 10));
  EXPECT_EQ(manager->handshakes(), kExchanges * kAttempts);
  const std::string warning = std::string("peer cert check failed: ") + GetParam().text;
  EXPECT_EQ(overlooked(), std::vector<std::string>(kExchanges, warning));
}

INSTANTIATE_TEST_SUITE_P(CertificateMatrix, RefusedCertificate,
                         ::testing::ValuesIn(refusedCertificates()), nameOfRow);

class RefusedConnection : public CertificateCases {};

TEST_P(RefusedConnection, EndsBeforeAnyRequest) { expectRefusal(GetParam().text); }

TEST_P(RefusedConnection, IsNotOverlookedWhateverTheSwitchSays) {
  allowRefusedCertificates();

  expectRefusal(GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(CertificateMatrix, RefusedConnection,
                         ::testing::ValuesIn(refusedConnections()), nameOfRow);

class AcceptedCertificate : public CertificateCases {};

TEST_P(AcceptedCertificate, PassesAtTheFirstAttempt) { expectAcceptance(); }

INSTANTIATE_TEST_SUITE_P(CertificateMatrix, AcceptedCertificate, ::testing::ValuesIn(accepted()),
                         nameOfRow);

TEST_F(ManagersCertificate, IsTriedInEveryCaseThatThereIs) {
  std::vector<std::string> tried;
  for (const auto* rows : {&refusedCertificates(), &refusedConnections(), &accepted()}) {
    for (const Expected& row : *rows) tried.emplace_back(row.certificate);
  }
  std::vector<std::string> cases;
  for (const auto& row : vrmsim::certificateCases()) cases.emplace_back(row.name);

  EXPECT_EQ(tried, cases);
}

TEST_F(ManagersCertificate, NeedsNoSwitchWhenItIsGood) {
  allowRefusedCertificates();
  serve("intermediate");

  expectAcceptance();
}

TEST_F(ManagersCertificate, HoldsTheManagersName) {
  serve("intermediate");

  expectAcceptance("localhost");
}

TEST_F(ManagersCertificate, HoldsAnyAddressOfTheManager) {
  serve("intermediate", "127.0.0.7");

  expectAcceptance();
}

TEST_F(ManagersCertificate, IsRefusedByNameAsByAddress) {
  serve("subject-name-only");

  expectRefusal(kRefused, "localhost");
}

class CertificateOverIpv6 : public ManagersCertificate {
 protected:
  void SetUp() override {
    if (!vrmsim::test::machineHasIpv6()) GTEST_SKIP() << "this machine has no IPv6";
  }
};

TEST_F(CertificateOverIpv6, HoldsTheManagersAddress) {
  serve("intermediate", "::1");

  expectAcceptance();
}

TEST_F(CertificateOverIpv6, HoldsTheAddressInBrackets) {
  serve("intermediate", "::1");

  expectAcceptance("[::1]");
}

TEST_F(CertificateOverIpv6, HoldsTheAddressWhateverItsZone) {
  serve("intermediate", "::1");

  expectAcceptance("::1%lo");
}

TEST_F(CertificateOverIpv6, IsRefusedWithAnotherAddress) {
  serve("wrong-address", "::1");

  expectRefusal(kRefused);
}

TEST_F(CertificateOverIpv6, IsRefusedWithTheAddressInTheSubjectAlone) {
  serve("subject-name-only", "::1");

  expectRefusal(kRefused);
}

}  // namespace
}  // namespace kestrelvisor::test
