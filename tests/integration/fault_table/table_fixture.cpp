#include "tests/integration/fault_table/table_fixture.h"

#include <json/json.h>

#include <stdexcept>

namespace kestrelvisor::test {
namespace {

constexpr const char* kOtherUser = "former";
constexpr std::size_t kDeepNesting = 100000;
constexpr std::size_t kLongHeader = 90000;

void replaceFirst(std::string& text, const std::string& mark, const std::string& replacement) {
  const std::size_t at = text.find(mark);
  if (at != std::string::npos) text.replace(at, mark.size(), replacement);
}

std::string longHeader(int number) {
  const std::string name = "X-Long-" + std::to_string(number) + ": ";
  return Json::valueToQuotedString((name + std::string(kLongHeader, 'x')).c_str());
}

// What a site has, once.
SimulatorOptions siteOfOnes(bool tls) {
  SimulatorOptions options = simulatedSite(tls);
  vrmsim::Inventory& inventory = options.inventory;
  inventory.clusters.resize(1);
  inventory.hosts.resize(1);
  inventory.datastores.resize(1);
  inventory.hosts[0].cluster.clear();
  inventory.datastores[0].hosts = {"h1"};
  inventory.datastores[0].clusters = {"c1"};
  inventory.vms.resize(1);
  options.users.push_back(options.users[0]);
  options.users.back().name = kOtherUser;
  return options;
}

std::vector<std::string> loudLines(const LogCapture& log) {
  std::vector<std::string> lines;
  for (const LogRecord& record : log.records()) {
    if (record.level >= 3) lines.push_back(std::to_string(record.level) + " " + record.text);
  }
  return lines;
}

std::vector<std::string> detailOf(const EnvProxyResult& result) {
  std::vector<std::string> texts;
  for (const message& detail : result.details) {
    texts.push_back(std::to_string(detail.detailId));
    texts.insert(texts.end(), detail.detailParams.begin(), detail.detailParams.end());
  }
  return texts;
}

void take(const EnvProxyResult& result, Course& course) {
  course.status = result.status;
  course.detail = detailOf(result);
}

}  // namespace

TableTest::TableTest(bool tls)
    : nested_(folder_.write("nested.json", std::string(kDeepNesting, '['))),
      simulator_(siteOfOnes(tls)),
      path_(pathTo(simulator_)) {}

void TableTest::resetManager() {
  simulator_.clearFaults();
  simulator_.forgetSessions();
  KestrelVisorPublic::getInstance().restApi.tokenMap.clear();
}

void TableTest::openSessionOfAnotherUser(KestrelVisorEngine& engine) {
  EnvironmentPath path = path_;
  path.set_username(0, kOtherUser);
  std::string description;
  std::string guid;
  ASSERT_EQ(engine.VerifyCredentials(path, description, guid).status, 0);
  KestrelVisorPublic::getInstance().restApi.tokenMap.clear();
}

std::vector<std::string> TableTest::rulesOf(const Row& row) const {
  const bool two = row.fault->thenWords != nullptr && row.attempts > 1;
  if (!two) return {ruleOf(row, row.fault->words, row.attempts)};
  return {ruleOf(row, row.fault->words, 1), ruleOf(row, row.fault->thenWords, row.attempts - 1)};
}

std::string TableTest::ruleOf(const Row& row, const char* faultWords, std::size_t attempts) const {
  std::string words = faultWords;
  replaceFirst(words, "%ODD%", Json::valueToQuotedString(row.kind->oddAnswer));
  replaceFirst(words, "%NESTED%", nested_);
  for (const int number : {1, 2, 3}) {
    replaceFirst(words, "%LONG" + std::to_string(number) + "%", longHeader(number));
  }
  const std::string count = " count=" + std::to_string(attempts) + " ";
  if (row.fault->strikes == Strikes::connection) {
    return "skip=" + std::to_string(row.transfers) + count + words;
  }
  const SiteRequest& request = row.kind->request;
  return std::string("method=") + request.method + " path=" + request.target + count + words;
}

void TableTest::run(KestrelVisorEngine& engine, Operation operation, Course& course) {
  const SilentOutput silent;
  std::string guid;
  ScanEnvironmentReply reply;
  switch (operation) {
    case Operation::verify:
      take(engine.VerifyCredentials(path_, course.description, guid), course);
      EXPECT_EQ(guid.empty(), course.status != 0);
      return;
    case Operation::scan:
      take(engine.scanEnvironment(reply, path_, course.description), course);
      EXPECT_EQ(reply.ByteSizeLong() == 0, course.status != 0);
      return;
    case Operation::disable:
      take(engine.DisableCBT(path_, kMachine, course.description), course);
      return;
  }
}

Course TableTest::operate(KestrelVisorEngine& engine, Operation operation) {
  Course course;
  const LogCapture log;
  simulator_.clearJournal();
  try {
    run(engine, operation, course);
  } catch (const Json::Exception&) {
    course.thrown = Thrown::oddValue;
  } catch (const std::logic_error&) {
    course.thrown = Thrown::loginWithoutBody;
  }
  course.requests = linesOf(simulator_.journal());
  course.ownSessions = engine.restApi.tokenMap.size();
  course.sharedSessions = KestrelVisorPublic::getInstance().restApi.tokenMap.size();
  course.lines = loudLines(log);
  return course;
}

std::uint64_t TableTest::firstConnection() const {
  const std::vector<RecordedRequest> journal = simulator_.journal();
  return journal.empty() ? 0 : journal.front().connection;
}

std::uint64_t TableTest::lastConnection() const {
  const std::vector<RecordedRequest> journal = simulator_.journal();
  return journal.empty() ? 0 : journal.back().connection;
}

void expectSame(const Course& course, const Course& expected) {
  EXPECT_EQ(course.thrown, expected.thrown);
  EXPECT_EQ(course.status, expected.status);
  EXPECT_EQ(course.detail, expected.detail);
  EXPECT_EQ(course.description, expected.description);
  EXPECT_EQ(course.requests, expected.requests);
  EXPECT_EQ(course.connections, expected.connections);
  EXPECT_EQ(course.ownSessions, expected.ownSessions);
  EXPECT_EQ(course.sharedSessions, expected.sharedSessions);
  EXPECT_EQ(course.lines, expected.lines);
}

}  // namespace kestrelvisor::test
