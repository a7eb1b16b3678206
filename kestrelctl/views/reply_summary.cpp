#include "kestrelctl/views/reply_summary.h"

#include "kestrelctl/item_kind.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/views/screen_line.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <limits>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kSizeColumns = 8;     // "1023 GiB"
constexpr std::size_t kLabelColumns = 13;   // "Other objects"
constexpr std::size_t kNarrowestName = 12;  // where room is scarce

// "5 hosts, 1 cluster"
std::string usersOf(const ReplyIndex& index, const datastore_record& datastore) {
  std::vector<std::string> parts;
  for (const ObjectKind kind : {ObjectKind::host, ObjectKind::cluster}) {
    const std::size_t count = index.countUsers(datastore, kind);
    if (count > 0) parts.push_back(counted(count, itemKindName(itemKindOf(kind))));
  }
  return parts.empty() ? "nobody" : joined(parts);
}

// "  1 TiB,  512 GiB free"
std::string sizesOf(const datastore_record& datastore) {
  return "  " + padLeft(humanSize(datastore.size()), kSizeColumns) + ", " +
         padLeft(humanSize(datastore.freesize()), kSizeColumns) + " free";
}

class DatastoreLines {
 public:
  DatastoreLines(const ReplyIndex& index, const Rendering& rendering)
      : index_(index), rendering_(rendering), nameColumns_(columnsOfNames()) {}

  std::string write() const {
    std::string text;
    for (const datastore_record& datastore : index_.reply().datastore_records()) {
      text +=
          ScreenLine(rendering_)
              .add("  " + asCell(nameOf(datastore), nameColumns_, rendering_) + sizesOf(datastore))
              .addDim(remarkOf(datastore))
              .text();
    }
    return text.empty() ? text : rendering_.bold("Datastores") + "\n" + text + "\n";
  }

 private:
  std::string remarkOf(const datastore_record& datastore) const {
    return "  reached by " + usersOf(index_, datastore);
  }

  std::string nameOf(const datastore_record& datastore) const {
    return printable(datastore.name(), rendering_.utf8);
  }

  // As wide as the widest, unless that leaves no room for the rest of its line.
  std::size_t columnsOfNames() const {
    std::size_t names = 0;
    std::size_t rest = 0;
    for (const datastore_record& datastore : index_.reply().datastore_records()) {
      names = widened(names, nameOf(datastore), rendering_);
      rest = std::max(rest, columnsOf("  " + sizesOf(datastore) + remarkOf(datastore)));
    }
    const std::size_t room = rendering_.columns - std::min(rendering_.columns, rest);
    return std::min(names, std::max(room, kNarrowestName));
  }

  const ReplyIndex& index_;
  const Rendering& rendering_;
  std::size_t nameColumns_;
};

std::string utcTime(std::uint64_t secondsSince1970) {
  const auto seconds = static_cast<std::time_t>(secondsSince1970);
  std::tm calendar{};
  std::array<char, 32> text{};
  if (gmtime_r(&seconds, &calendar) == nullptr) return std::to_string(secondsSince1970);
  const std::size_t size =
      std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &calendar);
  return {text.data(), size};
}

// A sum that stays at the largest number instead of beginning anew.
std::uint64_t sumOf(std::uint64_t one, std::uint64_t other) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max() - one;
  return one + std::min(other, most);
}

std::string totalSizes(const ScanEnvironmentReply& reply) {
  std::uint64_t total = 0;
  for (const disk_record& disk : reply.disk_records()) total = sumOf(total, disk.disksize());
  return humanSize(total);
}

std::string freeSizes(const ScanEnvironmentReply& reply) {
  std::uint64_t total = 0;
  std::uint64_t free = 0;
  for (const datastore_record& datastore : reply.datastore_records()) {
    total = sumOf(total, datastore.size());
    free = sumOf(free, datastore.freesize());
  }
  return humanSize(total) + ", " + humanSize(free) + " free";
}

std::string kindCounts(const ReplyIndex& index) {
  return joined({counted(index.count(ObjectKind::site), "site"),
                 counted(index.count(ObjectKind::cluster), "cluster"),
                 counted(index.count(ObjectKind::host), "host")});
}

struct SummaryRow {
  const char* label;
  std::string value;
  std::string remark;
};

std::string factLine(const char* label, const std::string& fact, const Rendering& rendering) {
  return ScreenLine(rendering).add("  " + padRight(label, kLabelColumns) + "  " + fact).text();
}

std::string countTable(const ReplyIndex& index, const Rendering& rendering) {
  const ScanEnvironmentReply& reply = index.reply();
  const std::vector<SummaryRow> rows{
      {"Machines", std::to_string(reply.machine_records_size()), ""},
      {"Disks", std::to_string(reply.disk_records_size()), totalSizes(reply)},
      {"Datastores", std::to_string(reply.datastore_records_size()), freeSizes(reply)},
      {"Other objects", std::to_string(reply.non_vm_records_size()), kindCounts(index)}};
  std::size_t width = 0;
  for (const SummaryRow& row : rows) width = std::max(width, row.value.size());
  std::string text = rendering.bold("Summary") + "\n";
  for (const SummaryRow& row : rows) {
    text += ScreenLine(rendering)
                .add("  " + padRight(row.label, kLabelColumns) + "  " + padLeft(row.value, width))
                .addDim(row.remark.empty() ? "" : "  " + row.remark)
                .text();
  }
  return text;
}

}  // namespace

std::string summaryView(const ReplyIndex& index, const Rendering& rendering) {
  const ScanEnvironmentReply& reply = index.reply();
  std::string text = DatastoreLines(index, rendering).write() + countTable(index, rendering);
  for (const std::string& version : reply.environment_version()) {
    text += factLine("REST version", printable(version, rendering.utf8), rendering);
  }
  for (const std::uint64_t time : reply.timestamp()) {
    text += factLine("Taken at", utcTime(time), rendering);
  }
  return text;
}

}  // namespace kestrelvisor::ctl
