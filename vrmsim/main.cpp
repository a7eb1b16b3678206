#include "vrmsim/certificate_matrix.h"
#include "vrmsim/command_line.h"
#include "vrmsim/help_text.h"
#include "vrmsim/inventory_file.h"
#include "vrmsim/request_log.h"
#include "vrmsim/simulator.h"

#include <pthread.h>

#include <csignal>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using kestrelvisor::vrmsim::CertificateCase;
using kestrelvisor::vrmsim::CommandLine;
using kestrelvisor::vrmsim::ConnectionFault;
using kestrelvisor::vrmsim::kHelpWidth;
using kestrelvisor::vrmsim::RecordedRequest;
using kestrelvisor::vrmsim::RequestLog;
using kestrelvisor::vrmsim::Settings;
using kestrelvisor::vrmsim::Simulator;
using kestrelvisor::vrmsim::wrapped;

constexpr int kCannotServe = 1;
constexpr int kWrongUsage = 2;
constexpr int kFaultsUnfired = 3;

// Holds back the signals that end the process, in this thread and in all that it starts.
sigset_t blockEndingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

void writeCertificate(const std::string& path, const std::string& pem) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << pem << std::flush;
  if (!file) throw std::runtime_error("the certificate file " + path + " cannot be written");
}

void listCertificates() {
  constexpr std::size_t kColumn = 30;
  for (const CertificateCase& row : kestrelvisor::vrmsim::certificateCases()) {
    std::string name(row.name);
    name.resize(kColumn, ' ');
    const std::string meaning = (row.accepted ? "good: " : "bad: ") + std::string(row.description);
    std::cout << name << wrapped(meaning, kHelpWidth - kColumn, kColumn) << "\n";
  }
  std::cout << std::flush;
}

// Tells of the faults that nothing has met; false when there are any.
bool allFaultsFired(const Simulator& simulator) {
  const std::vector<std::string> unfired = simulator.unfiredFaults();
  for (const std::string& name : unfired) {
    std::cerr << "vrmsim: this fault never fired: " << name << "\n";
  }
  return unfired.empty();
}

void tellAddresses(const Simulator& simulator) {
  std::cout << "vrmsim ready: " << simulator.url() << "\n";
  if (const std::string url = simulator.controlUrl(); !url.empty()) {
    std::cout << "vrmsim control: " << url << "\n";
  }
  std::cout << std::flush;
  if (!std::cout) throw std::runtime_error("the ready line cannot be written to standard output");
}

int serveUntilSignalled(Settings settings) {
  const sigset_t signals = blockEndingSignals();
  std::unique_ptr<RequestLog> log;
  if (!settings.requestLogFile.empty()) log = std::make_unique<RequestLog>(settings.requestLogFile);
  settings.options.onRequest = [&log](const RecordedRequest& request) {
    if (log) log->write(request);
    if (!request.complaint.empty()) std::cerr << "vrmsim: " << request.complaint << std::endl;
  };
  settings.options.onConnectionFault = [&log](const ConnectionFault& fault) {
    if (log) log->write(fault);
  };
  const Simulator simulator(std::move(settings.options));
  if (!settings.certificateFile.empty()) {
    writeCertificate(settings.certificateFile, simulator.certificatePem());
  }
  tellAddresses(simulator);
  int signal = 0;
  sigwait(&signals, &signal);
  return allFaultsFired(simulator) || !settings.requireFaults ? 0 : kFaultsUnfired;
}

}  // namespace

int main(int argc, char** argv) {
  CommandLine commandLine = kestrelvisor::vrmsim::readCommandLine(argc, argv);
  if (!commandLine.settings) return commandLine.status;
  Settings& settings = *commandLine.settings;
  if (settings.printInventory) {
    std::cout << kestrelvisor::vrmsim::writeInventory(settings.options.inventory) << std::flush;
    return std::cout ? 0 : kCannotServe;
  }
  if (settings.listCertificates) {
    listCertificates();
    return std::cout ? 0 : kCannotServe;
  }
  try {
    return serveUntilSignalled(std::move(settings));
  } catch (const kestrelvisor::vrmsim::FaultRuleError& error) {  // no use with these settings
    std::cerr << "vrmsim: " << error.what() << "\n";
    return kWrongUsage;
  } catch (const std::exception& error) {
    std::cerr << "vrmsim: " << error.what() << "\n";
    return kCannotServe;
  }
}
