#include "kestrelctl/documents/json_text.h"

#include "kestrelctl/documents/yaml_text.h"
#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {

Json::StreamWriterBuilder jsonWriter(OutputFormat form) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = form == OutputFormat::jsonl ? "" : "  ";
  builder["emitUTF8"] = true;
  return builder;
}

std::string jsonText(const Json::Value& document, OutputFormat form) {
  const std::string text = harmlessJson(Json::writeString(jsonWriter(form), document)) + "\n";
  return form == OutputFormat::yaml ? YamlText().add(text) : text;
}

Json::Value emptyJsonList() { return {Json::arrayValue}; }

Json::Value emptyJsonObject() { return {Json::objectValue}; }

Json::Value jsonNumber(std::uint64_t number) { return static_cast<Json::UInt64>(number); }

Json::Value jsonOf(const std::string& text) { return validUtf8(text); }

Json::Value jsonOf(const std::vector<Warning>& warnings) {
  Json::Value list = emptyJsonList();
  for (const Warning& warning : warnings) {
    Json::Value value = emptyJsonObject();
    value["kind"] = warning.kind;
    value["text"] = jsonOf(warning.text);
    list.append(std::move(value));
  }
  return list;
}

Json::Value jsonOf(const Accounting& accounting) {
  Json::Value value = emptyJsonObject();
  value["counted"] = jsonNumber(accounting.counted);
  value["recorded"] = jsonNumber(accounting.recorded);
  value["templates"] = jsonNumber(accounting.templates);
  value["linkedClones"] = jsonNumber(accounting.linkedClones);
  value["outOfScope"] = jsonNumber(accounting.outOfScope);
  value["unreadableUuid"] = jsonNumber(accounting.unreadableUuid);
  value["unreadData"] = jsonNumber(accounting.unreadData);
  value["vanished"] = jsonNumber(accounting.vanished);
  value["unexplained"] = static_cast<Json::Int64>(accounting.unexplained());
  return value;
}

}  // namespace kestrelvisor::ctl
