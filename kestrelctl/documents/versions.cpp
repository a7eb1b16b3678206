#include "kestrelctl/documents/versions.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"

#include <curl/curl.h>
#include <google/protobuf/stubs/common.h>
#include <json/version.h>
#include <openssl/crypto.h>

#include <vector>

namespace kestrelvisor::ctl {
namespace {

struct Part {
  const char* key;   // in documents
  const char* name;  // for people
  std::string version;
};

std::string compiler() {
#ifdef __clang__
  return __VERSION__;  // names itself
#else
  return "GCC " __VERSION__;
#endif
}

// The engine and kestrelctl are built together and have one number.
std::vector<Part> partsOf(const std::string& ownVersion) {
  return {{"kestrelctl", "kestrelctl", ownVersion},
          {"engine", "engine", ownVersion},
          {"libcurl", "libcurl", curl_version_info(CURLVERSION_NOW)->version},
          {"openssl", "OpenSSL", OpenSSL_version(OPENSSL_VERSION_STRING)},
          {"protobuf", "Protocol Buffers",
           google::protobuf::internal::VersionString(GOOGLE_PROTOBUF_VERSION)},
          {"jsoncpp", "JsonCpp", JSONCPP_VERSION_STRING},
          {"compiler", "compiler", compiler()}};
}

}  // namespace

std::string versionText(const std::string& ownVersion) {
  constexpr std::size_t kNameWidth = 16;
  std::string text = "kestrelctl " + ownVersion + "\n";
  for (const Part& part : partsOf(ownVersion)) {
    if (std::string(part.key) == "kestrelctl") continue;
    text += "  " + padRight(part.name, kNameWidth) + "  " + part.version + "\n";
  }
  return text;
}

std::string versionDocument(const std::string& ownVersion, OutputFormat form) {
  Json::Value document = emptyJsonObject();
  for (const Part& part : partsOf(ownVersion)) document[part.key] = jsonOf(part.version);
  return jsonText(document, form);
}

}  // namespace kestrelvisor::ctl
