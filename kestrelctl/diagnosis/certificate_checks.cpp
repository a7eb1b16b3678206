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
constexpr const char* kIssueRemedy = "have the certificate issued anew, for a server";
constexpr std::array<TrustRemedy, 8> kTrustRemedies{
    {{X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, kFetchRemedy},
     {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, kFetchRemedy},
     {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, kChainRemedy},
     {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, kChainRemedy},
     {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, kChainRemedy},
     {X509_V_ERR_EE_KEY_TOO_SMALL, kWeakRemedy},
     {X509_V_ERR_CA_KEY_TOO_SMALL, kWeakRemedy},
     {X509_V_ERR_CA_MD_TOO_WEAK, kWeakRemedy}}};

const char* remedyOf(const CertificateProblem& problem) {
  const auto* const found =
      std::find_if(kTrustRemedies.begin(), kTrustRemedies.end(),
                   [&](const TrustRemedy& row) { return row.problem == problem.code; });
  return found == kTrustRemedies.end() ? kIssueRemedy : found->remedy;
}

std::string describedEnd(const Certificate& certificate, std::size_t position) {
  return "certificate " + std::to_string(position + 1) + " ends on " +
         timeText(certificate.notAfter).substr(0, 10);
}

}  // namespace

Finding checkChain(Examination& examination) {
  if (!hasChain(examination)) return skipped("no certificate was shown");
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
    return refused(examination.isStrict(),
                   "not trusted: " + problem->words + " (certificate " +
                       std::to_string(problem->depth + 1) + ")",
                   remedyOf(*problem));
  }
  return passed(counted(connection.chain.size(), "certificate") + ", trusted" +
                (kept.empty() ? "" : ", with the public key that is kept"));
}

Finding checkHostName(Examination& examination) {
  if (!hasChain(examination)) return skipped("no certificate was shown");
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
  if (!hasChain(examination)) return skipped("no certificate was shown");
  return findingOfValidity(examination.connection(), currentTime(), examination.isStrict());
}

Finding findingOfValidity(const Inspection& inspection, Certificate::Time now, bool strict) {
  constexpr long long kSoon = 30;
  constexpr const char* kRenew = "have the certificate renewed on the manager";
  const std::string today = "; here it is " + timeText(now).substr(0, 10);
  const auto& chain = inspection.chain;
  for (std::size_t i = 0; i < chain.size(); ++i) {
    const std::string name = "certificate " + std::to_string(i + 1);
    if (now > chain[i].notAfter) {
      return refused(strict,
                     name + " expired on " + timeText(chain[i].notAfter).substr(0, 10) + today,
                     kRenew);
    }
    if (now < chain[i].notBefore) {
      return refused(
          strict,
          name + " is not valid before " + timeText(chain[i].notBefore).substr(0, 10) + today,
          "check the clocks of this machine and of whoever issued the certificate");
    }
  }
  if (const CertificateProblem* const problem = inspection.problemOfTime()) {
    return refused(strict, "of an authority that is not sent: " + problem->words, kRenew);
  }
  const auto first = std::min_element(
      chain.begin(), chain.end(),
      [](const auto& one, const auto& other) { return one.notAfter < other.notAfter; });
  const long long days = daysUntil(first->notAfter, now);
  const std::string text = counted(static_cast<std::size_t>(days), "day") + " left: " +
                           describedEnd(*first, static_cast<std::size_t>(first - chain.begin()));
  return days < kSoon ? warned(text, kRenew) : passed(text);
}

}  // namespace kestrelvisor::ctl
