#include "kestrelctl/diagnosis/version_question.h"

#include "tests/kestrelctl/fixture.h"

namespace kestrelvisor::ctl {
namespace {

using std::chrono::seconds;
using test::managerOptions;
using vrmsim::Simulator;

VersionAnswer answerOf(const Simulator& manager, const std::string& trusted, bool verified = true) {
  return ask({readManagerAddress(manager.url()), trusted, verified, seconds(20)});
}

TEST(VersionQuestion, IsAnsweredByTheVersions) {
  const Simulator manager(managerOptions(true));

  const VersionAnswer answer = answerOf(manager, manager.certificatePem());

  EXPECT_EQ(answer.problem, "");
  EXPECT_THAT(answer.versions, ::testing::ElementsAre("1.2", "6.0", "6.5"));
  EXPECT_TRUE(answer.isUsable());
}

TEST(VersionQuestion, TellsARefusedCertificateFromAFailedConnection) {
  const Simulator manager(managerOptions(true));
  const std::string stranger = Simulator(managerOptions(true)).certificatePem();

  EXPECT_EQ(answerOf(manager, stranger).exitCode, ExitCode::refusedCertificate);
  EXPECT_EQ(answerOf(manager, stranger, false).exitCode, ExitCode::success);
}

TEST(VersionQuestion, TellsAFailedConnection) {
  Simulator manager(managerOptions(true));
  manager.addFault("path=/service/versions cut=request");

  EXPECT_EQ(answerOf(manager, manager.certificatePem()).exitCode, ExitCode::unreachable);
}

TEST(VersionQuestion, ReadsAClockOfAnyYear) {
  Simulator manager(managerOptions(true));
  manager.addFault("path=/service/versions set-header=\"Date: Fri, 31 Dec 9999 23:59:59 GMT\"");

  const VersionAnswer answer = answerOf(manager, manager.certificatePem());

  ASSERT_TRUE(answer.clockAhead.has_value());
  EXPECT_GT(*answer.clockAhead, std::chrono::years(5000));
}

}  // namespace
}  // namespace kestrelvisor::ctl
