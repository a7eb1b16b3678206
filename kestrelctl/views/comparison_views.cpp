#include "kestrelctl/views/comparison_views.h"

#include "kestrelctl/views/comparison_json.h"
#include "kestrelctl/views/comparison_table.h"
#include "kestrelctl/views/json_document.h"
#include "kestrelctl/views/json_lines.h"
#include "kestrelctl/views/name_view.h"
#include "kestrelctl/views/yaml_view.h"

#include <set>

namespace kestrelvisor::ctl {
namespace {

TextTable tableOf(const ReplyComparison& comparison, OutputFormat format, ComparisonDetail detail,
                  const Rendering& rendering) {
  if (detail == ComparisonDetail::counts) return tableOfCounts(comparison);
  return tableOfDifferences(comparison, format == OutputFormat::wide, rendering);
}

void documentOf(const ReplyComparison& comparison, ComparisonDetail detail, const Sink& sink) {
  JsonDocument document(sink);
  document.addMembers(comparisonSummaryJson(comparison));
  if (detail == ComparisonDetail::differences) {
    document.addList("differences", comparison.differences(), differenceJson);
  }
  document.finish();
}

void linesOf(const ReplyComparison& comparison, ComparisonDetail detail, const Sink& sink) {
  JsonLines lines(sink);
  if (detail == ComparisonDetail::differences) {
    for (const Difference& difference : comparison.differences()) {
      lines.add("difference", differenceJson(difference));
    }
  }
  lines.add("summary", comparisonSummaryJson(comparison));
  lines.finish();
}

// Each thing once, however much of it differs.
std::string namesOf(const ReplyComparison& comparison) {
  std::string text;
  std::set<std::string_view> told;
  for (const Difference& difference : comparison.differences()) {
    const std::string_view address = difference.item().address;
    if (told.insert(address).second) text += addressLine(std::string(address));
  }
  return text;
}

}  // namespace

void showComparison(const ReplyComparison& comparison, OutputFormat format, ComparisonDetail detail,
                    const Rendering& rendering, const Sink& sink) {
  switch (format) {
    case OutputFormat::json:
      return documentOf(comparison, detail, sink);
    case OutputFormat::yaml:
      return yamlView([&](const Sink& json) { documentOf(comparison, detail, json); }, sink);
    case OutputFormat::jsonl:
      return linesOf(comparison, detail, sink);
    case OutputFormat::name:
      return sink(namesOf(comparison));
    case OutputFormat::text:
    case OutputFormat::tree:
    case OutputFormat::table:
    case OutputFormat::wide:
    case OutputFormat::csv:
    case OutputFormat::dot:
    case OutputFormat::protobuf:
      break;
  }
  if (comparison.isSame()) return;
  const TextTable table = tableOf(comparison, format, detail, rendering);
  sink(format == OutputFormat::wide ? table.uncut(rendering) : table.cut(rendering));
}

}  // namespace kestrelvisor::ctl
