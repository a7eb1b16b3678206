#pragma once

#include "kestrelctl/certificates/certificate.h"
#include "kestrelctl/manager_address.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// Whom to connect to, and what to believe there.
struct InspectionRequest {
  ManagerAddress manager;
  std::string trusted;                 // PEM; empty: the system's trust store
  std::vector<std::string> addresses;  // of the manager's name; empty: to be looked up
  std::chrono::milliseconds limit{};   // above 0
};

// Why a verifying client refuses a certificate.
struct CertificateProblem {
  int code = 0;           // OpenSSL's
  std::size_t depth = 0;  // of the certificate in the path
  std::string words;      // OpenSSL's

  bool isOfTime() const;  // expired, or not valid yet
};

// What a connection to a manager shows before any request is sent.
struct Inspection {
  bool connected = false;  // TCP; through a proxy, to its other end
  // TLS came to its end, whatever a verifying client would say. Without that nobody has proven that
  // the certificates are its own.
  bool handshaken = false;
  bool timedOut = false;
  std::string problem;  // why it went no further, in the words of libcurl or the system; empty: it
                        // went through
  // Of a connection on which the handshake has worked, too; otherwise empty and 0.
  std::string address;  // that took it, "10.1.2.3:7443"; empty behind a proxy as well
  std::chrono::microseconds connectTime{};

  std::string protocol;  // "TLSv1.3"
  std::string cipher;
  bool demandsCertificate = false;  // of the client, who need not have one
  std::vector<Certificate> chain;   // as sent, the manager's own first
  // By which a verifying client judges: the manager's own, then its authorities as far as they are
  // found, sent or trusted. What is sent beside them does not count.
  std::vector<Certificate> path;
  std::vector<CertificateProblem> problems;  // each of them once; the host's name apart
  bool namesHost = false;                    // as an alternative name

  // Whether a verifying client goes on.
  bool isTrusted() const { return handshaken && problems.empty() && namesHost; }
  // The first problem that time does not solve; null when there is none.
  const CertificateProblem* problemOfTrust() const;
  const CertificateProblem* problemOfTime() const;

  // Where a certificate of the path stands in the chain; nothing for one that was not sent.
  std::optional<std::size_t> placeInChain(std::size_t depth) const;
  // The same for people: "certificate 1".
  std::string nameInPath(std::size_t depth) const;
};

// Connects, over HTTPS with a handshake that takes any version of TLS and any certificate and notes
// what a verifying client would say to it, and hangs up. No request is sent. Throws std::bad_alloc.
Inspection inspect(const InspectionRequest& request);

}  // namespace kestrelvisor::ctl
