#include "kestrelctl/views/tree_view.h"

#include "kestrelctl/reply_selection.h"
#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace kestrelvisor::ctl {
namespace {

// The lines that join the tree. All of one kind are equally wide.
struct Branches {
  const char* child;      // in front of an object with siblings behind it
  const char* lastChild;  // in front of the last one
  const char* passing;    // beside the children of an object with siblings behind it
  const char* empty;      // beside the children of the last one
};
constexpr Branches kDrawn{"├─ ", "└─ ", "│  ", "   "};
constexpr Branches kAscii{"|- ", "`- ", "|  ", "   "};

// Widths of the columns of machines that stand together.
struct MachineColumns {
  std::size_t name = 0;
  std::size_t guest = 0;
  std::size_t disks = 0;
};

constexpr std::size_t kSizeColumns = 8;  // "1023 GiB"
constexpr std::size_t kKindColumns = 7;  // "cluster"

std::string kindOf(const IndexedObject& object) {
  const std::string name = kindName(object.kind());
  return name.empty() ? "type " + std::to_string(object.row->type()) : name;
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) {
    if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
  }
  return text;
}

// "10.32.1.11, x86 Intel, 2 CPUs"
std::string hostFacts(const non_vm_record& host) {
  const bool both = !host.arch().empty() && !host.cpuvendor().empty();
  return joined(
      {host.ip(), host.arch() + (both ? " " : "") + host.cpuvendor(),
       host.cpu_num() > 0 ? counted(static_cast<std::size_t>(host.cpu_num()), "CPU") : ""});
}

// "5 hosts, 120 machines"
std::string countsBelow(const ReplyIndex& index, std::size_t position) {
  std::vector<std::string> parts;
  for (const ObjectKind kind : {ObjectKind::cluster, ObjectKind::host}) {
    const std::size_t below = index.countBelow(position, kind);
    if (below > 0) parts.push_back(counted(below, kindName(kind)));
  }
  parts.push_back(counted(index.countBelow(position, ObjectKind::machine), "machine"));
  return joined(parts);
}

class TreeWriter {
 public:
  TreeWriter(const ReplyIndex& index, const Rendering& rendering)
      : index_(index), rendering_(rendering), branches_(rendering.utf8 ? kDrawn : kAscii) {}

  std::string write() {
    for (const std::size_t root : index_.roots()) {
      text_ += heading(index_.objects()[root], root, 0) + "\n";
      writeChildren(index_.objects()[root], "");
    }
    return std::move(text_);
  }

 private:
  // The depth is that of the environment: site, cluster, host, machine.
  void writeChildren(const IndexedObject& parent, const std::string& indent) {
    const MachineColumns columns = columnsOfMachines(parent);
    const std::size_t names = widthOfHeadings(parent);
    for (const std::size_t position : parent.children) {
      const IndexedObject& child = index_.objects()[position];
      const bool last = position == parent.children.back();
      text_ += rendering_.dim(indent + (last ? branches_.lastChild : branches_.child));
      text_ += child.is(ObjectKind::machine) ? machineLine(child, columns)
                                             : heading(child, position, names);
      text_ += "\n";
      writeChildren(child, indent + (last ? branches_.empty : branches_.passing));
    }
  }

  std::string show(const std::string& text) const { return printable(text, rendering_.utf8); }

  MachineColumns columnsOfMachines(const IndexedObject& parent) const {
    MachineColumns columns;
    for (const std::size_t position : parent.children) {
      const IndexedObject& child = index_.objects()[position];
      if (!child.is(ObjectKind::machine)) continue;
      columns.name = std::max(columns.name, columnsOf(show(child.row->name())));
      columns.guest = std::max(columns.guest, columnsOf(show(guestSystemOf(child))));
      columns.disks = std::max(columns.disks, counted(child.disks.size(), "disk").size());
    }
    return columns;
  }

  std::size_t widthOfHeadings(const IndexedObject& parent) const {
    std::size_t width = 0;
    for (const std::size_t position : parent.children) {
      const IndexedObject& child = index_.objects()[position];
      if (child.is(ObjectKind::machine)) continue;
      width = std::max(width, columnsOf(show(child.row->name())));
    }
    return width;
  }

  std::string machineLine(const IndexedObject& object, const MachineColumns& columns) const {
    const std::uint64_t size = object.machine == nullptr ? 0 : object.machine->totalsize();
    const std::string disks = counted(object.disks.size(), "disk");
    return padRight(show(object.row->name()), columns.name) + "  " +
           rendering_.dim(padRight(show(guestSystemOf(object)), columns.guest)) + "  " +
           padRight(disks, columns.disks) + "  " + padLeft(humanSize(size), kSizeColumns);
  }

  // Of everything that is not a machine: "production  cluster  5 hosts, 120 machines".
  std::string heading(const IndexedObject& object, std::size_t position,
                      std::size_t nameWidth) const {
    const std::string name = show(object.row->name());
    const std::size_t columns = columnsOf(name);
    const std::string fill(nameWidth > columns ? nameWidth - columns : 0, ' ');
    const bool isHost = object.other != nullptr && object.is(ObjectKind::host);
    return rendering_.bold(name.empty() ? "(no name)" : name) + fill + "  " +
           padRight(kindOf(object), kKindColumns) + "  " +
           joined({isHost ? show(hostFacts(*object.other)) : "", countsBelow(index_, position)});
  }

  const ReplyIndex& index_;
  const Rendering& rendering_;
  const Branches& branches_;
  std::string text_;
};

// "5 hosts, 1 cluster"
std::string usersOf(const ReplyIndex& index, const datastore_record& datastore) {
  const auto& users = index.usersOf(datastore);
  std::vector<std::string> parts;
  for (const ObjectKind kind : {ObjectKind::host, ObjectKind::cluster}) {
    const auto count = std::count_if(users.begin(), users.end(), [&](std::size_t position) {
      return index.objects()[position].is(kind);
    });
    if (count > 0) parts.push_back(counted(static_cast<std::size_t>(count), kindName(kind)));
  }
  return parts.empty() ? "nobody" : joined(parts);
}

std::string datastoreTable(const ReplyIndex& index, const Rendering& rendering) {
  std::size_t names = 0;
  for (const datastore_record& datastore : index.reply().datastore_records()) {
    names = std::max(names, columnsOf(printable(datastore.name(), rendering.utf8)));
  }
  std::string text;
  for (const datastore_record& datastore : index.reply().datastore_records()) {
    text += "  " + padRight(printable(datastore.name(), rendering.utf8), names) + "  " +
            padLeft(humanSize(datastore.size()), kSizeColumns) + ", " +
            padLeft(humanSize(datastore.freesize()), kSizeColumns) + " free  " +
            rendering.dim("reached by " + usersOf(index, datastore)) + "\n";
  }
  return text.empty() ? text : rendering.bold("Datastores") + "\n" + text + "\n";
}

std::string utcTime(std::uint64_t secondsSince1970) {
  const auto seconds = static_cast<std::time_t>(secondsSince1970);
  std::tm calendar{};
  std::array<char, 32> text{};
  if (gmtime_r(&seconds, &calendar) == nullptr) return std::to_string(secondsSince1970);
  const std::size_t size =
      std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &calendar);
  return {text.data(), size};
}

std::string totalSizes(const ScanEnvironmentReply& reply) {
  std::uint64_t total = 0;
  for (const disk_record& disk : reply.disk_records()) total += disk.disksize();
  return humanSize(total);
}

std::string freeSizes(const ScanEnvironmentReply& reply) {
  std::uint64_t total = 0;
  std::uint64_t free = 0;
  for (const datastore_record& datastore : reply.datastore_records()) {
    total += datastore.size();
    free += datastore.freesize();
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

std::string summaryTable(const ReplyIndex& index, const Rendering& rendering) {
  const ScanEnvironmentReply& reply = index.reply();
  std::vector<SummaryRow> rows{
      {"Machines", std::to_string(reply.machine_records_size()), ""},
      {"Disks", std::to_string(reply.disk_records_size()), totalSizes(reply)},
      {"Datastores", std::to_string(reply.datastore_records_size()), freeSizes(reply)},
      {"Other objects", std::to_string(reply.non_vm_records_size()), kindCounts(index)}};
  std::size_t width = 0;
  for (const SummaryRow& row : rows) width = std::max(width, columnsOf(row.value));
  std::string text = rendering.bold("Summary") + "\n";
  for (const SummaryRow& row : rows) {
    text += "  " + padRight(row.label, 13) + "  " + padLeft(row.value, width);
    text += row.remark.empty() ? "\n" : "  " + rendering.dim(row.remark) + "\n";
  }
  for (const std::string& version : reply.environment_version()) {
    text += "  REST version   " + printable(version, rendering.utf8) + "\n";
  }
  for (const std::uint64_t time : reply.timestamp())
    text += "  Taken at       " + utcTime(time) + "\n";
  return text;
}

}  // namespace

std::string treeView(const ReplyIndex& index, const Rendering& rendering) {
  return TreeWriter(index, rendering).write() + "\n" + datastoreTable(index, rendering) +
         summaryTable(index, rendering);
}

}  // namespace kestrelvisor::ctl
