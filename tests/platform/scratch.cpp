#include "tests/platform/scratch.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kestrelvisor::test {

ScratchDirectory::ScratchDirectory()
    : path_((std::filesystem::temp_directory_path() / "kestrelvisor-XXXXXX").string()) {
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no scratch directory");
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ScratchDirectory::file(const std::string& name, const std::string& content) const {
  std::string file = path(name);
  std::ofstream(file, std::ios::binary) << content;
  if (chmod(file.c_str(), 0600) != 0) throw std::runtime_error("no permissions for " + file);
  return file;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

ScopedEnvironment::ScopedEnvironment(const char* name, const char* value) : name_(name) {
  if (const char* const before = std::getenv(name)) before_ = before;
  if (value == nullptr) {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
}

ScopedEnvironment::~ScopedEnvironment() {
  if (before_) {
    setenv(name_, before_->c_str(), 1);
  } else {
    unsetenv(name_);
  }
}

}  // namespace kestrelvisor::test
