#include "kestrelctl/documents/error_document.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/explanations/advice.h"

#include <json/value.h>

#include <array>
#include <cstring>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr int kFirstSignal = exitCodeOfSignal(1);

// Names of the exit codes, by their numbers.
constexpr std::array<const char*, 10> kExitNames{
    "success",     "differences",        "wrongUsage", "partial",       "refusedLogin",
    "unreachable", "refusedCertificate", "timeLimit",  "managerFailed", "unreadableAnswer"};

const char* exitName(ExitCode code) {
  const auto number = static_cast<std::size_t>(code);
  if (number < kExitNames.size()) return kExitNames[number];
  return static_cast<int>(code) >= kFirstSignal ? "interrupted" : "unreadableAnswer";
}

std::optional<OutputFormat> formNamed(std::string_view name) {
  if (name == "json") return OutputFormat::json;
  if (name == "jsonl") return OutputFormat::jsonl;
  return std::nullopt;
}

// The value that an argument gives to the option, as in "-ojson" or "--output=json".
std::optional<std::string_view> attachedValue(std::string_view argument) {
  for (const std::string_view start : {"--output=", "-o=", "-o"}) {
    const bool longer = argument.size() > start.size();
    if (longer && argument.substr(0, start.size()) == start) return argument.substr(start.size());
  }
  return std::nullopt;
}

Json::Value factsOf(const Failure& failure) {
  Json::Value list(Json::arrayValue);
  for (const Failure::Fact& fact : failure.facts) {
    Json::Value value(Json::objectValue);
    value["label"] = fact.label;
    value["text"] = jsonOf(fact.text);
    list.append(std::move(value));
  }
  return list;
}

template <class Number>
Json::Value orNull(const std::optional<Number>& number) {
  return number ? Json::Value(static_cast<Json::Int64>(*number)) : Json::Value();
}

}  // namespace

std::optional<OutputFormat> errorFormOf(int argc, const char* const* argv) {
  std::optional<OutputFormat> form;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--") break;
    if (const auto value = attachedValue(argument)) {
      form = formNamed(*value);
    } else if ((argument == "-o" || argument == "--output") && i + 1 < argc) {
      form = formNamed(argv[++i]);
    }
  }
  return form;
}

std::string errorDocument(const Failure& failure, OutputFormat form) {
  Json::Value error(Json::objectValue);
  error["exitCode"] = static_cast<int>(failure.exitCode);
  error["exitName"] = exitName(failure.exitCode);
  error["what"] = jsonOf(failure.what());
  error["operationStatus"] = orNull(failure.operationStatus);
  error["detailId"] = orNull(failure.detailId);
  error["managerCode"] = failure.managerCode.empty() ? Json::Value() : jsonOf(failure.managerCode);
  error["text"] = jsonOf(failure.text);
  error["hint"] = jsonOf(failure.hint);
  error["retry"] = adviceFor(failure).retry == Retry::yes;
  error["facts"] = factsOf(failure);
  Json::Value document(Json::objectValue);
  document["error"] = std::move(error);
  document["warnings"] = jsonOf(failure.warnings);
  return jsonText(document, form);
}

Failure failureOfSignal(int number, const std::vector<Warning>& warnings) {
  const auto code = static_cast<ExitCode>(exitCodeOfSignal(number));
  Failure failure(code,
                  "ended by signal " + std::to_string(number) + " (" + strsignal(number) + ")");
  failure.hint = explanationOfExit(code).remedy;
  failure.warnings = warnings;
  return failure;
}

}  // namespace kestrelvisor::ctl
