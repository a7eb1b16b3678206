#pragma once

#include "tests/torture/operations.h"

#include <sys/types.h>

#include <string>

namespace kestrelvisor::torture {

// A simulated manager in a process of its own, which serves the smallest site that has everything:
// a cluster, hosts in it and without one, a datastore, machines with a shared disk, a template and
// a guest system catalogue.
class Site {
 public:
  // Throws std::runtime_error when the program cannot be started.
  Site(const std::string& program, const std::string& inventory, bool https);
  ~Site();
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  const Route& route() const { return route_; }

 private:
  void start(const std::string& program, const std::string& inventory);

  std::string folder_;
  pid_t process_ = -1;
  Route route_;
};

}  // namespace kestrelvisor::torture
