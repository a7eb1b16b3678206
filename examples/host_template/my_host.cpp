// Scans one manager and tells what is on it.
//
//   my_host ADDRESS PORT USER PASSWORD_FILE [CERTIFICATE_FILE]
//
// Ends with 0 when the scan succeeded, 1 when it did not, 2 for wrong usage.

#include "engine/kestrelvisor_engine.h"

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

constexpr std::int32_t kHttps = 2;

// A file that was named must not be passed over: without it every authority of the system is
// trusted.
std::string certificateIn(const std::string& file) {
  std::ifstream stream(file);
  std::string certificate{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (certificate.empty()) throw std::runtime_error(file + " cannot be read, or is empty");
  return certificate;
}

EnvironmentPath readPath(int argc, char** argv) {
  EnvironmentPath path;
  path.add_hv_address(argv[1]);
  path.add_port(std::atoi(argv[2]));
  path.add_protocol(kHttps);
  path.add_username(argv[3]);
  path.add_password(argv[4]);  // what SecuritySS::KmcDecryptInfo makes the password of
  path.add_cert(argc > 5 ? certificateIn(argv[5]) : "");
  return path;
}

int scan(const EnvironmentPath& path) {
  ScanEnvironmentReply reply;
  std::string description;
  const EnvProxyResult result =
      KestrelVisorEngine::getKestrelVisorInstance().scanEnvironment(reply, path, description);
  std::cerr << "status " << result.status << ", " << reply.machine_records_size() << " machines, "
            << reply.datastore_records_size() << " datastores\n";
  if (result.status == 0) return 0;
  for (const message& detail : result.details) std::cerr << detail.detailParams.front() << "\n";
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5 || argc > 6) {
    std::cerr << "usage: " << argv[0] << " ADDRESS PORT USER PASSWORD_FILE [CERTIFICATE_FILE]\n";
    return 2;
  }
  kestrelvisor_engine_init();
  try {
    return scan(readPath(argc, argv));
  } catch (const std::exception& problem) {
    std::cerr << problem.what() << "\n";  // the certificate's file, or an answer without sense
    return 1;
  }
}
