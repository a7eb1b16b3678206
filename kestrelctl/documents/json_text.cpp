#include "kestrelctl/documents/json_text.h"

#include "kestrelctl/terminal_text.h"

#include <json/writer.h>

namespace kestrelvisor::ctl {

std::string jsonText(const Json::Value& document, OutputFormat form) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = form == OutputFormat::jsonl ? "" : "  ";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, document) + "\n";
}

Json::Value jsonOf(const std::string& text) { return validUtf8(text); }

Json::Value jsonOf(const std::vector<Warning>& warnings) {
  Json::Value list(Json::arrayValue);
  for (const Warning& warning : warnings) {
    Json::Value value(Json::objectValue);
    value["kind"] = warning.kind;
    value["text"] = jsonOf(warning.text);
    list.append(std::move(value));
  }
  return list;
}

}  // namespace kestrelvisor::ctl
