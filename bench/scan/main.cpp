// A host that measures what a scan costs, beside the same requests made without the engine.
//
//   bench_scan measure --vrmsim FILE --shape NAME --transport NAME --requests FILE --rounds N
//                      [--peer COMMAND]... [--system-store FILE] --out FILE
//   bench_scan wiping  --vrmsim FILE --shape NAME --transport NAME --rounds N --out FILE
//   bench_scan host    --shape NAME --transport NAME --allocators plain|wiping
//   bench_scan once    --vrmsim FILE --shape NAME --out FILE
//   bench_scan record  --vrmsim FILE --shape NAME --out FOLDER
//   bench_scan list    --vrmsim FILE --shape NAME --out FOLDER
//
// The result is a JSON file, of "record" in its folder; "list" has none but the lists, and "host",
// which "wiping" starts, answers its input. What a scan prints for testers goes where standard
// output leads: nowhere, or into the folder of "record".

#include "bench/scan/files.h"
#include "bench/scan/libcurl_seam.h"
#include "bench/scan/stand_ins.h"
#include "bench/scan/tasks.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace {

using namespace kestrelvisor::bench;  // NOLINT(google-build-using-namespace): its own program

constexpr std::uint64_t kTokenSeed = 1;

void trustBySystem(const std::string& store, const std::string& certificate) {
  std::ofstream file(store, std::ios::binary | std::ios::app);
  file << "\n" << certificate << std::flush;
  if (!file) throw std::runtime_error(store + " cannot be written");
}

Json::Value run(const Options& options) {
  const bool records = options.task == "record" || options.task == "list";
  const bool system = options.transport == "https-system";
  const Shape& shape = shapeNamed(options.shape);
  if (options.transport == "https") forbidSharing();
  if (options.task == "host") {
    serveScans(options);
    return {};
  }
  sendOutputTo(records ? options.output + "/dump.txt" : "/dev/null");

  // Made before the engine, and so ended after it: the engine logs out when the process ends.
  static const Manager manager({options.simulator, shape, options.transport != "http",
                                records ? requestLogIn(options.output) : std::string(),
                                records ? std::optional(kTokenSeed) : std::nullopt});
  if (system) trustBySystem(options.systemStore, manager.certificate());
  const Target target{manager.url(), system ? std::string() : manager.certificate()};
  if (options.task == "wiping") return measureWiping(manager, target, options);

  static const EngineHost host(target, shape);
  if (options.task == "record") return record(target, host, options.output);
  if (options.task == "list") {
    listRequests(host, options.output);
    return {};
  }
  if (options.task == "once") return measureOnce(host);
  if (options.task == "measure") return measure(manager, target, host, options);
  throw std::invalid_argument("unknown task " + options.task);
}

void describe(const Options& options, Json::Value& result) {
  const Shape& shape = shapeNamed(options.shape);
  result["task"] = options.task;
  result["shape"] = options.shape;
  result["transport"] = options.transport;
  result["standIns"] = strengthOfStandIns();
  result["machines"] = shape.machines;
  result["disks"] = shape.allDisks();
  result["clusters"] = shape.clusters;
  result["hosts"] = shape.hosts;
  result["standaloneHosts"] = shape.standaloneHosts;
  result["datastores"] = shape.datastores;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options = readOptions(argc, argv);
    Json::Value result = run(options);
    if (result.isNull()) return 0;
    describe(options, result);
    const bool folder = options.task == "record";
    writeFile(options.output + (folder ? "/record.json" : ""), result.toStyledString());
    return 0;
  } catch (const std::exception& problem) {
    std::cerr << "bench_scan: " << problem.what() << "\n";
    return 1;
  }
}
