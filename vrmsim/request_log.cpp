#include "vrmsim/request_log.h"

#include "vrmsim/digest.h"

#include <json/json.h>
#include <strings.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <stdexcept>

namespace kestrelvisor::vrmsim {
namespace {

constexpr std::size_t kFingerprintDigits = 12;

std::string fingerprint(const std::string& secret) {
  return "sha256:" + sha256Hex(secret).substr(0, kFingerprintDigits);
}

bool isSecret(const std::string& name) {
  return strcasecmp(name.c_str(), "X-Auth-Key") == 0 ||
         strcasecmp(name.c_str(), "X-Auth-Token") == 0;
}

// "2024-05-06T07:08:09.123Z"
std::string timeText(TimePoint time) {
  using std::chrono::milliseconds;
  const auto sinceEpoch = std::chrono::floor<milliseconds>(time.time_since_epoch());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
  const std::time_t clock = seconds.count();
  std::tm parts{};
  gmtime_r(&clock, &parts);
  std::array<char, 32> text{};
  const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text.data() + size, text.size() - size, ".%03dZ",
                static_cast<int>((sinceEpoch - seconds).count()));
  return text.data();
}

std::string onOneLine(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

}  // namespace

std::string requestLogLine(const RecordedRequest& request) {
  Json::Value line(Json::objectValue);
  line["sequence"] = Json::UInt64{request.sequence};
  line["time"] = timeText(request.time);
  line["connection"] = Json::UInt64{request.connection};
  line["tls"] = request.tls;
  line["method"] = request.method;
  line["target"] = request.target;
  line["headers"] = Json::arrayValue;
  for (const auto& [name, value] : request.headers) {
    Json::Value pair(Json::arrayValue);
    pair.append(name);
    pair.append(isSecret(name) ? fingerprint(value) : value);
    line["headers"].append(std::move(pair));
  }
  line["body"] = request.body;
  line["status"] = request.status;
  if (!request.fault.empty()) line["fault"] = request.fault;
  return onOneLine(line);
}

std::string requestLogLine(const ConnectionFault& fault) {
  Json::Value line(Json::objectValue);
  line["connection"] = Json::UInt64{fault.connection};
  line["time"] = timeText(fault.time);
  line["tls"] = fault.tls;
  line["stage"] = fault.stage;
  line["fault"] = fault.fault;
  return onOneLine(line);
}

RequestLog::RequestLog(const std::string& path) : file_(path, std::ios::binary | std::ios::trunc) {
  if (!file_) throw std::runtime_error("the request log " + path + " cannot be written");
}

void RequestLog::writeLine(const std::string& line) {
  // One insertion and one flush: a reader never sees the beginning of a line alone.
  file_ << line + "\n" << std::flush;
}

}  // namespace kestrelvisor::vrmsim
