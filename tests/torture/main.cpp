// Tries failing memory and failing system calls at every call of every operation, and tells in a
// table what came of it. Ends with 1 when there is a defect.

#include "engine/kestrelvisor_engine.h"
#include "platform/reference/logging.h"
#include "tests/torture/points.h"
#include "tests/torture/site.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <iostream>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <streambuf>

namespace kestrelvisor::torture {
namespace {

constexpr const char* kUsage =
    "usage: torture --simulator FILE --inventory FILE [--https] [--faults memory|calls]\n"
    "               [--modes once|onwards|both] [--operation NAME]... [--seconds N]\n"
    "               [--points FIRST[-LAST]] [--no-heading]\n"
    "       torture --planted | --heading\n"
    "  --seconds  how long one operation under one fault may take; points are left out to keep\n"
    "             to it (120)\n"
    "  --points   tries these points alone, each of them, whatever time they take: once more what\n"
    "             a DEFECT line tells. Over HTTPS the number of calls before a point differs a\n"
    "             little from run to run; take some on either side of it.\n"
    "  --planted  shows that planted defects are found\n"
    "  --heading  prints the head of the table alone\n"
    "  --help     prints this\n";

struct Options {
  std::string simulator;
  std::string inventory;
  bool https = false;
  bool memory = true;
  bool once = true;
  bool onwards = true;
  std::vector<std::string> operations;
  double seconds = 120;
  std::uint64_t firstPoint = Run{}.firstPoint;
  std::uint64_t lastPoint = Run{}.lastPoint;
  bool heading = true;
  bool headingAlone = false;
  bool planted = false;
  bool help = false;
};

class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Takes words from the command line, one option after the other.
class Words {
 public:
  Words(int count, char** words) : words_(words + 1, words + count) {}

  bool atEnd() const { return at_ == words_.size(); }
  std::string next() {
    if (atEnd()) throw WrongUsage("a value is missing");
    return words_[at_++];
  }
  std::string oneOf(std::initializer_list<const char*> choices) {
    std::string word = next();
    if (std::find(choices.begin(), choices.end(), word) != choices.end()) return word;
    throw WrongUsage("not a choice: " + word);
  }

 private:
  std::vector<std::string> words_;
  std::size_t at_ = 0;
};

double secondsFrom(const std::string& word) {
  double seconds = 0;
  const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), seconds);
  if (error != std::errc() || stop != word.data() + word.size() || seconds <= 0) {
    throw WrongUsage("not a number of seconds: " + word);
  }
  return seconds;
}

std::uint64_t pointFrom(std::string_view word) {
  std::uint64_t point = 0;
  const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), point);
  if (error != std::errc() || stop != word.data() + word.size() || point == 0) {
    throw WrongUsage("not a point: " + std::string(word));
  }
  return point;
}

void takePoints(Options& options, const std::string& word) {
  const std::size_t dash = word.find('-');
  options.firstPoint = pointFrom(word.substr(0, dash));
  options.lastPoint =
      dash == std::string::npos ? options.firstPoint : pointFrom(word.substr(dash + 1));
  if (options.lastPoint < options.firstPoint) throw WrongUsage("no point between: " + word);
  options.seconds = std::numeric_limits<double>::max();  // none is left out
}

std::string operationFrom(const std::string& word) {
  for (const OperationKind& kind : operationKinds()) {
    if (kind.name == word) return word;
  }
  throw WrongUsage("no such operation: " + word);
}

void takeModes(Options& options, const std::string& mode) {
  options.once = mode != "onwards";
  options.onwards = mode != "once";
}

struct OptionWord {
  const char* name;
  void (*take)(Options&, Words&);
};

constexpr std::array<OptionWord, 12> kOptionWords{{
    {"--simulator", [](Options& o, Words& words) { o.simulator = words.next(); }},
    {"--inventory", [](Options& o, Words& words) { o.inventory = words.next(); }},
    {"--https", [](Options& o, Words&) { o.https = true; }},
    {"--faults",
     [](Options& o, Words& words) {
       o.memory = words.oneOf({"memory", "calls"}) == "memory";
     }},
    {"--modes",
     [](Options& o, Words& words) {
       takeModes(o, words.oneOf({"once", "onwards", "both"}));
     }},
    {"--operation",
     [](Options& o, Words& words) { o.operations.push_back(operationFrom(words.next())); }},
    {"--seconds", [](Options& o, Words& words) { o.seconds = secondsFrom(words.next()); }},
    {"--points", [](Options& o, Words& words) { takePoints(o, words.next()); }},
    {"--no-heading", [](Options& o, Words&) { o.heading = false; }},
    {"--heading", [](Options& o, Words&) { o.headingAlone = true; }},
    {"--planted", [](Options& o, Words&) { o.planted = true; }},
    {"--help", [](Options& o, Words&) { o.help = true; }},
}};

Options readOptions(int count, char** arguments) {
  Options options;
  Words words(count, arguments);
  while (!words.atEnd()) {
    const std::string word = words.next();
    const auto option = std::find_if(kOptionWords.begin(), kOptionWords.end(),
                                     [&](const OptionWord& known) { return known.name == word; });
    if (option == kOptionWords.end()) throw WrongUsage("unknown option: " + word);
    option->take(options, words);
  }
  const bool complete = !options.simulator.empty() && !options.inventory.empty();
  if (!complete && !options.planted && !options.headingAlone && !options.help) {
    throw WrongUsage("--simulator and --inventory are needed");
  }
  return options;
}

// Swallows the scan's print.
class NoOutput : public std::streambuf {
 protected:
  int_type overflow(int_type letter) override { return traits_type::not_eof(letter); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

// Sees every record: its text, and where the reply is about to be written.
void watchRecord(const LogRecord& record) {
  if (record.text.find(kPassword) != std::string::npos) passwordLogged = true;
}

void watchStatement(int, std::string_view function) {
  if (function == "KestrelVisorPublic::CreateVMAndDiskTable()") treeStood = true;
}

// What came of one or more runs.
struct Row {
  std::uint64_t calls = 0;
  std::uint64_t points = 0;
  std::uint64_t widestStride = 1;
  std::uint64_t succeeded = 0;
  std::uint64_t failedAsTold = 0;
  std::uint64_t threw = 0;
  std::map<Kind, std::uint64_t> defects;
  std::uint64_t defectCount = 0;
  std::map<std::string, std::uint64_t> weaknesses;  // of libraries, by reason

  void add(Board& board);
  std::uint64_t of(Kind kind) const {
    const auto found = defects.find(kind);
    return found == defects.end() ? 0 : found->second;
  }
};

void Row::add(Board& board) {
  calls = std::max(calls, board.calls);
  points += board.tried;
  widestStride = std::max(widestStride, board.widestStride);
  succeeded += board.succeeded;
  failedAsTold += board.failedAsTold;
  threw += board.threw;
  defectCount += board.findingCount - board.knownFindings().size();
  for (const Finding& finding : board.knownFindings()) {
    const Attribution attribution = attribute(finding);
    if (attribution.ours) {
      ++defects[finding.kind];
      ++defectCount;
    } else {
      ++weaknesses[attribution.library + ": " + attribution.reason];
    }
  }
}

void printHeading() {
  std::puts(
      "| operation | transport | fault | calls | points | stride | succeeded | failed as told | "
      "threw | crashes | hangs | leaks | other defects | of libraries | next operation good |\n"
      "| --- | --- | --- | --: | --: | --: | --: | --: | --: | --: | --: | --: | --: | --: | --- "
      "|");
}

const char* transportOf(const Run& run) { return run.route->https ? "HTTPS" : "HTTP"; }

std::string faultOf(const Run& run) {
  const std::string end = run.onwards ? " from then on" : " once";
  return (run.callFault != nullptr ? run.callFault->name : "no memory") + end;
}

void print(const Row& row, const Run& run, const std::string& fault) {
  const std::uint64_t crashes =
      row.of(Kind::crash) + row.of(Kind::terminate) + row.of(Kind::freedTwice);
  const std::uint64_t named =
      crashes + row.of(Kind::hang) + row.of(Kind::leak) + row.of(Kind::next);
  std::uint64_t weaknesses = 0;
  for (const auto& [reason, count] : row.weaknesses) weaknesses += count;
  std::printf("| %s | %s | %s ", run.operation->name, transportOf(run), fault.c_str());
  for (const std::uint64_t number :
       {row.calls, row.points, row.widestStride, row.succeeded, row.failedAsTold, row.threw,
        crashes, row.of(Kind::hang), row.of(Kind::leak), row.defectCount - named, weaknesses}) {
    std::printf("| %zu ", number);
  }
  const std::uint64_t bad = row.of(Kind::next);
  std::printf("| %s |\n", bad == 0 ? "yes" : ("no: " + std::to_string(bad)).c_str());
  for (const auto& [reason, count] : row.weaknesses) {
    std::fprintf(stderr, "%s over %s, %s: %zu times %s\n", run.operation->name, transportOf(run),
                 fault.c_str(), count, reason.c_str());
  }
  std::fflush(stdout);
}

void explainDefects(const Run& run, Board& board) {
  constexpr std::uint64_t kMostExplained = 6;
  std::uint64_t explained = 0;
  for (const Finding& finding : board.knownFindings()) {
    if (!attribute(finding).ours || ++explained > kMostExplained) continue;
    std::fprintf(stderr, "DEFECT in %s over %s, %s, point %zu, %s: %s: %s\n%s", run.operation->name,
                 transportOf(run), faultOf(run).c_str(), finding.point, nameOf(finding.stage),
                 nameOf(finding.kind), finding.text.data(), describe(finding.stack).c_str());
    if (finding.fault.depth != 0) {
      std::fprintf(stderr, "  after no memory was left at\n%s", describe(finding.fault).c_str());
    }
  }
}

void tryRun(const Run& run, Row& row) {
  const SharedBoard board = makeBoard();
  tryPoints(run, *board);
  row.add(*board);
  explainDefects(run, *board);
}

bool isWanted(const Options& options, const OperationKind& kind) {
  const auto& names = options.operations;
  return names.empty() || std::find(names.begin(), names.end(), kind.name) != names.end();
}

// Each returns whether there was no defect.
bool tryMemory(const Options& options, Run& run) {
  bool good = true;
  for (const bool onwards : {false, true}) {
    if (!(onwards ? options.onwards : options.once)) continue;
    run.onwards = onwards;
    Row row;
    tryRun(run, row);
    print(row, run, faultOf(run));
    good = good && row.defectCount == 0;
  }
  return good;
}

bool trySystemCall(const Options& options, Run& run, Call call) {
  Row row;
  for (const CallFault& fault : callFaults()) {
    if (fault.call != call) continue;
    run.callFault = &fault;
    run.onwards = false;
    if (options.once) tryRun(run, row);
    // An interruption that never ends leaves nothing to go on with.
    run.onwards = true;
    if (options.onwards && fault.error != EINTR) tryRun(run, row);
  }
  print(row, run, nameOf(call));
  return row.defectCount == 0;
}

bool trySystemCalls(const Options& options, Run& run) {
  bool good = true;
  for (const Call call : {Call::connect, Call::send, Call::receive, Call::poll}) {
    good = trySystemCall(options, run, call) && good;
  }
  return good;
}

bool tryOperations(const Options& options) {
  const Site site(options.simulator, options.inventory, options.https);
  if (options.heading) printHeading();
  bool good = true;
  bool prepared = false;
  for (const OperationKind& kind : operationKinds()) {
    if (!isWanted(options, kind)) continue;
    Run run;
    run.operation = &kind;
    run.route = &site.route();
    run.seconds = options.seconds;
    run.firstPoint = options.firstPoint;
    run.lastPoint = options.lastPoint;
    const bool first = kind.make(site.route())->needsFreshProcess();
    if (first && !options.memory) continue;  // it makes no system call of these
    if (!first && !prepared) {
      if (!Allocator::installInLibcurl()) throw std::runtime_error("libcurl cannot be initialised");
      kestrelvisor_engine_init();
      prepared = true;
    }
    good = (options.memory ? tryMemory(options, run) : trySystemCalls(options, run)) && good;
  }
  return good;
}

bool findPlantedDefects() {
  const Route nowhere;
  kestrelvisor_engine_init();
  bool all = true;
  for (const PlantedDefect& planted : plantedDefects()) {
    Run run;
    run.operation = &planted.operation;
    run.route = &nowhere;
    run.seconds = 60;
    run.limitSeconds = 1;
    const SharedBoard board = makeBoard();
    tryPoints(run, *board);
    Row row;
    row.add(*board);
    const bool found = row.of(planted.kind) != 0 && row.points == row.calls;
    std::printf("%s: %s\n", planted.operation.name,
                found ? "found, all points tried" : "NOT FOUND, OR POINTS LEFT OUT");
    all = all && found;
  }
  for (const PlantedFinding& planted : plantedFindings()) {
    const bool right = attribute(planted.finding).ours == planted.ours;
    std::printf("%s: %s, %s\n", planted.name, planted.ours ? "ours" : "the library's",
                right ? "put down so" : "NOT PUT DOWN SO");
    all = all && right;
  }
  return all;
}

int run(int count, char** arguments) {
  const Options options = readOptions(count, arguments);
  if (options.help) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (options.headingAlone) {
    printHeading();
    return 0;
  }
  if (!Allocator::installInOpenssl()) throw std::runtime_error("OpenSSL was used too early");
  NoOutput nothing;
  std::streambuf* const before = std::cout.rdbuf(&nothing);
  LogOptions log;
  log.threshold = 0;
  log.file = "/dev/null";
  std::string problem;
  if (!configureLogging(log, problem)) throw std::runtime_error(problem);
  const LogObserver observer(watchRecord, watchStatement);
  const bool good = options.planted ? findPlantedDefects() : tryOperations(options);
  std::cout.rdbuf(before);
  return good ? 0 : 1;
}

}  // namespace
}  // namespace kestrelvisor::torture

int main(int count, char** arguments) {
  try {
    return kestrelvisor::torture::run(count, arguments);
  } catch (const kestrelvisor::torture::WrongUsage& problem) {
    std::fprintf(stderr, "torture: %s\n%s", problem.what(), kestrelvisor::torture::kUsage);
    return 2;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "torture: %s\n", problem.what());
    return 3;
  }
}
