#include "kestrelctl/documents/json_text.h"

#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {

Json::StreamWriterBuilder jsonWriter(OutputFormat form) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = form == OutputFormat::jsonl ? "" : "  ";
  builder["emitUTF8"] = true;
  return builder;
}

std::string jsonText(const Json::Value& document, OutputFormat form) {
  return harmlessJson(Json::writeString(jsonWriter(form), document)) + "\n";
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

Json::Value jsonOf(const Accounting& accounting) {
  Json::Value value(Json::objectValue);
  value["counted"] = Json::UInt64{accounting.counted};
  value["recorded"] = Json::UInt64{accounting.recorded};
  value["templates"] = Json::UInt64{accounting.templates};
  value["linkedClones"] = Json::UInt64{accounting.linkedClones};
  value["outOfScope"] = Json::UInt64{accounting.outOfScope};
  value["unreadableUuid"] = Json::UInt64{accounting.unreadableUuid};
  value["unreadData"] = Json::UInt64{accounting.unreadData};
  value["vanished"] = Json::UInt64{accounting.vanished};
  value["unexplained"] = static_cast<Json::Int64>(accounting.unexplained());
  return value;
}

}  // namespace kestrelvisor::ctl
