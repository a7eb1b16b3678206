#include "kestrelctl/reply_file.h"

#include "kestrelctl/failure.h"
#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <filesystem>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using vrmsim::test::TemporaryFolder;

class ReplyFile : public ::testing::Test {
 protected:
  std::string bytes() const { return sampleReply().SerializeAsString(); }

  // What is said of a file that cannot be used, with its exit code.
  static std::string problemOf(const std::string& path) {
    try {
      readReplyFile(path);
    } catch (const Failure& failure) {
      return std::to_string(static_cast<int>(failure.exitCode)) + ": " + failure.what();
    }
    return "none";
  }

  TemporaryFolder folder;
};

TEST_F(ReplyFile, IsReadWhole) {
  EXPECT_EQ(readReplyFile(folder.write("reply.pb", bytes())).DebugString(),
            sampleReply().DebugString());
}

TEST_F(ReplyFile, ThatIsNotThereIsTold) {
  const std::string path = folder.file("missing.pb");

  EXPECT_EQ(problemOf(path), "2: " + path + " cannot be read: No such file or directory");
}

TEST_F(ReplyFile, FolderIsNone) {
  EXPECT_THAT(problemOf(folder.file("")), HasSubstr(" is a directory"));
}

TEST_F(ReplyFile, EmptyOneIsTold) {
  EXPECT_THAT(problemOf(folder.write("reply.pb", "")),
              AllOf(HasSubstr("2: "), HasSubstr(" is empty")));
}

TEST_F(ReplyFile, JsonIsTold) {
  EXPECT_THAT(problemOf(folder.write("reply.json", "\n{\"counts\": {}}")),
              HasSubstr("holds JSON, but a reply is protobuf"));
}

TEST_F(ReplyFile, OtherContentIsNoReply) {
  EXPECT_THAT(problemOf(folder.write("text", "of yesterday\n")), HasSubstr("holds no reply"));
  EXPECT_THAT(problemOf(folder.write("zeroes", std::string(100, '\0'))),
              HasSubstr("holds no reply"));
}

TEST_F(ReplyFile, MessageOfAnotherKindIsNoReply) {
  EnvironmentPath other;
  other.add_hv_address("vrm.example.com");
  other.add_port(7443);

  EXPECT_THAT(problemOf(folder.write("path.pb", other.SerializeAsString())),
              HasSubstr("holds no reply"));
}

TEST_F(ReplyFile, NoPartOfAReplyIsTakenForTheWhole) {
  const std::string whole = bytes();
  for (std::size_t size = 1; size < whole.size(); ++size) {
    EXPECT_THAT(problemOf(folder.write("reply.pb", whole.substr(0, size))),
                HasSubstr("holds no reply, or not the whole of one"))
        << size;
  }
}

TEST_F(ReplyFile, TwoThatWereJoinedAreNotOne) {
  EXPECT_THAT(problemOf(folder.write("both.pb", bytes() + bytes())),
              AllOf(HasSubstr("2: "), HasSubstr("holds more than one reply")));
}

TEST_F(ReplyFile, ReplyWithoutItsTimeIsNotWhole) {
  ScanEnvironmentReply reply = sampleReply();
  reply.clear_timestamp();

  EXPECT_THAT(problemOf(folder.write("reply.pb", reply.SerializeAsString())),
              HasSubstr("or not the whole of one"));
}

TEST_F(ReplyFile, TooLargeOneIsNotReadAtAll) {
  const std::string path = folder.write("reply.pb", bytes());
  std::filesystem::resize_file(path, std::uintmax_t{3} << 30);

  EXPECT_THAT(problemOf(path), HasSubstr("is too large for a reply"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
