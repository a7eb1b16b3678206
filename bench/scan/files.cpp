#include "bench/scan/files.h"

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

}  // namespace kestrelvisor::bench
