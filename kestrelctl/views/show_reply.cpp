#include "kestrelctl/views/show_reply.h"

#include "kestrelctl/failure.h"
#include "kestrelctl/views/csv_view.h"
#include "kestrelctl/views/dot_view.h"
#include "kestrelctl/views/name_view.h"
#include "kestrelctl/views/reply_json.h"
#include "kestrelctl/views/reply_tables.h"
#include "kestrelctl/views/tree_view.h"
#include "kestrelctl/views/yaml_view.h"

#include <unistd.h>

namespace kestrelvisor::ctl {
namespace {

// For people: machines tell how many disks they have.
ReplySelection withoutDisks(const ReplyIndex& index) {
  ReplySelection selection = everythingOf(index);
  selection.disks.clear();
  return selection;
}

ReplySelection machinesOf(const ReplyIndex& index) {
  ReplySelection selection;
  selection.machines = everythingOf(index).machines;
  return selection;
}

}  // namespace

void showReply(const ReplyIndex& index, OutputFormat format, const ReplyNotes& notes,
               const Rendering& rendering, const Sink& sink) {
  switch (format) {
    case OutputFormat::table:
      return tablesView(index, withoutDisks(index), TableWidth::cut, rendering, sink);
    case OutputFormat::wide:
      return tablesView(index, everythingOf(index), TableWidth::uncut, rendering, sink);
    case OutputFormat::json:
      return jsonView(index, notes, sink);
    case OutputFormat::yaml:
      return yamlView([&](const Sink& json) { jsonView(index, notes, json); }, sink);
    case OutputFormat::csv:
      return csvView(index, everythingOf(index), sink);
    case OutputFormat::dot:
      return dotView(index, sink);
    case OutputFormat::jsonl:
      return jsonLinesView(index, notes, sink);
    case OutputFormat::name:
      return sink(namesView(index, machinesOf(index)));
    case OutputFormat::protobuf:
      return sink(protobufOf(index.reply()));
    case OutputFormat::text:
    case OutputFormat::tree:
      break;
  }
  sink(treeView(index, rendering));
}

void showFound(const ReplyIndex& index, const ReplySelection& found, OutputFormat format,
               const std::vector<Warning>& warnings, const Rendering& rendering, const Sink& sink) {
  switch (format) {
    case OutputFormat::wide:
      return tablesView(index, found, TableWidth::uncut, rendering, sink);
    case OutputFormat::json:
      return foundJsonView(index, found, warnings, sink);
    case OutputFormat::yaml:
      return yamlView([&](const Sink& json) { foundJsonView(index, found, warnings, json); }, sink);
    case OutputFormat::csv:
      return csvView(index, found, sink);
    case OutputFormat::jsonl:
      return foundJsonLinesView(index, found, warnings, sink);
    case OutputFormat::name:
      return sink(namesView(index, found));
    case OutputFormat::text:
    case OutputFormat::tree:
    case OutputFormat::table:
    case OutputFormat::dot:
    case OutputFormat::protobuf:
      break;
  }
  tablesView(index, found, TableWidth::cut, rendering, sink);
}

std::string protobufOf(const ScanEnvironmentReply& reply) {
  std::string bytes;
  if (reply.SerializeToString(&bytes)) return bytes;
  throw Failure(ExitCode::partial, "the reply is too large to be kept as protobuf");
}

void refuseBytesOnTerminal(OutputFormat format) {
  if (format != OutputFormat::protobuf || isatty(STDOUT_FILENO) != 1) return;
  throw wrongUsage("-o protobuf writes bytes that are nothing for a terminal",
                   "send them to a file or a program: -o protobuf > reply.pb");
}

}  // namespace kestrelvisor::ctl
