// A host whose memory is searched from outside. It does what its standard input says, one line for
// each step, and answers each with one line, so that it stands still whenever somebody looks:
//
//   secret_probe ADDRESS PORT http|https USER CERTIFICATE-FILE|- wiping|plain
//
// The first line is the password. It passes through one buffer that is wiped, and no other copy is
// made of it but the encrypted one. Then come operations: verify, scan, end. "end" answers when the
// static objects are gone, and the next line lets the process go. An exception is
// status -1.

#include "engine/kestrelvisor_engine.h"
#include "platform/reference/password_cipher.h"
#include "platform/reference/wiping_allocator.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

namespace {

constexpr int kThrown = -1;
constexpr int kUnknownOperation = -2;

// One line of standard input, in static memory: nothing of it is ever copied.
class Line {
 public:
  ~Line() { wipe(); }

  bool read() {
    wipe();
    while (size_ < text_.size() && ::read(STDIN_FILENO, text_.data() + size_, 1) == 1) {
      if (text_[size_] == '\n') return true;
      ++size_;
    }
    return false;
  }
  std::string_view text() const { return {text_.data(), size_}; }
  void wipe() {
    explicit_bzero(text_.data(), text_.size());
    size_ = 0;
  }

 private:
  std::array<char, 256> text_{};
  std::size_t size_ = 0;
};

void answer(const std::string& text) {
  const std::string line = text + "\n";
  if (::write(STDOUT_FILENO, line.data(), line.size()) < 0) std::_Exit(3);
}

// Registered before anything of the engine exists, so it runs when nothing of it is left.
void standStillAtTheEnd() {
  answer("ended");
  Line line;
  line.read();
}

bool encryptPassword(std::string& cipher) {
  static Line password;
  std::string key;
  std::string problem;
  const bool encrypted = password.read() && kestrelvisor::generateKey(key, problem) &&
                         kestrelvisor::setPasswordKey(key, problem) &&
                         kestrelvisor::encryptPassword(password.text(), cipher, problem);
  password.wipe();
  return encrypted;
}

EnvironmentPath pathOf(char** arguments, const std::string& cipher) {
  EnvironmentPath path;
  path.add_hv_address(arguments[1]);
  path.add_port(std::atoi(arguments[2]));
  path.add_protocol(std::string_view(arguments[3]) == "http" ? 1 : 2);
  path.add_username(arguments[4]);
  path.add_password(cipher);
  std::ifstream certificate(arguments[5]);
  path.add_cert(std::string(std::istreambuf_iterator<char>(certificate), {}));
  return path;
}

int statusOf(std::string_view operation, const EnvironmentPath& path) {
  KestrelVisorEngine& engine = KestrelVisorEngine::getKestrelVisorInstance();
  std::string description;
  std::string guid;
  ScanEnvironmentReply reply;
  try {
    if (operation == "verify") return engine.VerifyCredentials(path, description, guid).status;
    if (operation == "scan") return engine.scanEnvironment(reply, path, description).status;
  } catch (const std::exception&) {
    return kThrown;
  }
  return kUnknownOperation;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kWords = 7;
  if (argc != kWords) return 2;
  std::atexit(standStillAtTheEnd);
  std::cout.rdbuf(nullptr);  // what scans print is none of the dialogue
  const bool wiping = std::string_view(argv[kWords - 1]) == "wiping";
  if (wiping && !kestrelvisor::useWipingAllocators()) return 4;
  kestrelvisor_engine_init();
  std::string cipher;
  if (!encryptPassword(cipher)) return 5;
  const EnvironmentPath path = pathOf(argv, cipher);
  answer("ready");

  Line line;
  while (line.read() && line.text() != "end") {
    answer("status " + std::to_string(statusOf(line.text(), path)));
  }
  return 0;
}
