#include "tests/torture/operations.h"

#include "engine/kestrelvisor_engine.h"
#include "engine/kestrelvisor_public.h"
#include "platform/contract/platform.h"
#include "platform/reference/tls.h"
#include "rest/curl_owners.h"
#include "tests/torture/faults/system_calls.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <optional>
#include <string>

namespace kestrelvisor::torture {
namespace {

constexpr const char* kMachine = "/service/sites/S1/vms/v1";
constexpr const char* kUntouched = "as it came in";
constexpr int kScanned = 20063;
constexpr int kScanFailed = 20111;
constexpr int kNotVerified = 20086;

KestrelVisorEngine& engine() { return KestrelVisorEngine::getKestrelVisorInstance(); }

void forEachClient(const std::function<void(KestrelVisor_rest_api&)>& visit) {
  visit(engine().restApi);
  visit(KestrelVisorPublic::getInstance().restApi);
}

// Whether a result has this status and exactly one detail with this number.
bool tells(const EnvProxyResult& result, EnvProxyStatus status, std::uint64_t detail) {
  return result.status == status && result.details.size() == 1 &&
         result.details.front().detailId == detail &&
         result.details.front().detailParams.size() == 3;
}

void reportStatus(Board& board, Kind kind, const EnvProxyResult& result) {
  std::string text = "status " + std::to_string(result.status);
  for (const message& detail : result.details) {
    text += ", detail " + std::to_string(detail.detailId);
    for (const std::string& parameter : detail.detailParams) text += " [" + parameter + "]";
  }
  board.report(kind, text);
}

class Verification : public Operation {
 public:
  using Operation::Operation;

  void prepareOutputs() override {
    result_ = {};
    description_ = kUntouched;
    guid_ = kUntouched;
  }

  void run() override { result_ = engine().VerifyCredentials(route().path, description_, guid_); }

  End judge(Board& board, bool threw) override {
    if (!threw && result_.status == 0) {
      const bool good = description_ == "OK" && (measure_.empty() || guid_ == measure_) &&
                        result_.details.empty();
      if (!good) reportStatus(board, Kind::wrongSuccess, result_);
      return End::success;
    }
    if (description_ != kUntouched && !threw) board.report(Kind::result, "description touched");
    if (guid_ != kUntouched && !threw) board.report(Kind::result, "GUID touched");
    if (threw) return End::exception;
    if (!tells(result_, 107, kNotVerified)) reportStatus(board, Kind::result, result_);
    return End::failure;
  }

  void release() override {
    result_ = {};
    std::string().swap(description_);
    std::string().swap(guid_);
  }

 protected:
  void keepMeasure() override { measure_ = guid_; }

 private:
  EnvProxyResult result_;
  std::string description_;
  std::string guid_;
  std::string measure_;
};

// A verification whose cached sessions the manager does not know any more.
class Relogin : public Verification {
 public:
  using Verification::Verification;

  void prepareCaches() override {
    Verification::prepareCaches();
    prepareOutputs();
    run();
    forEachClient([](KestrelVisor_rest_api& client) {
      for (auto& [address, session] : client.tokenMap) {
        session.certToken.authToken.assign("a token that nobody granted");
      }
    });
  }
};

// A verification whose cached sessions are too old: each is ended before a new one begins.
class Renewal : public Verification {
 public:
  using Verification::Verification;

  void prepareCaches() override {
    Verification::prepareCaches();
    prepareOutputs();
    run();
    forEachClient([](KestrelVisor_rest_api& client) {
      for (auto& [address, session] : client.tokenMap) session.certToken.startTime = 0;
    });
  }
};

class Scan : public Operation {
 public:
  using Operation::Operation;

  void prepareOutputs() override {
    result_ = {};
    description_ = kUntouched;
    reply_ = std::make_unique<ScanEnvironmentReply>();
    reply_->add_tree_records()->set_name("what a host had put there");
    before_ = reply_->SerializeAsString();
    treeStood = false;
  }

  void run() override { result_ = engine().scanEnvironment(*reply_, route().path, description_); }

  End judge(Board& board, bool threw) override {
    const bool untouched = reply_->SerializeAsString() == before_;
    if (threw) {
      if (!untouched && !treeStood) board.report(Kind::reply, "touched before the tree stood");
      return End::exception;
    }
    if (result_.status != 0) {
      if (!untouched) board.report(Kind::reply, "touched by a scan that failed");
      if (!tells(result_, 104, kScanFailed)) reportStatus(board, Kind::result, result_);
      return End::failure;
    }
    const bool good =
        tells(result_, 0, kScanned) && (measure_.empty() || withoutTime() == measure_);
    if (!good) reportStatus(board, Kind::wrongSuccess, result_);
    return End::success;
  }

  void release() override {
    result_ = {};
    std::string().swap(description_);
    std::string().swap(before_);
    reply_.reset();
  }

 protected:
  void keepMeasure() override { measure_ = withoutTime(); }

 private:
  std::string withoutTime() const {
    ScanEnvironmentReply copy = *reply_;
    copy.clear_timestamp();
    return copy.SerializeAsString();
  }

  EnvProxyResult result_;
  std::string description_;
  std::unique_ptr<ScanEnvironmentReply> reply_;
  std::string before_;
  std::string measure_;
};

class Disable : public Operation {
 public:
  using Operation::Operation;

  void prepareOutputs() override {
    result_ = {};
    description_ = kUntouched;
  }

  void run() override { result_ = engine().DisableCBT(route().path, kMachine, description_); }

  End judge(Board& board, bool threw) override {
    if (threw) return End::exception;
    if (!result_.details.empty()) board.report(Kind::result, "details of a disabling");
    if (result_.status == 0) {
      if (!description_.empty()) board.report(Kind::wrongSuccess, description_);
      if (!route().https && !hasSentTheDelete()) board.report(Kind::wrongSuccess, "no DELETE sent");
      return End::success;
    }
    const bool told = result_.status == 1 || (result_.status >= 95 && result_.status <= 101);
    if (!told) reportStatus(board, Kind::result, result_);
    return End::failure;
  }

  void release() override {
    result_ = {};
    std::string().swap(description_);
  }

 private:
  static bool hasSentTheDelete() {
    const std::string wanted = std::string("DELETE ") + kMachine + "/action/CBTbackup ";
    for (std::size_t i = 0; i < SystemCalls::requestCount(); ++i) {
      if (SystemCalls::request(i).starts_with(wanted)) return true;
    }
    return false;
  }

  EnvProxyResult result_;
  std::string description_;
};

// Final, because the client's destructor is not virtual.
class Client final : public KestrelVisor_rest_api {};

// The end of a client that holds a session.
class Destruction : public Operation {
 public:
  using Operation::Operation;

  void prepareOutputs() override {
    client_.emplace();
    VRM_INFO vrm;
    vrm.vrmIp = route().path.hv_address(0);
    vrm.vrmPort = route().path.port(0);
    vrm.useHttps = route().https ? 1 : 0;
    vrm.clientUsername = route().path.username(0);
    vrm.clientPassword = route().path.password(0);
    vrm.vrmCert = route().path.cert(0);
    vrm.restVersion = "6.5";
    KestrelVisorErrorMessage error;
    KestrelVisorCertToken token;
    loggedIn_ = client_->checkLoginAgainAndCert(vrm, error, token);
  }

  void run() override { client_.reset(); }

  End judge(Board& board, bool threw) override {
    if (!loggedIn_) board.report(Kind::next, "a fresh client cannot log in");
    return threw ? End::exception : loggedIn_ ? End::success : End::failure;
  }

 private:
  std::optional<Client> client_;
  bool loggedIn_ = false;
};

// The engine's first use in a process.
class Initialisation : public Operation {
 public:
  explicit Initialisation(const Route& route) : Operation(route), verification_(route) {}

  void prepareCaches() override {}
  void prepareOutputs() override { good_ = false; }
  void run() override { good_ = kestrelvisor_engine_init(); }

  End judge(Board& board, bool threw) override {
    if (threw) return End::exception;
    if (!good_) board.report(Kind::result, "false");
    return End::success;
  }

  bool needsFreshProcess() const override { return true; }

  bool worksNow(Board& board) override {
    const bool good = Operation::worksNow(board) && verification_.worksNow(board);
    verification_.release();
    return good;
  }

 private:
  bool good_ = false;
  Verification verification_;
};

template <class Kind>
std::unique_ptr<Operation> make(const Route& route) {
  return std::make_unique<Kind>(route);
}

}  // namespace

bool treeStood = false;

void Operation::prepareCaches() { emptyCaches(); }

bool Operation::worksNow(Board& board) {
  prepareOutputs();
  try {
    run();
  } catch (const std::exception& problem) {
    board.report(Kind::next, problem.what());
    return false;
  }
  return judge(board, false) == End::success;
}

bool Operation::learn(Board& board) {
  prepareCaches();
  SystemCalls::noteRequests();
  if (!worksNow(board)) return false;
  keepMeasure();
  for (std::size_t i = 0; i < SystemCalls::requestCount(); ++i) {
    goodRequests_.emplace(SystemCalls::request(i));
  }
  // What any failure may add.
  goodRequests_.emplace("POST /service/session HTTP/1.1");
  goodRequests_.emplace("DELETE /service/session HTTP/1.1");
  return true;
}

void Operation::judgeRequests(Board& board) const {
  for (std::size_t i = 0; i < SystemCalls::requestCount(); ++i) {
    const std::string_view request = SystemCalls::request(i);
    if (goodRequests_.find(request) == goodRequests_.end()) board.report(Kind::request, request);
  }
}

const std::vector<OperationKind>& operationKinds() {
  static const std::vector<OperationKind> kinds{
      {"init", make<Initialisation>},    {"verify", make<Verification>}, {"scan", make<Scan>},
      {"disable", make<Disable>},        {"re-login", make<Relogin>},    {"renewal", make<Renewal>},
      {"destruction", make<Destruction>}};
  return kinds;
}

void emptyCaches() {
  forEachClient([](KestrelVisor_rest_api& client) { client.tokenMap.clear(); });
  KestrelVisorPublic::getInstance().hostGuidByUrn.clear();
  renewTrust();
  OPENSSL_thread_stop();
}

void makeLastingObjects() {
  static_cast<void>(ConfigReader::getInt("General", "CertAuthSwitch", true));
  static_cast<void>(FormatFullUrl("http://127.0.0.1:1/"));
}

std::string_view deadLibrary(const Route& route) {
  const std::unique_ptr<EVP_CIPHER, decltype(&EVP_CIPHER_free)> cipher(
      EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr), &EVP_CIPHER_free);
  if (!cipher) return "OpenSSL";
  const std::string url = std::string(route.https ? "https" : "http") +
                          "://127.0.0.1:" + std::to_string(route.path.port(0)) +
                          "/service/versions";
  const CurlHandle handle(curl_easy_init());
  curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle.get(), CURLOPT_NOBODY, 1L);
  curl_easy_setopt(handle.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(handle.get(), CURLOPT_SSL_VERIFYHOST, 0L);
  return curl_easy_perform(handle.get()) == CURLE_OK ? "" : "libcurl with OpenSSL";
}

bool isCachedPassword(const void* block) {
  bool cached = false;
  forEachClient([&](KestrelVisor_rest_api& client) {
    for (const auto& [address, session] : client.tokenMap) {
      cached = cached || session.vrmInfo.clientPassword.data() == block;
    }
  });
  return cached;
}

}  // namespace kestrelvisor::torture
