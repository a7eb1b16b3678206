// The forms that are for other programs than those of JSON, as such programs read them.

#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/json_answer.h"

#include <regex>
#include <set>
#include <string>

namespace kestrelvisor::ctl::test {
namespace {

using vrmsim::test::Process;

// What a program makes of a file.
std::string readBy(const std::string& script, const std::string& file) {
  Process python("/usr/bin/python3", {"-c", script, file});
  std::string text = python.restOfOutput();
  EXPECT_EQ(python.wait(), 0) << python.errors();
  return text;
}

// The first group of a pattern, wherever it matches.
std::set<std::string> found(const std::string& pattern, const std::string& text) {
  const std::regex expression(pattern);
  std::set<std::string> groups;
  for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
    groups.insert((*at)[1]);
  }
  return groups;
}

constexpr const char* kYamlToJson =
    "import json, sys, yaml\n"
    "print(json.dumps(yaml.safe_load(open(sys.argv[1], encoding='utf-8'))))\n";

class Forms : public ManagerTest {
 protected:
  // The same document is told in both.
  void expectSameInYaml(const Arguments& words) const {
    Arguments json = words;
    json.insert(json.end(), {"-o", "json"});
    Arguments yaml = words;
    yaml.insert(yaml.end(), {"-o", "yaml"});
    const std::string file = folder.write("answer.yaml", Finished(yaml).output);

    EXPECT_EQ(parsedAnswer(readBy(kYamlToJson, file)), parsedAnswer(Finished(json).output))
        << words.front();
  }

  std::string kept() const {
    const std::string file = folder.file("reply.pb");
    EXPECT_EQ(Finished(command({"scan", "--save", file})).status, 0);
    return file;
  }
};

TEST_F(Forms, OfYamlSayWhatThoseOfJsonSay) {
  const std::string reply = kept();
  expectSameInYaml({"show", reply});
  expectSameInYaml({"find", "--reply", reply, "--kind", "all"});
  expectSameInYaml({"diff", reply, reply});
  expectSameInYaml({"explain"});
  expectSameInYaml({"version"});
  expectSameInYaml({"contexts"});
  expectSameInYaml(command({"verify"}));
  expectSameInYaml({"verify"});  // a failure
}

// What leaves nothing to tell takes no form; one that the environment names is for other commands.
TEST_F(Forms, AreNotForAForgottenPin) {
  const Arguments words{"cert", "forget", "--manager", "https://vrm", "-o", "json"};

  EXPECT_THAT(Finished(words).talk, ::testing::HasSubstr("has no result for -o to show"));
}

TEST_F(Forms, OfCsvIsReadBySpreadsheets) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].name = "=1+1, \"x\""; });

  const std::string file = folder.write("site.csv", Finished({"show", kept(), "-o", "csv"}).output);
  const std::string names = readBy(
      "import csv, sys\n"
      "rows = list(csv.DictReader(open(sys.argv[1], encoding='utf-8', newline='')))\n"
      "assert all(None not in row and None not in row.values() for row in rows)\n"
      "print([row['name'] for row in rows if '=' in row['name']][0])\n",
      file);

  EXPECT_EQ(names, "'=1+1, \"x\"\n");
}

TEST_F(Forms, OfDotIsAGraph) {
  const Finished shown({"show", kept(), "-o", "dot"});

  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.output, ::testing::StartsWith("digraph environment {\n"));
  EXPECT_THAT(shown.output, ::testing::EndsWith("}\n"));
  const std::set<std::string> nodes = found("(\\w+) \\[label=", shown.output);
  const std::set<std::string> targets = found(" -> (\\w+)", shown.output);
  EXPECT_GT(targets.size(), 1U);
  EXPECT_THAT(nodes, ::testing::IsSupersetOf(targets));
  EXPECT_THAT(nodes, ::testing::IsSupersetOf(found("(\\w+) -> ", shown.output)));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
