#pragma once

#include <curl/curl.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Stands between the engine and libcurl, and in the place of the host's enrichSSL: transfers are
// scripted instead of performed, options are recorded, handles and lists are counted. The test
// binary links libcurl's functions through it.
namespace kestrelvisor::test {

// Stands in a header for a token, so that no memory of the script's own holds one.
inline constexpr std::string_view kTokenMark = "%TOKEN%";
inline constexpr std::string_view kScriptedToken = "fake-session-token-0123456789abcdef";

// What one curl_easy_perform delivers to the callbacks of its handle, and its result.
struct Transfer {
  CURLcode result = CURLE_OK;
  long status = 200;
  std::vector<std::string> headers;  // one call of the header callback each
  std::vector<std::string> body;     // one call of the write callback each
};

class ScriptedCurl {
 public:
  ScriptedCurl();
  ~ScriptedCurl();
  ScriptedCurl(const ScriptedCurl&) = delete;
  ScriptedCurl& operator=(const ScriptedCurl&) = delete;

  // The transfers to come, in order. After them each one is a 200 with the body "{}".
  std::vector<Transfer> transfers;
  // How many calls of the function succeed before one fails; negative: all of them.
  int handlesUntilFailure = -1;
  int appendsUntilFailure = -1;
  // What curl_easy_strerror gives for every result, null included, instead of libcurl's texts.
  std::optional<const char*> textOfResults;

  // Options of numbers as they stood at each transfer.
  std::vector<std::map<CURLoption, long>> performed;
  // All options of any kind in the order of their setting.
  std::vector<CURLoption> options;
  // The certificate texts of the handles that the host's security library was asked to enrich. It
  // sets strict verification and nothing else here.
  std::vector<std::string> enriched;
  // Header lists freed in whole, and those of them that still held a text.
  int listsFreed = 0;
  int listsFreedWithTheirTexts = 0;
  int handlesMade = 0;
  int handlesFreed = 0;
  int listsMade = 0;

  struct State;
  const std::unique_ptr<State> state;  // what the functions in libcurl's place remember
};

}  // namespace kestrelvisor::test
