#include "kestrelctl/views/comparison_table.h"

#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {
namespace {

using Cells = TextTable::Cells;

// What a difference leads from and to, in words.
struct Ends {
  std::string from;
  std::string to;
};

std::string nameOf(const std::optional<Place>& place) {
  return place ? std::string(place->name) : std::string();
}

// Where an item stands; of a datastore, which stands in nothing, its size.
std::string placeOf(const Item& item) {
  if (item.parent) return std::string(item.parent->name);
  return item.sizeKiB ? humanSize(*item.sizeKiB) : std::string();
}

std::string exactSize(std::uint64_t kib) { return std::to_string(kib) + " KiB"; }

Ends endsOfSizes(const Difference& difference) {
  const std::uint64_t from = difference.before->sizeKiB.value_or(0);
  const std::uint64_t to = difference.after->sizeKiB.value_or(0);
  // Rounded, a small change would not be seen.
  if (humanSize(from) == humanSize(to)) return {exactSize(from), exactSize(to)};
  return {humanSize(from), humanSize(to)};
}

Ends endsOf(const Difference& difference) {
  switch (difference.change) {
    case Change::added:
      return {"", placeOf(*difference.after)};
    case Change::removed:
      return {placeOf(*difference.before), ""};
    case Change::moved:
      return {nameOf(difference.from), nameOf(difference.to)};
    case Change::resized:
      return endsOfSizes(difference);
    case Change::renamed:
      return {std::string(difference.before->name), std::string(difference.after->name)};
  }
  return {};
}

bool isEmpty(const ReplyComparison& comparison, ItemKind kind) {
  std::size_t total = 0;
  for (const Change change : kChanges) total += comparison.count(kind, change);
  return total == 0;
}

}  // namespace

TextTable tableOfDifferences(const ReplyComparison& comparison, bool withGuids,
                             const Rendering& rendering) {
  std::vector<TextTable::Column> columns{{"CHANGE"}, {"KIND"}, {"NAME"}, {"FROM"}, {"TO"}};
  if (withGuids) columns.push_back({"GUID"});
  TextTable table(std::move(columns));
  for (const Difference& difference : comparison.differences()) {
    const Ends ends = endsOf(difference);
    const Item& item = difference.item();
    std::vector<std::string> cells{changeName(difference.change), itemKindName(item.kind),
                                   printable(item.name, rendering.utf8),
                                   printable(ends.from, rendering.utf8),
                                   printable(ends.to, rendering.utf8)};
    if (withGuids) cells.push_back(printable(item.key, rendering.utf8));
    table.addRow(std::move(cells));
  }
  return table;
}

TextTable tableOfCounts(const ReplyComparison& comparison) {
  TextTable table({{"KIND"},
                   {"ADDED", Cells::number},
                   {"REMOVED", Cells::number},
                   {"MOVED", Cells::number},
                   {"RESIZED", Cells::number},
                   {"RENAMED", Cells::number}});
  for (const ItemKind kind : kItemKinds) {
    if (isEmpty(comparison, kind)) continue;
    std::vector<std::string> cells{itemKindName(kind)};
    for (const Change change : kChanges) {
      cells.push_back(std::to_string(comparison.count(kind, change)));
    }
    table.addRow(std::move(cells));
  }
  return table;
}

}  // namespace kestrelvisor::ctl
