#include "kestrelctl/watch/progress_text.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/watch/rounded.h"

#include <cmath>

namespace kestrelvisor::ctl {
namespace {

constexpr unsigned kDecimals = 3;

std::string objectsText(const ScanCounts& counts) {
  std::string text = grouped(counts.objects);
  if (counts.objectsExpected) text += " of " + grouped(*counts.objectsExpected);
  return text;
}

}  // namespace

std::string roughDuration(double seconds) {
  constexpr std::uint64_t kMinute = 60;
  constexpr std::uint64_t kHour = 60 * kMinute;
  const std::uint64_t whole = rounded(std::ceil(seconds));
  if (whole < kMinute) return std::to_string(whole) + " s";
  if (whole < kHour) {
    return std::to_string(whole / kMinute) + " min " + std::to_string(whole % kMinute) + " s";
  }
  return std::to_string(whole / kHour) + " h " + std::to_string(whole % kHour / kMinute) + " min";
}

std::string progressLine(const ScanCounts& counts, const ProgressEstimate& estimate,
                         std::size_t width) {
  std::string line = phaseForPeople(counts.phase);
  if (counts.phase != ScanPhase::preparing) line += "  " + objectsText(counts);
  if (const std::uint64_t speed = rounded(estimate.exchangesPerSecond()); speed > 0) {
    line += "  " + grouped(speed) + (speed == 1 ? " request/s" : " requests/s");
  }
  if (const auto left = estimate.secondsLeft()) line += "  " + roughDuration(*left) + " left";
  return line.substr(0, width);
}

std::string progressObject(const ScanCounts& counts, const ProgressEstimate& estimate) {
  Json::Value value = emptyJsonObject();
  value["phase"] = phaseForPrograms(counts.phase);
  value["done"] = jsonNumber(counts.objects);
  value["expected"] = jsonOrNull(counts.objectsExpected);
  value["exchanges"] = jsonNumber(counts.exchanges);
  value["exchangesPerSecond"] = estimate.exchangesPerSecond();
  value["secondsElapsed"] = estimate.secondsElapsed();
  value["secondsLeft"] = jsonOrNull(estimate.secondsLeft());
  Json::StreamWriterBuilder builder = jsonWriter(OutputFormat::jsonl);
  builder["precision"] = kDecimals;
  builder["precisionType"] = "decimal";
  return Json::writeString(builder, value);
}

}  // namespace kestrelvisor::ctl
