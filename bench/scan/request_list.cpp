#include "bench/scan/request_list.h"

#include <json/json.h>

#include <memory>
#include <stdexcept>

namespace kestrelvisor::bench {
namespace {

constexpr int kGood = 200;
constexpr const char* kHostHeader = "Host";

Json::Value parsed(std::string_view line) {
  Json::Value value;
  std::string problem;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  if (!reader->parse(line.data(), line.data() + line.size(), &value, &problem) ||
      !value.isObject() || !value["method"].isString() || !value["target"].isString()) {
    throw std::invalid_argument("no line of a request log: " + std::string(line));
  }
  return value;
}

Request requestOf(std::string_view text, const std::string& token) {
  const Json::Value line = parsed(text);
  if (line["status"].asInt() != kGood || !line["body"].asString().empty()) {
    throw std::invalid_argument("a request that cannot be made again: " + std::string(text));
  }
  Request request{line["method"].asString(), line["target"].asString(), {}};
  for (const Json::Value& header : line["headers"]) {
    const std::string name = header[0].asString();
    if (name == kHostHeader) continue;
    request.headers.push_back(name + ":" + (name == kTokenHeader ? token : header[1].asString()));
  }
  return request;
}

}  // namespace

std::vector<Request> readRequestList(std::string_view log, const std::string& token) {
  std::vector<Request> requests;
  while (!log.empty()) {
    const std::size_t end = log.find('\n');
    requests.push_back(requestOf(log.substr(0, end), token));
    log.remove_prefix(end == std::string_view::npos ? log.size() : end + 1);
  }
  if (requests.empty()) throw std::invalid_argument("the request log is empty");
  return requests;
}

std::string withoutChance(const std::string& line, unsigned long long requestsBefore) {
  Json::Value value = parsed(line);
  value.removeMember("time");
  for (const char* const count : {"sequence", "connection"}) {
    value[count] = Json::UInt64{value[count].asUInt64() - requestsBefore};
  }
  for (Json::Value& header : value["headers"]) {
    if (header[0].asString() == kHostHeader) header[1] = "manager";
  }
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  return Json::writeString(writer, value);
}

}  // namespace kestrelvisor::bench
