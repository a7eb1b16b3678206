// Operations with one defect each, by which the driver shows that it would see it.

#include "tests/torture/operations.h"

#include <csignal>
#include <stdexcept>

namespace kestrelvisor::torture {
namespace {

// Needs two blocks; a defect shows when the second one is missing.
class Planted : public Operation {
 public:
  using Operation::Operation;

  void prepareCaches() override {}
  void prepareOutputs() override { good_ = false; }

  void run() override {
    first_ = std::make_unique<std::string>();
    try {
      second_ = std::make_unique<std::string>();
      good_ = !broken_;
    } catch (const std::bad_alloc&) {
      misbehave();
    }
  }

  End judge(Board&, bool threw) override {
    return threw ? End::exception : good_ ? End::success : End::failure;
  }

  void release() override {
    first_.reset();
    second_.reset();
  }

 protected:
  virtual void misbehave() = 0;

  std::unique_ptr<std::string> first_;
  std::unique_ptr<std::string> second_;
  bool good_ = false;
  bool broken_ = false;
};

class Crash : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() override { std::raise(SIGSEGV); }
};

class Termination : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() noexcept override { first_->at(1) = 'x'; }  // throws
};

class Hang : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() override {
    volatile bool forEver = true;
    while (forEver) {
    }
  }
};

class Leak : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() override { lost_ = first_.release(); }

 private:
  // Reachable, as a lost block may well be; nobody frees it any more all the same.
  std::string* lost_ = nullptr;
};

class Secret : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() override { first_->assign(kPassword); }
};

class Exception : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() override { throw std::domain_error("not in the interface"); }
};

class Broken : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() override { broken_ = true; }
};

template <class Kind>
std::unique_ptr<Operation> make(const Route& route) {
  return std::make_unique<Kind>(route);
}

}  // namespace

const std::vector<PlantedDefect>& plantedDefects() {
  static const std::vector<PlantedDefect> defects{
      {{"crash", make<Crash>}, Kind::crash},
      {{"termination", make<Termination>}, Kind::terminate},
      {{"hang", make<Hang>}, Kind::hang},
      {{"leak", make<Leak>}, Kind::leak},
      {{"password", make<Secret>}, Kind::secret},
      {{"exception", make<Exception>}, Kind::exception},
      {{"broken state", make<Broken>}, Kind::next}};
  return defects;
}

}  // namespace kestrelvisor::torture
