#include "kestrelctl/explanations/explanation_views.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"

#include <json/json.h>

#include <algorithm>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLineWidth = 80;
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
std::string inColumn(std::string_view text, std::size_t column) {
  std::string lines;
  for (const char c : wrapped(text, kLineWidth - column)) {
    lines += c;
    if (c == '\n') lines.append(column, ' ');
  }
  return lines;
}

std::string paragraph(const char* label, std::string_view text, const Rendering& rendering) {
  return "  " + rendering.bold(padRight(label, kLabelWidth)) + "  " + inColumn(text, kTextColumn) +
         "\n";
}

std::string explained(const Explanation& row, const Rendering& rendering) {
  const std::string heading = std::string(row.code) + "  ";
  return rendering.bold(heading + inColumn(row.title, heading.size())) + "\n" +
         paragraph("kind", kindOfCode(row.kind).meaning, rendering) +
         paragraph("cause", row.cause, rendering) + paragraph("comes up in", row.step, rendering) +
         paragraph("what to do", row.remedy, rendering) +
         paragraph("retry", retryWords(row.retry), rendering);
}

std::string cut(std::string_view text, std::size_t width) {
  if (text.size() <= width) return std::string(text);
  return std::string(text.substr(0, width - 3)) + "...";
}

Json::Value described(const Explanation& row) {
  Json::Value value(Json::objectValue);
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

std::string codeTable(CodeKind kind, const Rendering& rendering) {
  const std::vector<const Explanation*> rows = explanationsOf(kind);
  std::size_t width = 4;
  for (const Explanation* const row : rows) width = std::max(width, columnsOf(row->code));
  constexpr std::size_t kRetryWidth = 7;
  const std::size_t titleWidth = kLineWidth - width - kRetryWidth - 4;
  std::string text = rendering.bold(padRight("CODE", width) + "  " +
                                    padRight("RETRY", kRetryWidth) + "  MEANING") +
                     "\n";
  for (const Explanation* const row : rows) {
    text += padRight(row->code, width) + "  " + padRight(retryWords(row->retry), kRetryWidth) +
            "  " + cut(row->title, titleWidth) + "\n";
  }
  return text;
}

std::string kindTable(const Rendering& rendering) {
  constexpr std::size_t kKindWidth = 7;
  constexpr std::size_t kCountWidth = 5;
  std::string text = rendering.bold(padRight("KIND", kKindWidth) + "  " +
                                    padLeft("CODES", kCountWidth) + "  WHAT IT IS") +
                     "\n";
  for (const KindOfCode& kind : kindsOfCode()) {
    const std::string count = std::to_string(explanationsOf(kind.kind).size());
    text += padRight(kind.name, kKindWidth) + "  " + padLeft(count, kCountWidth) + "  " +
            kind.meaning + "\n";
  }
  return text;
}

std::string explanationDocument(const std::vector<const Explanation*>& rows, OutputFormat form) {
  if (form == OutputFormat::jsonl) {
    std::string lines;
    for (const Explanation* const row : rows) lines += jsonText(described(*row), form);
    return lines;
  }
  Json::Value document(Json::objectValue);
  Json::Value& list = document["explanations"] = Json::Value(Json::arrayValue);
  for (const Explanation* const row : rows) list.append(described(*row));
  return jsonText(document, form);
}

}  // namespace kestrelvisor::ctl
