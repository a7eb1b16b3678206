// Compares the log statements in the engine's sources with the catalogue, so that a new statement
// needs an entry, and with it a scenario.

#include "tests/catalogue/told_lines.h"
#include "tests/support/test_headers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using kestrelvisor::test::ToldLine;
using kestrelvisor::test::toldLines;

constexpr std::array<const char*, 6> kFolders{"base", "rest",  "inventory",
                                              "tree", "reply", "engine"};
constexpr const char* kMacros = "base/log.h";  // defines the statement, and writes none

// One statement: its text has "{}" for each piece that is not written there.
struct Statement {
  std::string file;
  int level = 0;
  std::string tag;
  std::string text;
};

// Statements whose words are handed to them, and the lines that they write.
struct HandedWords {
  std::string_view file;
  int level;
  std::string_view text;
  std::vector<std::string_view> ids;
};

const std::vector<HandedWords>& handedWords() {
  static const std::vector<HandedWords> words{
      {"engine/kestrelvisor_engine.cpp", 4, "{}", {"verify.noSite", "verify.refused"}},
      {"engine/kestrelvisor_engine.cpp", 4, "{}", {"scan.noSite", "scan.failed"}},
      {"engine/kestrelvisor_engine.cpp",
       4,
       "Parameter of {} is not exist !",
       {"disable.noAddress", "disable.noPort", "disable.noProtocol", "disable.noUser",
        "disable.noPassword", "disable.noCert"}},
      {"rest/rest_version.cpp", 4, "{}{}", {"version.notSent", "version.refused"}},
      {"tree/machine_tables.cpp",
       0,
       "{}0",
       {"group.general", "group.openStack", "group.km", "group.vdi"}},
  };
  return words;
}

std::string readFile(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Comments may name the macros. No literal of the engine has a blank before two slashes.
std::string withoutComments(const std::string& source) {
  static const std::regex comment("(^|\\s)//[^\\n]*");
  return std::regex_replace(source, comment, "$1");
}

// Where the quoted text that starts at a position ends.
std::size_t endOfLiteral(const std::string& source, std::size_t position) {
  for (++position; source.at(position) != '"'; ++position) {
    if (source[position] == '\\') ++position;
  }
  return position + 1;
}

// Splits the arguments of a call at their commas; position stands behind the opening parenthesis.
// Blanks between the pieces are dropped. Throws std::out_of_range for a call without end.
std::vector<std::string> argumentsAt(const std::string& source, std::size_t position) {
  constexpr std::string_view kOpening = "([{";
  constexpr std::string_view kClosing = ")]}";
  std::vector<std::string> arguments(1);
  int depth = 0;
  while (depth != 0 || source.at(position) != ')') {
    const char c = source.at(position);
    const std::size_t end = c == '"' ? endOfLiteral(source, position) : position + 1;
    if (kOpening.find(c) != std::string_view::npos) ++depth;
    if (kClosing.find(c) != std::string_view::npos) --depth;
    if (depth == 0 && c == ',') {
      arguments.emplace_back();
    } else if (!std::isspace(static_cast<unsigned char>(c))) {
      arguments.back().append(source, position, end - position);
    }
    position = end;
  }
  return arguments;
}

std::string unescaped(std::string_view literal) {
  std::string text;
  for (std::size_t i = 0; i < literal.size(); ++i) {
    if (literal[i] != '\\') {
      text += literal[i];
      continue;
    }
    const char c = literal[++i];
    text += c == 'n' ? '\n' : c == 't' ? '\t' : c;
  }
  return text;
}

// What a piece adds to the text: a literal its characters, a digit itself, all else a hole.
std::string wordsOf(const std::string& piece) {
  if (piece.front() != '"') return piece == "0" ? piece : "{}";
  std::string words;
  static const std::regex literal(R"re("((?:[^"\\]|\\.)*)")re");
  for (std::sregex_iterator match(piece.begin(), piece.end(), literal), end; match != end;
       ++match) {
    words += unescaped((*match)[1].str());
  }
  return words;
}

int levelOf(const std::string& name) {
  static const std::map<std::string, int> levels{
      {"kTrace", 0}, {"kInfo", 1}, {"kProgress", 2}, {"kWarning", 3}, {"kError", 4}};
  return levels.at(name);
}

std::string tagOf(const std::string& name) {
  static const std::map<std::string, std::string> tags{{"kModuleTag", "KestrelVisorEngine"},
                                                       {"kApiTag", "KESTRELVISOR_API"},
                                                       {"kDiskLibTag", "VIRDISKLIB_API"},
                                                       {"kEnvEngineTag", "EnvEngine"}};
  return tags.at(name.substr(name.rfind(':') + 1));
}

Statement statementOf(const std::string& file, const std::string& macro,
                      const std::vector<std::string>& arguments) {
  const bool ownTag = macro == "KV_LOG_AS" || macro == "KV_LOG_BY";
  std::size_t next = macro == "KV_LOG_BY" ? 1 : 0;  // behind the function's name
  Statement statement{file, 0, ownTag ? tagOf(arguments.at(next++)) : "KestrelVisorEngine", ""};
  statement.level = levelOf(arguments.at(next++));
  for (; next < arguments.size(); ++next) statement.text += wordsOf(arguments[next]);
  return statement;
}

void readStatements(const std::string& file, std::vector<Statement>& statements) {
  const std::string source = withoutComments(readFile(fs::path(KESTRELVISOR_SOURCE_FOLDER) / file));
  static const std::regex macro(R"(\b(KV_LOG\w*|LogProxy|writeLogRecord)\b)");
  for (std::sregex_iterator match(source.begin(), source.end(), macro), end; match != end;
       ++match) {
    const std::string name = match->str();
    const auto behind = static_cast<std::size_t>(match->position() + match->length());
    ASSERT_EQ(source.at(behind), '(') << file << ": " << name;
    ASSERT_TRUE(name == "KV_LOG" || name == "KV_LOG_AS" || name == "KV_LOG_BY" ||
                name == "KV_LOG_WITHOUT_REQUEST")
        << file << " writes a record by " << name;
    statements.push_back(statementOf(file, name, argumentsAt(source, behind + 1)));
  }
}

std::vector<Statement> engineStatements() {
  std::vector<Statement> statements;
  const fs::path root(KESTRELVISOR_SOURCE_FOLDER);
  for (const char* folder : kFolders) {
    for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
      const std::string extension = entry.path().extension().string();
      const std::string file = fs::relative(entry.path(), root).generic_string();
      if ((extension != ".h" && extension != ".cpp") || file == kMacros) continue;
      readStatements(file, statements);
    }
  }
  return statements;
}

// How often a line is written: by level, tag and words.
using Places = std::map<std::tuple<int, std::string, std::string>, int>;

Places placesInTheCatalogue() {
  Places places;
  std::set<std::string_view> handed;
  for (const HandedWords& words : handedWords()) {
    handed.insert(words.ids.begin(), words.ids.end());
    ++places[{words.level, "KestrelVisorEngine", std::string(words.text)}];
  }
  for (const ToldLine& told : toldLines()) {
    if (handed.contains(told.id)) continue;
    places[{told.level, std::string(told.tag), std::string(told.text)}] += told.statements;
  }
  return places;
}

TEST(LogStatements, AreThoseOfTheCatalogue) {
  Places found;
  for (const Statement& statement : engineStatements()) {
    ++found[{statement.level, statement.tag, statement.text}];
  }

  EXPECT_THAT(found, ::testing::ContainerEq(placesInTheCatalogue()));
}

// Words that stand beside a statement instead of in it.
std::string handedPart(const HandedWords& words, const ToldLine& told) {
  const std::size_t hole = words.text.find("{}");
  const std::string_view behind = words.text.substr(hole + 2);
  std::string_view part = told.text.substr(hole);
  part.remove_suffix(behind.size());
  return '"' + std::string(part) + '"';
}

TEST(LogStatements, AreHandedOnlyWordsOfTheCatalogue) {
  for (const HandedWords& words : handedWords()) {
    const std::string source = readFile(fs::path(KESTRELVISOR_SOURCE_FOLDER) / words.file);
    for (const std::string_view id : words.ids) {
      const ToldLine& told = kestrelvisor::test::toldLine(id);
      EXPECT_EQ(told.level, words.level) << id;
      EXPECT_THAT(source, ::testing::HasSubstr(handedPart(words, told))) << id;
    }
  }
}

}  // namespace
