#include "kestrelctl/explanations/explanation_views.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/views/text_table.h"

#include <string_view>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLabelWidth = 12;  // of "comes up in"
constexpr std::size_t kTextColumn = kLabelWidth + 4;

const char* retryWords(Retry retry) {
  switch (retry) {
    case Retry::no:
      return "no";
    case Retry::yes:
      return "yes";
    case Retry::depends:
      break;
  }
  return "depends";
}

// A text that begins in a column, broken into lines that all begin there.
std::string wrappedFrom(std::size_t column, std::string_view text, const Rendering& rendering) {
  return wrapped(text, rendering.columnsOfProse(), {column, column});
}

std::string paragraph(const char* label, std::string_view text, const Rendering& rendering) {
  return "  " + rendering.bold(padRight(label, kLabelWidth)) + "  " +
         wrappedFrom(kTextColumn, text, rendering) + "\n";
}

std::string explained(const Explanation& row, const Rendering& rendering) {
  const std::string heading = std::string(row.code) + "  ";
  return rendering.bold(heading + wrappedFrom(heading.size(), row.title, rendering)) + "\n" +
         paragraph("kind", kindOfCode(row.kind).meaning, rendering) +
         paragraph("cause", row.cause, rendering) + paragraph("comes up in", row.step, rendering) +
         paragraph("what to do", row.remedy, rendering) +
         paragraph("retry", retryWords(row.retry), rendering);
}

Json::Value described(const Explanation& row) {
  Json::Value value = emptyJsonObject();
  value["kind"] = kindOfCode(row.kind).name;
  value["code"] = row.code;
  value["title"] = row.title;
  value["cause"] = row.cause;
  value["step"] = row.step;
  value["remedy"] = row.remedy;
  value["retry"] = retryWords(row.retry);
  return value;
}

}  // namespace

std::string explanationText(const std::vector<const Explanation*>& rows,
                            const Rendering& rendering) {
  std::string text;
  for (const Explanation* const row : rows) {
    text += (text.empty() ? "" : "\n") + explained(*row, rendering);
  }
  return text;
}

std::string codeTable(CodeKind kind, OutputFormat form, const Rendering& rendering) {
  const bool isWide = form == OutputFormat::wide;
  std::vector<TextTable::Column> columns{{"CODE"}, {"RETRY"}, {"MEANING"}};
  if (isWide) columns.insert(columns.end(), {{"CAUSE"}, {"WHAT TO DO"}});
  TextTable table(std::move(columns));
  for (const Explanation* const row : explanationsOf(kind)) {
    std::vector<std::string> cells{row->code, retryWords(row->retry), row->title};
    if (isWide) cells.insert(cells.end(), {row->cause, row->remedy});
    table.addRow(std::move(cells));
  }
  return isWide ? table.uncut(rendering) : table.cut(rendering);
}

std::string kindTable(const Rendering& rendering) {
  TextTable table({{"KIND"}, {"CODES", TextTable::Cells::number}, {"WHAT IT IS"}});
  for (const KindOfCode& kind : kindsOfCode()) {
    const std::string count = std::to_string(explanationsOf(kind.kind).size());
    table.addRow({kind.name, count, kind.meaning});
  }
  return table.cut(rendering);
}

std::string codeNames(const std::vector<const Explanation*>& rows) {
  std::string text;
  for (const Explanation* const row : rows) {
    text += std::string(kindOfCode(row->kind).name) + " " + row->code + "\n";
  }
  return text;
}

std::string explanationDocument(const std::vector<const Explanation*>& rows, OutputFormat form) {
  if (form == OutputFormat::jsonl) {
    std::string lines;
    for (const Explanation* const row : rows) lines += jsonText(described(*row), form);
    return lines;
  }
  Json::Value document = emptyJsonObject();
  Json::Value& list = document["explanations"] = emptyJsonList();
  for (const Explanation* const row : rows) list.append(described(*row));
  return jsonText(document, form);
}

}  // namespace kestrelvisor::ctl
