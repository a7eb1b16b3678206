#pragma once

#include "tests/integration/fault_table/course.h"
#include "tests/integration/integration_fixture.h"
#include "tests/platform/quiet_log.h"

#include <cstdint>
#include <string>

namespace kestrelvisor::test {

// A manager of the table's site and what stands around an operation on it.
class TableTest : public ::testing::Test {
 protected:
  explicit TableTest(bool tls);

  Simulator& simulator() { return simulator_; }
  Site site() const { return {simulator_.url(), simulator_.address(), path_.username(0)}; }

  // The manager knows no session and no fault, and the process's client no manager.
  void resetManager();
  // The engine's client holds a session that its next operation has to end.
  void openSessionOfAnotherUser(KestrelVisorEngine& engine);

  // The rules that strike as the row says.
  std::vector<std::string> rulesOf(const Row& row) const;
  // Runs one operation and tells what came of it, all but the number of connections.
  Course operate(KestrelVisorEngine& engine, Operation operation);
  // Numbers of the connections of the last operation's first request and of the last request.
  std::uint64_t firstConnection() const;
  std::uint64_t lastConnection() const;

 private:
  // Words of a fault for some of the row's attempts.
  std::string ruleOf(const Row& row, const char* faultWords, std::size_t attempts) const;
  void run(KestrelVisorEngine& engine, Operation operation, Course& course);

  const QuietLog quiet_;
  const FreshSessions fresh_;
  const vrmsim::test::TemporaryFolder folder_;
  const std::string nested_;
  Simulator simulator_;
  EnvironmentPath path_;
};

// Expects two courses to be the same, field by field.
void expectSame(const Course& course, const Course& expected);

}  // namespace kestrelvisor::test
