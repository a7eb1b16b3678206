#include "kestrelctl/outcome.h"

#include "kestrelctl/engine_code.h"
#include "kestrelctl/explanations/advice.h"
#include "platform/reference/redaction.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

// Codes of a login that the manager refuses; its others start with kLoginFamily.
constexpr std::array<std::string_view, 3> kLoginRefusals{"10100101", "10100103", kRoleRefused};
constexpr std::string_view kLoginFamily = "101001";

// What is known about a failure: the engine's code and the words that belong to it.
struct Cause {
  std::string code;
  std::string text;
};

template <class Codes>
bool contains(const Codes& codes, std::string_view code) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// Splits "text The error code is 2000." as the engine composes it, with or without the blank.
Cause causeOfDetail(const std::string& detail) {
  constexpr std::string_view kMark = "The error code is ";
  const std::size_t mark = detail.rfind(kMark);
  if (mark == std::string::npos) return {{}, detail};
  Cause cause{detail.substr(mark + kMark.size()), detail.substr(0, mark)};
  if (!cause.code.empty() && cause.code.back() == '.') cause.code.pop_back();
  if (!cause.text.empty() && cause.text.back() == ' ') cause.text.pop_back();
  return cause;
}

Cause causeOf(const EnvProxyResult& result, const std::string& description,
              const LogEvidence& evidence) {
  Cause cause{{}, description};
  if (!result.details.empty() && !result.details.front().detailParams.empty()) {
    cause = causeOfDetail(result.details.front().detailParams.front());
  } else if (evidence.cbtCode()) {
    cause.code = *evidence.cbtCode();
  } else if (evidence.loginCode()) {
    cause.code = *evidence.loginCode();
  } else if (evidence.refusal()) {
    cause.code = evidence.refusal()->code;
  }
  if (cause.code == kNoCode) cause.code.clear();
  // The words of the request itself say more than those that the engine put in their place.
  const auto& refusal = evidence.refusal();
  if (refusal && refusal->code == cause.code && !refusal->text.empty()) cause.text = refusal->text;
  return cause;
}

ExitCode exitCodeOf(const Cause& cause, const LogEvidence& evidence) {
  if (cause.code == kCouldNotConnect) return ExitCode::unreachable;
  if (cause.code == kTimedOut) return ExitCode::timeLimit;
  if (cause.code == kOtherTransferFailure) return exitCodeOfTransfer(cause.text);
  const bool loginFailed = evidence.loginCode() && *evidence.loginCode() == cause.code;
  const bool ofLogin = cause.code.compare(0, kLoginFamily.size(), kLoginFamily) == 0;
  if (contains(kLoginRefusals, cause.code) || (loginFailed && ofLogin)) {
    return ExitCode::refusedLogin;
  }
  // Without a code either the manager refused in a form that nobody can read, or it answered well
  // and the answer was not what it should be.
  const bool refused = evidence.refusal() && evidence.refusal()->code.empty();
  if (cause.code.empty() && !refused) return ExitCode::unreadableAnswer;
  return ExitCode::managerFailed;
}

const char* reasonOf(ExitCode exitCode) { return explanationOfExit(exitCode).title; }

// A request that the platform kept back because of its URL is why the transfer failed.
bool wentElsewhere(const Cause& cause, const LogEvidence& evidence) {
  return evidence.refusedUrl() && cause.code == kOtherTransferFailure;
}

void explainRefusedUrl(const LogEvidence& evidence, Failure& failure) {
  failure.facts.push_back({"refused", "a request whose URL " + *evidence.refusedUrl()});
  failure.hint =
      "--keep-address stays with the host of --manager; --follow-address goes where the manager "
      "says, and logs in there";
}

// The manager's words may quote the request, its headers included.
std::string described(const Cause& cause) {
  const std::string text = withoutSecrets(cause.text);
  if (cause.code.empty()) return text;
  return text.empty() ? "code " + cause.code : text + " (code " + cause.code + ")";
}

std::string describedResult(const EnvProxyResult& result) {
  std::string text = "status " + std::to_string(result.status);
  for (const message& detail : result.details) {
    text += ", detail " + std::to_string(detail.detailId);
  }
  return text;
}

void tellEngine(const EnvProxyResult& result, const Cause& cause, Failure& failure) {
  failure.operationStatus = result.status;
  if (!result.details.empty()) failure.detailId = result.details.front().detailId;
  failure.managerCode = cause.code;
  failure.text = withoutSecrets(cause.text);
}

}  // namespace

Failure failureOf(const Attempt& attempt, const EnvProxyResult& result,
                  const std::string& description, const LogEvidence& evidence) {
  const Cause cause = causeOf(result, description, evidence);
  const ExitCode exitCode = exitCodeOf(cause, evidence);
  const bool elsewhere = wentElsewhere(cause, evidence);
  Failure failure(exitCode,
                  attempt.what + " failed: " +
                      (elsewhere ? "the manager points at another server" : reasonOf(exitCode)));
  failure.facts.push_back({"manager", attempt.managerUrl + " as " + attempt.user});
  // Of a request that was kept back, they are about the URL that stands in for it.
  if (const std::string words = described(cause); !words.empty() && !elsewhere) {
    failure.facts.push_back({"reason", words});
  }
  // Of a CBT request the engine's own words come beside the manager's.
  if (!description.empty() && result.details.empty() && description != cause.text) {
    failure.facts.push_back({"meaning", description});
  }
  failure.facts.push_back({"engine", describedResult(result)});
  tellEngine(result, cause, failure);
  failure.hint = adviceFor(failure).remedy;
  if (elsewhere) explainRefusedUrl(evidence, failure);
  return failure;
}

Failure failureOfException(const Attempt& attempt, const std::string& what) {
  Failure failure(ExitCode::unreadableAnswer,
                  attempt.what + " failed: " + reasonOf(ExitCode::unreadableAnswer));
  failure.facts.push_back({"manager", attempt.managerUrl + " as " + attempt.user});
  failure.facts.push_back({"engine", "gave up with an exception: " + what});
  failure.hint = adviceFor(failure).remedy;
  return failure;
}

Failure failureOfEnd(const Attempt& attempt, const Failure& end) {
  Failure failure(end.exitCode, attempt.what + " failed: " + end.what());
  failure.facts.push_back({"manager", attempt.managerUrl + " as " + attempt.user});
  return failure;
}

}  // namespace kestrelvisor::ctl
