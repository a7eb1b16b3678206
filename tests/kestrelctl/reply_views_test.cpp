#include "kestrelctl/reply_views.h"

#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

#include <json/json.h>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr Rendering kPlain{false, false};
constexpr Rendering kUtf8{false, true};

std::string treeOf(const ScanEnvironmentReply& reply, const Rendering& rendering) {
  return treeView(ReplyIndex(reply), rendering);
}

Json::Value jsonOf(const ScanEnvironmentReply& reply) {
  Json::Value value;
  std::istringstream text(jsonView(ReplyIndex(reply)));
  std::string problem;
  EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), text, &value, &problem)) << problem;
  return value;
}

TEST(TreeView, ShowsTheWholeReply) {
  EXPECT_EQ(treeOf(sampleReply(), kUtf8),
            "Oslo  site     1 cluster, 2 hosts, 2 machines\n"
            "├─ east    cluster  1 host, 2 machines\n"
            "│  └─ cna  host     10.0.0.3, x86 Intel, 2 CPUs, 2 machines\n"
            "│     ├─ web       Debian   1 disk    40 GiB\n"
            "│     └─ database  Windows  1 disk   1.5 TiB\n"
            "└─ lonely  host     0 machines\n"
            "\n"
            "Datastores\n"
            "  lun     2 TiB,  512 GiB free  reached by 1 host\n"
            "\n"
            "Summary\n"
            "  Machines       2\n"
            "  Disks          2  1.5 TiB\n"
            "  Datastores     1  2 TiB, 512 GiB free\n"
            "  Other objects  1  1 site, 1 cluster, 2 hosts\n"
            "  REST version   6.5\n"
            "  Taken at       1970-01-02 00:00:00 UTC\n");
}

TEST(TreeView, DrawsWithAsciiOutsideUtf8) {
  EXPECT_THAT(treeOf(sampleReply(), kPlain),
              AllOf(HasSubstr("\n|- east "), HasSubstr("\n|  `- cna "), HasSubstr("\n`- lonely ")));
}

TEST(TreeView, LetsNoNameControlTheTerminal) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(0)->set_name("Os\x1b[2Jlo\nagain");

  EXPECT_THAT(treeOf(reply, kUtf8), HasSubstr("Os\\x1b[2Jlo\\nagain  site"));
}

TEST(TreeView, AlignsWideCharacters) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name("wéb");

  EXPECT_THAT(treeOf(reply, kUtf8), HasSubstr("├─ wéb       Debian"));
}

TEST(TreeView, ColoursOnlyWhenTold) {
  EXPECT_THAT(treeOf(sampleReply(), {true, true}), HasSubstr("\x1b[1mOslo\x1b[0m"));
  EXPECT_THAT(treeOf(sampleReply(), kUtf8), Not(HasSubstr("\x1b")));
}

TEST(TreeView, EmptyReplyIsASummary) {
  EXPECT_THAT(treeOf({}, kUtf8),
              AllOf(HasSubstr("  Machines       0\n"), Not(HasSubstr("Datastores\n  ("))));
}

TEST(JsonView, JoinsMachinesDisksAndDatastores) {
  const Json::Value document = jsonOf(sampleReply());

  EXPECT_EQ(document["counts"]["machines"].asInt(), 2);
  EXPECT_EQ(document["counts"]["clusters"].asInt(), 1);
  EXPECT_EQ(document["takenAt"].asInt(), 86400);
  EXPECT_EQ(document["objects"][0]["kind"].asString(), "site");
  EXPECT_TRUE(document["objects"][0]["parent"].isNull());
  EXPECT_EQ(document["objects"][3]["parent"].asInt(), 2);
  const Json::Value& machine = document["machines"][0];
  EXPECT_EQ(machine["uri"].asString(), "/service/vms/4");
  EXPECT_EQ(machine["parent"].asInt(), 3);
  EXPECT_EQ(machine["disks"][0]["bus"].asString(), "VIRTIO");
  EXPECT_EQ(machine["disks"][0]["datastore"].asInt(), 0);
  EXPECT_EQ(document["datastores"][0]["reachedBy"][0].asInt(), 3);
}

TEST(JsonView, SameReplyGivesTheSameBytes) {
  EXPECT_EQ(jsonView(ReplyIndex(sampleReply())), jsonView(ReplyIndex(sampleReply())));
}

TEST(JsonView, IsUtf8WhateverANameHolds) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(0)->set_name("O\xffslo \xed\xa0\x80 \xc3\xb8");

  EXPECT_EQ(jsonOf(reply)["objects"][0]["name"].asString(),
            "O\xEF\xBF\xBDslo \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD \xc3\xb8");
}

TEST(JsonView, KeepsNumbersOf64Bits) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_disk_records(0)->set_disksize(~0ULL);

  EXPECT_EQ(jsonOf(reply)["machines"][0]["disks"][0]["sizeKiB"].asUInt64(), ~0ULL);
}

TEST(JsonView, EmptyReplyHasEmptyLists) {
  const Json::Value document = jsonOf({});

  EXPECT_TRUE(document["restVersion"].isNull());
  EXPECT_TRUE(document["machines"].isArray());
  EXPECT_TRUE(document["objects"].empty());
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
