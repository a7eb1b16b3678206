#include "kestrelctl/views/show_reply.h"

#include "kestrelctl/views/name_view.h"
#include "kestrelctl/views/reply_json.h"
#include "kestrelctl/views/tree_view.h"
#include "tests/kestrelctl/sample_reply.h"
#include "tests/kestrelctl/schema_check.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr Rendering kUtf8{false, true};

std::string shown(const ScanEnvironmentReply& reply, OutputFormat format) {
  std::string text;
  showReply(ReplyIndex(reply), format, {}, kUtf8, [&](std::string_view piece) { text += piece; });
  return text;
}

TEST(ShowReply, TableLeavesDisksToTheWideOne) {
  EXPECT_THAT(shown(sampleReply(), OutputFormat::table), Not(HasSubstr("DISK  ")));
  EXPECT_THAT(shown(sampleReply(), OutputFormat::wide), HasSubstr("DISK  "));
}

TEST(ShowReply, TreeAndJsonAreThoseOfTheReply) {
  const ScanEnvironmentReply reply = sampleReply();
  const ReplyIndex index(reply);

  EXPECT_EQ(shown(reply, OutputFormat::tree), treeView(index, kUtf8));
  std::string document;
  jsonView(index, {}, [&](std::string_view piece) { document += piece; });
  EXPECT_EQ(shown(reply, OutputFormat::json), document);
  const std::string lines = shown(reply, OutputFormat::jsonl);
  EXPECT_THAT(lines, StartsWith("{\"record\":"));
  expectLinesConform("reply-line", lines);
}

TEST(ShowReply, NamesAreTheUrisOfTheMachines) {
  EXPECT_EQ(shown(sampleReply(), OutputFormat::name), "/service/vms/4\n/service/vms/5\n");
}

TEST(ShowReply, ProtobufIsTheReplyItself) {
  ScanEnvironmentReply read;

  ASSERT_TRUE(read.ParseFromString(shown(sampleReply(), OutputFormat::protobuf)));

  EXPECT_EQ(read.DebugString(), sampleReply().DebugString());
}

TEST(NamesView, NamesWhateverIsSelected) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_non_vm_records(0)->set_mo_reference("/service/hosts/3");
  reply.mutable_disk_records(1)->clear_objectguid();
  const ReplyIndex index(reply);

  EXPECT_EQ(namesView(index, everythingOf(index)),
            "/service/hosts/3\n/service/datastores/1\n/service/vms/4\n/service/vms/5\ndisk-4\n");
}

TEST(NamesView, LineEndInAUriMakesNoSecondLine) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_machine_records(0)->set_mo("/service/vms/4\n/service/vms/9");

  EXPECT_THAT(shown(reply, OutputFormat::name), StartsWith("/service/vms/4\\n/service/vms/9\n"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
