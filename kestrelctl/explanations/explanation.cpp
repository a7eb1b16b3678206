#include "kestrelctl/explanations/explanation.h"

#include "kestrelctl/explanations/tables.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace kestrelvisor::ctl {
namespace {

const std::vector<Explanation>& tableOf(CodeKind kind) {
  switch (kind) {
    case CodeKind::exit:
      return exitTable();
    case CodeKind::status:
      return statusTable();
    case CodeKind::detail:
      return detailTable();
    case CodeKind::engine:
      return engineTable();
    case CodeKind::manager:
      return managerTable();
    case CodeKind::http:
      return httpTable();
    case CodeKind::number:
      return numberTable();
    case CodeKind::curl:
      return curlTable();
    case CodeKind::blocks:
      break;
  }
  return blocksTable();
}

// Codes that share an explanation unless they have one of their own.
struct Range {
  CodeKind kind;
  int first;
  int last;
  const char* code;
};

constexpr std::array<Range, 6> kRanges{{
    {CodeKind::exit, 129, 192, "128+n"},
    {CodeKind::http, 100, 199, "1xx"},
    {CodeKind::http, 200, 299, "2xx"},
    {CodeKind::http, 300, 399, "3xx"},
    {CodeKind::http, 400, 499, "4xx"},
    {CodeKind::http, 500, 599, "5xx"},
}};

std::optional<int> numberOf(std::string_view text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

const Explanation* rowOf(CodeKind kind, std::string_view code) {
  const std::vector<Explanation>& table = tableOf(kind);
  const auto found = std::find_if(table.begin(), table.end(),
                                  [&](const Explanation& row) { return row.code == code; });
  return found == table.end() ? nullptr : &*found;
}

}  // namespace

const std::vector<KindOfCode>& kindsOfCode() {
  static const std::vector<KindOfCode> kinds{
      {CodeKind::exit, "exit", "exit code of kestrelctl"},
      {CodeKind::status, "status", "status of an operation of the engine"},
      {CodeKind::detail, "detail", "detail of an operation's result"},
      {CodeKind::engine, "engine", "code that the engine makes"},
      {CodeKind::manager, "manager", "code of the manager"},
      {CodeKind::http, "http", "HTTP status of an answer"},
      {CodeKind::curl, "curl", "result of libcurl"},
      {CodeKind::number, "number", "number that a host gets for a code"},
      {CodeKind::blocks, "blocks", "code of reading changed blocks"},
  };
  return kinds;
}

const KindOfCode& kindOfCode(CodeKind kind) {
  return *std::find_if(kindsOfCode().begin(), kindsOfCode().end(),
                       [&](const KindOfCode& entry) { return entry.kind == kind; });
}

const KindOfCode* kindNamed(std::string_view name) {
  const std::vector<KindOfCode>& kinds = kindsOfCode();
  const auto found = std::find_if(kinds.begin(), kinds.end(),
                                  [&](const KindOfCode& entry) { return entry.name == name; });
  return found == kinds.end() ? nullptr : &*found;
}

std::vector<const Explanation*> explanationsOf(CodeKind kind) {
  std::vector<const Explanation*> rows;
  for (const Explanation& row : tableOf(kind)) rows.push_back(&row);
  return rows;
}

const Explanation* explanationOf(CodeKind kind, std::string_view code) {
  if (const Explanation* const row = rowOf(kind, code)) return row;
  const std::optional<int> number = numberOf(code);
  for (const Range& range : kRanges) {
    const bool within = number && *number >= range.first && *number <= range.last;
    if (range.kind == kind && within) return rowOf(kind, range.code);
  }
  return nullptr;
}

std::vector<const Explanation*> explanationsOf(std::string_view code) {
  std::vector<const Explanation*> rows;
  for (const KindOfCode& entry : kindsOfCode()) {
    if (const Explanation* const row = explanationOf(entry.kind, code)) rows.push_back(row);
  }
  return rows;
}

}  // namespace kestrelvisor::ctl
