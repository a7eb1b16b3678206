#pragma once

#include "tests/support/test_headers.h"

#include <json/json.h>

#include <sstream>
#include <string>

namespace kestrelvisor::ctl::test {

// What a program printed, read as exactly one document.
inline Json::Value parsedAnswer(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  Json::Value value;
  std::istringstream stream(text);
  std::string problem;
  EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &problem)) << problem << text;
  return value;
}

}  // namespace kestrelvisor::ctl::test
