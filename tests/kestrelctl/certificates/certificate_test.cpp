#include "kestrelctl/certificates/certificate.h"

#include "kestrelctl/certificates/certificate_views.h"
#include "kestrelctl/certificates/inspection.h"
#include "kestrelctl/certificates/kept_key.h"
#include "kestrelctl/diagnosis/checks.h"
#include "tests/kestrelctl/fixture.h"
#include "tests/platform/tls_server.h"

namespace kestrelvisor::ctl {
namespace {

using kestrelvisor::test::Identity;
using kestrelvisor::test::OpenSslFree;
using kestrelvisor::test::TlsServer;
using std::chrono::seconds;
using std::chrono::sys_seconds;
using test::managerOptions;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;
using vrmsim::Simulator;

Inspection inspectionOf(const Simulator& manager) {
  return inspect({readManagerAddress(manager.url()), manager.certificatePem(), {}, seconds(20)});
}

TEST(Inspection, ReadsTheManagersCertificate) {
  const Simulator manager(managerOptions(true));

  const Inspection inspection = inspectionOf(manager);

  ASSERT_EQ(inspection.chain.size(), 1U);
  const Certificate& own = inspection.chain.front();
  EXPECT_EQ(own.pem, manager.certificatePem());
  EXPECT_EQ(own.subject, own.issuer);
  EXPECT_THAT(own.names, AllOf(Contains("127.0.0.1"), Contains("::1"), Contains("localhost")));
  EXPECT_THAT(own.pin, MatchesRegex("sha256//[A-Za-z0-9+/]{43}="));
  EXPECT_THAT(own.fingerprint, MatchesRegex("[0-9a-f]{64}"));
  EXPECT_THAT(own.key, HasSubstr(" bits"));
  EXPECT_LT(own.notBefore, own.notAfter);
}

TEST(Inspection, SendsNoRequest) {
  const Simulator manager(managerOptions(true));

  const Inspection inspection = inspectionOf(manager);

  EXPECT_TRUE(inspection.connected);
  EXPECT_TRUE(inspection.handshaken);
  EXPECT_THAT(inspection.protocol, StartsWith("TLSv1."));
  EXPECT_EQ(inspection.problem, "");
  EXPECT_EQ(inspection.address, "127.0.0.1:" + std::to_string(manager.port()));
  EXPECT_TRUE(inspection.namesHost);
  EXPECT_TRUE(inspection.problems.empty());
  EXPECT_EQ(manager.handshakes(), 1U);
  EXPECT_TRUE(manager.journal().empty());
}

TEST(Inspection, OfAnotherNameFindsThatTheCertificateIsNotForIt) {
  vrmsim::SimulatorOptions options = managerOptions(true);
  options.certificate = "wrong-address";
  const Simulator manager(options);

  const Inspection inspection = inspectionOf(manager);

  EXPECT_FALSE(inspection.namesHost);
  EXPECT_EQ(inspection.problemOfTrust(), nullptr);
}

TEST(Inspection, OfAnExpiredCertificateFindsAProblemOfTimeAlone) {
  vrmsim::SimulatorOptions options = managerOptions(true);
  options.certificate = "expired";
  const Simulator manager(options);

  const Inspection inspection = inspectionOf(manager);

  ASSERT_NE(inspection.problemOfTime(), nullptr);
  EXPECT_EQ(inspection.problemOfTime()->depth, 0U);
  EXPECT_EQ(inspection.problemOfTrust(), nullptr);
  EXPECT_TRUE(inspection.handshaken);
}

TEST(Inspection, TrustsTheSystemAloneUnlessTold) {
  const Simulator manager(managerOptions(true));

  const Inspection inspection = inspect({readManagerAddress(manager.url()), {}, {}, seconds(20)});

  ASSERT_NE(inspection.problemOfTrust(), nullptr);
  EXPECT_THAT(inspection.problemOfTrust()->words, HasSubstr("self-signed"));
}

TEST(Inspection, OfPlainHttpConnectsAndNoMore) {
  const Simulator manager(managerOptions());

  const Inspection inspection = inspectionOf(manager);

  EXPECT_TRUE(inspection.connected);
  EXPECT_TRUE(inspection.chain.empty());
  EXPECT_FALSE(inspection.handshaken);
}

TEST(Inspection, KeepsToItsTimeLimit) {
  Simulator manager(managerOptions(true));
  manager.addFault("connection=1 tls=stall");

  const Inspection inspection = inspect({readManagerAddress(manager.url()),
                                         manager.certificatePem(),
                                         {},
                                         std::chrono::milliseconds(200)});

  EXPECT_TRUE(inspection.connected);
  EXPECT_TRUE(inspection.timedOut);
  EXPECT_TRUE(inspection.chain.empty());
}

Inspection inspectionOf(const TlsServer& server, const Identity& trusted,
                        const std::string& host = "127.0.0.1") {
  return inspect({readManagerAddress(server.url(host)), trusted.pem(), {"127.0.0.1"}, seconds(20)});
}

Certificate::Time timeNow() {
  return std::chrono::floor<seconds>(std::chrono::system_clock::now());
}

Finding validityOf(const Inspection& inspection) {
  return findingOfValidity(inspection, timeNow(), true);
}

using OwnedCertificate = std::unique_ptr<X509, OpenSslFree>;

// The same with a text in place of its end, as long as that.
OwnedCertificate withEnd(const Identity& identity, const std::string& end) {
  std::vector<unsigned char> bytes(
      static_cast<std::size_t>(i2d_X509(identity.certificate(), nullptr)));
  unsigned char* next = bytes.data();
  i2d_X509(identity.certificate(), &next);
  const std::string before = "21000101000000Z";
  const auto place = std::search(bytes.begin(), bytes.end(), before.begin(), before.end());
  std::copy(end.begin(), end.end(), place);
  const unsigned char* read = bytes.data();
  return OwnedCertificate(d2i_X509(nullptr, &read, static_cast<long>(bytes.size())));
}

// Lets a server send these behind its own certificate.
std::function<void(SSL_CTX*)> sendingToo(const std::vector<X509*>& certificates) {
  return [certificates](SSL_CTX* context) {
    for (X509* const certificate : certificates) SSL_CTX_add1_chain_cert(context, certificate);
  };
}

class LateEnd : public ::testing::TestWithParam<const char*> {};

TEST_P(LateEnd, IsReadToTheSecond) {
  const std::string end = GetParam();
  const Identity identity("vrm", "IP:127.0.0.1", nullptr, end);
  const TlsServer server(identity);

  const Inspection inspection = inspectionOf(server, identity);

  EXPECT_TRUE(inspection.isTrusted());
  ASSERT_TRUE(inspection.chain.at(0).notAfter.has_value());
  std::string text = timeText(*inspection.chain[0].notAfter);
  std::erase_if(text, [](char c) { return c == '-' || c == ':' || c == 'T'; });
  EXPECT_EQ(text, end);
  EXPECT_EQ(validityOf(inspection).verdict, Verdict::pass);
  EXPECT_THAT(certificateText({{}, inspection, {}, timeNow(), {}}, {}),
              AllOf(HasSubstr(" days left"), ::testing::Not(HasSubstr("expired"))));
}

// Nanoseconds since 1970 end on 2262-04-11.
INSTANTIATE_TEST_SUITE_P(Certificate, LateEnd,
                         ::testing::Values("22620411234716Z", "22620411234717Z", "22620412000000Z",
                                           "30000101000000Z", "99991231235959Z"));

TEST(Inspection, JudgesThePathAloneAndNotWhatIsSentBesideIt) {
  const Identity authority("authority");
  const Identity own("vrm", "IP:127.0.0.1", &authority);
  const Identity stale("elsewhere", {}, nullptr, "20100101000000Z");
  const TlsServer server(own, sendingToo({stale.certificate()}));

  const Inspection inspection = inspectionOf(server, authority);

  EXPECT_TRUE(inspection.isTrusted());
  EXPECT_EQ(inspection.chain.size(), 2U);
  ASSERT_EQ(inspection.path.size(), 2U);
  EXPECT_EQ(inspection.path[0].subject, "CN=vrm");
  EXPECT_EQ(inspection.path[1].subject, "CN=authority");
  EXPECT_EQ(inspection.nameInPath(0), "certificate 1");
  EXPECT_EQ(inspection.nameInPath(1), "the trusted authority CN=authority");
  EXPECT_EQ(validityOf(inspection).verdict, Verdict::pass);
}

TEST(Inspection, FindsATrustedAuthorityThatHasExpired) {
  const Identity authority("authority", {}, nullptr, "20100101000000Z");
  const Identity own("vrm", "IP:127.0.0.1", &authority);
  const TlsServer server(own);

  const Inspection inspection = inspectionOf(server, authority);

  EXPECT_THAT(validityOf(inspection).text,
              StartsWith("the trusted authority CN=authority expired on 2010-01-01; here it is "));
}

TEST(Inspection, GoesOnWhereACertificateBesideThePathCannotBeRead) {
  const Identity authority("authority");
  const Identity own("vrm", "IP:127.0.0.1", &authority);
  const OwnedCertificate odd = withEnd(authority, "21001301000000Z");
  const TlsServer server(own, sendingToo({odd.get()}));

  const Inspection inspection = inspectionOf(server, authority);

  EXPECT_EQ(inspection.problem, "");
  EXPECT_TRUE(inspection.isTrusted());
  ASSERT_EQ(inspection.chain.size(), 2U);
  EXPECT_FALSE(inspection.chain[1].notAfter.has_value());
  EXPECT_THAT(certificateText({{}, inspection, {}, timeNow(), {}}, {}),
              HasSubstr("from 2000-01-01 to unreadable\n"));
}

TEST(Inspection, TellsWhereTheManagersOwnCertificateCannotBeRead) {
  const Identity identity("vrm", "IP:127.0.0.1");
  const OwnedCertificate odd = withEnd(identity, "21001301000000Z");
  const TlsServer server(identity,
                         [&](SSL_CTX* context) { SSL_CTX_use_certificate(context, odd.get()); });

  const Inspection inspection = inspectionOf(server, identity);

  ASSERT_EQ(inspection.chain.size(), 1U);
  EXPECT_TRUE(inspection.handshaken) << inspection.problem;
  ASSERT_NE(inspection.problemOfTrust(), nullptr);
  EXPECT_EQ(inspection.chain[0].subject, "CN=vrm");
}

TEST(Inspection, OfAHandshakeThatBreaksOffTrustsNobody) {
  vrmsim::SimulatorOptions options = managerOptions(true);
  options.certificate = "client-certificate-demanded";
  const Simulator manager(options);

  const Inspection inspection = inspectionOf(manager);

  EXPECT_FALSE(inspection.chain.empty());
  EXPECT_TRUE(inspection.problems.empty());
  EXPECT_FALSE(inspection.isTrusted());
  EXPECT_NE(inspection.problem, "");
}

TEST(Inspection, TakesAStarForAWholeLabelAlone) {
  const Identity part("vrm", "DNS:mail*.example.test");
  const Identity whole("vrm", "DNS:*.example.test");

  EXPECT_FALSE(inspectionOf(TlsServer(part), part, "mail1.example.test").namesHost);
  EXPECT_TRUE(inspectionOf(TlsServer(whole), whole, "mail1.example.test").namesHost);
}

TEST(Inspection, LeavesAddressesOutThatAreGoodOnOneLinkOnly) {
  const Simulator manager(managerOptions(true));
  const std::string url = "https://localhost:" + std::to_string(manager.port());

  const Inspection inspection =
      inspect({readManagerAddress(url), {}, {"[fe80::1%lo]", "127.0.0.1"}, seconds(20)});

  EXPECT_EQ(inspection.problem, "");
  EXPECT_TRUE(inspection.handshaken);
}

// Who asks for the pins has the user wait for them.
TEST(KeptKey, IsNotComparedWhenTheTimeIsUsedUp) {
  const Simulator manager(managerOptions(true));
  ConnectionOptions connection;
  connection.manager = readManagerAddress(manager.url());
  connection.publicKeyPin = "sha256//kept";
  Failure failure(ExitCode::refusedCertificate, "refused");

  tellPins(connection, std::chrono::steady_clock::now(), failure);

  EXPECT_TRUE(failure.facts.empty());
  EXPECT_EQ(manager.handshakes(), 0U);

  tellPins(connection, std::nullopt, failure);

  EXPECT_EQ(failure.facts.size(), 2U);
}

TEST(Days, AreWholeOnes) {
  const Certificate::Time now{};
  const std::chrono::hours day(24);

  EXPECT_EQ(daysUntil(now + 2 * day, now), 2);
  EXPECT_EQ(daysUntil(now + 2 * day - seconds(1), now), 1);
  EXPECT_EQ(daysUntil(now, now), 0);
  EXPECT_EQ(daysUntil(now - seconds(1), now), -1);
}

TEST(TimeText, IsOfIso8601InUtc) {
  EXPECT_EQ(timeText(sys_seconds(seconds(1'800'000'000))), "2027-01-15T08:00:00Z");
}

}  // namespace
}  // namespace kestrelvisor::ctl
