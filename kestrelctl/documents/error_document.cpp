#include "kestrelctl/documents/error_document.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/explanations/advice.h"

#include <array>
#include <cstdlib>
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
  if (name == "yaml") return OutputFormat::yaml;
  return std::nullopt;
}

// An argument that is the option, with its value where it has one of its own.
struct FormWord {
  std::optional<std::string_view> value;  // nothing: the next argument is it
};

// "-o", "-ojson", "-o=json", and behind flags, which take no value: "-io", "-iojson".
std::optional<FormWord> shortFormWord(std::string_view argument) {
  constexpr std::string_view kFlags = "iqy";
  const std::size_t option = argument.find_first_not_of(kFlags, 1);
  if (option == std::string_view::npos || argument[option] != 'o') return std::nullopt;
  std::string_view value = argument.substr(option + 1);
  if (value.empty()) return FormWord();
  if (value.front() == '=') value.remove_prefix(1);
  return FormWord{value};
}

// Nothing for any other argument.
std::optional<FormWord> formWord(std::string_view argument) {
  constexpr std::string_view kOption = "--output";
  constexpr std::string_view kOptionAndValue = "--output=";
  if (argument == kOption) return FormWord();
  if (argument.substr(0, kOptionAndValue.size()) == kOptionAndValue) {
    return FormWord{argument.substr(kOptionAndValue.size())};
  }
  const bool isShort = argument.size() > 1 && argument[0] == '-' && argument[1] != '-';
  return isShort ? shortFormWord(argument) : std::nullopt;
}

Json::Value factsOf(const Failure& failure) {
  Json::Value list = emptyJsonList();
  for (const Failure::Fact& fact : failure.facts) {
    Json::Value value = emptyJsonObject();
    value["label"] = fact.label;
    value["text"] = jsonOf(fact.text);
    list.append(std::move(value));
  }
  return list;
}

}  // namespace

std::optional<OutputFormat> errorFormOf(int argc, const char* const* argv) {
  const char* const wanted = std::getenv("KESTRELVISOR_OUTPUT");
  std::optional<OutputFormat> form = formNamed(wanted == nullptr ? "" : wanted);
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--") break;
    const std::optional<FormWord> word = formWord(argument);
    if (!word) continue;
    if (word->value) {
      form = formNamed(*word->value);
    } else if (i + 1 < argc) {
      form = formNamed(argv[++i]);
    }
  }
  return form;
}

std::string errorDocument(const Failure& failure, OutputFormat form) {
  Json::Value error = emptyJsonObject();
  error["exitCode"] = static_cast<int>(failure.exitCode);
  error["exitName"] = exitName(failure.exitCode);
  error["what"] = jsonOf(failure.what());
  error["operationStatus"] = jsonOrNull(failure.operationStatus);
  error["detailId"] = jsonOrNull(failure.detailId);
  error["managerCode"] = failure.managerCode.empty() ? Json::Value() : jsonOf(failure.managerCode);
  error["text"] = jsonOf(failure.text);
  error["hint"] = jsonOf(failure.hint);
  error["retry"] = adviceFor(failure).retry == Retry::yes;
  error["facts"] = factsOf(failure);
  Json::Value document = emptyJsonObject();
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
