#include "platform/contract/security.h"
#include "platform/reference/logging.h"
#include "tests/platform/quiet_log.h"
#include "tests/platform/tls_server.h"
#include "tests/support/test_headers.h"

#include <curl/curl.h>
#include <dlfcn.h>

#include <csignal>

namespace {

CURLoption refusedOption = CURLOPT_LASTENTRY;

}  // namespace

// Stands in front of curl_easy_setopt, to refuse one option. Every option used here takes a long or
// a pointer, which travel alike.
extern "C" CURLcode setOptionUnlessRefused(CURL* handle, CURLoption option,
                                           void* value) __asm__("curl_easy_setopt");

extern "C" CURLcode setOptionUnlessRefused(CURL* handle, CURLoption option, void* value) {
  using SetOption = CURLcode (*)(CURL*, CURLoption, ...);
  static const auto setOption = reinterpret_cast<SetOption>(dlsym(RTLD_NEXT, "curl_easy_setopt"));
  if (option == refusedOption) return CURLE_NOT_BUILT_IN;
  return setOption(handle, option, value);
}

namespace {

using kestrelvisor::LogObserver;
using kestrelvisor::LogRecord;
using kestrelvisor::test::Identity;
using kestrelvisor::test::TlsServer;

struct CurlCleanup {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleanup>;

class TlsEnrichment : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // A client that gives up a handshake leaves the server writing into a closed socket.
    std::signal(SIGPIPE, SIG_IGN);
    curl_global_init(CURL_GLOBAL_DEFAULT);
  }

  TlsEnrichment() {
    curl_easy_setopt(curl_.get(), CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl_.get(), CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl_.get(), CURLOPT_NOSIGNAL, 1L);
  }

  CURLcode exchange(const std::string& url) {
    curl_easy_setopt(curl_.get(), CURLOPT_URL, url.c_str());
    return curl_easy_perform(curl_.get());
  }

  CURLcode exchangeTrusting(std::string certificate, const std::string& url) {
    SecuritySS::enrichSSL(curl_.get(), certificate);
    return exchange(url);
  }

  Identity authority_{"authority"};
  Identity server_{"server", "IP:127.0.0.1", &authority_};
  CurlHandle curl_{curl_easy_init()};
  std::vector<LogRecord> log_;
  kestrelvisor::test::QuietLog quiet_;
  LogObserver observer_{[this](const LogRecord& record) { log_.push_back(record); }};
};

TEST_F(TlsEnrichment, TrustsThePinnedCertificate) {
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url()), CURLE_OK);
  EXPECT_TRUE(log_.empty());
}

TEST_F(TlsEnrichment, TrustsWhatThePinnedAuthoritySigned) {
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting(authority_.pem(), server.url()), CURLE_OK);
}

TEST_F(TlsEnrichment, TrustsASelfSignedCertificateThatIsPinned) {
  const Identity selfSigned("server", "IP:127.0.0.1");
  const TlsServer server(selfSigned);

  EXPECT_EQ(exchangeTrusting(selfSigned.pem(), server.url()), CURLE_OK);
}

TEST_F(TlsEnrichment, RefusesEveryOtherCertificate) {
  const TlsServer server(server_);
  const Identity other("server", "IP:127.0.0.1");

  EXPECT_EQ(exchangeTrusting(other.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(TlsEnrichment, RefusesAnotherHost) {
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url("localhost")),
            CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(TlsEnrichment, RefusesAnUnknownCertificateWithTheSystemsTrustStore) {
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(TlsEnrichment, KeepsTheSystemsTrustStoreWhenNothingIsPinned) {
  const std::string store = "/nowhere/bundle.pem";
  curl_easy_setopt(curl_.get(), CURLOPT_CAINFO, store.c_str());
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting("", server.url()), CURLE_SSL_CACERT_BADFILE);
}

TEST_F(TlsEnrichment, LooksAtNothingBesideThePinnedCertificate) {
  const std::string store = "/nowhere/bundle.pem";
  curl_easy_setopt(curl_.get(), CURLOPT_CAINFO, store.c_str());
  curl_easy_setopt(curl_.get(), CURLOPT_CAPATH, "/nowhere");
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url()), CURLE_OK);
}

TEST_F(TlsEnrichment, SwitchesVerificationBackOn) {
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYHOST, 0L);
  const TlsServer server(server_);
  ASSERT_EQ(exchange(server.url("localhost")), CURLE_OK);

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url("localhost")),
            CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(TlsEnrichment, SwitchesVerificationBackOnWithTheSystemsTrustStore) {
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  const TlsServer server(server_);
  ASSERT_EQ(exchange(server.url()), CURLE_OK);

  EXPECT_EQ(exchangeTrusting("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
}

class UnreadableCertificate : public TlsEnrichment,
                              public ::testing::WithParamInterface<const char*> {};

TEST_P(UnreadableCertificate, LetsNobodyThrough) {
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting(GetParam(), server.url()), CURLE_SSL_CACERT_BADFILE);
}

INSTANTIATE_TEST_SUITE_P(
    Platform, UnreadableCertificate,
    ::testing::Values(" ", "garbage", "-----BEGIN CERTIFICATE-----\n",
                      "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"));

TEST_F(TlsEnrichment, LetsNobodyThroughAndSaysSoWhenTheCertificateIsNotTaken) {
  const TlsServer server(server_);
  const std::string tooLong = server_.pem() + std::string(9'000'000, '\n');

  EXPECT_EQ(exchangeTrusting(tooLong, server.url()), CURLE_SSL_CACERT_BADFILE);

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_EQ(log_[0].level, 4);
  EXPECT_THAT(log_[0].text,
              ::testing::StartsWith("TLS options refused, no certificate will be trusted: "));
}

class RefusedCertificateOption : public TlsEnrichment {
 protected:
  ~RefusedCertificateOption() override { refusedOption = CURLOPT_LASTENTRY; }
};
class RefusedOption : public RefusedCertificateOption,
                      public ::testing::WithParamInterface<CURLoption> {};

TEST_P(RefusedOption, LetsNobodyThrough) {
  const TlsServer server(server_);
  refusedOption = GetParam();

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url()), CURLE_SSL_CACERT_BADFILE);

  EXPECT_EQ(log_.size(), 1U);
}

// A refused blob cannot be replaced by an unreadable one; the store is empty then.
TEST_F(RefusedCertificateOption, LetsNobodyThrough) {
  const TlsServer server(server_);
  refusedOption = CURLOPT_CAINFO_BLOB;

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
}

INSTANTIATE_TEST_SUITE_P(Platform, RefusedOption,
                         ::testing::Values(CURLOPT_SSLVERSION, CURLOPT_SSL_ENABLE_ALPN,
                                           CURLOPT_SSL_VERIFYPEER, CURLOPT_SSL_VERIFYHOST,
                                           CURLOPT_CAINFO, CURLOPT_CAPATH));

TEST_F(TlsEnrichment, CopiesTheCertificate) {
  const TlsServer server(server_);
  std::string certificate = server_.pem();
  SecuritySS::enrichSSL(curl_.get(), certificate);

  certificate.assign(certificate.size(), 'x');

  EXPECT_EQ(exchange(server.url()), CURLE_OK);
}

TEST_F(TlsEnrichment, LeavesTheCertificatesTextAlone) {
  const std::string pem = server_.pem();
  std::string certificate = pem;

  SecuritySS::enrichSSL(curl_.get(), certificate);

  EXPECT_EQ(certificate, pem);
}

TEST_F(TlsEnrichment, OffersNoOtherProtocolThanHttp1) {
  const TlsServer server(server_);
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  ASSERT_EQ(exchange(server.url()), CURLE_OK);
  ASSERT_TRUE(server.sawAlpn());  // what libcurl does by itself
  const TlsServer fresh(server_);

  ASSERT_EQ(exchangeTrusting(server_.pem(), fresh.url()), CURLE_OK);

  EXPECT_FALSE(fresh.sawAlpn());
}

TEST_F(TlsEnrichment, RefusesOldProtocols) {
  const TlsServer server(server_, [](SSL_CTX* context) {
    SSL_CTX_set_security_level(context, 0);
    SSL_CTX_set_min_proto_version(context, TLS1_VERSION);
    SSL_CTX_set_max_proto_version(context, TLS1_1_VERSION);
  });
  curl_easy_setopt(curl_.get(), CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_0));
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_CIPHER_LIST, "DEFAULT@SECLEVEL=0");
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  ASSERT_EQ(exchange(server.url()), CURLE_OK);  // the server is good enough for others

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url()), CURLE_SSL_CONNECT_ERROR);
}

TEST_F(TlsEnrichment, SpeaksTls12) {
  const TlsServer server(
      server_, [](SSL_CTX* context) { SSL_CTX_set_max_proto_version(context, TLS1_2_VERSION); });

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url()), CURLE_OK);
}

TEST_F(TlsEnrichment, SaysSoWhenThereIsNoHandle) {
  std::string certificate;

  SecuritySS::enrichSSL(nullptr, certificate);

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_EQ(log_[0].level, 4);
}

}  // namespace
