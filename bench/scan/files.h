#pragma once

#include <string>

namespace kestrelvisor::bench {

// All three throw std::runtime_error with the file's name.
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

// Lets standard output lead into a file, new or empty, from now on.
void sendOutputTo(const std::string& path);

// An empty file in the temporary folder, removed with the object.
class TemporaryFile {
 public:
  // The file's name begins like that. Throws std::runtime_error when it cannot be made.
  explicit TemporaryFile(const std::string& name);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace kestrelvisor::bench
