#include "tests/torture/site.h"

#include "platform/reference/password_cipher.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace kestrelvisor::torture {
namespace {

// Of no worth anywhere else.
constexpr const char* kKey = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";

std::string firstLineFrom(int handle) {
  std::string line;
  char letter = 0;
  while (::read(handle, &letter, 1) == 1 && letter != '\n') line += letter;
  return line;
}

// Starts a child whose output comes out of the returned handle.
template <class Body>
int startChild(pid_t& child, Body body) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  child = fork();
  if (child < 0) throw std::runtime_error("no child process");
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    body();
    _exit(1);
  }
  close(ends[1]);
  return ends[0];
}

// In a child: encrypting would be this process's first use of OpenSSL, which belongs to the engine.
std::string encryptedPassword() {
  setenv("KESTRELVISOR_PASSWORD_KEY", kKey, 1);
  pid_t child = -1;
  const int output = startChild(child, [] {
    std::string cipher;
    std::string problem;
    encryptPassword(kPassword, cipher, problem);
    static_cast<void>(!::write(STDOUT_FILENO, cipher.data(), cipher.size()));
  });
  std::string cipher = firstLineFrom(output);
  close(output);
  waitpid(child, nullptr, 0);
  if (cipher.empty()) throw std::runtime_error("the password cannot be encrypted");
  return cipher;
}

std::string contentOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace

Site::Site(const std::string& program, const std::string& inventory, bool https) {
  route_.https = https;
  std::string pattern = (std::filesystem::temp_directory_path() / "torture-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = pattern;
  std::ofstream(folder_ + "/password") << kPassword << "\n";
  route_.path.add_hv_address("127.0.0.1");
  route_.path.add_protocol(https ? 2 : 1);
  route_.path.add_username("backup");
  route_.path.add_password(encryptedPassword());
  start(program, inventory);
  route_.path.add_cert(https ? contentOf(folder_ + "/manager.pem") : "");
}

Site::~Site() {
  if (process_ > 0) {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void Site::start(const std::string& program, const std::string& inventory) {
  std::vector<std::string> words{program, "--inventory", inventory, "--password-file",
                                 folder_ + "/password"};
  if (route_.https) {
    words.insert(words.end(), {"--tls", "--cert-out", folder_ + "/manager.pem"});
  }
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const int output = startChild(process_, [&] {
    // Its complaints about what broken transfers send are expected, and nobody reads them.
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execv(arguments[0], arguments.data());
  });
  const std::string ready = firstLineFrom(output);
  close(output);
  const std::size_t colon = ready.rfind(':');
  if (ready.empty() || colon == std::string::npos) throw std::runtime_error("no " + program);
  route_.path.add_port(std::stoi(ready.substr(colon + 1)));
}

}  // namespace kestrelvisor::torture
