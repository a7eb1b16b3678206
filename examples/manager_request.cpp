#include "manager_request.h"

#include "base/wipe_string.h"
#include "platform/reference/password_cipher.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

namespace example {
namespace {

constexpr int kFirstOperation = 5;
constexpr std::int32_t kHttp = 1;
constexpr std::int32_t kHttps = 2;

std::string environmentValue(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool readPassword(std::string& password) {
  const std::string file = environmentValue("MANAGER_PASSWORD_FILE");
  if (!file.empty()) {
    std::ifstream stream(file);
    if (std::getline(stream, password)) return true;
    std::cerr << file << " cannot be read, or holds no password\n";
    return false;
  }
  password = environmentValue("MANAGER_PASSWORD");
  if (!password.empty()) return true;
  std::cerr << "set MANAGER_PASSWORD_FILE or MANAGER_PASSWORD\n";
  return false;
}

// The engine takes passwords encrypted only. A host that stores them would keep the key as well;
// this one makes a new key for each run.
bool encrypt(const std::string& password, std::string& cipher) {
  std::string key;
  const kestrelvisor::WipeOnExit wipeKey(key);
  std::string problem;
  if (kestrelvisor::generateKey(key, problem) && kestrelvisor::setPasswordKey(key, problem) &&
      kestrelvisor::encryptPassword(password, cipher, problem)) {
    return true;
  }
  std::cerr << "the password cannot be encrypted: " << problem << "\n";
  return false;
}

// A file that was named must not be passed over: without it every authority of the system is
// trusted.
bool readCertificate(std::string& certificate) {
  const std::string file = environmentValue("MANAGER_CERT_FILE");
  if (file.empty()) return true;
  std::ifstream stream(file);
  certificate.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  if (!certificate.empty()) return true;
  std::cerr << file << " cannot be read, or holds no certificate\n";
  return false;
}

void printResult(const std::string& operation, const EnvProxyResult& result) {
  std::cout << operation << ": status " << result.status << "\n";
  for (const message& detail : result.details) {
    std::cout << "  detail " << detail.detailId;
    for (const std::string& parameter : detail.detailParams) std::cout << " [" << parameter << "]";
    std::cout << "\n";
  }
}

// Tells whether the operation succeeded.
bool runOperation(EngineBase& engine, const EnvironmentPath& path, const std::string& operation) {
  const std::string disable = "disable=";
  EnvProxyResult result;
  std::string description;
  if (operation == "verify") {
    std::string guid;
    result = engine.VerifyCredentials(path, description, guid);
    printResult(operation, result);
    std::cout << "  " << description << " " << guid << "\n";
  } else if (operation == "scan") {
    ScanEnvironmentReply reply;  // a fresh one for each scan
    result = engine.scanEnvironment(reply, path, description);
    printResult(operation, result);
    std::cout << "  machines " << reply.machine_records_size() << ", disks "
              << reply.disk_records_size() << ", datastores " << reply.datastore_records_size()
              << "\n";
  } else if (operation.compare(0, disable.size(), disable) == 0) {
    result = engine.DisableCBT(path, operation.substr(disable.size()), description);
    printResult("disable", result);
    std::cout << "  " << description << "\n";
  } else {
    std::cerr << "unknown operation: " << operation << "\n";
    return false;
  }
  return result.status == 0;
}

}  // namespace

std::optional<ManagerRequest> readManagerRequest(int argc, char** argv) {
  if (argc <= kFirstOperation) {
    std::cerr << "usage: " << argv[0]
              << " ADDRESS PORT http|https USER verify|scan|disable=URI...\n"
                 "  The password stands in MANAGER_PASSWORD_FILE or MANAGER_PASSWORD,\n"
                 "  the certificate to trust in MANAGER_CERT_FILE.\n";
    return std::nullopt;
  }
  std::string certificate;
  if (!readCertificate(certificate)) return std::nullopt;
  std::string password;
  const kestrelvisor::WipeOnExit wipePassword(password);
  if (!readPassword(password)) return std::nullopt;
  std::string cipher;
  if (!encrypt(password, cipher)) return std::nullopt;

  ManagerRequest request;
  request.path.add_hv_address(argv[1]);
  request.path.add_port(std::atoi(argv[2]));
  request.path.add_protocol(std::string(argv[3]) == "http" ? kHttp : kHttps);
  request.path.add_username(argv[4]);
  request.path.add_password(cipher);
  request.path.add_cert(certificate);
  request.operations.assign(argv + kFirstOperation, argv + argc);
  return request;
}

int runOperations(EngineBase& engine, const ManagerRequest& request) {
  bool all = true;
  for (const std::string& operation : request.operations) {
    try {
      all = runOperation(engine, request.path, operation) && all;
    } catch (const std::exception& problem) {
      // What the manager answers can make an operation throw; the next one works.
      std::cerr << operation << ": " << problem.what() << "\n";
      all = false;
    }
  }
  return all ? 0 : 1;
}

}  // namespace example
