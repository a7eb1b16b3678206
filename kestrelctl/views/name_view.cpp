#include "kestrelctl/views/name_view.h"

#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {

std::string addressLine(const std::string& address) {
  return address.empty() ? address : printable(address, true) + "\n";
}

std::string namesView(const ReplyIndex& index, const ReplySelection& selection) {
  std::string text;
  for (const std::size_t position : selection.objects) {
    text += addressLine(addressOf(index.objects()[position]));
  }
  for (const datastore_record* datastore : selection.datastores) {
    text += addressLine(addressOf(*datastore));
  }
  for (const std::size_t position : selection.machines) {
    text += addressLine(addressOf(index.objects()[position]));
  }
  for (const SelectedDisk& disk : selection.disks) text += addressLine(addressOf(*disk.disk));
  return text;
}

}  // namespace kestrelvisor::ctl
