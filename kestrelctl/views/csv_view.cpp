#include "kestrelctl/views/csv_view.h"

#include "kestrelctl/item_kind.h"
#include "kestrelctl/terminal_text.h"

#include <array>
#include <optional>
#include <set>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kHeadings =
    "kind,name,in,cluster,guestSystem,group,address,sizeKiB,freeKiB,disks,datastores,uuid,guid,"
    "uri\r\n";

// What one line tells; a number that a kind does not have stays empty.
struct Row {
  std::string kind;
  std::string name;
  std::string in;
  std::string cluster;
  std::string guestSystem;
  std::string group;
  std::string address;
  std::optional<std::uint64_t> sizeKiB;
  std::optional<std::uint64_t> freeKiB;
  std::optional<std::uint64_t> disks;
  std::string datastores;
  std::string uuid;
  std::string guid;
  std::string uri;
};

std::string numberCell(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : std::string();
}

std::string lineOf(const Row& row) {
  const std::array<std::string, 14> cells{
      csvCell(row.kind),     csvCell(row.name),        csvCell(row.in),
      csvCell(row.cluster),  csvCell(row.guestSystem), csvCell(row.group),
      csvCell(row.address),  numberCell(row.sizeKiB),  numberCell(row.freeKiB),
      numberCell(row.disks), csvCell(row.datastores),  csvCell(row.uuid),
      csvCell(row.guid),     csvCell(row.uri)};
  std::string line;
  for (const std::string& cell : cells) line.append(cell).append(",");
  line.back() = '\r';
  return line + "\n";
}

class CsvWriter {
 public:
  CsvWriter(const ReplyIndex& index, const Sink& sink) : index_(index), text_(sink) {}

  void write(const ReplySelection& selection) {
    text_.add(kHeadings);
    for (const std::size_t position : selection.objects) add(rowOf(index_.objects()[position]));
    for (const datastore_record* datastore : selection.datastores) add(rowOf(*datastore));
    for (const std::size_t position : selection.machines) add(rowOf(index_.objects()[position]));
    for (const SelectedDisk& disk : selection.disks) add(rowOf(disk));
    text_.finish();
  }

 private:
  void add(const Row& row) { text_.add(lineOf(row)); }

  static std::string nameOf(const IndexedObject* object) {
    return object == nullptr ? std::string() : object->row->name();
  }

  std::string datastoreOf(const disk_record& disk) const {
    const datastore_record* const datastore = index_.datastoreOf(disk);
    return datastore == nullptr ? disk.datastoremoref() : datastore->name();
  }

  // Of anything in the tree.
  Row rowOf(const IndexedObject& object) const {
    Row row;
    row.kind = itemKindName(itemKindOf(object));
    row.name = object.row->name();
    row.in = object.parent ? nameOf(&index_.objects()[*object.parent]) : std::string();
    row.cluster = nameOf(index_.above(object, ObjectKind::cluster));
    row.guid = object.row->guid();
    row.uri = addressOf(object);
    if (object.other != nullptr) row.address = object.other->ip();
    std::set<std::string> datastores;
    for (const datastore_record* datastore : object.datastores)
      datastores.insert(datastore->name());
    for (const disk_record* disk : object.disks) datastores.insert(datastoreOf(*disk));
    row.datastores = joined({datastores.begin(), datastores.end()}, "; ");
    if (object.machine != nullptr) addMachine(object, row);
    return row;
  }

  static void addMachine(const IndexedObject& object, Row& row) {
    const machine_record& machine = *object.machine;
    row.guestSystem = machine.guestos();
    row.group = groupNameOf(machine);
    row.sizeKiB = machine.totalsize();
    row.disks = object.disks.size();
    row.uuid = machine.uuid();
  }

  static Row rowOf(const datastore_record& datastore) {
    Row row;
    row.kind = itemKindName(ItemKind::datastore);
    row.name = datastore.name();
    row.sizeKiB = datastore.size();
    row.freeKiB = datastore.freesize();
    row.uri = addressOf(datastore);
    return row;
  }

  Row rowOf(const SelectedDisk& selected) const {
    const disk_record& disk = *selected.disk;
    Row row;
    row.kind = itemKindName(ItemKind::disk);
    row.name = disk.diskname();
    row.in = selected.machine ? index_.objects()[*selected.machine].row->name() : std::string();
    row.sizeKiB = disk.disksize();
    row.datastores = datastoreOf(disk);
    row.uuid = disk.diskuuid();
    row.guid = disk.objectguid();
    return row;
  }

  const ReplyIndex& index_;
  PieceBuffer text_;
};

// The signs with which spreadsheets let a formula begin, those of full width included.
bool beginsFormula(std::string_view text) {
  for (const std::string_view sign : {"=", "+", "-", "@", "\uff1d", "\uff0b", "\uff0d", "\uff20"}) {
    if (text.substr(0, sign.size()) == sign) return true;
  }
  return false;
}

// Puts an apostrophe before each formula. In many countries spreadsheets part cells at ";",
// whatever quotes stand around it.
std::string withoutFormulas(std::string_view text) {
  std::string result;
  bool isStart = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isStart && beginsFormula(text.substr(i))) result += '\'';
    result += text[i];
    isStart = text[i] == ';' || (isStart && (text[i] == ' ' || text[i] == '"'));
  }
  return result;
}

}  // namespace

void csvView(const ReplyIndex& index, const ReplySelection& selection, const Sink& sink) {
  CsvWriter(index, sink).write(selection);
}

std::string csvCell(const std::string& text) {
  const std::string cell = withoutFormulas(printable(text, true));
  if (cell.find_first_of("\",;'") == std::string::npos) return cell;
  std::string quoted = "\"";
  for (const char c : cell) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

}  // namespace kestrelvisor::ctl
