#include "kestrelctl/views/dot_view.h"

#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {
namespace {

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : printable(text, true)) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
    if (c == '&') result += "amp;";  // Graphviz reads entities
  }
  return result + "\"";
}

const char* shapeOf(ObjectKind kind) {
  switch (kind) {
    case ObjectKind::site:
      return "house";
    case ObjectKind::cluster:
      return "folder";
    case ObjectKind::host:
      return "box3d";
    case ObjectKind::machine:
      break;
  }
  return "box";
}

std::string nodeOf(std::size_t position) { return "o" + std::to_string(position); }

std::string nodeOf(const datastore_record& datastore) {
  return "d" + std::to_string(datastore.id());
}

void addObject(const ReplyIndex& index, std::size_t position, PieceBuffer& lines) {
  const IndexedObject& object = index.objects()[position];
  const std::string node = nodeOf(position);
  lines.add("  " + node + " [label=" + quoted(object.row->name()) +
            ", shape=" + shapeOf(object.kind()) + "];\n");
  if (object.parent) lines.add("  " + nodeOf(*object.parent) + " -> " + node + ";\n");
  for (const datastore_record* datastore : object.datastores) {
    lines.add("  " + node + " -> " + nodeOf(*datastore) + " [style=dashed];\n");
  }
}

}  // namespace

void dotView(const ReplyIndex& index, const Sink& sink) {
  PieceBuffer lines(sink);
  lines.add("digraph environment {\n");
  lines.add("  rankdir=LR;\n");
  for (const datastore_record& datastore : index.reply().datastore_records()) {
    lines.add("  " + nodeOf(datastore) + " [label=" + quoted(datastore.name()) +
              ", shape=cylinder];\n");
  }
  for (std::size_t position = 0; position < index.objects().size(); ++position) {
    addObject(index, position, lines);
  }
  lines.add("}\n");
  lines.finish();
}

}  // namespace kestrelvisor::ctl
