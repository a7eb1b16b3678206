#pragma once

#include <optional>
#include <string>

namespace kestrelvisor::test {

// A folder of its own for one test, gone with the object.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  std::string path(const std::string& name) const { return path_ + "/" + name; }

  // Writes a file that only its owner can read and returns its path.
  std::string file(const std::string& name, const std::string& content) const;

 private:
  std::string path_;
};

std::string contentOf(const std::string& path);

// An environment variable for one test; null: not set.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

}  // namespace kestrelvisor::test
