// What the manager shows of itself.

#include "kestrelctl/certificates/certificate_views.h"
#include "kestrelctl/diagnosis/check_functions.h"
#include "kestrelctl/diagnosis/checks.h"
#include "kestrelctl/diagnosis/reach.h"
#include "kestrelctl/terminal_text.h"
#include "platform/reference/clock.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <array>

namespace kestrelvisor::ctl {
namespace {

// Something about a certificate that ends an exchange, unless the user lets it pass.
Finding refused(bool strict, const std::string& text, const std::string& remedy) {
  if (strict) return failed(ExitCode::refusedCertificate, text, remedy);
  return warned(text + "; it is let pass, as the user wants it", remedy);
}

struct TrustRemedy {
  int problem;
  const char* remedy;
};
constexpr const char* kFetchRemedy =
    "trust the certificate or its CA with --ca-cert FILE; kestrelctl cert --save FILE fetches "
    "what the manager shows: compare its pin with the one that the manager's administrator knows";
constexpr const char* kChainRemedy =
    "let the manager send the certificates of the authorities between it and a trusted one, or put "
    "them into the file of --ca-cert";
constexpr const char* kWeakRemedy =
    "have the certificate issued anew, with a key of 2048 bits or more and SHA-256";
constexpr const char* kServerRemedy = "have the certificate issued anew, for a server";
constexpr const char* kAuthorityRemedy =
    "have the certificate issued anew, by authorities that may issue it: one on the way to the "
    "trusted one oversteps what it is allowed";
constexpr const char* kExtensionRemedy =
    "have that certificate issued anew, without the critical extension that clients do not know";
constexpr const char* kIssueRemedy = "have that certificate issued anew";
constexpr std::array<TrustRemedy, 15> kTrustRemedies{
    {{X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, kFetchRemedy},
     {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, kFetchRemedy},
     {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, kChainRemedy},
     {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, kChainRemedy},
     {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, kChainRemedy},
     {X509_V_ERR_EE_KEY_TOO_SMALL, kWeakRemedy},
     {X509_V_ERR_CA_KEY_TOO_SMALL, kWeakRemedy},
     {X509_V_ERR_CA_MD_TOO_WEAK, kWeakRemedy},
     {X509_V_ERR_CERT_SIGNATURE_FAILURE, kFetchRemedy},
     {X509_V_ERR_INVALID_PURPOSE, kServerRemedy},
     {X509_V_ERR_INVALID_CA, kAuthorityRemedy},
     {X509_V_ERR_PATH_LENGTH_EXCEEDED, kAuthorityRemedy},
     {X509_V_ERR_PERMITTED_VIOLATION, kAuthorityRemedy},
     {X509_V_ERR_EXCLUDED_VIOLATION, kAuthorityRemedy},
     {X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION, kExtensionRemedy}}};

const char* remedyOf(const CertificateProblem& problem) {
  const auto* const found =
      std::find_if(kTrustRemedies.begin(), kTrustRemedies.end(),
                   [&](const TrustRemedy& row) { return row.problem == problem.code; });
  return found == kTrustRemedies.end() ? kIssueRemedy : found->remedy;
}

constexpr const char* kNoChain = "there is no certificate to judge";
constexpr const char* kRenewRemedy = "have the certificate renewed on the manager";

Finding findingOfProblem(const Inspection& inspection, const CertificateProblem& problem,
                         Certificate::Time now, bool strict) {
  const std::string name = inspection.nameInPath(problem.depth);
  const std::string today = "; here it is " + dateText(now);
  const Certificate& certificate = inspection.path.at(problem.depth);
  if (problem.code == X509_V_ERR_CERT_HAS_EXPIRED) {
    return refused(strict, name + " expired on " + dateText(certificate.notAfter) + today,
                   kRenewRemedy);
  }
  return refused(strict, name + " is not valid before " + dateText(certificate.notBefore) + today,
                 "check the clocks of this machine and of whoever issued the certificate");
}

}  // namespace

Finding checkChain(Examination& examination) {
  if (!hasChain(examination)) return skipped(kNoChain);
  const Inspection& connection = examination.connection();
  const std::string& kept = examination.options().publicKeyPin;
  if (hasOtherKey(examination)) {
    return failed(ExitCode::refusedCertificate,
                  "the public key is not the kept one: kept " + kept + ", shown " +
                      connection.chain.front().pin,
                  "compare the shown pin with the one that the manager's administrator knows; "
                  "kestrelctl cert pin --replace keeps it");
  }
  if (const CertificateProblem* const problem = connection.problemOfTrust()) {
    return refused(
        examination.isStrict(),
        "not trusted: " + problem->words + " (" + connection.nameInPath(problem->depth) + ")",
        remedyOf(*problem));
  }
  return passed(counted(connection.chain.size(), "certificate") + ", trusted" +
                (kept.empty() ? "" : ", with the public key that is kept"));
}

Finding checkHostName(Examination& examination) {
  if (!hasChain(examination)) return skipped(kNoChain);
  const Inspection& connection = examination.connection();
  const std::string& host = examination.options().manager.host;
  if (connection.namesHost) return passed("the certificate holds " + host);
  return refused(examination.isStrict(),
                 "the certificate is not for " + host + "; the alternative names that it holds: " +
                     listed(connection.chain.front().names),
                 "reach the manager by a name that the certificate holds, or have it issued anew "
                 "with this one as a subject alternative name");
}

Finding checkDaysLeft(Examination& examination) {
  if (!hasChain(examination)) return skipped(kNoChain);
  const auto now = std::chrono::floor<std::chrono::seconds>(currentTime());
  return findingOfValidity(examination.connection(), now, examination.isStrict());
}

Finding findingOfValidity(const Inspection& inspection, Certificate::Time now, bool strict) {
  constexpr long long kSoon = 30;
  if (const CertificateProblem* const problem = inspection.problemOfTime()) {
    return findingOfProblem(inspection, *problem, now, strict);
  }
  const auto& path = inspection.path;
  const auto first = std::min_element(
      path.begin(), path.end(),
      [](const auto& one, const auto& other) { return one.notAfter < other.notAfter; });
  const std::string name = inspection.nameInPath(static_cast<std::size_t>(first - path.begin()));
  if (!first->notAfter) return skipped(name + " has an end that cannot be read");
  const long long days = std::max(daysUntil(*first->notAfter, now), 0LL);
  const std::string text = counted(static_cast<std::uint64_t>(days), "day") + " left: " + name +
                           " ends on " + dateText(first->notAfter);
  return days < kSoon ? warned(text, kRenewRemedy) : passed(text);
}

}  // namespace kestrelvisor::ctl
