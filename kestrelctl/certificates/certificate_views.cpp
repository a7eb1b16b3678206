#include "kestrelctl/certificates/certificate_views.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLabelWidth = 11;
constexpr std::size_t kTextColumn = kLabelWidth + 4;

// A line under a heading; a text that does not fit goes on in the same column.
class Lines {
 public:
  explicit Lines(const Rendering& rendering) : rendering_(rendering) {}

  void add(const char* label, const std::string& text) {
    text_ += "  " + rendering_.bold(padRight(label, kLabelWidth)) + "  " +
             wrapped(printable(text, rendering_.utf8), rendering_.columnsOfProse(),
                     {kTextColumn, kTextColumn}) +
             "\n";
  }
  void addHeading(const std::string& text) { text_ += "\n" + rendering_.bold(text) + "\n"; }
  const std::string& text() const { return text_; }

 private:
  const Rendering& rendering_;
  std::string text_;
};

std::string namesText(const std::vector<std::string>& names) {
  constexpr std::ptrdiff_t kMost = 20;
  const std::ptrdiff_t more = std::ssize(names) - kMost;
  if (more <= 0) return joined(names);
  return joined({names.begin(), names.begin() + kMost}) + " and " +
         grouped(static_cast<std::uint64_t>(more)) + " more";
}

std::string validity(const Certificate& certificate, Certificate::Time now) {
  const std::string range =
      "from " + dateText(certificate.notBefore) + " to " + dateText(certificate.notAfter);
  if (!certificate.notBefore || !certificate.notAfter) return range;
  if (now < *certificate.notBefore) return range + ", not valid yet";
  const long long days = daysUntil(*certificate.notAfter, now);
  if (days < 0) return range + ", expired";
  return range + ", " + counted(static_cast<std::size_t>(days), "day") + " left";
}

void addCertificate(const Certificate& certificate, Certificate::Time now, Lines& lines) {
  lines.add("subject", certificate.subject.empty() ? "none" : certificate.subject);
  lines.add("issuer", certificate.issuer.empty() ? "none" : certificate.issuer);
  if (!certificate.names.empty()) lines.add("names", namesText(certificate.names));
  lines.add("valid", validity(certificate, now));
  lines.add("key", certificate.key);
  lines.add("SHA-256", certificate.fingerprint);
  lines.add("pin", certificate.pin);
}

std::string trustText(const Inspection& inspection) {
  if (!inspection.handshaken) return "no: the greeting of TLS failed";
  if (inspection.problems.empty()) return "yes";
  const CertificateProblem& problem = inspection.problems.front();
  return "no: " + problem.words + " (" + inspection.nameInPath(problem.depth) + ")";
}

std::string keptText(const ShownCertificate& shown) {
  if (shown.keptPin.empty()) return "none; kestrelctl cert pin keeps this one";
  return shown.keptPin == shown.inspection.chain.front().pin ? "this one" : shown.keptPin;
}

Json::Value documentOf(const std::optional<Certificate::Time>& time) {
  return time ? Json::Value(timeText(*time)) : Json::Value();
}

Json::Value documentOf(const Certificate& certificate) {
  Json::Value value(Json::objectValue);
  value["subject"] = jsonOf(certificate.subject);
  value["issuer"] = jsonOf(certificate.issuer);
  Json::Value& names = value["names"] = Json::Value(Json::arrayValue);
  for (const std::string& name : certificate.names) names.append(jsonOf(name));
  value["notBefore"] = documentOf(certificate.notBefore);
  value["notAfter"] = documentOf(certificate.notAfter);
  value["key"] = certificate.key;
  value["fingerprint"] = certificate.fingerprint;
  value["pin"] = certificate.pin;
  value["pem"] = certificate.pem;
  return value;
}

Json::Value documentOf(const CertificateProblem& problem, const Inspection& inspection) {
  Json::Value value(Json::objectValue);
  const auto place = inspection.placeInChain(problem.depth);
  value["certificate"] = place ? Json::Value(Json::UInt64{*place + 1}) : Json::Value();
  value["code"] = problem.code;
  value["text"] = jsonOf(problem.words);
  return value;
}

}  // namespace

std::string certificateText(const ShownCertificate& shown, const Rendering& rendering) {
  const Inspection& inspection = shown.inspection;
  Lines lines(rendering);
  lines.add("manager", shown.manager.url());
  if (!inspection.address.empty()) lines.add("address", inspection.address);
  lines.add("trusted", trustText(inspection));
  lines.add("names host", inspection.namesHost ? "yes" : "no");
  lines.add("kept pin", keptText(shown));
  for (std::size_t i = 0; i < inspection.chain.size(); ++i) {
    lines.addHeading("Certificate " + std::to_string(i + 1) +
                     (i == 0 ? ", the manager's own" : ""));
    addCertificate(inspection.chain[i], shown.now, lines);
  }
  return lines.text();
}

std::string certificateDocument(const ShownCertificate& shown, OutputFormat form) {
  const Inspection& inspection = shown.inspection;
  Json::Value document(Json::objectValue);
  document["manager"] = jsonOf(shown.manager.url());
  document["address"] = jsonOf(inspection.address);
  document["protocol"] = inspection.protocol;
  document["trusted"] = inspection.problems.empty();
  document["namesHost"] = inspection.namesHost;
  document["pin"] = inspection.chain.front().pin;
  document["keptPin"] = shown.keptPin.empty() ? Json::Value() : jsonOf(shown.keptPin);
  Json::Value& problems = document["problems"] = Json::Value(Json::arrayValue);
  for (const CertificateProblem& problem : inspection.problems) {
    problems.append(documentOf(problem, inspection));
  }
  Json::Value& chain = document["certificates"] = Json::Value(Json::arrayValue);
  for (const Certificate& certificate : inspection.chain) chain.append(documentOf(certificate));
  document["warnings"] = jsonOf(shown.warnings);
  return jsonText(document, form);
}

long long daysUntil(Certificate::Time time, Certificate::Time now) {
  return std::chrono::floor<std::chrono::days>(time - now).count();
}

}  // namespace kestrelvisor::ctl
