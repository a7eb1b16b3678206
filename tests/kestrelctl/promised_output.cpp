#include "tests/kestrelctl/promised_output.h"

#include "tests/kestrelctl/schema_check.h"
#include "tests/support/test_headers.h"

#include <algorithm>
#include <array>
#include <csignal>

namespace kestrelvisor::ctl::test {
namespace {

constexpr int kDifferences = 1;
constexpr int kPartial = 3;
constexpr int kEndedBySignal = 128;  // and the signal's number

struct Promise {
  const char* command;
  const char* document;  // schema with -o json
  const char* line;      // and of each line with -o jsonl
};
constexpr std::array<Promise, 12> kPromises{{
    {"verify", "verify", "verify"},
    {"scan", "reply", "reply-line"},
    {"show", "reply", "reply-line"},
    {"find", "find", "find-line"},
    {"diff", "diff", "diff-line"},
    {"disable-cbt", "disable-cbt", "disable-cbt"},
    {"explain", "explain", "explain-line"},
    {"version", "version", "version"},
    {"encrypt-password", "encrypt-password", "encrypt-password"},
    {"doctor", "doctor", "doctor"},
    {"cert", "cert", "cert"},
    {"contexts", "contexts", "contexts"},
}};

bool has(const Arguments& arguments, const std::string& word) {
  return std::find(arguments.begin(), arguments.end(), word) != arguments.end();
}

// The last word that -o or --output has, in any spelling.
std::string formOf(const Arguments& arguments) {
  const std::string longName = "--output";
  std::string form;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& word = arguments[i];
    const bool isShort = word.size() > 1 && word[0] == '-' && word[1] != '-';
    const std::size_t letter = isShort ? word.find('o', 1) : std::string::npos;
    if (word == longName || (isShort && letter == word.size() - 1)) {
      if (i + 1 < arguments.size()) form = arguments[++i];
    } else if (word.starts_with(longName + "=")) {
      form = word.substr(longName.size() + 1);
    } else if (letter != std::string::npos) {
      form = word.substr(letter + (word[letter + 1] == '=' ? 2 : 1));
    }
  }
  return form;
}

// Partial results are results, and so is what a check of doctor finds; a result that could not be
// kept is an error.
bool isResult(const Arguments& arguments, int status, const std::string& output) {
  const bool isDiagnosis =
      arguments.front() == "doctor" && output.find("\"checks\"") != std::string::npos;
  return status <= kDifferences || isDiagnosis ||
         (status == kPartial && has(arguments, "--strict"));
}

void expectResult(const Arguments& arguments, bool lines, const std::string& output) {
  const auto* const promise =
      std::find_if(kPromises.begin(), kPromises.end(),
                   [&](const Promise& row) { return row.command == arguments.front(); });
  ASSERT_NE(promise, kPromises.end()) << arguments.front();
  if (lines) {
    expectLinesConform(promise->line, output);
  } else {
    expectConforms(promise->document, output);
  }
}

void expectDocument(const Arguments& arguments, int status, const std::string& output) {
  const std::string form = formOf(arguments);
  if (form != "json" && form != "jsonl") return;
  for (const char* const word : {"-h", "--help", "--version"}) {
    if (has(arguments, word)) return;
  }
  // Nobody can tell what a reader that has gone would have got.
  if (status == kEndedBySignal + SIGPIPE) return;
  if (output.empty()) {
    EXPECT_GT(status, kEndedBySignal) << "no document was printed";
  } else if (isResult(arguments, status, output)) {
    expectResult(arguments, form == "jsonl", output);
  } else {
    expectConforms("error", output);
  }
}

void expectProgress(const Arguments& arguments, const std::string& talk) {
  const auto option = std::find(arguments.begin(), arguments.end(), "--progress");
  if (option == arguments.end() || option + 1 == arguments.end() || *(option + 1) != "jsonl")
    return;
  std::istringstream stream(talk);
  std::string lines;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("{")) lines += line + "\n";
  }
  if (!lines.empty()) expectLinesConform("progress", lines);
}

}  // namespace

void expectPromisedOutput(const Arguments& arguments, int status, const std::string& output,
                          const std::string& talk) {
  if (arguments.empty()) return;
  expectDocument(arguments, status, output);
  expectProgress(arguments, talk);
}

}  // namespace kestrelvisor::ctl::test
