#include "platform/reference/tls.h"

#include "platform/contract/security.h"
#include "platform/reference/logging.h"
#include "tests/platform/quiet_log.h"
#include "tests/platform/tls_server.h"
#include "tests/support/test_headers.h"

#include <curl/curl.h>
#include <dlfcn.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <array>
#include <clocale>
#include <csignal>
#include <functional>
#include <new>

namespace {

CURLoption refusedOption = CURLOPT_LASTENTRY;

// What stands in for the functions below while it is set.
std::function<CURLcode(char**)> tellUrl;
std::function<int()> demandAddress;
std::function<int()> demandName;

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

// Likewise for the steps by which a connection's host is learnt and demanded.
extern "C" CURLcode getInfoUnlessReplaced(CURL* handle, CURLINFO info,
                                          void* value) __asm__("curl_easy_getinfo");

extern "C" CURLcode getInfoUnlessReplaced(CURL* handle, CURLINFO info, void* value) {
  using GetInfo = CURLcode (*)(CURL*, CURLINFO, ...);
  static const auto getInfo = reinterpret_cast<GetInfo>(dlsym(RTLD_NEXT, "curl_easy_getinfo"));
  if (info == CURLINFO_EFFECTIVE_URL && tellUrl) return tellUrl(static_cast<char**>(value));
  return getInfo(handle, info, value);
}

extern "C" int demandAddressUnlessReplaced(X509_VERIFY_PARAM* demands, const char* address) __asm__(
    "X509_VERIFY_PARAM_set1_ip_asc");

extern "C" int demandAddressUnlessReplaced(X509_VERIFY_PARAM* demands, const char* address) {
  using Demand = int (*)(X509_VERIFY_PARAM*, const char*);
  static const auto demand =
      reinterpret_cast<Demand>(dlsym(RTLD_NEXT, "X509_VERIFY_PARAM_set1_ip_asc"));
  return demandAddress ? demandAddress() : demand(demands, address);
}

extern "C" int demandNameUnlessReplaced(X509_VERIFY_PARAM* demands, const char* name,
                                        size_t size) __asm__("X509_VERIFY_PARAM_set1_host");

extern "C" int demandNameUnlessReplaced(X509_VERIFY_PARAM* demands, const char* name, size_t size) {
  using Demand = int (*)(X509_VERIFY_PARAM*, const char*, size_t);
  static const auto demand =
      reinterpret_cast<Demand>(dlsym(RTLD_NEXT, "X509_VERIFY_PARAM_set1_host"));
  return demandName ? demandName() : demand(demands, name, size);
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

  // With the options of the one before. libcurl loses the sessions of a handle that gets to share.
  void takeFreshHandle() { curl_.reset(curl_easy_duphandle(curl_.get())); }

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

TEST_F(TlsEnrichment, RefusesWhatAnotherAuthorityOfTheSameNameSigned) {
  const Identity namesake("authority");
  const Identity identity("server", "IP:127.0.0.1", &namesake);
  const TlsServer server(identity);

  EXPECT_EQ(exchangeTrusting(authority_.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
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

TEST_F(TlsEnrichment, TakesTheSystemsTrustStoreForAnyOtherWhenNothingIsPinned) {
  const std::string store = "/nowhere/bundle.pem";
  curl_easy_setopt(curl_.get(), CURLOPT_CAINFO, store.c_str());
  std::string trusted = server_.pem();
  curl_blob blob{trusted.data(), trusted.size(), CURL_BLOB_COPY};
  curl_easy_setopt(curl_.get(), CURLOPT_CAINFO_BLOB, &blob);
  const TlsServer server(server_);

  EXPECT_EQ(exchangeTrusting("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
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
  takeFreshHandle();

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url("localhost")),
            CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(TlsEnrichment, SwitchesVerificationBackOnWithTheSystemsTrustStore) {
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  const TlsServer server(server_);
  ASSERT_EQ(exchange(server.url()), CURLE_OK);
  takeFreshHandle();

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

class RefusedOption : public TlsEnrichment, public ::testing::WithParamInterface<CURLoption> {
 protected:
  ~RefusedOption() override { refusedOption = CURLOPT_LASTENTRY; }
};

TEST_P(RefusedOption, LetsNobodyThrough) {
  const TlsServer server(server_);
  refusedOption = GetParam();

  EXPECT_EQ(exchangeTrusting(server_.pem(), server.url()), CURLE_SSL_CACERT_BADFILE);
  EXPECT_EQ(exchangeTrusting("", server.url()), CURLE_SSL_CACERT_BADFILE);

  EXPECT_EQ(log_.size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Platform, RefusedOption,
                         ::testing::Values(CURLOPT_SSLVERSION, CURLOPT_SSL_ENABLE_ALPN,
                                           CURLOPT_SSL_VERIFYPEER, CURLOPT_SSL_VERIFYHOST,
                                           CURLOPT_SSL_CTX_FUNCTION, CURLOPT_CAINFO,
                                           CURLOPT_CAINFO_BLOB, CURLOPT_CAPATH, CURLOPT_SHARE,
                                           CURLOPT_PINNEDPUBLICKEY));

class SubjectName : public TlsEnrichment, public ::testing::WithParamInterface<const char*> {
 protected:
  SubjectName() : identity_(GetParam()), server_(identity_), url_(server_.url(GetParam())) {}

  CURLcode exchangeByLibcurlsRules() {
    std::string trusted = identity_.pem();
    curl_blob blob{trusted.data(), trusted.size(), CURL_BLOB_COPY};
    curl_easy_setopt(curl_.get(), CURLOPT_CAINFO_BLOB, &blob);
    return exchange(url_);
  }

  const Identity identity_;  // without alternative names
  const TlsServer server_;
  const std::string url_;
};

TEST_P(SubjectName, IsRefusedThoughLibcurlWouldTakeIt) {
  ASSERT_EQ(exchangeByLibcurlsRules(), CURLE_OK);
  takeFreshHandle();

  EXPECT_EQ(exchangeTrusting(identity_.pem(), url_), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_TRUE(log_.empty());
}

TEST_P(SubjectName, PassesWhenVerificationIsSwitchedOffAfterwards) {
  ASSERT_EQ(exchangeTrusting(identity_.pem(), url_), CURLE_PEER_FAILED_VERIFICATION);

  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYHOST, 0L);

  EXPECT_EQ(curl_easy_perform(curl_.get()), CURLE_OK);
  EXPECT_TRUE(log_.empty());
}

INSTANTIATE_TEST_SUITE_P(Platform, SubjectName, ::testing::Values("127.0.0.1", "localhost"));

struct WrittenHost {
  const char* name;
  const char* host;  // as the URL writes it
  const char* alternativeName;
};
class HostOfTheUrl : public TlsEnrichment, public ::testing::WithParamInterface<WrittenHost> {
 protected:
  HostOfTheUrl() { std::setlocale(LC_CTYPE, "C.UTF-8"); }  // for names beyond ASCII
  ~HostOfTheUrl() override { std::setlocale(LC_CTYPE, "C"); }

  // No name of the test leaves this machine.
  void resolve(const char* name, const TlsServer& server) {
    const std::string url = server.url();
    const std::string port = url.substr(url.rfind(':') + 1, url.rfind('/') - url.rfind(':') - 1);
    names_.reset(curl_slist_append(nullptr, (name + (":" + port) + ":127.0.0.1").c_str()));
    curl_easy_setopt(curl_.get(), CURLOPT_RESOLVE, names_.get());
  }

  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> names_{nullptr, curl_slist_free_all};
};

TEST_P(HostOfTheUrl, IsFoundAmongTheAlternativeNames) {
  const Identity identity("server", GetParam().alternativeName, &authority_);
  const TlsServer server(identity);
  resolve("*", server);

  EXPECT_EQ(exchangeTrusting(authority_.pem(), server.url(GetParam().host)), CURLE_OK);
}

TEST_P(HostOfTheUrl, IsMissedAmongOthers) {
  const Identity identity("server", "DNS:elsewhere.example,IP:192.0.2.1", &authority_);
  const TlsServer server(identity);
  resolve("*", server);

  EXPECT_EQ(exchangeTrusting(authority_.pem(), server.url(GetParam().host)),
            CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_TRUE(log_.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Platform, HostOfTheUrl,
    ::testing::Values(
        WrittenHost{"Address", "127.0.0.1", "IP:127.0.0.1"},
        WrittenHost{"ShortAddress", "127.1", "IP:127.0.0.1"},
        WrittenHost{"AddressBehindAUser", "user:secret@127.0.0.1", "IP:127.0.0.1"},
        WrittenHost{"Name", "manager.example", "DNS:manager.example"},
        WrittenHost{"NameWithTheRootsDot", "manager.example.", "DNS:manager.example"},
        WrittenHost{"NameInCapitals", "MANAGER.example", "DNS:manager.EXAMPLE"},
        WrittenHost{"NameThatStartsAsAnAddress", "127.0.0.1.example", "DNS:127.0.0.1.example"},
        WrittenHost{"NameUnderAWildcard", "east.manager.example", "DNS:*.manager.example"},
        WrittenHost{"NameBeyondAscii",
                    "b\xC3\xBC"
                    "cher.example",
                    "DNS:xn--bcher-kva.example"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(TlsEnrichment, DemandsTheHostOfEachUrlOfAHandle) {
  const Identity identity("server", "DNS:localhost", &authority_);
  const TlsServer server(identity);
  ASSERT_EQ(exchangeTrusting(authority_.pem(), server.url("localhost")), CURLE_OK);

  EXPECT_EQ(exchange(server.url("127.0.0.1")), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(exchange(server.url("localhost")), CURLE_OK);
}

// libcurl tells a proxy's connection from the manager's by nothing that can be seen from outside.
TEST_F(TlsEnrichment, RefusesAProxyThatSpeaksTlsItself) {
  const TlsServer proxy(server_);
  std::string trusted = server_.pem();
  curl_blob blob{trusted.data(), trusted.size(), CURL_BLOB_COPY};
  curl_easy_setopt(curl_.get(), CURLOPT_PROXY_CAINFO_BLOB, &blob);
  curl_easy_setopt(curl_.get(), CURLOPT_PROXY, proxy.url().c_str());
  curl_easy_setopt(curl_.get(), CURLOPT_NOPROXY, "");

  EXPECT_EQ(exchangeTrusting(server_.pem(), "https://manager.example/"),
            CURLE_PEER_FAILED_VERIFICATION);
}

// The host cannot be learnt, or not be demanded.
class UncheckedHost : public TlsEnrichment {
 protected:
  ~UncheckedHost() override {
    tellUrl = nullptr;
    demandAddress = nullptr;
    demandName = nullptr;
  }

  void expectRefusal(const std::string& host) {
    const TlsServer server(server_);
    EXPECT_EQ(exchangeTrusting(server_.pem(), server.url(host)), CURLE_ABORTED_BY_CALLBACK);
  }

  void expectLine() {
    ASSERT_EQ(log_.size(), 1U);
    EXPECT_EQ(log_[0].level, 4);
    EXPECT_EQ(log_[0].text, "TLS connection refused, the manager's name cannot be checked");
  }

  const Identity server_{"server", "IP:127.0.0.1,DNS:localhost", &authority_};
};

TEST_F(UncheckedHost, IsRefusedWhenTheUrlIsNotTold) {
  tellUrl = [](char**) { return CURLE_OUT_OF_MEMORY; };

  expectRefusal("127.0.0.1");
  expectLine();
}

TEST_F(UncheckedHost, IsRefusedWhenThereIsNoUrl) {
  tellUrl = [](char** url) {
    *url = nullptr;
    return CURLE_OK;
  };

  expectRefusal("127.0.0.1");
  expectLine();
}

TEST_F(UncheckedHost, IsRefusedWhenTheUrlCannotBeRead) {
  static char unreadable[] = "https://a b/";
  tellUrl = [](char** url) {
    *url = unreadable;
    return CURLE_OK;
  };

  expectRefusal("127.0.0.1");
  expectLine();
}

TEST_F(UncheckedHost, IsRefusedWhenTheUrlNamesOnlyTheRoot) {
  static char root[] = "https://./";
  tellUrl = [](char** url) {
    *url = root;
    return CURLE_OK;
  };

  expectRefusal("127.0.0.1");
  expectLine();
}

TEST_F(UncheckedHost, IsRefusedWhenTheAddressCannotBeDemanded) {
  demandAddress = [] { return 0; };

  expectRefusal("127.0.0.1");
  expectLine();
}

TEST_F(UncheckedHost, IsRefusedWhenTheNameCannotBeDemanded) {
  demandName = [] { return 0; };

  expectRefusal("localhost");
  expectLine();
}

TEST_F(UncheckedHost, IsRefusedWhenMemoryRunsOut) {
  demandAddress = []() -> int { throw std::bad_alloc(); };

  expectRefusal("127.0.0.1");
}

TEST_F(UncheckedHost, IsRefusedWithoutVerificationToo) {
  const TlsServer server(server_);
  std::string trusted = server_.pem();
  SecuritySS::enrichSSL(curl_.get(), trusted);
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  demandAddress = [] { return 0; };

  EXPECT_EQ(exchange(server.url()), CURLE_ABORTED_BY_CALLBACK);
}

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
  takeFreshHandle();
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
  takeFreshHandle();

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

std::string pinOf(const Identity& identity) {
  unsigned char* bytes = nullptr;
  const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(identity.certificate()), &bytes);
  std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
  SHA256(bytes, static_cast<std::size_t>(size), digest.data());
  OPENSSL_free(bytes);
  std::array<unsigned char, 45> text{};
  EVP_EncodeBlock(text.data(), digest.data(), static_cast<int>(digest.size()));
  return "sha256//" + std::string(text.begin(), text.end() - 1);
}

class PublicKey : public TlsEnrichment {
 protected:
  ~PublicKey() override { kestrelvisor::keepToPublicKey(""); }

  const TlsServer tls_{server_};
  const Identity stranger_{"server", "IP:127.0.0.1", &authority_};
};

TEST_F(PublicKey, ThatIsKeptToIsAccepted) {
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(pinOf(server_)));

  EXPECT_EQ(exchangeTrusting(authority_.pem(), tls_.url()), CURLE_OK);
}

TEST_F(PublicKey, OfAnotherIsRefusedThoughItsCertificateIsTrusted) {
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(pinOf(stranger_)));

  EXPECT_EQ(exchangeTrusting(authority_.pem(), tls_.url()), CURLE_SSL_PINNEDPUBKEYNOTMATCH);
}

TEST_F(PublicKey, OfAnotherIsRefusedWithoutVerificationToo) {
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(pinOf(stranger_)));
  std::string trusted = authority_.pem();
  SecuritySS::enrichSSL(curl_.get(), trusted);
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYHOST, 0L);

  EXPECT_EQ(exchange(tls_.url()), CURLE_SSL_PINNEDPUBKEYNOTMATCH);
}

TEST_F(PublicKey, OfAnotherIsRefusedInAResumedSession) {
  ASSERT_EQ(exchangeTrusting(authority_.pem(), tls_.url()), CURLE_OK);
  takeFreshHandle();
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(pinOf(stranger_)));

  EXPECT_EQ(exchangeTrusting(authority_.pem(), tls_.url()), CURLE_SSL_PINNEDPUBKEYNOTMATCH);
}

TEST_F(PublicKey, MakesNoCertificateTrusted) {
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(pinOf(server_)));

  EXPECT_EQ(exchangeTrusting("", tls_.url()), CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(PublicKey, IsLetGoByAnEmptyText) {
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(pinOf(stranger_)));
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(""));

  EXPECT_EQ(exchangeTrusting(authority_.pem(), tls_.url()), CURLE_OK);
}

TEST_F(PublicKey, InAnotherFormChangesNothing) {
  ASSERT_TRUE(kestrelvisor::keepToPublicKey(pinOf(stranger_)));
  const std::string good = pinOf(server_);
  for (const std::string& text :
       {"sha256//" + std::string(43, 'A'), good + "A", good.substr(1), good + ";" + good,
        "sha256//" + std::string(43, '!') + "=", "/" + good.substr(1), good.substr(0, 51) + "A"}) {
    EXPECT_FALSE(kestrelvisor::keepToPublicKey(text)) << text;
  }

  EXPECT_EQ(exchangeTrusting(authority_.pem(), tls_.url()), CURLE_SSL_PINNEDPUBKEYNOTMATCH);
}

}  // namespace
