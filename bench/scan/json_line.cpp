#include "bench/scan/json_line.h"

#include <sstream>

namespace kestrelvisor::bench {

std::string jsonLine(const Json::Value& value) {
  Json::StreamWriterBuilder onOneLine;
  onOneLine["indentation"] = "";
  return Json::writeString(onOneLine, value) + "\n";
}

Json::Value readJsonLine(const std::string& line) {
  Json::Value value;
  std::istringstream(line) >> value;
  return value;
}

}  // namespace kestrelvisor::bench
