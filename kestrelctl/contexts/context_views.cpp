#include "kestrelctl/contexts/context_views.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/views/text_table.h"

#include <json/value.h>

#include <utility>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

std::string settingOf(const ContextSettings& settings, const std::string& key) {
  const auto found = settings.find(key);
  return found == settings.end() ? std::string() : found->second;
}

}  // namespace

std::string contextTable(const Contexts& contexts, const Rendering& rendering) {
  TextTable table({{"CONTEXT"}, {"MANAGER"}, {"USER"}});
  for (const auto& [name, settings] : contexts) {
    table.addRow({printable(name, rendering.utf8),
                  printable(settingOf(settings, "manager"), rendering.utf8),
                  printable(settingOf(settings, "user"), rendering.utf8)});
  }
  return table.cut(rendering);
}

std::string contextText(const ContextSettings& settings, const Rendering& rendering) {
  constexpr std::size_t kKeyWidth = 16;
  std::string text;
  for (const std::string& key : contextKeys()) {
    if (settings.count(key) == 0) continue;
    text += rendering.bold(padRight(key, kKeyWidth)) + "  " +
            printable(settings.at(key), rendering.utf8) + "\n";
  }
  return text;
}

std::string contextDocument(const Contexts& contexts, OutputFormat form) {
  Json::Value document(Json::objectValue);
  Json::Value& list = document["contexts"] = Json::Value(Json::arrayValue);
  for (const auto& [name, settings] : contexts) {
    Json::Value value(Json::objectValue);
    value["name"] = jsonOf(name);
    Json::Value& options = value["options"] = Json::Value(Json::objectValue);
    for (const auto& [key, setting] : settings) {
      options[key] = isSwitch(key) ? Json::Value(setting == "true") : jsonOf(setting);
    }
    list.append(std::move(value));
  }
  document["warnings"] = jsonOf(std::vector<Warning>());
  return jsonText(document, form);
}

}  // namespace kestrelvisor::ctl
