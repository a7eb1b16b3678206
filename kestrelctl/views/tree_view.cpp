#include "kestrelctl/views/tree_view.h"

#include "kestrelctl/item_kind.h"
#include "kestrelctl/reply_selection.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/views/reply_summary.h"
#include "kestrelctl/views/screen_line.h"

#include <algorithm>

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
constexpr Branches kNoBranches{"", "", "", ""};  // of roots
constexpr std::size_t kBranchColumns = 3;

constexpr const char* kGap = "  ";
constexpr std::size_t kGapColumns = 2;
constexpr std::size_t kSizeColumns = 8;  // "1023 GiB"
constexpr std::size_t kKindColumns = 7;  // "cluster"

// What names and guest systems keep where room is scarce.
constexpr std::size_t kNarrowestMachine = 12;
constexpr std::size_t kNarrowestGuest = 12;
constexpr std::size_t kNarrowestHeading = 24;

// Widths of the columns of machines that stand together.
struct MachineColumns {
  std::size_t name = 0;
  std::size_t guest = 0;
  std::size_t disks = 0;

  std::size_t total() const { return name + guest + disks + kSizeColumns + 3 * kGapColumns; }
};

// The same of other objects that stand together.
struct HeadingColumns {
  std::size_t name = 0;
  std::size_t remark = 0;

  std::size_t total() const { return name + kKindColumns + remark + 2 * kGapColumns; }
};

// A width without what is missing elsewhere; down to the least that still tells something.
std::size_t narrowed(std::size_t width, std::size_t& missing, std::size_t least) {
  const std::size_t given = std::min(missing, width - std::min(width, least));
  missing -= given;
  return width - given;
}

std::string kindOf(const IndexedObject& object) {
  const ItemKind kind = itemKindOf(object);
  return kind == ItemKind::other ? "type " + std::to_string(object.row->type())
                                 : itemKindName(kind);
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
    if (below > 0) parts.push_back(counted(below, itemKindName(itemKindOf(kind))));
  }
  parts.push_back(counted(index.countBelow(position, ObjectKind::machine), "machine"));
  return joined(parts);
}

class TreeWriter {
 public:
  TreeWriter(const ReplyIndex& index, const Rendering& rendering)
      : index_(index), rendering_(rendering), branches_(rendering.utf8 ? kDrawn : kAscii) {}

  std::string write() {
    writeSiblings(index_.roots(), "", kNoBranches, 0);
    return std::move(text_);
  }

 private:
  // The depth is that of the environment: site, cluster, host, machine. taken counts the columns in
  // front of the siblings, their branches included.
  void writeSiblings(const std::vector<std::size_t>& siblings, const std::string& indent,
                     const Branches& branches, std::size_t taken) {
    const MachineColumns machines = columnsOfMachines(siblings, taken);
    const HeadingColumns headings = columnsOfHeadings(siblings, taken);
    for (const std::size_t position : siblings) {
      const IndexedObject& object = index_.objects()[position];
      const bool last = position == siblings.back();
      ScreenLine line(rendering_);
      line.addDim(indent + (last ? branches.lastChild : branches.child));
      if (object.is(ObjectKind::machine)) {
        addMachine(object, machines, line);
      } else {
        addHeading(position, headings, line);
      }
      text_ += line.text();
      writeSiblings(object.children, indent + (last ? branches.empty : branches.passing), branches_,
                    taken + kBranchColumns);
    }
  }

  std::string show(const std::string& text) const { return printable(text, rendering_.utf8); }

  void widen(std::size_t& width, const std::string& text) const {
    width = widened(width, text, rendering_);
  }

  std::size_t missing(std::size_t wanted) const {
    return wanted > rendering_.columns ? wanted - rendering_.columns : 0;
  }

  MachineColumns columnsOfMachines(const std::vector<std::size_t>& siblings,
                                   std::size_t taken) const {
    MachineColumns columns;
    for (const std::size_t position : siblings) {
      const IndexedObject& object = index_.objects()[position];
      if (!object.is(ObjectKind::machine)) continue;
      widen(columns.name, nameOf(object));
      widen(columns.guest, show(guestSystemOf(object)));
      widen(columns.disks, counted(object.disks.size(), "disk"));
    }
    std::size_t excess = missing(taken + columns.total());
    columns.guest = narrowed(columns.guest, excess, kNarrowestGuest);
    columns.name = narrowed(columns.name, excess, kNarrowestMachine);
    return columns;
  }

  HeadingColumns columnsOfHeadings(const std::vector<std::size_t>& siblings,
                                   std::size_t taken) const {
    HeadingColumns columns;
    for (const std::size_t position : siblings) {
      const IndexedObject& object = index_.objects()[position];
      if (object.is(ObjectKind::machine)) continue;
      widen(columns.name, nameOf(object));
      widen(columns.remark, remarkOf(position));
    }
    std::size_t excess = missing(taken + columns.total());
    columns.name = narrowed(columns.name, excess, kNarrowestHeading);
    return columns;
  }

  void addMachine(const IndexedObject& object, const MachineColumns& columns,
                  ScreenLine& line) const {
    const std::uint64_t size = object.machine == nullptr ? 0 : object.machine->totalsize();
    line.add(asCell(nameOf(object), columns.name, rendering_) + kGap)
        .addDim(asCell(show(guestSystemOf(object)), columns.guest, rendering_))
        .add(kGap + padRight(counted(object.disks.size(), "disk"), columns.disks) + kGap +
             padLeft(humanSize(size), kSizeColumns));
  }

  std::string nameOf(const IndexedObject& object) const {
    return object.row->name().empty() ? "(no name)" : show(object.row->name());
  }

  std::string remarkOf(std::size_t position) const {
    const IndexedObject& object = index_.objects()[position];
    const bool isHost = object.other != nullptr && object.is(ObjectKind::host);
    return joined({isHost ? show(hostFacts(*object.other)) : "", countsBelow(index_, position)});
  }

  // Of everything that is not a machine: "production  cluster  5 hosts, 120 machines".
  void addHeading(std::size_t position, const HeadingColumns& columns, ScreenLine& line) const {
    const IndexedObject& object = index_.objects()[position];
    const std::string cell = asCell(nameOf(object), columns.name, rendering_);
    const std::size_t end = cell.find_last_not_of(' ') + 1;
    line.addBold(cell.substr(0, end))
        .add(cell.substr(end) + kGap + padRight(kindOf(object), kKindColumns) + kGap +
             remarkOf(position));
  }

  const ReplyIndex& index_;
  const Rendering& rendering_;
  const Branches& branches_;
  std::string text_;
};

}  // namespace

std::string treeView(const ReplyIndex& index, const Rendering& rendering) {
  return TreeWriter(index, rendering).write() + "\n" + summaryView(index, rendering);
}

}  // namespace kestrelvisor::ctl
