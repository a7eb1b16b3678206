// A host that scans a manager again and again in one process, as a backup host does for months.
//
//   soak_host SCANS ADDRESS PORT http|https USER scan
//
// Password and certificate reach it as they reach the example hosts. Prints a line for each scan:
// its number, its status ("exception" when it threw), resident kilobytes, allocated bytes, and open
// files. Nothing is printed before the last of them, so that printing does not count. Then it waits
// for a line on standard input, scans once more and prints "at last" and the status.

#include "engine/kestrelvisor_engine.h"
#include "manager_request.h"

#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr int kThrew = -1;

struct Sample {
  int status = 0;
  long residentKilobytes = 0;
  std::size_t allocatedBytes = 0;
  long openFiles = 0;
};

long residentKilobytes() {
  long pages = 0;
  std::ifstream statm("/proc/self/statm");
  statm >> pages >> pages;
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

long openFiles() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

// A successful scan prints the reply for testers; nobody reads it here.
int scan(EngineBase& engine, const EnvironmentPath& path) {
  std::streambuf* const before = std::cout.rdbuf(nullptr);
  int status = kThrew;
  try {
    ScanEnvironmentReply reply;
    std::string description;
    status = static_cast<int>(engine.scanEnvironment(reply, path, description).status);
  } catch (const std::exception&) {
    // What a manager answers can make a scan throw; the next one must be as good as any.
  }
  std::cout.rdbuf(before);
  std::cout.clear();
  return status;
}

Sample measured(int status) {
  return {status, residentKilobytes(), mallinfo2().uordblks, openFiles()};
}

std::string statusText(int status) {
  return status == kThrew ? "exception" : std::to_string(status);
}

void print(const std::vector<Sample>& samples) {
  std::size_t number = 0;
  for (const Sample& sample : samples) {
    std::cout << ++number << ' ' << statusText(sample.status) << ' ' << sample.residentKilobytes
              << ' ' << sample.allocatedBytes << ' ' << sample.openFiles << '\n';
  }
  std::cout.flush();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const auto request = example::readManagerRequest(argc - 1, argv + 1);
  if (!request || !kestrelvisor_engine_init()) return 2;
  EngineBase& engine = KestrelVisorEngine::getKestrelVisorInstance();

  std::vector<Sample> samples(std::strtoul(argv[1], nullptr, 10));
  for (Sample& sample : samples) sample = measured(scan(engine, request->path));
  print(samples);
  std::string line;
  std::getline(std::cin, line);
  std::cout << "at last " << statusText(scan(engine, request->path)) << '\n';
}
