// The schemas in docs/schemas, held against the guide that promises them.

#include "tests/kestrelctl/json_answer.h"
#include "tests/vrmsim/process.h"

#include <filesystem>
#include <regex>
#include <set>

namespace kestrelvisor::ctl::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using vrmsim::test::TemporaryFolder;

std::string sourceText(const std::string& path) {
  return TemporaryFolder::read(std::string(PROJECT_SOURCES) + "/" + path);
}

// What the first group finds anywhere in a text.
std::set<std::string> found(const std::string& text, const char* expression) {
  std::set<std::string> all;
  const std::regex regex(expression);
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    all.insert((*match)[1]);
  }
  return all;
}

TEST(Schemas, AreThoseThatTheGuideNames) {
  std::set<std::string> schemas;
  for (const auto& entry : fs::directory_iterator(std::string(PROJECT_SOURCES) + "/docs/schemas")) {
    schemas.insert(entry.path().filename());
  }
  ASSERT_THAT(schemas, SizeIs(::testing::Ge(13U)));

  EXPECT_THAT(found(sourceText("docs/operating.md"), R"(\]\(schemas/([a-z-]+\.json)\))"),
              ElementsAreArray(schemas));
}

TEST(Schemas, KnowTheWarningsThatTheGuideExplains) {
  const std::string guide = sourceText("docs/operating.md");
  const std::size_t table = guide.find("| `kind` of a warning |");
  ASSERT_NE(table, std::string::npos);
  std::set<std::string> kinds;
  const Json::Value schema = parsedAnswer(sourceText("docs/schemas/warning.json"));
  for (const Json::Value& kind : schema["properties"]["kind"]["enum"]) {
    kinds.insert(kind.asString());
  }

  EXPECT_THAT(
      found(guide.substr(table, guide.find("\n\n", table) - table), R"(\n\| `([a-z-]+)` \|)"),
      ElementsAreArray(kinds));
}

TEST(Schemas, AllowTheLineOfProgressThatTheGuideShows) {
  const std::set<std::string> lines =
      found(sourceText("docs/operating.md"), R"(\n```json\n([^`]*)```)");
  ASSERT_THAT(lines, SizeIs(1));

  expectLinesConform("progress", *lines.begin());
}

TEST(SchemaCheck, FindsAKeyThatNoSchemaHas) {
  SchemaCheck check;

  check.addDocument("warning", R"({"kind":"no-own-site","text":"none"})");
  check.addDocument("warning", R"({"kind":"no-own-site","text":"none","colour":"blue"})");

  EXPECT_THAT(check.problems(), HasSubstr("1.json: document 1: $: Additional properties"));
}

TEST(SchemaCheck, FindsAKeyThatIsMissing) {
  SchemaCheck check;

  check.addLines("warning", "{\"kind\":\"no-own-site\",\"text\":\"none\"}\n{\"text\":\"none\"}\n");

  EXPECT_THAT(check.problems(), HasSubstr("document 2: $: 'kind' is a required property"));
}

TEST(SchemaCheck, FindsWhatNoSchemaOfAnotherFileAllows) {
  SchemaCheck check;

  check.addLines("find-line", R"({"record":"summary","counts":{"objects":0,"machines":0,"disks":0,)"
                              R"("datastores":0},"warnings":[{"kind":"unheard-of","text":"x"}]})"
                              "\n");

  EXPECT_THAT(check.problems(), HasSubstr("document 1"));
}

TEST(SchemaCheck, FindsATextThatIsNoDocument) {
  SchemaCheck check;

  check.addDocument("warning", "certainly no JSON");

  EXPECT_THAT(check.problems(), HasSubstr("document 1: Expecting value"));
}

TEST(SchemaCheck, FindsANumberThatJsonDoesNotHave) {
  SchemaCheck check;

  check.addLines("progress",
                 R"({"phase":"reply","done":1,"expected":1,"exchanges":1,"exchangesPerSecond":NaN,)"
                 R"("secondsElapsed":1,"secondsLeft":0})"
                 "\n");

  EXPECT_THAT(check.problems(), HasSubstr("document 1: NaN is no JSON"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
