#include "bench/scan/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kestrelvisor::bench {

std::string readFile(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + " cannot be read");
  std::ostringstream content;
  content << file.rdbuf();
  return std::move(content).str();
}

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content << std::flush;
  if (!file) throw std::runtime_error(path + " cannot be written");
}

void sendOutputTo(const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (file < 0 || dup2(file, STDOUT_FILENO) < 0) throw std::runtime_error(path + ": no output");
  close(file);
}

TemporaryFile::TemporaryFile(const std::string& name)
    : path_((std::filesystem::temp_directory_path() / (name + "-XXXXXX")).string()) {
  const int file = mkstemp(path_.data());
  if (file < 0) throw std::runtime_error("no temporary file");
  close(file);
}

TemporaryFile::~TemporaryFile() {
  std::error_code ignored;  // a temporary file
  std::filesystem::remove(path_, ignored);
}

}  // namespace kestrelvisor::bench
