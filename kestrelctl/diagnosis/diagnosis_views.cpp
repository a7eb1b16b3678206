#include "kestrelctl/diagnosis/diagnosis_views.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"

#include <json/value.h>

#include <algorithm>
#include <array>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kTitleWidth = 12;
constexpr std::size_t kTextColumn = 4 + 2 + kTitleWidth + 2;

struct VerdictWords {
  const char* shown;
  const char* key;
};
// By their numbers.
constexpr std::array<VerdictWords, 4> kVerdicts{
    {{"PASS", "pass"}, {"WARN", "warn"}, {"FAIL", "fail"}, {"SKIP", "skip"}}};

const VerdictWords& wordsOf(Verdict verdict) {
  return kVerdicts[static_cast<std::size_t>(verdict)];
}

std::string coloured(Verdict verdict, const Rendering& rendering) {
  const std::string word = wordsOf(verdict).shown;
  switch (verdict) {
    case Verdict::fail:
      return rendering.red(word);
    case Verdict::warn:
      return rendering.magenta(word);
    case Verdict::skip:
      return rendering.dim(word);
    case Verdict::pass:
      break;
  }
  return word;
}

// Lines that begin in the column of the texts, the first one without its indentation.
std::string inTextColumn(const std::string& text, const Rendering& rendering) {
  return wrapped(printable(text, rendering.utf8), rendering.columnsOfProse(),
                 {kTextColumn, kTextColumn}) +
         "\n";
}

std::size_t countOf(const std::vector<CheckResult>& results, Verdict verdict) {
  return static_cast<std::size_t>(std::count_if(
      results.begin(), results.end(),
      [verdict](const CheckResult& result) { return result.finding.verdict == verdict; }));
}

Json::Value documentOf(const CheckResult& result) {
  const Finding& finding = result.finding;
  Json::Value value(Json::objectValue);
  value["check"] = result.check.key;
  value["verdict"] = wordsOf(finding.verdict).key;
  value["text"] = jsonOf(finding.text);
  value["remedy"] = jsonOf(finding.remedy);
  value["exitCode"] = static_cast<int>(finding.exitCode);
  return value;
}

}  // namespace

std::string findingText(const CheckResult& result, const Rendering& rendering) {
  const Finding& finding = result.finding;
  std::string text = coloured(finding.verdict, rendering) + "  " +
                     padRight(result.check.title, kTitleWidth) + "  " +
                     inTextColumn(finding.text, rendering);
  if (finding.remedy.empty()) return text;
  return text + std::string(kTextColumn, ' ') + inTextColumn("-> " + finding.remedy, rendering);
}

std::string diagnosisSummary(const std::vector<CheckResult>& results) {
  const std::size_t failures = countOf(results, Verdict::fail);
  const std::size_t warnings = countOf(results, Verdict::warn);
  const std::size_t skips = countOf(results, Verdict::skip);
  std::string text = failures == 0 ? "No check failed"
                                   : grouped(failures) + (failures == 1 ? " check" : " checks") +
                                         " failed; begin with the first of them";
  if (warnings > 0) text += "; " + counted(warnings, "warning");
  if (skips > 0) text += "; " + grouped(skips) + " not tried";
  return text + ".";
}

ExitCode exitCodeOf(const std::vector<CheckResult>& results) {
  const auto first = std::find_if(results.begin(), results.end(), [](const CheckResult& result) {
    return result.finding.verdict == Verdict::fail;
  });
  return first == results.end() ? ExitCode::success : first->finding.exitCode;
}

std::string diagnosisDocument(const ConnectionOptions& connection,
                              const std::vector<CheckResult>& results,
                              const std::vector<Warning>& warnings, OutputFormat form) {
  Json::Value document(Json::objectValue);
  document["manager"] = jsonOf(connection.manager.url());
  document["user"] = connection.user.empty() ? Json::Value() : jsonOf(connection.user);
  document["exitCode"] = static_cast<int>(exitCodeOf(results));
  Json::Value& list = document["checks"] = Json::Value(Json::arrayValue);
  for (const CheckResult& result : results) list.append(documentOf(result));
  document["warnings"] = jsonOf(warnings);
  return jsonText(document, form);
}

}  // namespace kestrelvisor::ctl
