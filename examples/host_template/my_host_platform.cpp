// The contract, function by function, each in its smallest safe form: it builds and works as it
// stands. Where "Yours" stands, put what your product does.

#include "base/vrm_info.h"
#include "base/wipe_string.h"
#include "inventory/inventory_records.h"
#include "platform/contract/platform.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <curl/curl.h>

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <locale>
#include <memory>
#include <new>
#include <sstream>
#include <system_error>

// --- Engines ---

// Out of line, so that the type has one home.
EngineBase::~EngineBase() = default;

// --- Log. Called at process exit too: lean on no static object with a destructor. ---

namespace {
constexpr int kWarning = 3;  // 4 is an error; below are progress and traces, which are dropped here
}

// Yours: hand the finished record to your log.
LogProxy::LogProxy(int level, std::string_view tag, std::uint64_t requestId,
                   std::string_view function, int line)
    : level_(level),
      line_(line),
      tag_(tag),
      function_(function),
      requestId_(requestId),
      stream_(level >= kWarning ? new std::ostringstream : nullptr) {
  if (stream_ != nullptr) stream_->imbue(std::locale::classic());
}

LogProxy::~LogProxy() {
  if (stream_ == nullptr) return;
  const std::unique_ptr<std::ostringstream> stream(static_cast<std::ostringstream*>(stream_));
  try {
    std::fprintf(stderr, "%s %.*s [%llu] %.*s:%d %s\n", level_ > kWarning ? "error" : "warning",
                 static_cast<int>(tag_.size()), tag_.data(),
                 static_cast<unsigned long long>(requestId_), static_cast<int>(function_.size()),
                 function_.data(), line_, stream->str().c_str());
  } catch (const std::bad_alloc&) {  // a record is lost; nothing may leave a destructor
  }
}

// Such a piece may quote the manager, and with it a token. Yours: clean it, then write it.
LogProxy& LogProxy::operator<<(const std::string& piece) {
  if (stream_ != nullptr && !piece.empty()) *stream_ << "(" << piece.size() << " bytes)";
  return *this;
}

// What a record of level 1 quotes of an answer. Those are dropped here. Yours, if you keep them:
// the text without tokens, passwords and session ids.
std::string WipeSensitiveData(const std::string& /*text*/) { return ""; }

// Yours: the id under which your log and your support know what this thread works for.
std::uint64_t* KCPTSP::get(KCPTSPSlot /*slot*/) {
  thread_local std::uint64_t requestId = 0;
  return &requestId;
}

// --- Configuration ---

// Yours: your settings. 1 keeps certificates checked; 0 would let a refused one pass.
int ConfigReader::getInt(const std::string& /*section*/, const std::string& /*key*/,
                         bool /*required*/) {
  return 1;
}

// --- Secrets and TLS ---

SecString::~SecString() { wipeString(value_); }

void SecString::assign(std::string_view text) {
  wipeString(value_);
  value_ = text;
}

namespace {
CURLcode refuseConnection(CURL*, void*, void*) { return CURLE_SSL_CACERT_BADFILE; }
}  // namespace

// Yours: what the request calls a password is whatever your vault gives one for. Here it names a
// file whose first line is the password.
int SecuritySS::KmcDecryptInfo(const std::string& cipher, SecString& plain) {
  std::ifstream file(cipher);
  std::string password;
  const bool found = static_cast<bool>(std::getline(file, password));
  plain.assign(password);
  wipeString(password);
  return found ? 0 : 1;
}

// The certificate of the request is the only one to be trusted; without one the system's store is.
// Yours: your product's TLS policy. HTTP/1.1 it must be, so ALPN stays off.
void SecuritySS::enrichSSL(void* curl, std::string& cert) {
  bool isComplete = true;
  const auto set = [&](CURLoption option, auto value) {
    isComplete = curl_easy_setopt(curl, option, value) == CURLE_OK && isComplete;
  };
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  set(CURLOPT_SSL_ENABLE_ALPN, 0L);
  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 2L);
  if (!cert.empty()) {
    curl_blob trusted{cert.data(), cert.size(), CURL_BLOB_COPY};
    set(CURLOPT_CAINFO_BLOB, &trusted);
    // libcurl's own file and folder would be trusted beside it.
    set(CURLOPT_CAINFO, static_cast<const char*>(nullptr));
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  // A handle that lacks one of these must reach nobody.
  if (!isComplete) curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, refuseConnection);
}

// --- Bounds-checked memory ---

int memcpy_s(void* target, std::size_t targetSize, const void* source, std::size_t count) {
  if (target == nullptr || source == nullptr || count > targetSize) return 1;
  std::memmove(target, source, count);
  return 0;
}

int memset_s(void* target, std::size_t targetSize, int value, std::size_t count) {
  if (target == nullptr || count > targetSize) return 1;
  std::memset(target, value, count);
  __asm__ __volatile__("" : : "r"(target) : "memory");  // wiping must not be optimised away
  return 0;
}

int snprintf_s(char* target, std::size_t targetSize, std::size_t count, const char* format, ...) {
  if (target == nullptr || targetSize == 0) return -1;
  const std::size_t limit = std::min(count, targetSize - 1);
  va_list arguments;
  va_start(arguments, format);
  const int written = std::vsnprintf(target, limit + 1, format, arguments);
  va_end(arguments);
  if (written >= 0 && static_cast<std::size_t>(written) <= limit) return written;
  target[0] = '\0';
  return -1;
}

// --- Records of a scan ---

void SetDefaultValueForVRMInfo(VRM_INFO& vrm) { vrm.type = 1; }

// Yours: a namespace of your own. GUIDs that you store hang on it: choose once.
std::string EnvProxy_string_to_uuid(std::string& text) {
  boost::uuids::name_generator_sha1 uuidOf(boost::uuids::ns::oid());
  return boost::uuids::to_string(uuidOf(text));
}

std::uint64_t ObjectIndex::getIndex() { return ++count_; }

// Yours: the time of a scan in the encoding that your records have.
std::uint64_t DateTimeUtility::getCurrentDateTimeWithSecondFormat() {
  return static_cast<std::uint64_t>(std::time(nullptr));
}

// Yours: another address for a manager behind a translation, or none for one that is not yours. The
// manager says where requests go.
std::string FormatFullUrl(const std::string& url) { return url; }

namespace {
// The engine writes plain decimal digits; anything else is 0.
std::uint64_t numberOf(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, problem] = std::from_chars(text.data(), end, number);
  return rest == end && problem == std::errc() ? number : 0;
}
}  // namespace

void dumpDataStore(ScanEnvironmentReply& reply, std::map<std::string, unsigned long>& datastoreIds,
                   unsigned long& nextDatastoreId, unsigned long computerResourceId,
                   std::list<_datstore_ManagedObjectReference> datastores, std::string& /*text*/) {
  for (const _datstore_ManagedObjectReference& datastore : datastores) {
    const auto [entry, isNew] = datastoreIds.try_emplace(datastore.uri, nextDatastoreId);
    if (isNew) {
      datastore_record& record = *reply.add_datastore_records();
      record.set_id(nextDatastoreId++);
      record.set_name(datastore.name);
      record.set_mo_reference(datastore.uri);
      record.set_size(numberOf(datastore.capacity));
      record.set_freesize(numberOf(datastore.freeSpace));
    }
    resource_relation_record& relation = *reply.add_resource_relation_records();
    relation.set_computer_resource_id(computerResourceId);
    relation.set_storage_resource_id(entry->second);
  }
}
