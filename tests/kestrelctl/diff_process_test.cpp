#include "tests/kestrelctl/saved_replies.h"

#include <csignal>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

class Diff : public SavedReplies {
 protected:
  static ScanEnvironmentReply changedReply() {
    ScanEnvironmentReply reply = sampleReply();
    reply.mutable_tree_records(5)->set_parentid(6);
    return reply;
  }
  // Machines and disks as the engine writes them: each has a GUID of its own.
  static ScanEnvironmentReply withGuids(ScanEnvironmentReply reply) {
    for (machine_record& machine : *reply.mutable_machine_records()) {
      machine.set_objectguid("m" + std::to_string(machine.vmid()));
    }
    for (disk_record& disk : *reply.mutable_disk_records()) {
      disk.set_objectguid("d" + std::to_string(disk.vmid()));
    }
    return reply;
  }

  const std::string before = save("before.pb", withGuids(sampleReply()));
  const std::string after = save("after.pb", withGuids(changedReply()));
};

TEST_F(Diff, TellsWhatChangedAndEndsWithOne) {
  const Finished run({"diff", before, after});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.talk, "");
  EXPECT_EQ(run.output,
            "CHANGE  KIND     NAME  FROM  TO\n"
            "moved   machine  web   cna   lonely\n");
}

TEST_F(Diff, SameRepliesEndWithZero) {
  const Finished run({"diff", before, before});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.talk, "The replies do not differ.\n");
}

TEST_F(Diff, CountsWhenTold) {
  const Finished run({"diff", before, after, "--stat"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            "KIND     ADDED  REMOVED  MOVED  RESIZED  RENAMED\n"
            "machine      0        0      1        0        0\n");
}

TEST_F(Diff, KnowsItsFormats) {
  EXPECT_THAT(Finished({"diff", before, after, "-o", "wide"}).output, HasSubstr("lonely  m4\n"));
  EXPECT_THAT(Finished({"diff", before, after, "-o", "json"}).output,
              HasSubstr("\"identical\" : false"));
  EXPECT_THAT(Finished({"diff", before, after, "-o", "jsonl"}).output,
              HasSubstr("{\"record\":\"difference\",\"change\":\"moved\""));
  EXPECT_EQ(Finished({"diff", before, after, "-o", "name"}).output, "/service/vms/4\n");
}

TEST_F(Diff, ProgramsGetADocumentWhetherOrNotTheRepliesDiffer) {
  for (const char* form : {"json", "jsonl"}) {
    for (const Arguments& more : {Arguments{}, Arguments{"--stat"}}) {
      Arguments words{"diff", before, after, "-o", form};
      words.insert(words.end(), more.begin(), more.end());
      EXPECT_EQ(Finished(words).status, 1);
      words[2] = before;
      const Finished same(words);
      EXPECT_EQ(same.status, 0);
      EXPECT_THAT(same.output, HasSubstr("\"identical\""));
    }
  }
}

TEST_F(Diff, WarnsOfGuidsThatAreNotUnique) {
  ScanEnvironmentReply twins = withGuids(sampleReply());
  twins.mutable_machine_records(1)->set_objectguid("m4");

  const Finished run({"diff", before, save("twins.pb", twins)});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, AllOf(HasSubstr("removed  machine  database"),
                                HasSubstr("added    machine  database")));
  EXPECT_THAT(run.talk, HasSubstr("warning: the new reply has 1 GUID more than once"));
}

TEST_F(Diff, ReadsOneReplyFromStandardInput) {
  const Finished run({"diff", before, "-", "-o", "name"}, {TemporaryFolder::read(after), {}});

  EXPECT_EQ(run.status, 1) << run.talk;
  EXPECT_EQ(run.output, "/service/vms/4\n");
}

TEST_F(Diff, CannotReadBothFromStandardInput) {
  const Finished run({"diff", "-", "-"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("both replies cannot come from standard input"));
}

TEST_F(Diff, HasNoNamesForCounts) {
  EXPECT_EQ(Finished({"diff", before, after, "--stat", "-o", "name"}).status, 2);
}

TEST_F(Diff, FileThatCannotBeReadIsNoDifference) {
  EXPECT_EQ(Finished({"diff", before, folder.file("missing")}).status, 2);
  EXPECT_EQ(Finished({"diff", folder.write("text", "none"), after}).status, 2);
  EXPECT_EQ(Finished({"diff", before}).status, 2);
}

TEST_F(Diff, ReaderThatLeavesIsNoReasonToTalk) {
  const std::string large = save("large.pb", withGuids(largeReply()));
  for (const char* format : {"table", "wide", "json", "jsonl", "name"}) {
    Program program({"diff", before, large, "-o", format});
    program.closeOutput();
    EXPECT_EQ(program.wait(), 128 + SIGPIPE) << format;
    EXPECT_EQ(program.talk(), "") << format;
  }
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
