#include "kestrelctl/documents/operation_documents.h"

#include "kestrelctl/documents/json_text.h"

namespace kestrelvisor::ctl {
namespace {

Json::Value beginOf(const OperationRequest& request) {
  Json::Value document = emptyJsonObject();
  document["manager"] = jsonOf(request.connection.manager.url());
  document["user"] = jsonOf(request.connection.user);
  return document;
}

Json::Value headersOf(const PlannedRequest& planned) {
  Json::Value list = emptyJsonList();
  for (const PlannedRequest::Header& header : planned.headers) {
    Json::Value value = emptyJsonObject();
    value["name"] = jsonOf(header.name);
    value["value"] = jsonOf(header.value);
    list.append(std::move(value));
  }
  return list;
}

}  // namespace

std::string verifyDocument(const OperationRequest& request, const OperationResult& result,
                           OutputFormat form) {
  Json::Value document = beginOf(request);
  document["guid"] = jsonOf(result.guid);
  document["warnings"] = jsonOf(result.warnings);
  return jsonText(document, form);
}

std::string disableCbtDocument(const OperationRequest& request, const OperationResult& result,
                               OutputFormat form) {
  Json::Value document = beginOf(request);
  document["machineUri"] = jsonOf(request.machineUri);
  document["dryRun"] = false;
  document["cbtEnabled"] = false;
  document["warnings"] = jsonOf(result.warnings);
  return jsonText(document, form);
}

std::string dryRunDocument(const OperationRequest& request, const PlannedRequest& planned,
                           OutputFormat form) {
  Json::Value document = beginOf(request);
  document["machineUri"] = jsonOf(request.machineUri);
  document["dryRun"] = true;
  Json::Value& sent = document["request"] = emptyJsonObject();
  sent["method"] = planned.method;
  sent["url"] = jsonOf(planned.url);
  sent["headers"] = headersOf(planned);
  sent["body"] = planned.body;
  document["warnings"] = jsonOf(std::vector<Warning>());
  return jsonText(document, form);
}

std::string cipherDocument(const std::string& cipher, const std::vector<Warning>& warnings,
                           OutputFormat form) {
  Json::Value document = emptyJsonObject();
  document["cipher"] = cipher;
  document["warnings"] = jsonOf(warnings);
  return jsonText(document, form);
}

}  // namespace kestrelvisor::ctl
