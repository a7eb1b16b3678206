#include "kestrelctl/diagnosis/version_question.h"

#include "kestrelctl/curl_transfer.h"
#include "kestrelctl/explanations/advice.h"
#include "platform/contract/security.h"
#include "platform/reference/clock.h"

#include <json/reader.h>
#include <json/value.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>

namespace kestrelvisor::ctl {
namespace {

using Time = std::chrono::system_clock::time_point;

constexpr std::size_t kLongestAnswer = std::size_t{1} << 20;
constexpr int kDeepestNesting = 200;

// Ends a transfer that brings more.
std::size_t collect(char* bytes, std::size_t size, std::size_t count, void* text) noexcept {
  auto& body = *static_cast<std::string*>(text);
  if (size * count > kLongestAnswer - body.size()) return 0;
  try {
    body.append(bytes, size * count);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return size * count;
}

bool parse(const std::string& body, Json::Value& document) {
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = kDeepestNesting;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  try {
    return reader->parse(body.data(), body.data() + body.size(), &document, nullptr);
  } catch (const Json::Exception&) {  // nested too deeply
    return false;
  }
}

void readVersions(const std::string& body, VersionAnswer& answer) {
  Json::Value document;
  if (!parse(body, document) || !document.isObject()) return;
  const Json::Value& list = static_cast<const Json::Value&>(document)["versions"];
  if (!list.isArray()) return;
  answer.readable = true;
  for (const Json::Value& element : list) {
    const bool told = element.isObject() && element["version"].isString();
    const std::string text = told ? element["version"].asString() : std::string();
    if (text.empty()) {  // the engine cannot read an answer with such an element
      answer.readable = false;
      return;
    }
    answer.versions.push_back(text.substr(1));
  }
}

// The answer was made between the two moments.
void readClock(CurlTransfer& transfer, Time before, Time after, VersionAnswer& answer) {
  curl_header* header = nullptr;
  const CURLHcode found = curl_easy_header(transfer.handle(), "Date", 0, CURLH_HEADER, -1, &header);
  if (found != CURLHE_OK) return;
  const std::time_t told = curl_getdate(header->value, nullptr);
  if (told < 0) return;
  const Time middle = before + (after - before) / 2;
  const std::chrono::sys_seconds theirs{std::chrono::seconds(told)};  // of any year
  answer.clockAhead = theirs - std::chrono::floor<std::chrono::seconds>(middle);
}

void prepareTls(CurlTransfer& transfer, const VersionQuestion& question) {
  std::string trusted = question.trusted;
  SecuritySS::enrichSSL(transfer.handle(), trusted);
  if (question.verified) return;
  transfer.set(CURLOPT_SSL_VERIFYPEER, 0L);
  transfer.set(CURLOPT_SSL_VERIFYHOST, 0L);
}

}  // namespace

bool VersionAnswer::isUsable() const {
  return std::any_of(versions.begin(), versions.end(), [](const std::string& version) {
    return std::strtod(version.c_str(), nullptr) > 0.0;
  });
}

VersionAnswer ask(const VersionQuestion& question) {
  const CurlList headers = listOf("Accept: application/json;charset=UTF-8");
  std::string body;
  CurlTransfer transfer;
  const std::string url = question.manager.url() + "/service/versions";
  transfer.set(CURLOPT_URL, url.c_str());
  transfer.set(CURLOPT_HTTPHEADER, headers.get());
  transfer.set(CURLOPT_TIMEOUT_MS, static_cast<long>(question.limit.count()));
  transfer.set(CURLOPT_WRITEFUNCTION, &collect);
  transfer.set(CURLOPT_WRITEDATA, static_cast<void*>(&body));
  if (question.manager.https) prepareTls(transfer, question);
  const Time before = currentTime();
  VersionAnswer answer;
  const CURLcode result = transfer.perform();
  if (result != CURLE_OK) {
    answer.timedOut = result == CURLE_OPERATION_TIMEDOUT;
    answer.problem = transfer.problem();
    answer.exitCode = exitCodeOfTransfer(curl_easy_strerror(result));
    return answer;
  }
  answer.status = transfer.told<long>(CURLINFO_RESPONSE_CODE);
  readClock(transfer, before, currentTime(), answer);
  if (answer.status == 200) readVersions(body, answer);
  return answer;
}

}  // namespace kestrelvisor::ctl
