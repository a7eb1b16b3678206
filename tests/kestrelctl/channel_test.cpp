#include "kestrelctl/worker/channel.h"

#include "kestrelctl/worker/messages.h"
#include "tests/support/test_headers.h"

#include <sys/socket.h>
#include <unistd.h>

#include <future>

namespace kestrelvisor::ctl::test {
namespace {

class Frames : public ::testing::Test {
 protected:
  Frames() {
    auto [first, second] = makeChannel();
    ours = std::move(first);
    theirs = std::move(second);
  }

  // Bytes as a broken peer may send them.
  void sendRaw(const std::string& bytes) const {
    ASSERT_EQ(::send(theirs.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }

  Channel ours;
  Descriptor theirs;
};

TEST_F(Frames, ArriveWholeAndInOrder) {
  Channel sender(std::move(theirs));
  sender.send("first");
  sender.send("");
  sender.send(std::string("\0\xff", 2));

  std::string frame;
  ASSERT_TRUE(ours.receive(frame));
  EXPECT_EQ(frame, "first");
  ASSERT_TRUE(ours.receive(frame));
  EXPECT_EQ(frame, "");
  ASSERT_TRUE(ours.receive(frame));
  EXPECT_EQ(frame, std::string("\0\xff", 2));
}

TEST_F(Frames, MayBeLargerThanWhatTheSystemKeeps) {
  const std::string large(std::size_t{8} << 20, 'x');
  Channel sender(std::move(theirs));
  const auto sent = std::async(std::launch::async, [&] {
    sender.send(large);
    sender.send("behind it");
  });

  std::string frame;
  ASSERT_TRUE(ours.receive(frame));
  EXPECT_TRUE(frame == large);
  ASSERT_TRUE(ours.receive(frame));
  EXPECT_EQ(frame, "behind it");
}

TEST_F(Frames, EndWithTheOtherSide) {
  theirs.reset();

  std::string frame;
  EXPECT_FALSE(ours.receive(frame));
}

TEST_F(Frames, ThatBreakOffAreRefused) {
  for (const std::string& cut : {std::string("\0\0", 2), std::string("\0\0\0\5half", 8)}) {
    auto [receiver, sender] = makeChannel();
    ASSERT_GT(::send(sender.get(), cut.data(), cut.size(), MSG_NOSIGNAL), 0);
    sender.reset();

    std::string frame;
    EXPECT_THROW(receiver.receive(frame), BrokenChannel);
  }
}

TEST_F(Frames, ThatArriveInPartsAreWaitedFor) {
  sendRaw(std::string("\0\0\0\4te", 6));
  std::string frame;
  ASSERT_TRUE(ours.fill());
  EXPECT_FALSE(ours.take(frame));

  sendRaw("xt");

  ASSERT_TRUE(ours.fill());
  ASSERT_TRUE(ours.take(frame));
  EXPECT_EQ(frame, "text");
}

TEST_F(Frames, ThatClaimTooMuchAreRefusedAtOnce) {
  sendRaw("\xff\xff\xff\xff");

  std::string frame;
  EXPECT_THROW(ours.receive(frame), BrokenChannel);
}

TEST_F(Frames, ForAPeerThatHasGoneAreRefused) {
  theirs.reset();

  EXPECT_THROW(ours.send("nobody reads this"), BrokenChannel);
}

TEST_F(Frames, OfSecretsArriveInTheCallersTextAlone) {
  Channel sender(std::move(theirs));
  sender.send("Correct-Horse");

  std::string secret;
  ASSERT_TRUE(ours.receiveSecret(secret));

  EXPECT_EQ(secret, "Correct-Horse");
}

TEST_F(Frames, OfSecretsMayBeMissing) {
  theirs.reset();

  std::string secret;
  EXPECT_FALSE(ours.receiveSecret(secret));
}

TEST_F(Frames, OfSecretsThatBreakOffOrClaimTooMuchAreRefused) {
  for (const std::string& wrong :
       {std::string("\0\0", 2), std::string("\0\0\0\5half", 8), std::string("\0\x10\0\0", 4)}) {
    auto [receiver, sender] = makeChannel();
    ASSERT_GT(::send(sender.get(), wrong.data(), wrong.size(), MSG_NOSIGNAL), 0);
    sender.reset();

    std::string secret;
    EXPECT_THROW(receiver.receiveSecret(secret), BrokenChannel);
  }
}

// Their first bytes would stay in the buffer.
TEST_F(Frames, OfSecretsMustNotBeTakenInWithAnother) {
  Channel sender(std::move(theirs));
  sender.send("job");
  sender.send("Correct-Horse");
  std::string frame;
  ASSERT_TRUE(ours.receive(frame));

  std::string secret;
  EXPECT_THROW(ours.receiveSecret(secret), BrokenChannel);
}

OperationRequest fullRequest() {
  OperationRequest request;
  request.kind = OperationKind::disableCbt;
  request.connection.manager = {false, "[::1]", 7444};
  request.connection.user = "caf\xe9";  // no UTF-8
  request.connection.certificateFile = "ca.pem";
  request.connection.strictTls = false;
  request.connection.keepAddress = true;
  request.connection.followAddress = true;
  request.connection.useEnvironment = true;
  request.connection.publicKeyPin = "sha256//x";
  request.log = {2, "log"};
  request.machineUri = "/service/x";
  request.keepsTesterDump = true;
  return request;
}

TEST(WorkerMessages, CarryARequest) {
  wire::Job job;
  readMessage(jobOf(fullRequest()).SerializeAsString(), job);
  const OperationRequest read = requestOf(job);

  EXPECT_EQ(read.kind, OperationKind::disableCbt);
  EXPECT_EQ(read.connection.manager.url(), "http://[::1]:7444");
  EXPECT_EQ(read.connection.user, "caf\xe9");
  EXPECT_EQ(read.connection.certificateFile, "ca.pem");
  EXPECT_EQ(read.connection.strictTls, false);
  EXPECT_TRUE(read.connection.keepAddress);
  EXPECT_TRUE(read.connection.followAddress);
  EXPECT_TRUE(read.connection.useEnvironment);
  EXPECT_EQ(read.connection.publicKeyPin, "sha256//x");
  EXPECT_EQ(read.log.level, 2);
  EXPECT_EQ(read.log.file, "log");
  EXPECT_EQ(read.machineUri, "/service/x");
  EXPECT_TRUE(read.keepsTesterDump);
}

TEST(WorkerMessages, CarryWhatIsNotSaidAsThat) {
  const OperationRequest read = requestOf(jobOf(OperationRequest()));

  EXPECT_EQ(read.kind, OperationKind::verify);
  EXPECT_TRUE(read.connection.manager.https);
  EXPECT_FALSE(read.connection.strictTls);
  EXPECT_FALSE(read.log.level);
}

TEST(WorkerMessages, DoNotTakeAnUnknownOperationForAnother) {
  EXPECT_THROW(requestOf(wire::Job()), BrokenChannel);
  wire::Job later;
  readMessage("\x08\x09", later);  // a kind of which this program knows nothing
  EXPECT_THROW(requestOf(later), BrokenChannel);
}

// The password travels alone: no message has a place for it.
TEST(WorkerMessages, LeaveOutWhereThePasswordComesFrom) {
  OperationRequest request;
  request.connection.password.file = "/the/file";

  EXPECT_EQ(jobOf(request).SerializeAsString().find("/the/file"), std::string::npos);
}

TEST(WorkerMessages, CarryAResult) {
  OperationResult result;
  result.guid = "guid";
  result.reply.add_machine_records()->set_name("vm");
  result.testerDump = std::string("dump\0", 5);
  result.accounting = Accounting{.counted = 8,
                                 .recorded = 1,
                                 .templates = 2,
                                 .linkedClones = 3,
                                 .outOfScope = 4,
                                 .unreadableUuid = 5,
                                 .unreadData = 6,
                                 .vanished = 7};

  const OperationResult read = resultOf(eventOf(result).done());

  EXPECT_EQ(read.guid, "guid");
  EXPECT_EQ(read.reply.machine_records(0).name(), "vm");
  EXPECT_EQ(read.testerDump, result.testerDump);
  ASSERT_TRUE(read.accounting);
  EXPECT_EQ(read.accounting->counted, 8U);
  EXPECT_EQ(read.accounting->recorded, 1U);
  EXPECT_EQ(read.accounting->templates, 2U);
  EXPECT_EQ(read.accounting->linkedClones, 3U);
  EXPECT_EQ(read.accounting->outOfScope, 4U);
  EXPECT_EQ(read.accounting->unreadableUuid, 5U);
  EXPECT_EQ(read.accounting->unreadData, 6U);
  EXPECT_EQ(read.accounting->vanished, 7U);
}

TEST(WorkerMessages, CarryNoResultThatIsTooLarge) {
  OperationResult result;
  result.testerDump = std::string(1000, 'x');

  EXPECT_EQ(resultOf(eventOf(result, 1100).done()).testerDump, result.testerDump);
  try {
    eventOf(result, 1000);
    FAIL() << "carried";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.exitCode, ExitCode::unreadableAnswer);
    EXPECT_STREQ(failure.what(), "the result is larger than 2 GiB");
  }
}

TEST(WorkerMessages, CarryAWarning) {
  const Warning read = warningOf(eventOf(Warning{"kind", "t\xffxt"}).warning());

  EXPECT_EQ(read.kind, "kind");
  EXPECT_EQ(read.text, "t\xffxt");
}

TEST(WorkerMessages, CarryWhetherTheOutcomeOfAChangeIsUnknown) {
  EXPECT_TRUE(changeEvent(true).change().outcome_unknown());
  EXPECT_FALSE(changeEvent(false).change().outcome_unknown());
}

TEST(WorkerMessages, CarryNoAccountingWhereThereIsNone) {
  EXPECT_FALSE(resultOf(eventOf(OperationResult{}).done()).accounting);
}

TEST(WorkerMessages, CarryTheCountsOfAScan) {
  ScanCounts counts;
  counts.phase = ScanPhase::machines;
  counts.objects = 1;
  counts.objectsExpected = 2;
  counts.exchanges = 3;
  counts.listings = 4;
  counts.exchangesExpected = 5;
  counts.listingsExpected = 6;

  const ScanCounts read = countsOf(progressEvent(counts).progress());

  EXPECT_EQ(read.phase, ScanPhase::machines);
  EXPECT_EQ(read.objects, 1U);
  EXPECT_EQ(read.objectsExpected, 2U);
  EXPECT_EQ(read.exchanges, 3U);
  EXPECT_EQ(read.listings, 4U);
  EXPECT_EQ(read.exchangesExpected, 5U);
  EXPECT_EQ(read.listingsExpected, 6U);
}

TEST(WorkerMessages, CarryThatACountIsNotKnown) {
  const ScanCounts read = countsOf(progressEvent(ScanCounts{}).progress());

  EXPECT_FALSE(read.objectsExpected);
  EXPECT_FALSE(read.exchangesExpected);
  EXPECT_FALSE(read.listingsExpected);
}

TEST(WorkerMessages, RefuseAPhaseThatNobodyKnows) {
  wire::Progress progress;
  progress.set_phase(99);

  EXPECT_THROW(countsOf(progress), BrokenChannel);
}

TEST(WorkerMessages, CarryAFailure) {
  Failure failure(ExitCode::refusedCertificate, "what");
  failure.facts = {{"label", "\xff"}};
  failure.hint = "hint";
  failure.operationStatus = 107;
  failure.detailId = 20086;
  failure.managerCode = "10100103";
  failure.text = "words";

  const Failure read = failureOf(eventOf(failure).failed());

  EXPECT_EQ(read.exitCode, ExitCode::refusedCertificate);
  EXPECT_EQ(read.what(), std::string("what"));
  ASSERT_EQ(read.facts.size(), 1U);
  EXPECT_EQ(read.facts[0].label, "label");
  EXPECT_EQ(read.facts[0].text, "\xff");
  EXPECT_EQ(read.hint, "hint");
  EXPECT_EQ(read.operationStatus, 107);
  EXPECT_EQ(read.detailId, 20086U);
  EXPECT_EQ(read.managerCode, "10100103");
  EXPECT_EQ(read.text, "words");
}

TEST(WorkerMessages, CarryThatTheEngineGaveNoNumbers) {
  const Failure read = failureOf(eventOf(Failure(ExitCode::wrongUsage, "what")).failed());

  EXPECT_FALSE(read.operationStatus);
  EXPECT_FALSE(read.detailId);
}

TEST(WorkerMessages, TakeAnExitCodeThatIsNoneForAnUnreadableAnswer) {
  for (const int number : {-1, 0, 1, 10, 130}) {
    wire::Failed failed;
    failed.set_exit_code(number);
    EXPECT_EQ(failureOf(failed).exitCode, ExitCode::unreadableAnswer) << number;
  }
}

TEST(WorkerMessages, ThatAreNoneAreRefused) {
  wire::Event event;
  EXPECT_THROW(readMessage("\xff\xff garbage", event), BrokenChannel);
  wire::Done done;
  done.set_reply("\xff\xff garbage");
  EXPECT_THROW(resultOf(done), BrokenChannel);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
