#include "kestrelctl/views/comparison_views.h"

#include "tests/kestrelctl/json_answer.h"
#include "tests/kestrelctl/sample_reply.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

// One difference of each kind, and both things that a disk can move between.
class ComparisonViews : public ::testing::Test {
 protected:
  ComparisonViews() {
    for (ScanEnvironmentReply* reply : {&before, &after}) {
      for (int i = 0; i < 2; ++i) {
        reply->mutable_machine_records(i)->set_objectguid("machine-" + std::to_string(i));
        reply->mutable_disk_records(i)->set_objectguid("disk-" + std::to_string(i));
        reply->mutable_disk_records(i)->set_diskname("system");
      }
    }
    after.mutable_tree_records(5)->set_parentid(6);       // web
    after.mutable_tree_records(7)->set_name("accounts");  // database
    after.mutable_machine_records(0)->set_totalsize(41ULL << 20);
    after.mutable_disk_records(0)->set_disksize((40ULL << 20) + 1);
    after.mutable_disk_records(1)->set_datastoremoref("/gone");
    addRow(after, 9, 5, "cna-2", 2);
    addRow(before, 9, 6, "west", 1);
    before.mutable_tree_records(8)->set_guid("guid-west");
  }

  std::string shown(OutputFormat format,
                    ComparisonDetail detail = ComparisonDetail::differences) const {
    return shownOf(before, after, format, detail);
  }

  static std::string shownOf(const ScanEnvironmentReply& one, const ScanEnvironmentReply& other,
                             OutputFormat format,
                             ComparisonDetail detail = ComparisonDetail::differences) {
    const ReplyIndex oneIndex(one);
    const ReplyIndex otherIndex(other);
    std::string text;
    showComparison(ReplyComparison(oneIndex, otherIndex), format, detail, {false, true},
                   [&](std::string_view piece) { text += piece; });
    if (format == OutputFormat::json) expectConforms("diff", text);
    if (format == OutputFormat::jsonl) expectLinesConform("diff-line", text);
    return text;
  }

  ScanEnvironmentReply before = sampleReply();
  ScanEnvironmentReply after = sampleReply();
};

TEST_F(ComparisonViews, TableTellsFromWhatToWhat) {
  EXPECT_EQ(shown(OutputFormat::table),
            "CHANGE   KIND     NAME      FROM          TO\n"
            "removed  cluster  west      Oslo\n"
            "added    host     cna-2                   east\n"
            "moved    machine  web       cna           lonely\n"
            "resized  machine  web       40 GiB        41 GiB\n"
            "renamed  machine  accounts  database      accounts\n"
            "resized  disk     system    41943040 KiB  41943041 KiB\n"
            "moved    disk     system    lun           /gone\n");
}

TEST_F(ComparisonViews, WideTableHasGuidsToo) {
  EXPECT_THAT(shown(OutputFormat::wide),
              AllOf(HasSubstr("GUID\n"), HasSubstr("lonely        machine-0\n")));
}

TEST_F(ComparisonViews, CountsStandByKindAndChange) {
  EXPECT_EQ(shown(OutputFormat::table, ComparisonDetail::counts),
            "KIND     ADDED  REMOVED  MOVED  RESIZED  RENAMED\n"
            "cluster      0        1      0        0        0\n"
            "host         1        0      0        0        0\n"
            "machine      0        0      1        1        1\n"
            "disk         0        0      1        1        0\n");
}

TEST_F(ComparisonViews, NamesTellEachThingOnce) {
  EXPECT_EQ(shown(OutputFormat::name), "/service/vms/4\n/service/vms/5\ndisk-0\ndisk-1\n");
}

TEST_F(ComparisonViews, DocumentTellsEachDifferenceInItsOwnKeys) {
  const Json::Value document = parsedAnswer(shown(OutputFormat::json));

  EXPECT_FALSE(document["identical"].asBool());
  EXPECT_EQ(document["counts"]["machine"]["moved"].asInt(), 1);
  const Json::Value& differences = document["differences"];
  ASSERT_THAT(differences, SizeIs(7));
  EXPECT_EQ(differences[0]["parent"]["name"].asString(), "Oslo");
  EXPECT_EQ(differences[2]["newParent"]["guid"].asString(), "guid-6");
  EXPECT_EQ(differences[3]["newSizeKiB"].asUInt64(), 41ULL << 20);
  EXPECT_EQ(differences[4]["oldName"].asString(), "database");
  EXPECT_EQ(differences[6]["newParent"]["uri"].asString(), "/gone");
}

TEST_F(ComparisonViews, CountsInJsonLeaveTheDifferencesOut) {
  const Json::Value document = parsedAnswer(shown(OutputFormat::json, ComparisonDetail::counts));

  EXPECT_FALSE(document.isMember("differences"));
  EXPECT_EQ(document["counts"]["host"]["added"].asInt(), 1);
}

TEST_F(ComparisonViews, SameRepliesShowNothingToPeopleAndZeroesToPrograms) {
  EXPECT_EQ(shownOf(before, before, OutputFormat::table), "");
  EXPECT_EQ(shownOf(before, before, OutputFormat::wide, ComparisonDetail::counts), "");
  EXPECT_EQ(shownOf(before, before, OutputFormat::name), "");
  EXPECT_TRUE(parsedAnswer(shownOf(before, before, OutputFormat::json))["identical"].asBool());
}

TEST_F(ComparisonViews, LetNoNameControlTheTerminal) {
  after.mutable_tree_records(7)->set_name("acc\x1b[2Jounts\n");

  EXPECT_THAT(shown(OutputFormat::table),
              AllOf(HasSubstr("acc\\x1b[2Jounts\\n"), Not(HasSubstr("\x1b"))));
}

TEST_F(ComparisonViews, LinesEndWithTheCounts) {
  std::istringstream lines(shown(OutputFormat::jsonl));
  std::vector<std::string> records;
  for (std::string line; std::getline(lines, line);) {
    records.push_back(parsedAnswer(line)["record"].asString());
  }

  EXPECT_THAT(records, SizeIs(8));
  EXPECT_EQ(records.back(), "summary");
  EXPECT_THAT(shown(OutputFormat::jsonl, ComparisonDetail::counts),
              ::testing::StartsWith("{\"record\":\"summary\","));
}

TEST_F(ComparisonViews, DocumentsOfOddRepliesTellOfThem) {
  ScanEnvironmentReply twice = after;
  *twice.add_datastore_records() = after.datastore_records(0);

  const Json::Value repeated = parsedAnswer(shownOf(before, twice, OutputFormat::json));
  const Json::Value gone = parsedAnswer(shownOf(twice, {}, OutputFormat::json));

  EXPECT_EQ(repeated["warnings"][0]["kind"].asString(), "repeated-guid");
  EXPECT_EQ(gone["counts"]["datastore"]["removed"].asInt(), 2);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
