#include "kestrelctl/watch/accounting_json.h"

#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {

Json::Value accountingJson(const Accounting& accounting) {
  Json::Value value(Json::objectValue);
  value["counted"] = Json::UInt64{accounting.counted};
  value["recorded"] = Json::UInt64{accounting.recorded};
  value["templates"] = Json::UInt64{accounting.templates};
  value["linkedClones"] = Json::UInt64{accounting.linkedClones};
  value["outOfScope"] = Json::UInt64{accounting.outOfScope};
  value["unreadableUuid"] = Json::UInt64{accounting.unreadableUuid};
  value["unreadData"] = Json::UInt64{accounting.unreadData};
  value["unexplained"] = Json::Int64{accounting.unexplained()};
  return value;
}

Json::Value warningsJson(const std::vector<Warning>& warnings) {
  Json::Value list(Json::arrayValue);
  for (const Warning& warning : warnings) {
    Json::Value value(Json::objectValue);
    value["kind"] = warning.kind;
    value["text"] = validUtf8(warning.text);
    list.append(std::move(value));
  }
  return list;
}

}  // namespace kestrelvisor::ctl
