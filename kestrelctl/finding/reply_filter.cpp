#include "kestrelctl/finding/reply_filter.h"

#include "kestrelctl/terminal_text.h"

#include <fnmatch.h>
#include <locale.h>

#include <algorithm>
#include <iterator>

namespace kestrelvisor::ctl {
namespace {

using Patterns = ReplyFilter::Patterns;
using Names = std::vector<std::string>;

// What the conditions are about, of one thing. A list that is empty is what the thing does not
// have.
struct Traits {
  ItemKind kind = ItemKind::other;
  std::string name;
  Names guestSystems;
  Names groups;
  Names hosts;
  Names clusters;
  Names datastores;
  std::optional<std::uint64_t> sizeKiB;
};

// A name as patterns see it: U+FFFD stands for bytes that make no character, and for the NUL, at
// which it would end.
std::string matchable(const std::string& name) {
  std::string text;
  for (const char c : name) text += c == '\0' ? '\xFF' : c;
  return validUtf8(text);
}

// While it lives, patterns see characters and not bytes, whatever the user's locale is: names are
// UTF-8. Where the system does not have that locale, the user's stays.
class Utf8Locale {
 public:
  Utf8Locale()
      : utf8_(newlocale(LC_CTYPE_MASK | LC_COLLATE_MASK, "C.UTF-8", nullptr)),
        before_(utf8_ == nullptr ? nullptr : uselocale(utf8_)) {}
  ~Utf8Locale() {
    if (utf8_ == nullptr) return;
    uselocale(before_);
    freelocale(utf8_);
  }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  locale_t utf8_;
  locale_t before_;
};

class Search {
 public:
  Search(const ReplyIndex& index, const ReplyFilter& filter) : index_(index), filter_(filter) {}

  ReplySelection run() const {
    const ReplySelection all = everythingOf(index_);
    ReplySelection found;
    keep(all.objects, found.objects, [this](std::size_t at) { return ofObject(object(at)); });
    keep(all.machines, found.machines, [this](std::size_t at) { return ofObject(object(at)); });
    keep(all.disks, found.disks, [this](const SelectedDisk& disk) { return ofDisk(disk); });
    keep(all.datastores, found.datastores,
         [this](const datastore_record* datastore) { return ofDatastore(*datastore); });
    return found;
  }

 private:
  template <class List, class TraitsOf>
  void keep(const List& all, List& found, TraitsOf traitsOf) const {
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const auto& entry) { return meets(traitsOf(entry)); });
  }

  const IndexedObject& object(std::size_t position) const { return index_.objects()[position]; }

  Traits ofObject(const IndexedObject& object) const {
    Traits traits;
    traits.kind = itemKindOf(object);
    traits.name = object.row->name();
    addPlaces(object, traits);
    if (object.machine != nullptr) addMachine(object, traits);
    for (const datastore_record* datastore : object.datastores) {
      traits.datastores.push_back(datastore->name());
    }
    return traits;
  }

  void addPlaces(const IndexedObject& object, Traits& traits) const {
    if (const auto* host = index_.above(object, ObjectKind::host)) {
      traits.hosts.push_back(host->row->name());
    }
    if (const auto* cluster = index_.above(object, ObjectKind::cluster)) {
      traits.clusters.push_back(cluster->row->name());
    }
  }

  void addMachine(const IndexedObject& object, Traits& traits) const {
    traits.guestSystems.push_back(object.machine->guestos());
    traits.groups.push_back(groupNameOf(*object.machine));
    traits.sizeKiB = object.machine->totalsize();
    for (const disk_record* disk : object.disks) addDatastore(*disk, traits);
  }

  void addDatastore(const disk_record& disk, Traits& traits) const {
    const datastore_record* const datastore = index_.datastoreOf(disk);
    if (datastore != nullptr) traits.datastores.push_back(datastore->name());
  }

  Traits ofDisk(const SelectedDisk& selected) const {
    Traits traits = selected.machine ? ofObject(object(*selected.machine)) : Traits();
    traits.kind = ItemKind::disk;
    traits.name = selected.disk->diskname();
    traits.sizeKiB = selected.disk->disksize();
    traits.datastores.clear();
    addDatastore(*selected.disk, traits);
    return traits;
  }

  Traits ofDatastore(const datastore_record& datastore) const {
    Traits traits;
    traits.kind = ItemKind::datastore;
    traits.name = datastore.name();
    traits.sizeKiB = datastore.size();
    for (const std::size_t position : index_.usersOf(datastore)) {
      const IndexedObject& user = object(position);
      if (user.is(ObjectKind::host)) traits.hosts.push_back(user.row->name());
      if (user.is(ObjectKind::cluster)) traits.clusters.push_back(user.row->name());
    }
    return traits;
  }

  bool meets(const Traits& traits) const {
    const auto inGroup = [&] {
      return std::any_of(traits.groups.begin(), traits.groups.end(),
                         [&](const auto& group) { return filter_.groups.count(group) > 0; });
    };
    return (filter_.kinds.empty() || filter_.kinds.count(traits.kind) > 0) &&
           matches(filter_.names, {traits.name}) &&
           matches(filter_.guestSystems, traits.guestSystems) &&
           (filter_.groups.empty() || inGroup()) && matches(filter_.hosts, traits.hosts) &&
           matches(filter_.clusters, traits.clusters) &&
           matches(filter_.datastores, traits.datastores) && fits(traits.sizeKiB);
  }

  // Whether any pattern matches any name; without a pattern every thing will do.
  bool matches(const Patterns& patterns, const Names& names) const {
    if (patterns.empty()) return true;
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
      const std::string text = matchable(name);
      return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
        const int flags = filter_.ignoresCase ? FNM_CASEFOLD : 0;
        return fnmatch(pattern.c_str(), text.c_str(), flags) == 0;
      });
    });
  }

  bool fits(const std::optional<std::uint64_t>& sizeKiB) const {
    if (!filter_.moreThanBytes && !filter_.lessThanBytes) return true;
    if (!sizeKiB) return false;
    const long double bytes = static_cast<long double>(*sizeKiB) * 1024;
    return (!filter_.moreThanBytes || bytes > *filter_.moreThanBytes) &&
           (!filter_.lessThanBytes || bytes < *filter_.lessThanBytes);
  }

  const ReplyIndex& index_;
  const ReplyFilter& filter_;
};

}  // namespace

ReplySelection found(const ReplyIndex& index, const ReplyFilter& filter) {
  const Utf8Locale locale;
  return Search(index, filter).run();
}

}  // namespace kestrelvisor::ctl
