#pragma once

#include "kestrelctl/certificates/certificate.h"
#include "kestrelctl/manager_address.h"

#include <chrono>
#include <cstddef>
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
  std::size_t depth = 0;  // of the certificate in the chain, the manager's own at 0
  std::string words;      // OpenSSL's

  bool isOfTime() const;  // expired, or not valid yet
};

// What a connection to a manager shows before any request is sent.
struct Inspection {
  bool connected = false;   // TCP
  bool handshaken = false;  // TLS, whatever a verifying client would say
  bool timedOut = false;
  std::string problem;  // why it went no further, in the words of libcurl or the system; empty: it
                        // went through
  // Of a connection on which the handshake has worked, too; otherwise empty and 0.
  std::string address;  // that took it, "10.1.2.3:7443"
  std::chrono::microseconds connectTime{};

  std::string protocol;  // "TLSv1.3"
  std::string cipher;
  bool demandsCertificate = false;           // of the client
  std::vector<Certificate> chain;            // as sent, the manager's own first
  std::vector<CertificateProblem> problems;  // each of them once; the host's name apart
  bool namesHost = false;                    // as an alternative name

  // The first problem that time does not solve; null when there is none.
  const CertificateProblem* problemOfTrust() const;
  const CertificateProblem* problemOfTime() const;
};

// Connects, over HTTPS with a handshake that takes any version of TLS and any certificate and notes
// what a verifying client would say to it, and hangs up. No request is sent. Throws std::bad_alloc.
Inspection inspect(const InspectionRequest& request);

}  // namespace kestrelvisor::ctl
