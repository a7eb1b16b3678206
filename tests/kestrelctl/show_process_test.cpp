#include "tests/kestrelctl/saved_replies.h"

#include <csignal>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::array<const char*, 7> kFormats{"tree",  "table", "wide",    "json",
                                              "jsonl", "name",  "protobuf"};

class Show : public SavedReplies {
 protected:
  std::string longNames() const {
    ScanEnvironmentReply reply = sampleReply();
    reply.mutable_tree_records(5)->set_name(std::string(150, 'w'));
    return save("long.pb", reply);
  }
};

TEST_F(Show, DrawsTheTreeUnlessTold) {
  const Finished run({"show", saved});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "");
  EXPECT_THAT(run.output,
              AllOf(StartsWith("Oslo  site"), HasSubstr("─ web"), HasSubstr("Summary\n")));
}

TEST_F(Show, KnowsEveryFormat) {
  const std::map<std::string, std::string> parts{
      {"tree", "├─ east"},
      {"table", "MACHINE   GUEST SYSTEM  ON   DISKS     SIZE\n"},
      {"wide", "DATASTORES  UUID"},
      {"json", "\"restVersion\" : \"6.5\""},
      {"jsonl", "\n{\"record\":\"summary\""},
      {"name", "/service/vms/4\n/service/vms/5\n"},
      {"protobuf", "/service/vms/4"}};
  for (const char* format : kFormats) {
    const Finished run({"show", saved, "-o", format});
    EXPECT_EQ(run.status, 0) << format;
    EXPECT_EQ(run.talk, "") << format;
    EXPECT_THAT(run.output, HasSubstr(parts.at(format))) << format;
  }
}

TEST_F(Show, ProtobufIsWhatWasKept) {
  EXPECT_EQ(Finished({"show", saved, "-o", "protobuf"}).output, TemporaryFolder::read(saved));
}

TEST_F(Show, ReadsStandardInput) {
  const Finished run({"show", "-", "-o", "name"}, {TemporaryFolder::read(saved), {}});

  EXPECT_EQ(run.status, 0) << run.talk;
  EXPECT_EQ(run.output, "/service/vms/4\n/service/vms/5\n");
}

TEST_F(Show, FileThatIsNoReplyIsWrongUsage) {
  const Finished run({"show", folder.write("text", "of yesterday")});

  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, AllOf(HasSubstr("text holds no reply"), HasSubstr("scan --save FILE")));
}

TEST_F(Show, FileThatIsNotThereIsWrongUsage) {
  const Finished run({"show", folder.file("missing")});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("missing cannot be read: No such file or directory"),
                              HasSubstr("kestrelctl scan --save FILE keeps a reply")));
}

TEST_F(Show, ResultThatFindsNoRoomIsPartialAndTellsWhy) {
  vrmsim::test::Process shell("/bin/sh", {"-c", "\"$@\" > /dev/full", "sh", KESTRELCTL_EXECUTABLE,
                                          "show", saved, "-o", "table"});

  EXPECT_THAT(shell.errors(),
              AllOf(HasSubstr("the result on standard output cannot be written: No space left"),
                    HasSubstr("what to do  see to room and rights there")));
  EXPECT_EQ(shell.wait(), 3);
}

TEST_F(Show, ReaderThatLeavesIsNoReasonToTalk) {
  const std::string large = save("large.pb", largeReply());
  for (const char* format : kFormats) {
    Program program({"show", large, "-o", format});
    program.closeOutput();
    EXPECT_EQ(program.wait(), 128 + SIGPIPE) << format;
    EXPECT_EQ(program.talk(), "") << format;
  }
}

TEST_F(Show, ReaderOfTheFirstLineEndsItQuietly) {
  const std::string large = save("large.pb", largeReply());
  for (const char* format : kFormats) {
    vrmsim::test::Process shell("/bin/sh", {"-c", "\"$@\" | head -n 1 | wc -l", "sh",
                                            KESTRELCTL_EXECUTABLE, "show", large, "-o", format});
    EXPECT_EQ(shell.restOfOutput(), "1\n") << format;
    EXPECT_EQ(shell.errors(), "") << format;
    EXPECT_EQ(shell.wait(), 0) << format;
  }
}

// In bytes, without the marks of headings.
std::size_t widest(std::string text) {
  for (const std::string mark : {"\x1b[1m", "\x1b[2m", "\x1b[0m", "\r"}) {
    for (std::size_t at; (at = text.find(mark)) != std::string::npos;) text.erase(at, mark.size());
  }
  std::istringstream lines(text);
  std::size_t width = 0;
  for (std::string line; std::getline(lines, line);) width = std::max(width, line.size());
  return width;
}

TEST_F(Show, TableIsAsWideAsTheTerminal) {
  const std::string file = longNames();
  TerminalProgram narrow({"show", file, "-o", "table"}, {}, 60);
  TerminalProgram wide({"show", file, "-o", "table"}, {}, 200);
  narrow.wait();
  wide.wait();

  EXPECT_EQ(widest(narrow.shown()), 62U);  // "…" has three bytes for its column
  EXPECT_THAT(wide.shown(), HasSubstr(std::string(150, 'w')));
}

TEST_F(Show, TreeIsAsWideAsTheTerminal) {
  const std::string file = longNames();
  TerminalProgram narrow({"show", file}, {"", {{"LC_ALL", "C"}}}, 80);
  TerminalProgram wide({"show", file}, {"", {{"LC_ALL", "C"}}}, 200);
  narrow.wait();
  wide.wait();

  EXPECT_EQ(widest(narrow.shown()), 80U);
  EXPECT_THAT(wide.shown(), HasSubstr(std::string(150, 'w')));
}

TEST_F(Show, NothingIsCutWithoutATerminal) {
  const std::string file = longNames();

  for (const char* format : {"tree", "table"}) {
    EXPECT_THAT(Finished({"show", file, "-o", format}).output, HasSubstr(std::string(150, 'w')));
  }
}

TEST_F(Show, VariableTellsTheWidthWhereverItGoes) {
  const std::string file = longNames();
  const auto widthWith = [&](const char* columns) {
    return widest(Finished({"show", file, "-o", "table"}, {"", {{"COLUMNS", columns}}}).output);
  };

  EXPECT_EQ(widthWith("100"), 102U);
  EXPECT_GT(widthWith("wide"), 150U);
}

TEST_F(Show, TerminalThatDoesNotTellHas80Columns) {
  TerminalProgram terminal({"show", longNames(), "-o", "table"});
  terminal.wait();

  EXPECT_EQ(widest(terminal.shown()), 82U);
}

TEST_F(Show, RecordsWithoutAPlaceAreWarnedOf) {
  ScanEnvironmentReply reply = sampleReply();
  addMachine(reply, 99, "Debian", 1);
  const std::string file = save("stray.pb", reply);

  EXPECT_THAT(Finished({"show", file}).talk,
              HasSubstr("warning: the reply has 2 records without a place"));
  for (const char* format : {"json", "jsonl"}) {
    EXPECT_THAT(Finished({"show", file, "-o", format}).output, HasSubstr("records-without-place"));
  }
}

TEST_F(Show, NoFormatForPeopleLetsANameControlTheTerminal) {
  ScanEnvironmentReply reply = sampleReply();
  reply.mutable_tree_records(5)->set_name(
      "web\xC2\x9B"
      "2J");
  reply.mutable_machine_records(0)->set_mo(
      "/vms/\xC2\x9B"
      "2J");
  reply.mutable_datastore_records(0)->set_name(
      "lun\xC2\x9B"
      "2J");
  const std::string file = save("hostile.pb", reply);

  for (const char* format : {"tree", "table", "wide", "name", "json", "jsonl"}) {
    const std::string shown = Finished({"show", file, "-o", format}).output;
    EXPECT_THAT(shown, AllOf(HasSubstr("9b2J"), Not(HasSubstr("\xC2\x9B")))) << format;
  }
}

TEST_F(Show, ColourStaysOnTheTerminal) {
  TerminalProgram terminal({"show", saved, "-o", "table"}, {}, 80);

  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_THAT(terminal.shown(), HasSubstr("\x1b[1mMACHINE"));
  EXPECT_THAT(Finished({"show", saved, "-o", "table"}).output, Not(HasSubstr("\x1b")));
}

TEST_F(Show, TerminalGetsNoBytes) {
  TerminalProgram terminal({"show", saved, "-o", "protobuf"});

  EXPECT_EQ(terminal.wait(), 2);
  EXPECT_THAT(terminal.shown(), AllOf(HasSubstr("nothing for a terminal"), Not(HasSubstr("Oslo"))));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
