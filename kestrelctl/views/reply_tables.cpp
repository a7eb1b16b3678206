#include "kestrelctl/views/reply_tables.h"

#include "kestrelctl/item_kind.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/views/text_table.h"

#include <set>

namespace kestrelvisor::ctl {
namespace {

using Cells = TextTable::Cells;
using Columns = std::vector<TextTable::Column>;

class TableWriter {
 public:
  TableWriter(const ReplyIndex& index, const ReplySelection& selection, TableWidth width,
              const Rendering& rendering, const Sink& sink)
      : index_(index), selection_(selection), width_(width), rendering_(rendering), sink_(sink) {}

  void write() {
    writeSites();
    writeClusters();
    writeHosts();
    writeOthers();
    writeDatastores();
    writeMachines();
    writeDisks();
  }

 private:
  // The first columns stand in both widths, the others in the uncut one alone.
  TextTable tableOf(Columns columns, Columns more) const {
    if (width_ == TableWidth::uncut) {
      columns.insert(columns.end(), more.begin(), more.end());
    }
    return TextTable(std::move(columns));
  }

  void addRow(TextTable& table, std::vector<std::string> cells,
              std::vector<std::string> more) const {
    if (width_ == TableWidth::uncut) cells.insert(cells.end(), more.begin(), more.end());
    for (std::string& cell : cells) cell = printable(cell, rendering_.utf8);
    table.addRow(std::move(cells));
  }

  void write(const TextTable& table) {
    if (table.empty()) return;
    if (!first_) sink_("\n");
    first_ = false;
    sink_(width_ == TableWidth::cut ? table.cut(rendering_) : table.uncut(rendering_));
  }

  std::string below(std::size_t position, ObjectKind kind) const {
    return std::to_string(index_.countBelow(position, kind));
  }

  static std::string nameOf(const IndexedObject* object) {
    return object == nullptr ? std::string() : object->row->name();
  }

  const IndexedObject* parentOf(const IndexedObject& object) const {
    return object.parent ? &index_.objects()[*object.parent] : nullptr;
  }

  // Calls add(position, object) for each object of a kind.
  template <class Add>
  void forEachObject(ItemKind kind, Add add) const {
    for (const std::size_t position : selection_.objects) {
      const IndexedObject& object = index_.objects()[position];
      if (itemKindOf(object) == kind) add(position, object);
    }
  }

  void writeSites() {
    TextTable table = tableOf({{"SITE"},
                               {"CLUSTERS", Cells::number},
                               {"HOSTS", Cells::number},
                               {"MACHINES", Cells::number}},
                              {{"GUID"}, {"URI"}});
    forEachObject(ItemKind::site, [&](std::size_t position, const IndexedObject& site) {
      addRow(table,
             {site.row->name(), below(position, ObjectKind::cluster),
              below(position, ObjectKind::host), below(position, ObjectKind::machine)},
             {site.row->guid(), addressOf(site)});
    });
    write(table);
  }

  void writeClusters() {
    TextTable table = tableOf({{"CLUSTER"},
                               {"HOSTS", Cells::number},
                               {"MACHINES", Cells::number},
                               {"DATASTORES", Cells::number}},
                              {{"DRS"}, {"GUID"}, {"URI"}});
    forEachObject(ItemKind::cluster, [&](std::size_t position, const IndexedObject& cluster) {
      const bool drs = cluster.other != nullptr && cluster.other->drs();
      addRow(table,
             {cluster.row->name(), below(position, ObjectKind::host),
              below(position, ObjectKind::machine), std::to_string(cluster.datastores.size())},
             {drs ? "on" : "off", cluster.row->guid(), addressOf(cluster)});
    });
    write(table);
  }

  void writeHosts() {
    TextTable table = tableOf(
        {{"HOST"}, {"ADDRESS"}, {"CLUSTER"}, {"CPUS", Cells::number}, {"MACHINES", Cells::number}},
        {{"DATASTORES", Cells::number}, {"ARCH"}, {"VENDOR"}, {"GUID"}, {"URI"}});
    forEachObject(ItemKind::host, [&](std::size_t position, const IndexedObject& host) {
      const non_vm_record& facts =
          host.other == nullptr ? non_vm_record::default_instance() : *host.other;
      addRow(table,
             {host.row->name(), facts.ip(), nameOf(index_.above(host, ObjectKind::cluster)),
              facts.cpu_num() > 0 ? std::to_string(facts.cpu_num()) : "",
              below(position, ObjectKind::machine)},
             {std::to_string(host.datastores.size()), facts.arch(), facts.cpuvendor(),
              host.row->guid(), addressOf(host)});
    });
    write(table);
  }

  // What the engine's kinds do not name, and machines that came without their record.
  void writeOthers() {
    TextTable table = tableOf({{"OBJECT"}, {"KIND"}, {"IN"}}, {{"GUID"}, {"URI"}});
    for (const ItemKind kind : {ItemKind::other, ItemKind::machine}) {
      forEachObject(kind, [&](std::size_t, const IndexedObject& object) {
        addRow(table, {object.row->name(), itemKindName(kind), nameOf(parentOf(object))},
               {object.row->guid(), addressOf(object)});
      });
    }
    write(table);
  }

  void writeDatastores() {
    TextTable table = tableOf({{"DATASTORE"},
                               {"SIZE", Cells::number},
                               {"FREE", Cells::number},
                               {"CLUSTERS", Cells::number},
                               {"HOSTS", Cells::number}},
                              {{"URI"}});
    for (const datastore_record* datastore : selection_.datastores) {
      addRow(table,
             {datastore->name(), humanSize(datastore->size()), humanSize(datastore->freesize()),
              std::to_string(index_.countUsers(*datastore, ObjectKind::cluster)),
              std::to_string(index_.countUsers(*datastore, ObjectKind::host))},
             {addressOf(*datastore)});
    }
    write(table);
  }

  std::string datastoreName(const disk_record& disk) const {
    const datastore_record* const datastore = index_.datastoreOf(disk);
    return datastore == nullptr ? disk.datastoremoref() : datastore->name();
  }

  // Each name once: "fast, slow".
  std::string datastoresOf(const IndexedObject& machine) const {
    std::set<std::string> names;
    for (const disk_record* disk : machine.disks) names.insert(datastoreName(*disk));
    return joined({names.begin(), names.end()});
  }

  void writeMachines() {
    TextTable table = tableOf(
        {{"MACHINE"}, {"GUEST SYSTEM"}, {"ON"}, {"DISKS", Cells::number}, {"SIZE", Cells::number}},
        {{"GROUP"}, {"CLUSTER"}, {"DATASTORES"}, {"UUID"}, {"GUID"}, {"URI"}});
    for (const std::size_t position : selection_.machines) {
      const IndexedObject& machine = index_.objects()[position];
      const machine_record& record = *machine.machine;
      addRow(table,
             {machine.row->name(), record.guestos(), nameOf(parentOf(machine)),
              std::to_string(machine.disks.size()), humanSize(record.totalsize())},
             {groupNameOf(record), nameOf(index_.above(machine, ObjectKind::cluster)),
              datastoresOf(machine), record.uuid(), record.objectguid(), addressOf(machine)});
    }
    write(table);
  }

  void writeDisks() {
    TextTable table =
        tableOf({{"DISK"}, {"MACHINE"}, {"BUS"}, {"DATASTORE"}, {"SIZE", Cells::number}},
                {{"NUMBER", Cells::number}, {"UUID"}, {"GUID"}});
    for (const SelectedDisk& selected : selection_.disks) {
      const disk_record& disk = *selected.disk;
      addRow(
          table,
          {disk.diskname(), selected.machine ? index_.objects()[*selected.machine].row->name() : "",
           busNameOf(disk), datastoreName(disk), humanSize(disk.disksize())},
          {std::to_string(disk.disknumber()), disk.diskuuid(), disk.objectguid()});
    }
    write(table);
  }

  const ReplyIndex& index_;
  const ReplySelection& selection_;
  TableWidth width_;
  const Rendering& rendering_;
  const Sink& sink_;
  bool first_ = true;
};

}  // namespace

void tablesView(const ReplyIndex& index, const ReplySelection& selection, TableWidth width,
                const Rendering& rendering, const Sink& sink) {
  TableWriter(index, selection, width, rendering, sink).write();
}

}  // namespace kestrelvisor::ctl
