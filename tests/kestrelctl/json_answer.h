#pragma once

#include "tests/kestrelctl/schema_check.h"
#include "tests/support/test_headers.h"

#include <json/json.h>

#include <sstream>
#include <string>

namespace kestrelvisor::ctl::test {

// A text for programs, read as exactly one document.
inline Json::Value parsedAnswer(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  Json::Value value;
  std::istringstream stream(text);
  std::string problem;
  EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &problem)) << problem << text;
  return value;
}

// Likewise, for a document that did not come from a run of the program.
inline Json::Value conformingDocument(const std::string& schema, const std::string& text) {
  expectConforms(schema, text);
  return parsedAnswer(text);
}

}  // namespace kestrelvisor::ctl::test
