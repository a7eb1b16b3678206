#include "kestrelctl/explanations/advice.h"

#include "kestrelctl/engine_code.h"
#include "kestrelctl/explanations/tables.h"

#include <cstdint>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr std::int32_t kFirstTellingStatus = 95;
constexpr std::int32_t kLastTellingStatus = 101;

const Explanation* adviceOfCode(const Failure& failure) {
  const std::string& code = failure.managerCode;
  if (code.empty()) return nullptr;
  if (code == kOtherTransferFailure) {
    if (const Explanation* const transfer = transferTold(failure.text)) return transfer;
  }
  for (const CodeKind kind : {CodeKind::manager, CodeKind::engine, CodeKind::http}) {
    const Explanation* const row = explanationOf(kind, code);
    if (row != nullptr && row->ofFailures) return row;
  }
  return nullptr;
}

// Those of switching off changed-block tracking tell more than the exit code.
const Explanation* adviceOfStatus(const Failure& failure) {
  const std::int32_t status = failure.operationStatus.value_or(0);
  const bool telling = status >= kFirstTellingStatus && status <= kLastTellingStatus;
  if (failure.exitCode != ExitCode::managerFailed || !telling) return nullptr;
  return explanationOf(CodeKind::status, std::to_string(status));
}

}  // namespace

const Explanation& adviceFor(const Failure& failure) {
  if (const Explanation* const row = adviceOfCode(failure)) return *row;
  if (const Explanation* const row = adviceOfStatus(failure)) return *row;
  return explanationOfExit(failure.exitCode);
}

const Explanation& explanationOfExit(ExitCode code) {
  const Explanation* const row =
      explanationOf(CodeKind::exit, std::to_string(static_cast<int>(code)));
  // A code that no table holds can only come from a child that is no command of ours.
  return row != nullptr ? *row : *explanationOf(CodeKind::exit, "9");
}

ExitCode exitCodeOfTransfer(std::string_view text) {
  const Explanation* const told = transferTold(text);
  return told == nullptr ? ExitCode::unreachable : exitCodeOf(*told);
}

const Explanation* transferTold(std::string_view text) {
  const Explanation* longest = nullptr;
  for (const Explanation* const row : explanationsOf(CodeKind::curl)) {
    const std::string_view known = row->title;
    if (text.substr(0, known.size()) != known) continue;
    if (longest == nullptr || known.size() > std::string_view(longest->title).size()) longest = row;
  }
  return longest;
}

}  // namespace kestrelvisor::ctl
