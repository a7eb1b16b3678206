#include "engine/kestrelvisor_public.h"
#include "environment.pb.h"
#include "platform/reference/clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <chrono>

namespace {

using namespace kestrelvisor::test;
using google::protobuf::util::MessageDifferencer;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// A machine below a host without cluster.
class ScanSequence : public ::testing::Test {
 protected:
  ScanSequence() {
    kestrelvisor::holdClock(std::chrono::system_clock::time_point(std::chrono::seconds(1234)));
    servesNoGuests(manager_);
    servesClusters(manager_, {});
    servesHosts(manager_, "default", {aHost(1)});
    servesDatastores(manager_, {});
    hasMachine(aVm(1, hostUrn(1)).with("hostUrn", hostUrn(1)));
  }
  ~ScanSequence() override { kestrelvisor::releaseClock(); }
  void hasMachine(const Document& machine) { servesMachines(manager_, hostUrn(1), {machine}); }
  // Scans into reply_ and keeps what came out on standard output.
  long scan() {
    ::testing::internal::CaptureStdout();
    const long result = engine_.scanEnvironment(vrm_, reply_, error_);
    output_ = ::testing::internal::GetCapturedStdout();
    return result;
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  ScanEnvironmentReply reply_;
  std::string output_;
  KestrelVisorPublic engine_;
};

TEST_F(ScanSequence, FillsTreeMachinesAndTimestampAndPrintsThem) {
  EXPECT_EQ(scan(), 0);

  EXPECT_EQ(reply_.machine_records_size(), 1);
  EXPECT_EQ(reply_.tree_records_size(), 4);  // root, host, and the machine's two rows
  EXPECT_EQ(reply_.non_vm_records_size(), 2);
  ASSERT_EQ(reply_.timestamp_size(), 1);
  EXPECT_EQ(reply_.timestamp(0), 1234U);
  EXPECT_EQ(reply_.environment_version_size(), 0);
  EXPECT_THAT(output_, HasSubstr("AdminNode:4 tree(s), 0 disk(s), 1 machine(s), timestamp:1234\n"));
}

TEST_F(ScanSequence, GivesAMachineTheGuidOfTheHostNode) {
  ASSERT_EQ(scan(), 0);
  EXPECT_EQ(reply_.machine_records(0).hostguid(), reply_.tree_records(1).guid());
}

TEST_F(ScanSequence, BeginsWithALineThatNamesAddressAndUser) {
  ASSERT_EQ(scan(), 0);
  const auto& first = log_.records().front();
  EXPECT_EQ(first.text,
            "Environment Proxy: KestrelVisor Engine is going to scan environment for: \n\t"
            "127.0.0.1\tbackup");
  EXPECT_EQ(first.level, 2);
  EXPECT_EQ(first.tag, "KestrelVisorEngine");
  EXPECT_EQ(first.function, "KestrelVisorPublic::scanEnvironment()");
}

TEST_F(ScanSequence, OfAnEmptySiteHoldsTheRootsRowsAndTheTimestampOnly) {
  servesHosts(manager_, "default", {});

  EXPECT_EQ(scan(), 0);

  EXPECT_EQ(reply_.tree_records_size(), 1);
  EXPECT_EQ(reply_.non_vm_records_size(), 1);
  EXPECT_EQ(reply_.timestamp_size(), 1);
  EXPECT_EQ(reply_.machine_records_size() + reply_.disk_records_size() +
                reply_.datastore_records_size() + reply_.resource_relation_records_size(),
            0);
}

TEST_F(ScanSequence, LeavesReplyAndOutputAloneWhenTheTreeFails) {
  reply_.add_timestamp(7);
  reply_.add_tree_records()->set_name("before");
  const ScanEnvironmentReply before = reply_;
  manager_.serves("GET", machinePageTarget(hostUrn(1)), refusal(500, "10000123"));

  EXPECT_EQ(scan(), -1);

  EXPECT_TRUE(MessageDifferencer::Equals(reply_, before));
  EXPECT_EQ(output_, "");
  EXPECT_EQ(error_.errorCode, "10000123");
}

TEST_F(ScanSequence, LeavesReplyAndOutputAloneWhenTheTreeThrows) {
  hasMachine(aVm(1, hostUrn(1)).with("isTemplate", "no"));
  EXPECT_THROW(engine_.scanEnvironment(vrm_, reply_, error_), Json::Exception);
  EXPECT_TRUE(MessageDifferencer::Equals(reply_, ScanEnvironmentReply()));
}

TEST_F(ScanSequence, SucceedsWithoutAMachineThatHasNoValidUuid) {
  hasMachine(aVm(1, hostUrn(1)).with("uuid", "no"));

  EXPECT_EQ(scan(), 0);

  EXPECT_EQ(reply_.machine_records_size(), 0);
  EXPECT_EQ(reply_.tree_records_size(), 2);
  EXPECT_THAT(log_.texts(3), Contains(StartsWith("The tree node[vm-1,")));
}

TEST_F(ScanSequence, AppendsToAReplyThatHoldsAnEarlierScan) {
  ASSERT_EQ(scan(), 0);
  const ScanEnvironmentReply first = reply_;

  ASSERT_EQ(scan(), 0);

  EXPECT_EQ(reply_.timestamp_size(), 2);
  ASSERT_EQ(reply_.tree_records_size(), 2 * first.tree_records_size());
  // The second scan numbers its nodes from the start again.
  for (int row = 0; row < first.tree_records_size(); ++row) {
    EXPECT_TRUE(MessageDifferencer::Equals(reply_.tree_records(first.tree_records_size() + row),
                                           first.tree_records(row)));
  }
}

TEST_F(ScanSequence, FindsTheHostOfAnEarlierScanForAMachineThatNamesIt) {
  ASSERT_EQ(scan(), 0);
  const std::string oldGuid = reply_.machine_records(0).hostguid();
  ASSERT_NE(oldGuid, "");
  servesHosts(manager_, "default", {aHost(2)});
  servesMachines(manager_, hostUrn(2), {aVm(1, hostUrn(2)).with("hostUrn", hostUrn(1))});
  reply_.Clear();

  ASSERT_EQ(scan(), 0);

  EXPECT_EQ(reply_.machine_records(0).hostguid(), oldGuid);
  EXPECT_EQ(engine_.hostGuidByUrn.size(), 2U);
}

TEST_F(ScanSequence, KeepsItsSessionBetweenScans) {
  ASSERT_EQ(scan(), 0);
  ASSERT_EQ(scan(), 0);
  const std::vector<std::string> lines = manager_.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "POST /service/session"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "DELETE /service/session"), 0);
}

}  // namespace
