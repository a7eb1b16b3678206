#include "platform/reference/tls_sharing.h"

#include "platform/contract/security.h"
#include "platform/reference/tls.h"
#include "tests/platform/quiet_log.h"
#include "tests/platform/tls_server.h"
#include "tests/support/test_headers.h"

#include <curl/curl.h>
#include <dlfcn.h>
#include <netdb.h>
#include <openssl/err.h>
#include <openssl/x509_vfy.h>

#include <csignal>
#include <ctime>
#include <functional>
#include <thread>

namespace {

// What stands in for the functions below while it is set.
std::function<int(X509_STORE*)> loadInstead;
std::function<int()> keepDataInstead;
std::function<int()> checkAddressInstead;

// What every clock of the process shows in seconds since 1970; 0: the machine's time.
std::atomic<std::time_t> shownTime{0};

int filesLoaded = 0;
std::atomic<int> namesResolved{0};

template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// Stand in front of OpenSSL's functions.
extern "C" int keepDataUnlessReplaced(SSL_SESSION* session, const void* data,
                                      size_t size) __asm__("SSL_SESSION_set1_ticket_appdata");

extern "C" int keepDataUnlessReplaced(SSL_SESSION* session, const void* data, size_t size) {
  using Keep = int (*)(SSL_SESSION*, const void*, size_t);
  static const auto keep = next<Keep>("SSL_SESSION_set1_ticket_appdata");
  return keepDataInstead ? keepDataInstead() : keep(session, data, size);
}

extern "C" int loadFileUnlessReplaced(X509_STORE* store,
                                      const char* file) __asm__("X509_STORE_load_file");

extern "C" int loadFileUnlessReplaced(X509_STORE* store, const char* file) {
  static const auto load = next<int (*)(X509_STORE*, const char*)>("X509_STORE_load_file");
  ++filesLoaded;
  return loadInstead ? loadInstead(store) : load(store, file);
}

extern "C" int checkAddressUnlessReplaced(X509* certificate, const char* address,
                                          unsigned int flags) __asm__("X509_check_ip_asc");

extern "C" int checkAddressUnlessReplaced(X509* certificate, const char* address,
                                          unsigned int flags) {
  using Check = int (*)(X509*, const char*, unsigned int);
  static const auto check = next<Check>("X509_check_ip_asc");
  return checkAddressInstead ? checkAddressInstead() : check(certificate, address, flags);
}

// Stands in front of the C library's clock, by which OpenSSL judges certificates.
extern "C" std::time_t tellTimeUnlessShown(std::time_t* out) __asm__("time");

extern "C" std::time_t tellTimeUnlessShown(std::time_t* out) {
  std::time_t now = shownTime;
  if (now == 0) {
    timespec machine{};
    clock_gettime(CLOCK_REALTIME, &machine);
    now = machine.tv_sec;
  }
  if (out != nullptr) *out = now;
  return now;
}

// Knows one name, and knows it for this machine.
extern "C" int resolveOneName(const char* name, const char* service, const addrinfo* hints,
                              addrinfo** result) __asm__("getaddrinfo");

extern "C" int resolveOneName(const char* name, const char* service, const addrinfo* hints,
                              addrinfo** result) {
  using Resolve = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  static const auto resolve = next<Resolve>("getaddrinfo");
  if (name == nullptr || std::string(name) != "manager.example") {
    return resolve(name, service, hints, result);
  }
  ++namesResolved;
  return resolve("127.0.0.1", service, hints, result);
}

namespace {

using kestrelvisor::kMostTlsShares;
using kestrelvisor::renewTrust;
using kestrelvisor::test::Identity;
using kestrelvisor::test::TlsServer;

struct CurlCleanup {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleanup>;

CurlHandle handleTrusting(std::string text) {
  CurlHandle curl(curl_easy_init());
  SecuritySS::enrichSSL(curl.get(), text);
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 20L);
  curl_easy_setopt(curl.get(), CURLOPT_NOPROXY, "*");
  curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_FORBID_REUSE, 1L);
  return curl;
}

CURLcode perform(const CurlHandle& curl, const std::string& url) {
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  return curl_easy_perform(curl.get());
}

// As a request of the engine: with a handle and a connection of its own.
CURLcode ask(const std::string& trusted, const std::string& url) {
  return perform(handleTrusting(trusted), url);
}

void stopVerifying(const CurlHandle& curl) {
  curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYHOST, 0L);
}

// What an exchange comes to that the host lets pass after a refusal.
CURLcode askOverlooking(const std::string& trusted, const std::string& url) {
  const CurlHandle curl = handleTrusting(trusted);
  EXPECT_EQ(perform(curl, url), CURLE_PEER_FAILED_VERIFICATION);
  stopVerifying(curl);
  return perform(curl, url);
}

// The first moment of every certificate, and the last one of those that run out in the tests.
constexpr std::time_t kBegin = 946684800;
constexpr std::time_t kEnd = kBegin + 60;
const std::string kEndText = "20000101000100Z";

class TlsSession : public ::testing::TestWithParam<int> {
 protected:
  static void SetUpTestSuite() {
    std::signal(SIGPIPE, SIG_IGN);
    curl_global_init(CURL_GLOBAL_DEFAULT);
  }

  TlsSession() { renewTrust(); }
  ~TlsSession() override {
    shownTime = 0;
    loadInstead = nullptr;
    keepDataInstead = nullptr;
    checkAddressInstead = nullptr;
    renewTrust();
  }

  static void speakOneVersion(SSL_CTX* context) {
    SSL_CTX_set_min_proto_version(context, GetParam());
    SSL_CTX_set_max_proto_version(context, GetParam());
  }

  // The authority stands in for the system's store.
  void trustAuthorityAsSystem() {
    loadInstead = [this](X509_STORE* store) {
      return X509_STORE_add_cert(store, authority.certificate());
    };
  }

  const kestrelvisor::test::QuietLog quiet;
  const Identity authority{"authority"};
  const Identity identity{"server", "IP:127.0.0.1,DNS:manager.example", &authority};
  const Identity other{"server", "IP:127.0.0.1,DNS:manager.example"};
  const TlsServer server{identity, speakOneVersion};
};

INSTANTIATE_TEST_SUITE_P(Platform, TlsSession, ::testing::Values(TLS1_2_VERSION, TLS1_3_VERSION),
                         [](const auto& row) {
                           return row.param == TLS1_2_VERSION ? "ByTls12" : "ByTls13";
                         });

TEST_P(TlsSession, IsResumedByHandlesThatTrustTheSameText) {
  for (int i = 0; i < 4; ++i) ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  EXPECT_EQ(server.served(), 4);
  EXPECT_EQ(server.resumed(), 3);
}

TEST_P(TlsSession, IsResumedByHandlesThatTrustTheSystem) {
  trustAuthorityAsSystem();
  for (int i = 0; i < 4; ++i) ASSERT_EQ(ask("", server.url()), CURLE_OK);

  EXPECT_EQ(server.resumed(), 3);
}

TEST_P(TlsSession, IsResumedByNoHandleThatTrustsAnotherText) {
  trustAuthorityAsSystem();
  for (const std::string& text : {identity.pem(), authority.pem(), std::string()}) {
    ASSERT_EQ(ask(text, server.url()), CURLE_OK);
  }

  EXPECT_EQ(server.served(), 3);
  EXPECT_EQ(server.resumed(), 0);
}

TEST_P(TlsSession, LetsNoWrongTextPass) {
  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  EXPECT_EQ(ask(other.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(ask("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(server.resumed(), 0);
}

TEST_P(TlsSession, LetsNoWrongTextPassThatWasTriedFirst) {
  ASSERT_EQ(ask(other.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
  ASSERT_EQ(ask("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  EXPECT_EQ(ask(other.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(ask("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 1);
}

TEST_P(TlsSession, OfTheSystemsStoreLetsNoWrongTextPass) {
  trustAuthorityAsSystem();
  ASSERT_EQ(ask("", server.url()), CURLE_OK);

  EXPECT_EQ(ask(other.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(server.resumed(), 0);
}

CURLcode trustIdentity(CURL*, void* context, void* identity) {
  X509_STORE* const store = X509_STORE_new();
  X509_STORE_add_cert(store, static_cast<const Identity*>(identity)->certificate());
  X509_STORE_set_flags(store, X509_V_FLAG_PARTIAL_CHAIN);
  SSL_CTX_set_cert_store(static_cast<SSL_CTX*>(context), store);
  return CURLE_OK;
}

// With a store that libcurl sees nothing of, and that nobody asks again about a resumed session.
CURLcode askByStoreOf(const Identity& trusted, std::string_view text, const std::string& url) {
  const CurlHandle curl(curl_easy_init());
  curl_easy_setopt(curl.get(), CURLOPT_CAINFO, static_cast<const char*>(nullptr));
  curl_easy_setopt(curl.get(), CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  curl_easy_setopt(curl.get(), CURLOPT_NOPROXY, "*");
  kestrelvisor::shareTls(curl.get(), text);
  curl_easy_setopt(curl.get(), CURLOPT_SSL_CTX_FUNCTION, trustIdentity);
  curl_easy_setopt(curl.get(), CURLOPT_SSL_CTX_DATA, &trusted);
  return perform(curl, url);
}

TEST_P(TlsSession, OfAStoreThatLibcurlKnowsNothingOfStaysWithItsText) {
  ASSERT_EQ(askByStoreOf(identity, "right", server.url()), CURLE_OK);

  EXPECT_EQ(askByStoreOf(other, "wrong", server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(askByStoreOf(other, "", server.url()), CURLE_PEER_FAILED_VERIFICATION);
  // The danger: within one share a store that refuses the certificate is not even asked.
  EXPECT_EQ(askByStoreOf(other, "right", server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 1);
}

TEST_P(TlsSession, MadeWithoutVerificationServesNoneThatVerifies) {
  ASSERT_EQ(askOverlooking(other.pem(), server.url()), CURLE_OK);

  EXPECT_EQ(ask(other.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 0);
}

TEST_P(TlsSession, MadeWithoutVerificationServesTheNextRepetition) {
  ASSERT_EQ(askOverlooking(other.pem(), server.url()), CURLE_OK);

  EXPECT_EQ(askOverlooking(other.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 1);
}

TEST_P(TlsSession, ServesNoOtherName) {
  const Identity local("server", "IP:127.0.0.1");
  const TlsServer here(local, speakOneVersion);
  ASSERT_EQ(ask(local.pem(), here.url()), CURLE_OK);

  EXPECT_EQ(ask(local.pem(), here.url("localhost")), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(here.resumed(), 0);
}

TEST_P(TlsSession, OfAnOverlookedSubjectNameServesNoneThatVerifies) {
  const Identity subject("127.0.0.1");  // without alternative names
  const TlsServer here(subject, speakOneVersion);
  ASSERT_EQ(askOverlooking(subject.pem(), here.url()), CURLE_OK);

  EXPECT_EQ(ask(subject.pem(), here.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(here.resumed(), 0);
}

// Through a proxy that is itself spoken to over TLS. There is no tunnel: without a refusal the
// exchange ends behind the proxy's handshake.
CURLcode askThrough(const TlsServer& proxy, const Identity& trusted, const std::string& url) {
  const CurlHandle curl = handleTrusting(trusted.pem());
  std::string text = trusted.pem();
  curl_blob blob{text.data(), text.size(), CURL_BLOB_COPY};
  curl_easy_setopt(curl.get(), CURLOPT_PROXY_CAINFO_BLOB, &blob);
  curl_easy_setopt(curl.get(), CURLOPT_PROXY, proxy.url().c_str());
  curl_easy_setopt(curl.get(), CURLOPT_NOPROXY, "");
  return perform(curl, url);
}

TEST_P(TlsSession, OfAProxyServesOnlyManagersThatItsCertificateHolds) {
  ASSERT_EQ(askThrough(server, identity, "https://manager.example/"), CURLE_SSL_CONNECT_ERROR);

  EXPECT_EQ(askThrough(server, identity, "https://other.example/"), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(askThrough(server, identity, "https://192.0.2.1/"), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(server.resumed(), 0);
  EXPECT_EQ(askThrough(server, identity, "https://manager.example/"), CURLE_SSL_CONNECT_ERROR);
  EXPECT_EQ(server.resumed(), 1);
}

TEST_P(TlsSession, LetsNoOtherServerOfTheSamePortPass) {
  auto first = std::make_unique<TlsServer>(identity, speakOneVersion);
  const int port = first->port();
  const std::string url = first->url();
  ASSERT_EQ(ask(identity.pem(), url), CURLE_OK);
  ASSERT_EQ(ask(identity.pem(), url), CURLE_OK);
  ASSERT_EQ(first->resumed(), 1);
  first.reset();

  {
    const TlsServer wrong(other, speakOneVersion, port);
    EXPECT_EQ(ask(identity.pem(), url), CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(askOverlooking(identity.pem(), url), CURLE_OK);
    EXPECT_EQ(ask(identity.pem(), url), CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(wrong.resumed(), 0);
  }
  const TlsServer again(identity, speakOneVersion, port);
  EXPECT_EQ(ask(identity.pem(), url), CURLE_OK);
  EXPECT_EQ(again.resumed(), 0);
}

TEST_P(TlsSession, LetsNoCertificatePassThatHasRunOut) {
  const Identity ending("server", "IP:127.0.0.1", &authority, kEndText);
  const TlsServer here(ending, speakOneVersion);
  shownTime = kBegin;
  ASSERT_EQ(ask(authority.pem(), here.url()), CURLE_OK);
  shownTime = kEnd - 1;
  ASSERT_EQ(ask(authority.pem(), here.url()), CURLE_OK);
  ASSERT_EQ(here.resumed(), 1);

  shownTime = kEnd;

  EXPECT_EQ(ask(authority.pem(), here.url()), CURLE_PEER_FAILED_VERIFICATION);
}

TEST_P(TlsSession, LetsNoCertificatePassWhenTheClockGoesBackBehindIt) {
  shownTime = kBegin;
  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  shownTime = kBegin - 1;

  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_PEER_FAILED_VERIFICATION);
}

// The server sends its own certificate and nothing else.
class SessionUnderAnAnchor : public TlsSession {
 protected:
  const Identity ending{"ending", {}, nullptr, kEndText};
  const Identity lasting{"server", "IP:127.0.0.1", &ending};
  const TlsServer here{lasting, speakOneVersion};
};

INSTANTIATE_TEST_SUITE_P(Platform, SessionUnderAnAnchor,
                         ::testing::Values(TLS1_2_VERSION, TLS1_3_VERSION), [](const auto& row) {
                           return row.param == TLS1_2_VERSION ? "ByTls12" : "ByTls13";
                         });

TEST_P(SessionUnderAnAnchor, EndsWithTheAnchor) {
  shownTime = kBegin;
  ASSERT_EQ(ask(ending.pem(), here.url()), CURLE_OK);

  shownTime = kEnd;

  EXPECT_EQ(ask(ending.pem(), here.url()), CURLE_PEER_FAILED_VERIFICATION);
}

TEST_P(SessionUnderAnAnchor, EndsWithTheAnchorWhenItWasResumedBefore) {
  shownTime = kBegin;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(ask(ending.pem(), here.url()), CURLE_OK);
  ASSERT_EQ(here.resumed(), 2);

  shownTime = kEnd;

  EXPECT_EQ(ask(ending.pem(), here.url()), CURLE_PEER_FAILED_VERIFICATION);
}

TEST_P(SessionUnderAnAnchor, EndsWithTheAnchorOfTheSystemsStore) {
  loadInstead = [this](X509_STORE* store) {
    return X509_STORE_add_cert(store, ending.certificate());
  };
  shownTime = kBegin;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(ask("", here.url()), CURLE_OK);
  ASSERT_EQ(here.resumed(), 2);

  shownTime = kEnd;

  EXPECT_EQ(ask("", here.url()), CURLE_PEER_FAILED_VERIFICATION);
}

TEST_P(SessionUnderAnAnchor, IsMadeAnewWhenAnotherAnchorHolds) {
  // Of the same name and key.
  Identity renewed("ending");
  X509_set_pubkey(renewed.certificate(), ending.key());
  ASSERT_GT(X509_sign(renewed.certificate(), ending.key(), EVP_sha256()), 0);
  const std::string both = ending.pem() + renewed.pem();
  shownTime = kBegin;
  ASSERT_EQ(ask(both, here.url()), CURLE_OK);

  shownTime = kEnd;

  EXPECT_EQ(ask(both, here.url()), CURLE_OK);
  EXPECT_EQ(here.resumed(), 0);
  EXPECT_EQ(ask(both, here.url()), CURLE_OK);
  EXPECT_EQ(here.resumed(), 1);
}

TEST_P(TlsSession, OutlivesACertificateThatIsSentButNotNeeded) {
  const Identity stray("stray", {}, nullptr, kEndText);
  const TlsServer here(identity, [&](SSL_CTX* context) {
    speakOneVersion(context);
    SSL_CTX_add1_chain_cert(context, stray.certificate());
  });
  shownTime = kBegin;
  ASSERT_EQ(ask(authority.pem(), here.url()), CURLE_OK);

  shownTime = kEnd;

  EXPECT_EQ(ask(authority.pem(), here.url()), CURLE_OK);
  EXPECT_EQ(here.resumed(), 1);
}

int failWithoutMemory() {
  ERR_raise(ERR_LIB_SSL, ERR_R_MALLOC_FAILURE);
  return 0;
}

TEST_P(TlsSession, IsNotKeptWithoutMemoryForItsTime) {
  keepDataInstead = failWithoutMemory;
  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(askOverlooking(other.pem(), server.url()), CURLE_OK);
  keepDataInstead = nullptr;

  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(askOverlooking(other.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 0);
  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 1);
}

std::size_t noteOpenSslError(const char*, std::size_t size, std::size_t count, void* error) {
  *static_cast<unsigned long*>(error) = ERR_peek_error();
  return size * count;
}

// By TLS 1.3 it comes with the answer, and OpenSSL takes an old error for one of the answer.
TEST_P(TlsSession, ThatIsNotKeptLeavesNoErrorBehind) {
  const CurlHandle curl = handleTrusting(identity.pem());
  unsigned long error = 0;
  curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, noteOpenSslError);
  curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &error);
  keepDataInstead = failWithoutMemory;

  EXPECT_EQ(perform(curl, server.url()), CURLE_OK);
  EXPECT_EQ(error, 0U);
}

TEST_P(TlsSession, IsMadeAnewWithoutMemoryToJudgeIt) {
  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  checkAddressInstead = failWithoutMemory;

  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 0);
}

TEST_P(TlsSession, OfAnOverlookedCertificateIsNotJudged) {
  const Identity ending("server", "IP:127.0.0.1", &authority, kEndText);
  const TlsServer here(ending, speakOneVersion);
  shownTime = kBegin;
  ASSERT_EQ(askOverlooking(other.pem(), here.url()), CURLE_OK);

  shownTime = kEnd;

  EXPECT_EQ(askOverlooking(other.pem(), here.url()), CURLE_OK);
  EXPECT_EQ(here.resumed(), 1);
}

TEST_P(TlsSession, IsForgottenWithTheTrust) {
  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  renewTrust();

  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 0);
}

TEST_P(TlsSession, StaysWithAHandleThatWasThereWhenTheTrustWasForgotten) {
  const CurlHandle before = handleTrusting(identity.pem());
  ASSERT_EQ(perform(before, server.url()), CURLE_OK);

  renewTrust();

  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 0);
  EXPECT_EQ(perform(before, server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 1);
}

TEST_P(TlsSession, IsNotTakenAlongToAnotherText) {
  const CurlHandle curl = handleTrusting(identity.pem());
  ASSERT_EQ(perform(curl, server.url()), CURLE_OK);

  std::string wrong = other.pem();
  SecuritySS::enrichSSL(curl.get(), wrong);

  EXPECT_EQ(perform(curl, server.url()), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(server.resumed(), 0);
}

// A text of its own for each number, all of them with the same certificate.
std::string numberedText(const Identity& identity, std::size_t number) {
  return std::string(number + 1, '\n') + identity.pem();
}

TEST_P(TlsSession, OfTheTextThatNobodyUsedForLongestGoesFirst) {
  for (std::size_t i = 0; i < kMostTlsShares; ++i) {
    ASSERT_EQ(ask(numberedText(identity, i), server.url()), CURLE_OK);
  }
  ASSERT_EQ(ask(numberedText(identity, 0), server.url()), CURLE_OK);
  ASSERT_EQ(server.resumed(), 1);

  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  EXPECT_EQ(ask(numberedText(identity, 0), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 2);
  EXPECT_EQ(ask(numberedText(identity, 1), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 2);
}

TEST_P(TlsSession, IsNotSharedWhileAllPlacesAreTaken) {
  std::vector<CurlHandle> handles;
  for (std::size_t i = 0; i < kMostTlsShares; ++i) {
    handles.push_back(handleTrusting(numberedText(identity, i)));
  }

  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 0);

  handles.pop_back();
  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  EXPECT_EQ(server.resumed(), 1);
}

TEST_P(TlsSession, IsSharedAmongThreads) {
  constexpr int kThreads = 4;
  constexpr int kExchanges = 20;
  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < kExchanges; ++n) good += ask(identity.pem(), server.url()) == CURLE_OK;
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(good, kThreads * kExchanges);
  // A handshake that races with the renewal of its session by another thread may be a full one.
  EXPECT_GE(server.resumed(), kThreads * kExchanges * 3 / 4);
}

TEST_P(TlsSession, ComesWithTheResolvedNameOfItsServer) {
  namesResolved = 0;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(ask(identity.pem(), server.url("manager.example")), CURLE_OK);
  }

  EXPECT_EQ(namesResolved, 1);
}

class SystemTrust : public TlsSession {};

INSTANTIATE_TEST_SUITE_P(Platform, SystemTrust, ::testing::Values(TLS1_3_VERSION),
                         [](const auto&) { return "Store"; });

TEST_P(SystemTrust, IsReadOnceForAllHandles) {
  filesLoaded = 0;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(ask("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
  }

  EXPECT_EQ(filesLoaded, 1);
}

TEST_P(SystemTrust, IsNotReadForAPinnedCertificate) {
  filesLoaded = 0;
  ASSERT_EQ(ask(identity.pem(), server.url()), CURLE_OK);

  EXPECT_EQ(filesLoaded, 0);
}

TEST_P(SystemTrust, LetsNobodyThroughUntilItCanBeRead) {
  loadInstead = [](X509_STORE*) { return 0; };
  EXPECT_EQ(ask("", server.url()), CURLE_SSL_CACERT_BADFILE);
  EXPECT_EQ(ask("", server.url()), CURLE_SSL_CACERT_BADFILE);

  trustAuthorityAsSystem();
  EXPECT_EQ(ask("", server.url()), CURLE_OK);
}

TEST_P(SystemTrust, IsNotNeededWithoutVerification) {
  loadInstead = [](X509_STORE*) { return 0; };
  const CurlHandle curl = handleTrusting("");
  stopVerifying(curl);

  EXPECT_EQ(perform(curl, server.url()), CURLE_OK);
}

TEST_P(SystemTrust, IsReadAnewWhenItIsRenewed) {
  trustAuthorityAsSystem();
  ASSERT_EQ(ask("", server.url()), CURLE_OK);
  loadInstead = [](X509_STORE*) { return 1; };  // the authority has gone
  ASSERT_EQ(ask("", server.url()), CURLE_OK);

  renewTrust();

  EXPECT_EQ(ask("", server.url()), CURLE_PEER_FAILED_VERIFICATION);
}

}  // namespace
