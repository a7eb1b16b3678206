#include "tests/kestrelctl/help_page.h"
#include "tests/kestrelctl/json_answer.h"
#include "tests/kestrelctl/program.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <curl/curl.h>

#include <regex>
#include <set>
#include <sstream>
#include <vector>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Lt;
using ::testing::StartsWith;

// A text with one blank between its words, however its lines are broken.
std::string wordsOf(const std::string& text) {
  std::istringstream stream(text);
  std::string words;
  for (std::string word; stream >> word;) words += " " + word;
  return words;
}

TEST(Usage, HelpStartsWithExamplesAndGoesToStandardOutput) {
  const Finished run({"--help"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "");
  ASSERT_THAT(run.output, AllOf(HasSubstr("Examples:"), HasSubstr("\nCommands ")));
  EXPECT_THAT(run.output.find("Examples:"), Lt(run.output.find("Usage:")));
}

TEST(Usage, EachCommandHasHelpWithExamples) {
  for (const char* const command : kCommands) {
    const Finished run({command, "--help"});
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_THAT(run.output, AllOf(HasSubstr("Examples:\n  "),
                                  HasSubstr(std::string("Usage: kestrelctl ") + command)));
  }
}

TEST(Usage, HelpIsACommandToo) {
  EXPECT_EQ(Finished({"help"}).output, Finished({"--help"}).output);
  EXPECT_EQ(Finished({"help", "help"}).output, Finished({"--help"}).output);
  EXPECT_EQ(Finished({"help", "--help"}).output, Finished({"--help"}).output);
  for (const char* const command : kCommands) {
    const Finished run({"help", command});
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_EQ(run.output, Finished({command, "--help"}).output);
  }
}

TEST(Usage, HelpForAMistypedCommandNamesTheNearest) {
  const Finished run({"help", "scna"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("did you mean \"kestrelctl scan\"?"));
  EXPECT_THAT(Finished({"hlep"}).talk, HasSubstr("did you mean \"kestrelctl help\"?"));
}

TEST(ManualPages, NameEveryOptionOfTheSimulator) {
  vrmsim::test::Process simulator(VRMSIM_EXECUTABLE, {"--help"});
  const std::set<std::string> options = optionsIn(simulator.restOfOutput());

  EXPECT_GT(options.size(), 20U);
  const std::string manual =
      vrmsim::test::TemporaryFolder::read(PROJECT_SOURCES "/docs/man/vrmsim.1");
  for (const std::string& option : options) EXPECT_THAT(manual, HasSubstr("Fl -" + option));
}

// The page of the program and that of each command.
std::vector<std::string> helpPages() {
  std::vector<std::string> pages{Finished({"--help"}).output};
  for (const char* const command : kCommands) pages.push_back(Finished({command, "--help"}).output);
  return pages;
}

TEST(Usage, HelpFitsAnOrdinaryTerminal) {
  for (const std::string& page : helpPages()) {
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST(Usage, HelpEndsWithItsLastLine) {
  for (const std::string& page : helpPages()) {
    ASSERT_GT(page.size(), 2U);
    EXPECT_EQ(page.back(), '\n');
    EXPECT_NE(page[page.size() - 2], '\n') << page;
  }
}

TEST(Usage, ManualPageHasEachCommandAndOption) {
  const std::string manual =
      vrmsim::test::TemporaryFolder::read(PROJECT_SOURCES "/docs/man/kestrelctl.1");
  for (const char* const command : kCommands) {
    EXPECT_THAT(manual, HasSubstr(std::string("\n.It Cm ") + command + "\n"));
  }
  const std::regex option("\n  (?:-., ?)?--([a-z-]+)");
  std::size_t options = 0;
  for (const std::string& page : helpPages()) {
    for (std::sregex_iterator match(page.begin(), page.end(), option), end; match != end; ++match) {
      ++options;
      const std::string name = "-" + (*match)[1].str();
      EXPECT_THAT(manual, AnyOf(HasSubstr(" " + name + " "), HasSubstr(" " + name + "\n"))) << name;
    }
  }
  EXPECT_GT(options, 60U);
}

TEST(Usage, HelpGroupsTheCommands) {
  const std::string help = Finished({"--help"}).output;

  const std::size_t onAManager = help.find("\nCommands that ask a manager:\n  verify ");
  const std::size_t without = help.find("\nOther commands:\n  explain ");
  EXPECT_NE(onAManager, std::string::npos) << help;
  EXPECT_NE(without, std::string::npos) << help;
  EXPECT_LT(onAManager, without);
}

TEST(Usage, ArgumentThatMayBeLeftOutIsShownInBrackets) {
  EXPECT_THAT(Finished({"explain", "--help"}).output,
              HasSubstr("Usage: kestrelctl explain [CODE] [OPTIONS]"));
  EXPECT_THAT(Finished({"disable-cbt", "--help"}).output,
              HasSubstr("Usage: kestrelctl disable-cbt VM_URI [OPTIONS]"));
}

TEST(Version, IsTheFirstLineOfBothForms) {
  const Finished option({"--version"});
  const Finished command({"version"});

  EXPECT_EQ(option.status, 0);
  EXPECT_EQ(option.output, "kestrelctl " KESTRELCTL_VERSION "\n");
  EXPECT_THAT(command.output, StartsWith(option.output));
}

TEST(Version, NamesTheLibraries) {
  EXPECT_THAT(Finished({"version"}).output,
              AllOf(HasSubstr("\n  libcurl           " LIBCURL_VERSION "\n"),
                    HasSubstr("\n  OpenSSL           3."), HasSubstr("\n  Protocol Buffers  "),
                    HasSubstr("\n  JsonCpp           "), HasSubstr("\n  compiler          ")));
}

TEST(Version, IsADocumentToo) {
  const Json::Value document = parsedAnswer(Finished({"version", "-o", "json"}).output);

  EXPECT_EQ(document["kestrelctl"], KESTRELCTL_VERSION);
  EXPECT_EQ(document["libcurl"], LIBCURL_VERSION);
  for (const char* key : {"engine", "openssl", "protobuf", "jsoncpp", "compiler"}) {
    EXPECT_FALSE(document[key].asString().empty()) << key;
  }
}

TEST(Plaintext, ToAnotherMachineNeedsAWord) {
  const Finished run({"verify", "--manager", "http://vrm.example.com", "--user", "backup"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("over plain HTTP to vrm.example.com can be read"),
                              HasSubstr("--allow-plaintext")));
}

TEST(Plaintext, WordLetsItPass) {
  const Finished run({"disable-cbt", "/service/x", "--dry-run", "--manager",
                      "http://vrm.example.com", "--user", "backup", "--allow-plaintext"});

  EXPECT_EQ(run.status, 0) << run.talk;
}

TEST(Plaintext, ThatMayBeLedElsewhereNeedsTheWordToo) {
  const Finished run(
      {"verify", "--manager", "http://127.0.0.1:1", "--user", "backup", "--follow-address"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("--follow-address may lead a login over plain HTTP anywhere"));
}

TEST(Usage, MistypedCommandNamesTheNearest) {
  const Finished run({"scna"});

  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("did you mean \"kestrelctl scan\"?"));
}

TEST(Usage, ShowsNothingOfWhatFollowsAnUnknownLetter) {
  const Finished run({"verify", "-phunter2"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("there is no option -p\n"), Not(HasSubstr("hunter2"))));
}

TEST(Usage, MistypedOptionNamesTheNearest) {
  const Finished run({"scan", "--mangaer", "https://vrm"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("there is no option --mangaer"),
                              HasSubstr("did you mean --manager?")));
}

struct WrongWords {
  const char* name;
  Arguments words;
  const char* what;
  const char* hint;
};
class WrongCommandLine : public ::testing::TestWithParam<WrongWords> {};

TEST_P(WrongCommandLine, IsToldInPlainWords) {
  const Finished run(GetParam().words);

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, StartsWith(std::string("kestrelctl: error: ") + GetParam().what + "\n"));
  EXPECT_THAT(wordsOf(run.talk), HasSubstr(std::string(" what to do ") + GetParam().hint));
}

INSTANTIATE_TEST_SUITE_P(
    Usage, WrongCommandLine,
    ::testing::Values(
        WrongWords{"WordTooMany",
                   {"diff", "a.pb", "b.pb", "c.pb"},
                   "diff: \"c.pb\" is one word too many",
                   "kestrelctl diff --help shows options and examples"},
        WrongWords{"WordTooManyBehindSeveral",
                   {"explain", "curl", "60", "7"},
                   "explain: \"7\" is one word too many",
                   "kestrelctl explain --help shows options and examples"},
        WrongWords{"SecondCommand",
                   {"version", "demo"},
                   "version: \"demo\" is one word too many",
                   "kestrelctl version --help shows options and examples"},
        WrongWords{"MissingValue",
                   {"verify", "--timeout"},
                   "verify: --timeout needs a value",
                   "write it as --timeout TIME"},
        WrongWords{"MissingChoice",
                   {"version", "-o"},
                   "version: --output needs a value",
                   "write it as --output FORM, which is one of json, jsonl, text, yaml"},
        WrongWords{"MistypedChoice",
                   {"show", "a.pb", "-o", "jsno"},
                   "show: --output cannot be \"jsno\"",
                   "did you mean json?"},
        WrongWords{"StrangeChoice",
                   {"scan", "--log-level", "foo"},
                   "scan: --log-level cannot be \"foo\"",
                   "it is one of trace, info, note, warning, error, off"},
        WrongWords{"SecondOfSeveralChoices",
                   {"find", "--kind", "disk", "--kind", "hots"},
                   "find: --kind cannot be \"hots\"",
                   "did you mean host?"},
        WrongWords{"OptionGivenTwice",
                   {"verify", "--timeout", "1s", "--timeout", "2s"},
                   "verify: --timeout is given more than once",
                   "leave out all but one"},
        WrongWords{"SwitchWithAnotherWord",
                   {"diff", "a.pb", "b.pb", "--stat=often"},
                   "diff: --stat: \"often\" is neither true nor false",
                   "--stat alone means true"},
        WrongWords{"OptionsThatExcludeEachOther",
                   {"encrypt-password", "--password-stdin", "--password-file", "x"},
                   "encrypt-password: --password-file and --password-stdin exclude each other",
                   "leave out one of them"},
        WrongWords{"MissingArgument",
                   {"show"},
                   "show: FILE is required",
                   "kestrelctl show --help shows options and examples"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Usage, NoCommandIsWrong) { EXPECT_EQ(Finished({}).status, 2); }

TEST(Usage, MissingOptionIsWrong) {
  const Finished run({"verify", "--user", "backup"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("--manager is required"));
}

TEST(Usage, EmptyFileNameIsWrong) {
  for (const char* option :
       {"--save", "--tester-dump", "--log-file", "--ca-cert", "--password-file"}) {
    const Finished run({"scan", "--manager", "http://vrm", "--user", "backup", option, ""});
    EXPECT_EQ(run.status, 2) << option;
    EXPECT_THAT(run.talk, HasSubstr(std::string(option) + ": no file is named"));
  }
  EXPECT_EQ(Finished({"demo", "--inventory", ""}).status, 2);
  EXPECT_EQ(Finished({"encrypt-password", "--new-key="}).status, 2);
}

TEST(Usage, OneFileForTwoPurposesIsWrong) {
  const Finished run({"scan", "--manager", "https://vrm", "--user", "backup", "--save", "kept",
                      "--tester-dump", "./kept"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("--save and --tester-dump name one file"));
}

TEST(Usage, LineEndsInAddressAndUserAreRefused) {
  EXPECT_EQ(Finished({"verify", "--manager", "http://vrm\r\nX: y", "--user", "backup"}).status, 2);
  const Finished run({"verify", "--manager", "http://vrm", "--user", "backup\r\nX-Auth-Key: y"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk,
              AllOf(HasSubstr("--user: a line end"), HasSubstr("name alone, on one line")));
}

TEST(Usage, EmptyUserIsWrong) {
  const Finished run({"verify", "--manager", "https://vrm", "--user", ""});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("--user: no name is given"), HasSubstr("name an account")));
}

TEST(Usage, TwoCommandsAreWrong) {
  for (const Arguments& words : std::vector<Arguments>{
           {"version", "demo"}, {"explain", "version", "-o", "json"}, {"version", "verify"}}) {
    EXPECT_EQ(Finished(words).status, 2) << words.front();
  }
}

TEST(Usage, WrongOptionBehindHelpIsWrong) {
  EXPECT_EQ(Finished({"--help", "scan", "-o"}).status, 2);
}

TEST(Usage, NoColourWithoutATerminal) {
  EXPECT_EQ(Finished({"scna"}).talk.find('\x1b'), std::string::npos);
}

TEST(Usage, ColourOnATerminal) {
  TerminalProgram program({"scna"});

  EXPECT_EQ(program.wait(), 2);
  EXPECT_THAT(program.shown(), HasSubstr("\x1b[1;31merror:\x1b[0m"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
