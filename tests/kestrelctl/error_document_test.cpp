#include "kestrelctl/documents/error_document.h"

#include "tests/kestrelctl/json_answer.h"

#include <csignal>

namespace kestrelvisor::ctl::test {
namespace {

std::optional<OutputFormat> formOf(std::vector<const char*> words) {
  words.insert(words.begin(), "kestrelctl");
  return errorFormOf(static_cast<int>(words.size()), words.data());
}

TEST(ErrorForm, IsFoundInEachWayToSayIt) {
  EXPECT_EQ(formOf({"scan", "-o", "json"}), OutputFormat::json);
  EXPECT_EQ(formOf({"scan", "-ojson"}), OutputFormat::json);
  EXPECT_EQ(formOf({"scan", "--output", "jsonl"}), OutputFormat::jsonl);
  EXPECT_EQ(formOf({"--output=json", "scan"}), OutputFormat::json);
  EXPECT_EQ(formOf({"find", "-io", "json"}), OutputFormat::json);
  EXPECT_EQ(formOf({"find", "-iojsonl"}), OutputFormat::jsonl);
  EXPECT_EQ(formOf({"doctor", "-qoyaml"}), OutputFormat::yaml);
  EXPECT_EQ(formOf({"disable-cbt", "/vm", "-yojson"}), OutputFormat::json);
}

TEST(ErrorForm, IsNoneForOtherFormats) {
  EXPECT_EQ(formOf({"scan"}), std::nullopt);
  EXPECT_EQ(formOf({"scan", "-o", "tree"}), std::nullopt);
  EXPECT_EQ(formOf({"scan", "-o", "json", "-o", "tree"}), std::nullopt);
  EXPECT_EQ(formOf({"scan", "-o"}), std::nullopt);
  EXPECT_EQ(formOf({"scan", "--output=", "json"}), std::nullopt);
  EXPECT_EQ(formOf({"find", "-i", "json"}), std::nullopt);
  EXPECT_EQ(formOf({"find", "--others", "json"}), std::nullopt);
  EXPECT_EQ(formOf({"scan", "--", "-o", "json"}), std::nullopt);
}

Json::Value errorOf(const Failure& failure) {
  return conformingDocument("error", errorDocument(failure, OutputFormat::json))["error"];
}

TEST(ErrorDocument, HoldsWhatTheEngineTold) {
  Failure failure(ExitCode::managerFailed, "scanning failed");
  failure.operationStatus = 104;
  failure.detailId = 20111;
  failure.managerCode = "10000004";
  failure.text = "Database is down";
  failure.hint = "try again";
  failure.facts.push_back({"manager", "https://vrm:7443 as backup"});

  const Json::Value error = errorOf(failure);

  EXPECT_EQ(error["exitCode"], 8);
  EXPECT_EQ(error["exitName"], "managerFailed");
  EXPECT_EQ(error["what"], "scanning failed");
  EXPECT_EQ(error["operationStatus"], 104);
  EXPECT_EQ(error["detailId"], 20111);
  EXPECT_EQ(error["managerCode"], "10000004");
  EXPECT_EQ(error["text"], "Database is down");
  EXPECT_EQ(error["hint"], "try again");
  EXPECT_EQ(error["retry"], true);
  EXPECT_EQ(error["facts"][0]["label"], "manager");
  EXPECT_EQ(error["facts"][0]["text"], "https://vrm:7443 as backup");
}

TEST(ErrorDocument, HasNullForWhatTheEngineDidNotTell) {
  const Json::Value error = errorOf(wrongUsage("no command is named"));

  EXPECT_EQ(error["exitName"], "wrongUsage");
  for (const char* key : {"operationStatus", "detailId", "managerCode"}) {
    EXPECT_TRUE(error.isMember(key) && error[key].isNull()) << key;
  }
  EXPECT_EQ(error["retry"], false);
}

TEST(ErrorDocument, RetryGoesByTheCode) {
  Failure failure(ExitCode::managerFailed, "x");
  failure.managerCode = "10300427";
  EXPECT_EQ(errorOf(failure)["retry"], false);
  failure.managerCode = "503";
  EXPECT_EQ(errorOf(failure)["retry"], true);
}

TEST(ErrorDocument, HoldsTheWarnings) {
  Failure failure(ExitCode::unreachable, "x");
  failure.warnings.push_back({"unverified-tls", "not trusted"});

  const Json::Value document =
      conformingDocument("error", errorDocument(failure, OutputFormat::json));

  ASSERT_EQ(document["warnings"].size(), 1U);
  EXPECT_EQ(document["warnings"][0]["kind"], "unverified-tls");
  EXPECT_EQ(document["warnings"][0]["text"], "not trusted");
}

TEST(ErrorDocument, IsALineForJsonl) {
  const std::string line = errorDocument(wrongUsage("a\nb"), OutputFormat::jsonl);

  EXPECT_EQ(line.find('\n'), line.size() - 1);
  expectConforms("error", line);
}

TEST(ErrorDocument, TextsOfStrangersBecomeValidUtf8) {
  Failure failure(ExitCode::managerFailed, "x");
  failure.text = "a\xFF";

  EXPECT_EQ(errorOf(failure)["text"], "a\xEF\xBF\xBD");
}

TEST(ErrorDocument, TellsTheEndByASignal) {
  const Json::Value error = errorOf(failureOfSignal(SIGINT, {}));

  EXPECT_EQ(error["exitCode"], 130);
  EXPECT_EQ(error["exitName"], "interrupted");
  EXPECT_EQ(error["retry"], true);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
