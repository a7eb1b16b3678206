#include "base/error_message.h"

#include <cstddef>
#include <string_view>

namespace {

// From here on, hosts know a CBT failure by a number of its own block.
constexpr std::int32_t kFirstRenumbered = 14;
constexpr std::int32_t kRenumberedBy = 986;

}  // namespace

KestrelVisorErrorMessage::KestrelVisorErrorMessage() = default;
KestrelVisorErrorMessage::KestrelVisorErrorMessage(const KestrelVisorErrorMessage&) = default;
KestrelVisorErrorMessage& KestrelVisorErrorMessage::operator=(const KestrelVisorErrorMessage&) =
    default;
KestrelVisorErrorMessage::~KestrelVisorErrorMessage() = default;

void KestrelVisorErrorMessage::setErrorCode(const std::string& code, CBTGetErrorCode cbt) {
  if (!code.empty()) errorCode = code;

  const auto value = static_cast<std::int32_t>(cbt);
  const auto texts = static_cast<std::int32_t>(kestrelvisor::kCbtErrorTexts.size());
  if (value <= 0 || value >= texts) return;
  const std::int32_t number = value >= kFirstRenumbered ? value + kRenumberedBy : value;
  const std::string_view text = kestrelvisor::kCbtErrorTexts[static_cast<std::size_t>(value)];
  errorCode = std::to_string(number) + ", " + std::string(text);
}

void KestrelVisorErrorMessage::setErrorDescription(const std::string& text) {
  if (!text.empty()) errorDescription = text;
}

void KestrelVisorErrorMessage::reset() {
  errorCode = kestrelvisor::kDefaultErrorCode;
  errorDescription = kestrelvisor::kDefaultErrorDescription;
}
