// One piece of the engine's work between two requests, for valgrind to count its instructions:
//
//   icount_work machines|one-machine|datastores|equal-datastores FOLDER_OF_TEMPLATES
//   icount_work --toolchain BUILD_TYPE
//
// Each answer comes from memory: what is counted has no network in it.

#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/fuzz/targets.h"

#include <gnu/libc-version.h>
#include <json/version.h>

#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <list>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

// Counting is switched on here, by name.
extern "C" [[gnu::noinline]] void countedWork(const std::function<void()>& work) {
  work();
  asm volatile("");  // a call in the tail would leave the function before the work
}

namespace {

using kestrelvisor::fuzz::Client;
using kestrelvisor::fuzz::ScriptedManager;

constexpr std::size_t kMachines = 100;  // a full page
constexpr std::size_t kDatastores = 500;
constexpr std::size_t kHostsOfEqualBodies = 2;  // the second hears what the first has heard
constexpr const char* kScope = "urn:sites:1:hosts:1";
constexpr const char* kSeparator = "\n----\n";

std::string readTemplate(const std::string& folder, const std::string& name) {
  std::ifstream file(folder + "/" + name);
  if (!file) throw std::runtime_error(folder + "/" + name + " cannot be read");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The template as often as told, with the element's number, from 1, in the place of each "@".
std::string listOf(const std::string& element, std::size_t count) {
  std::string list;
  for (std::size_t number = 1; number <= count; ++number) {
    if (number > 1) list += ',';
    for (const char c : element) {
      c == '@' ? list += std::to_string(number) : list += c;
    }
  }
  return list;
}

std::string document(const char* key, const std::string& element, std::size_t count) {
  return "{\"total\":" + std::to_string(count) + ",\"" + key + "\":[" + listOf(element, count) +
         "]}";
}

// A client that has a session. Exactly the engine's own class: what is derived from it is read in
// another way.
class SessionHolder {
 public:
  SessionHolder() { api.tokenMap = Client().tokenMap; }
  ~SessionHolder() { api.tokenMap.clear(); }
  SessionHolder(const SessionHolder&) = delete;
  SessionHolder& operator=(const SessionHolder&) = delete;

  KestrelVisor_rest_api api;
  VRM_INFO vrm = kestrelvisor::fuzz::connection();
  KestrelVisorErrorMessage error;
};

// Counts what is done with the answers of a script.
void countOn(const std::string& script, const std::function<void()>& work) {
  const ScriptedManager manager(script, ScriptedManager::Sessions::granted,
                                std::numeric_limits<int>::max());
  countedWork(work);
}

void readMachines(const std::string& folder, std::size_t machines) {
  const std::string element = readTemplate(folder, "machine.json");
  SessionHolder session;
  countOn(document("vms", element, machines), [&] {
    std::list<boost::shared_ptr<VM_INFO>> found;
    const bool read = session.api.getVmInfoFromVrmSub(session.vrm, kScope, found,
                                                      "limit=100&offset=0", session.error);
    kestrelvisor::fuzz::require(read && found.size() == machines, "the page has its machines");
  });
}

void listHosts(const std::string& folder, std::size_t hosts) {
  const std::string script =
      document("hosts", readTemplate(folder, "host.json"), hosts) + kSeparator +
      document("datastores", readTemplate(folder, "datastore.json"), kDatastores);
  SessionHolder session;
  countOn(script, [&] {
    std::list<boost::shared_ptr<KestrelVisorObj>> found;
    const bool listed = session.api.getCnaFromVrm(session.vrm, "default", found, session.error);
    kestrelvisor::fuzz::require(listed && found.size() == hosts, "the listing has its hosts");
    for (const auto& object : found) {
      kestrelvisor::fuzz::require(
          dynamic_cast<const CNA_INFO&>(*object).datastores.size() == kDatastores,
          "each host has its datastores");
    }
  });
}

// What a count depends on. Most of the counted instructions are JsonCpp's.
std::string toolchain(const std::string& buildType) {
#ifdef __clang__
  const std::string compiler = "clang " + std::to_string(__clang_major__) + "." +
                               std::to_string(__clang_minor__) + "." +
                               std::to_string(__clang_patchlevel__);
#else
  const std::string compiler = "GCC " __VERSION__;
#endif
  return compiler + ", glibc " + gnu_get_libc_version() + ", JsonCpp " JSONCPP_VERSION_STRING ", " +
         buildType;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string name = argv[1];
  const std::string value = argv[2];
  if (name == "--toolchain") {
    std::cout << toolchain(value) << "\n";
    return 0;
  }
  const std::map<std::string, std::function<void()>> works{
      {"machines", [&] { readMachines(value, kMachines); }},
      {"one-machine", [&] { readMachines(value, 1); }},
      {"datastores", [&] { listHosts(value, 1); }},
      {"equal-datastores", [&] { listHosts(value, kHostsOfEqualBodies); }}};
  const auto work = works.find(name);
  if (work == works.end()) return 2;
  kestrelvisor::fuzz::prepareProcess();
  work->second();
}
