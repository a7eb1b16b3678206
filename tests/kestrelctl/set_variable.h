#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace kestrelvisor::ctl::test {

// Gives a variable of the environment another value for a while; null takes it away.
class SetVariable {
 public:
  SetVariable(const char* name, const char* value) : name_(name) {
    if (const char* const before = std::getenv(name)) before_ = before;
    if (value == nullptr) {
      unsetenv(name);
    } else {
      setenv(name, value, 1);
    }
  }
  ~SetVariable() {
    if (before_) {
      setenv(name_, before_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  SetVariable(const SetVariable&) = delete;
  SetVariable& operator=(const SetVariable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

}  // namespace kestrelvisor::ctl::test
