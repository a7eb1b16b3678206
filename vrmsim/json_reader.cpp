#include "vrmsim/json_reader.h"

#include <json/reader.h>

#include <algorithm>
#include <memory>
#include <sstream>

namespace kestrelvisor::vrmsim {
namespace {

// JsonCpp complains in two lines, "* Line 2, Column 1" and what is wrong there.
std::string inOneLine(const std::string& complaints) {
  std::istringstream lines(complaints);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const bool isPlace = line.rfind("* ", 0) == 0;
    text += text.empty() ? "" : isPlace ? "; " : ": ";
    text += line.substr(std::min(line.find_first_not_of("* "), line.size()));
  }
  return text;
}

}  // namespace

Json::Value parsedJson(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["strictRoot"] = false;
  builder["stackLimit"] = 100;
  Json::Value root;
  std::string complaints;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  try {
    if (reader->parse(text.data(), text.data() + text.size(), &root, &complaints)) return root;
  } catch (const Json::Exception& error) {  // nesting beyond the limit
    complaints = error.what();
  }
  throw JsonError("not readable as JSON: " + inOneLine(complaints));
}

}  // namespace kestrelvisor::vrmsim
