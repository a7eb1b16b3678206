#include "vrmsim/certificate_matrix.h"

#include "tests/vrmsim/process.h"
#include "tests/vrmsim/returning_client.h"
#include "tests/vrmsim/simulator_fixture.h"
#include "vrmsim/http_server.h"

#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <set>

namespace kestrelvisor::vrmsim::test {
namespace {

struct Free {
  void operator()(BIO* bio) const { BIO_free_all(bio); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509_STORE* store) const { X509_STORE_free(store); }
  void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Free>;

std::vector<Owned<X509>> certificatesOf(const std::string& pem) {
  const Owned<BIO> text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  std::vector<Owned<X509>> certificates;
  while (X509* const next = PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr)) {
    certificates.emplace_back(next);
  }
  return certificates;
}

Owned<EVP_PKEY> keyOf(const std::string& pem) {
  const Owned<BIO> text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  return Owned<EVP_PKEY>(PEM_read_bio_PrivateKey(text.get(), nullptr, nullptr, nullptr));
}

// What the host of a strict client may be reached by.
struct Reached {
  const char* address = nullptr;
  const char* name = nullptr;
};

// What OpenSSL's verification says of the chain as a server's, at its second level of security.
int verdictOf(const TlsIdentity& identity, const Reached& host) {
  const std::vector<Owned<X509>> chain = certificatesOf(identity.chainPem);
  const std::vector<Owned<X509>> trusted = certificatesOf(identity.trustedPem);
  const Owned<X509_STORE> store(X509_STORE_new());
  for (const auto& root : trusted) X509_STORE_add_cert(store.get(), root.get());
  STACK_OF(X509)* const sent = sk_X509_new_null();
  for (const auto& certificate : chain) sk_X509_push(sent, certificate.get());
  const Owned<X509_STORE_CTX> context(X509_STORE_CTX_new());
  X509_STORE_CTX_init(context.get(), store.get(), chain.at(0).get(), sent);
  X509_STORE_CTX_set_default(context.get(), "ssl_server");
  X509_VERIFY_PARAM* const demands = X509_STORE_CTX_get0_param(context.get());
  X509_VERIFY_PARAM_set_auth_level(demands, 2);
  X509_VERIFY_PARAM_set_hostflags(demands, X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
  if (host.address != nullptr) X509_VERIFY_PARAM_set1_ip_asc(demands, host.address);
  if (host.name != nullptr) X509_VERIFY_PARAM_set1_host(demands, host.name, 0);
  X509_verify_cert(context.get());
  sk_X509_free(sent);
  return X509_STORE_CTX_get_error(context.get());
}

struct Expected {
  const char* name;
  int byAddress;  // OpenSSL's verdict
  int byName;
};

constexpr int kGood = X509_V_OK;

const std::vector<Expected>& expectedVerdicts() {
  static const std::vector<Expected> rows{
      {"expired", X509_V_ERR_CERT_HAS_EXPIRED, X509_V_ERR_CERT_HAS_EXPIRED},
      {"not-yet-valid", X509_V_ERR_CERT_NOT_YET_VALID, X509_V_ERR_CERT_NOT_YET_VALID},
      {"wrong-name", X509_V_ERR_IP_ADDRESS_MISMATCH, X509_V_ERR_HOSTNAME_MISMATCH},
      {"wrong-address", X509_V_ERR_IP_ADDRESS_MISMATCH, X509_V_ERR_HOSTNAME_MISMATCH},
      {"subject-name-only", X509_V_ERR_IP_ADDRESS_MISMATCH, X509_V_ERR_HOSTNAME_MISMATCH},
      {"untrusted-root", X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN,
       X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN},
      {"same-name-root", X509_V_ERR_CERT_SIGNATURE_FAILURE, X509_V_ERR_CERT_SIGNATURE_FAILURE},
      {"incomplete-chain", X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY,
       X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY},
      {"sha1-leaf", X509_V_ERR_CA_MD_TOO_WEAK, X509_V_ERR_CA_MD_TOO_WEAK},
      {"rsa-1024", X509_V_ERR_EE_KEY_TOO_SMALL, X509_V_ERR_EE_KEY_TOO_SMALL},
      {"client-only-purpose", X509_V_ERR_INVALID_PURPOSE, X509_V_ERR_INVALID_PURPOSE},
      {"ca-false-issuer", X509_V_ERR_INVALID_CA, X509_V_ERR_INVALID_CA},
      {"name-constraint", X509_V_ERR_PERMITTED_VIOLATION, X509_V_ERR_PERMITTED_VIOLATION},
      {"path-length", X509_V_ERR_PATH_LENGTH_EXCEEDED, X509_V_ERR_PATH_LENGTH_EXCEEDED},
      {"unknown-critical-extension", X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION,
       X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION},
      {"tls-1.0-only", kGood, kGood},
      {"tls-1.1-only", kGood, kGood},
      {"client-certificate-demanded", kGood, kGood},
      {"intermediate", kGood, kGood},
      {"out-of-order-chain", kGood, kGood},
      {"thousand-names", kGood, kGood},
      {"empty-subject", kGood, kGood},
      {"rsa-4096", kGood, kGood},
      {"ecdsa", kGood, kGood},
      {"ed25519", kGood, kGood}};
  return rows;
}

class CertificateMatrix : public ::testing::TestWithParam<Expected> {};

TEST_P(CertificateMatrix, HasTheFaultThatItIsNamedAfter) {
  const TlsIdentity identity = certificateCase(GetParam().name).make("127.0.0.9");

  EXPECT_STREQ(X509_verify_cert_error_string(verdictOf(identity, {"127.0.0.1", nullptr})),
               X509_verify_cert_error_string(GetParam().byAddress));
  EXPECT_EQ(verdictOf(identity, {"::1", nullptr}), GetParam().byAddress);
  EXPECT_EQ(verdictOf(identity, {"127.0.0.9", nullptr}), GetParam().byAddress);
  EXPECT_EQ(verdictOf(identity, {nullptr, "localhost"}), GetParam().byName);
}

std::string nameOfRow(const ::testing::TestParamInfo<Expected>& row) {
  std::string name = row.param.name;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '-' || c == '.'; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Vrmsim, CertificateMatrix, ::testing::ValuesIn(expectedVerdicts()),
                         nameOfRow);

TEST(CertificateMatrix, HoldsNoOtherCaseThanTheseAndTellsWhichAreGood) {
  std::vector<std::pair<std::string, bool>> cases;
  for (const CertificateCase& row : certificateCases()) cases.emplace_back(row.name, row.accepted);

  const std::set<std::string> badByTheirTls{"tls-1.0-only", "tls-1.1-only",
                                            "client-certificate-demanded"};
  std::vector<std::pair<std::string, bool>> expected;
  for (const Expected& row : expectedVerdicts()) {
    expected.emplace_back(row.name, row.byName == kGood && badByTheirTls.count(row.name) == 0);
  }
  EXPECT_EQ(cases, expected);
}

TEST(CertificateMatrix, HasNoCaseOfAnotherName) {
  EXPECT_THROW(certificateCase("outdated"), std::invalid_argument);
  SimulatorOptions options = smallSiteOptions();
  options.tls = true;
  options.certificate = "outdated";
  EXPECT_THROW(Simulator{options}, std::invalid_argument);
}

TEST(CertificateMatrix, SendsTheChainAsItStands) {
  EXPECT_EQ(certificatesOf(certificateCase("incomplete-chain").make("::1").chainPem).size(), 1U);
  EXPECT_EQ(certificatesOf(certificateCase("intermediate").make("::1").chainPem).size(), 2U);
  const auto chain = certificatesOf(certificateCase("out-of-order-chain").make("::1").chainPem);
  ASSERT_EQ(chain.size(), 4U);
  const auto issued = [&](std::size_t issuer, std::size_t subject) {
    return X509_check_issued(chain[issuer].get(), chain[subject].get()) == X509_V_OK;
  };
  EXPECT_TRUE(issued(3, 0));
  EXPECT_TRUE(issued(2, 3));
  EXPECT_TRUE(issued(1, 2));
  EXPECT_FALSE(issued(1, 0));
}

TEST(CertificateMatrix, HasASubjectOnlyWhereOneIsMeant) {
  const auto subjectSize = [](const char* name) {
    const auto chain = certificatesOf(certificateCase(name).make("127.0.0.1").chainPem);
    return X509_NAME_entry_count(X509_get_subject_name(chain.at(0).get()));
  };
  EXPECT_EQ(subjectSize("empty-subject"), 0);
  EXPECT_EQ(subjectSize("ecdsa"), 1);
  EXPECT_EQ(subjectSize("subject-name-only"), 2);
}

// A handshake with a manager that takes whatever the server offers.
class TlsOfACase : public ::testing::Test {
 protected:
  // The version that was agreed upon; 0 when there was no agreement. withCertificate: the client
  // shows the server's own certificate.
  static int agreedVersion(const char* name, int newest, bool withCertificate = false) {
    const TlsIdentity identity = certificateCase(name).make("127.0.0.1");
    HttpServer::Endpoint endpoint{"127.0.0.1", 0, identity, {}, {}};
    endpoint.answer = [](const HttpRequest&, bool) { return Script(); };
    const HttpServer server({std::move(endpoint)});
    const Owned<SSL_CTX> context(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    SSL_CTX_set_max_proto_version(context.get(), newest);
    if (withCertificate) {
      SSL_CTX_use_certificate(context.get(), certificatesOf(identity.chainPem).at(0).get());
      SSL_CTX_use_PrivateKey(context.get(), keyOf(identity.privateKeyPem).get());
    }
    const Owned<BIO> connection(BIO_new_ssl_connect(context.get()));
    BIO_set_conn_hostname(connection.get(),
                          ("127.0.0.1:" + std::to_string(server.port(0))).c_str());
    const bool agreed =
        BIO_do_connect(connection.get()) == 1 && BIO_do_handshake(connection.get()) == 1;
    EXPECT_EQ(server.handshakes().begun, 1U);
    SSL* tls = nullptr;
    BIO_get_ssl(connection.get(), &tls);
    return agreed ? SSL_version(tls) : 0;
  }
};

TEST_F(TlsOfACase, IsAsOldAsItsNameSays) {
  EXPECT_EQ(agreedVersion("tls-1.0-only", TLS1_3_VERSION), TLS1_VERSION);
  EXPECT_EQ(agreedVersion("tls-1.1-only", TLS1_3_VERSION), TLS1_1_VERSION);
  EXPECT_EQ(agreedVersion("tls-1.1-only", TLS1_VERSION), 0);
}

TEST_F(TlsOfACase, IsNotOldWithoutReason) {
  for (const char* name : {"intermediate", "sha1-leaf", "rsa-1024"}) {
    EXPECT_EQ(agreedVersion(name, TLS1_3_VERSION), TLS1_3_VERSION) << name;
    EXPECT_EQ(agreedVersion(name, TLS1_2_VERSION), TLS1_2_VERSION) << name;
    EXPECT_EQ(agreedVersion(name, TLS1_1_VERSION), 0) << name;
  }
}

TEST_F(TlsOfACase, NeedsAClientsCertificateWhereOneIsDemanded) {
  EXPECT_EQ(agreedVersion("client-certificate-demanded", TLS1_3_VERSION), 0);
  EXPECT_EQ(agreedVersion("client-certificate-demanded", TLS1_3_VERSION, true), TLS1_2_VERSION);
}

class TlsResumption : public ::testing::TestWithParam<int> {
 protected:
  static SimulatorOptions options() {
    SimulatorOptions options = smallSiteOptions();
    options.tls = true;
    return options;
  }

  static bool isThere(const Simulator& simulator) {
    ReturningClient client(simulator.port(), GetParam());
    EXPECT_FALSE(client.resumes());
    const bool resumed = client.resumes();
    EXPECT_EQ(client.resumes(), resumed);
    EXPECT_TRUE(client.wasAnswered());
    EXPECT_EQ(simulator.handshakes(), 3U);
    EXPECT_EQ(simulator.resumedHandshakes(), resumed ? 2U : 0U);
    return resumed;
  }
};

INSTANTIATE_TEST_SUITE_P(Simulator, TlsResumption,
                         ::testing::Values(TLS1_2_VERSION, TLS1_3_VERSION), [](const auto& row) {
                           return row.param == TLS1_2_VERSION ? "ByTls12" : "ByTls13";
                         });

TEST_P(TlsResumption, IsThereWithTheGoodCertificate) { EXPECT_TRUE(isThere(Simulator(options()))); }

TEST_P(TlsResumption, CanBeSwitchedOff) {
  SimulatorOptions chosen = options();
  chosen.tlsResumption = false;
  EXPECT_FALSE(isThere(Simulator(std::move(chosen))));
}

TEST_P(TlsResumption, KeepsNoCertificateOfTheMatrixFromBeingShown) {
  SimulatorOptions chosen = options();
  chosen.certificate = "intermediate";
  EXPECT_FALSE(isThere(Simulator(std::move(chosen))));
}

TEST_P(TlsResumption, CanBeHadWithACertificateOfTheMatrix) {
  SimulatorOptions chosen = options();
  chosen.certificate = "ecdsa";
  chosen.tlsResumption = true;
  EXPECT_TRUE(isThere(Simulator(std::move(chosen))));
}

TEST(TlsVersions, AreOneWhenOneIsAskedFor) {
  for (const TlsVersion version : {TlsVersion::v1_2, TlsVersion::v1_3}) {
    SimulatorOptions options = smallSiteOptions();
    options.tls = true;
    options.tlsVersion = version;
    const Simulator simulator(std::move(options));
    const Owned<SSL_CTX> context(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_max_proto_version(context.get(),
                                  version == TlsVersion::v1_2 ? TLS1_3_VERSION : TLS1_2_VERSION);
    const Owned<BIO> connection(BIO_new_ssl_connect(context.get()));
    BIO_set_conn_hostname(connection.get(),
                          ("127.0.0.1:" + std::to_string(simulator.port())).c_str());

    const bool agreed = BIO_do_handshake(connection.get()) == 1;

    EXPECT_EQ(agreed, version == TlsVersion::v1_2);
  }
}

TEST(CertificateGuide, TellsEveryCase) {
  const std::string guide = TemporaryFolder::read(VRMSIM_CERTIFICATE_GUIDE);
  const std::size_t good = guide.find("## To be accepted");
  ASSERT_NE(good, std::string::npos);

  for (const CertificateCase& row : certificateCases()) {
    const std::string line =
        "\n| `" + std::string(row.name) + "` | " + std::string(row.description) + " |";
    const std::size_t at = guide.find(line);
    ASSERT_NE(at, std::string::npos) << row.name;
    EXPECT_EQ(at > good, row.accepted) << row.name;
  }
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
