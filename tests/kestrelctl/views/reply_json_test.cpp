#include "kestrelctl/views/reply_json.h"

#include "tests/kestrelctl/json_answer.h"
#include "tests/kestrelctl/sample_reply.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

std::string documentOf(const ScanEnvironmentReply& reply, const ReplyNotes& notes = {}) {
  std::string text;
  jsonView(ReplyIndex(reply), notes, [&](std::string_view piece) { text += piece; });
  return text;
}

Json::Value jsonOf(const ScanEnvironmentReply& reply, const ReplyNotes& notes = {}) {
  return conformingDocument("reply", documentOf(reply, notes));
}

Json::Value foundJsonOf(const ReplyIndex& index, const ReplySelection& found,
                        const std::vector<Warning>& warnings = {}) {
  std::string text;
  foundJsonView(index, found, warnings, [&](std::string_view piece) { text += piece; });
  return conformingDocument("find", text);
}

std::vector<std::string> conformingLines(const std::string& schema, const std::string& text) {
  expectLinesConform(schema, text);
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> linesOf(const ScanEnvironmentReply& reply, const ReplyNotes& notes = {}) {
  std::string text;
  jsonLinesView(ReplyIndex(reply), notes, [&](std::string_view piece) { text += piece; });
  return conformingLines("reply-line", text);
}

ReplyNotes sampleNotes() {
  ReplyNotes notes;
  notes.accounting = Accounting();
  notes.accounting->counted = 5;
  notes.accounting->recorded = 2;
  notes.accounting->templates = 4;
  notes.warnings.push_back({"unverified-tls", "let pass: \xff"});
  return notes;
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
  EXPECT_EQ(documentOf(sampleReply()), documentOf(sampleReply()));
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

TEST(JsonView, TellsWhereTheMachinesWentAndWhatToKnow) {
  const Json::Value document = jsonOf(sampleReply(), sampleNotes());

  EXPECT_EQ(document["accounting"]["counted"].asInt(), 5);
  EXPECT_EQ(document["accounting"]["templates"].asInt(), 4);
  EXPECT_EQ(document["accounting"]["unexplained"].asInt(), -1);
  EXPECT_EQ(document["warnings"][0]["kind"].asString(), "unverified-tls");
  EXPECT_EQ(document["warnings"][0]["text"].asString(), "let pass: \xEF\xBF\xBD");
}

TEST(JsonView, ReplyThatWasKeptHasNoAccounting) {
  const Json::Value document = jsonOf(sampleReply());

  EXPECT_TRUE(document.isMember("accounting"));
  EXPECT_TRUE(document["accounting"].isNull());
  EXPECT_TRUE(document["warnings"].isArray());
}

TEST(JsonLinesView, HasALineForEachObjectAndTheSummaryLast) {
  EXPECT_THAT(
      linesOf(sampleReply()),
      ElementsAre(StartsWith("{\"record\":\"object\","), HasSubstr("\"name\":\"east\""),
                  HasSubstr("\"name\":\"lonely\""), HasSubstr("\"name\":\"cna\""),
                  StartsWith("{\"record\":\"datastore\","), StartsWith("{\"record\":\"machine\","),
                  StartsWith("{\"record\":\"machine\","),
                  AllOf(StartsWith("{\"record\":\"disk\","), HasSubstr("\"machine\":4")),
                  AllOf(StartsWith("{\"record\":\"disk\","), HasSubstr("\"machine\":5")),
                  StartsWith("{\"record\":\"summary\",")));
}

TEST(JsonLinesView, SummaryCarriesTheNotes) {
  EXPECT_THAT(linesOf(sampleReply(), sampleNotes()).back(),
              AllOf(HasSubstr("\"unexplained\":-1"), HasSubstr("\"kind\":\"unverified-tls\"")));
}

TEST(JsonLinesView, LineEndsInNamesStayInTheirLine) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(0)->set_name("Os\nlo");

  const std::vector<std::string> lines = linesOf(reply);

  EXPECT_THAT(lines, SizeIs(10));
  EXPECT_THAT(lines, Each(AllOf(StartsWith("{"), ::testing::EndsWith("}"))));
}

TEST(JsonLinesView, MachineThatCameWithoutItsRecordIsAnObject) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_machine_records()->RemoveLast();

  EXPECT_THAT(linesOf(reply)[4],
              AllOf(StartsWith("{\"record\":\"object\","), HasSubstr("\"kind\":\"machine\"")));
}

TEST(JsonLinesView, HandsALargeReplyOnInPieces) {
  ScanEnvironmentReply reply = sampleReply();
  for (std::uint64_t id = 10; id < 1010; ++id) addRow(reply, id, 5, "host", 2);
  std::size_t largest = 0;
  std::size_t total = 0;

  jsonLinesView(ReplyIndex(reply), {}, [&](std::string_view piece) {
    largest = std::max(largest, piece.size());
    total += piece.size();
  });

  EXPECT_LT(largest, 70000U);
  EXPECT_GT(total, 90000U);
}

TEST(FoundJsonView, HoldsWhatWasFoundAsTheReplyDoes) {
  const ScanEnvironmentReply reply = sampleReply();
  const ReplyIndex index(reply);
  ReplySelection found = everythingOf(index);
  found.machines.pop_back();
  found.objects.clear();

  const Json::Value document = foundJsonOf(index, found);

  EXPECT_EQ(document["machines"][0], jsonOf(reply)["machines"][0]);
  EXPECT_EQ(document["counts"]["machines"].asInt(), 1);
  EXPECT_EQ(document["counts"]["objects"].asInt(), 0);
  EXPECT_EQ(document["disks"][1]["machine"].asInt(), 5);
  EXPECT_EQ(document["datastores"][0]["name"].asString(), "lun");
}

TEST(FoundJsonView, NothingFoundHasEmptyListsAndTheWarnings) {
  const ScanEnvironmentReply reply = sampleReply();

  const Json::Value document = foundJsonOf(ReplyIndex(reply), {}, {{"unverified-tls", "let pass"}});

  EXPECT_EQ(document["counts"]["machines"].asInt(), 0);
  EXPECT_TRUE(document["machines"].isArray());
  EXPECT_EQ(document["warnings"][0]["kind"].asString(), "unverified-tls");
}

TEST(FoundJsonLinesView, HasALineForEachThingAndTheSummaryLast) {
  const ScanEnvironmentReply reply = sampleReply();
  const ReplyIndex index(reply);
  ReplySelection found = everythingOf(index);
  found.machines.pop_back();
  found.disks.clear();
  std::string text;

  foundJsonLinesView(index, found, {{"unverified-tls", "let pass"}},
                     [&](std::string_view piece) { text += piece; });

  const std::vector<std::string> lines = conformingLines("find-line", text);
  ASSERT_THAT(lines, SizeIs(7));
  EXPECT_THAT(lines[5], StartsWith("{\"record\":\"machine\","));
  EXPECT_EQ(lines[6], R"({"record":"summary",)"
                      R"("counts":{"datastores":1,"disks":0,"machines":1,"objects":4},)"
                      R"("warnings":[{"kind":"unverified-tls","text":"let pass"}]})");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
