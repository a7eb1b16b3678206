// Operations with one defect each, by which the driver shows that it would see it.

#include "tests/torture/operations.h"

#include <curl/curl.h>
#include <dlfcn.h>

#include <csignal>
#include <cstdlib>
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

class FreeTwice : public Planted {
 public:
  using Planted::Planted;

 protected:
  void misbehave() override {
    void* volatile block = std::malloc(1);
    std::free(block);
    std::free(block);
  }
};

// Makes libcurl stumble after libcurl found no memory: whoever handed it the list is to blame.
class FreedListHandedOver : public Planted {
 public:
  using Planted::Planted;

  void run() override {
    list_ = curl_slist_append(nullptr, "first");
    good_ = list_ != nullptr && curl_slist_append(list_, "second") != nullptr;
    if (!good_) misbehave();
  }

  void release() override {
    curl_slist_free_all(list_);
    list_ = nullptr;
  }

 protected:
  void misbehave() override {
    curl_slist_free_all(list_);
    curl_slist_free_all(list_);
  }

 private:
  curl_slist* list_ = nullptr;
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

// Works once more after it found no memory, and then never again: it makes no call any more.
class LateBreak : public Planted {
 public:
  using Planted::Planted;

  void run() override {
    if (broken_) return;
    Planted::run();
    broken_ = weak_;
    third_ = std::make_unique<std::string>();
  }

  void release() override {
    Planted::release();
    third_.reset();
  }

 protected:
  void misbehave() override {
    weak_ = true;
    throw std::bad_alloc();
  }

 private:
  std::unique_ptr<std::string> third_;
  bool weak_ = false;
};

template <class Kind>
std::unique_ptr<Operation> make(const Route& route) {
  return std::make_unique<Kind>(route);
}

// A stack that ends in a function of that name.
Stack stackIn(const char* function) {
  Stack stack;
  stack.frames[0] = static_cast<char*>(dlsym(RTLD_DEFAULT, function)) + 1;
  stack.depth = 1;
  return stack;
}

Finding findingOf(Kind kind, const char* place, const char* fault, bool withinOneCall = true) {
  Finding finding;
  finding.kind = kind;
  finding.stage = Stage::operation;
  finding.withinOneCall = withinOneCall;
  finding.stack = stackIn(place);
  finding.fault = stackIn(fault);
  return finding;
}

}  // namespace

std::vector<PlantedFinding> plantedFindings() {
  constexpr const char* kLibcurl = "curl_version";
  constexpr const char* kOpenssl = "OpenSSL_version";
  constexpr const char* kOurs = "kestrelvisor_engine_init";
  return {{"freed twice by libcurl within one call",
           findingOf(Kind::freedTwice, kLibcurl, kLibcurl), false},
          {"freed twice by libcurl in different calls",
           findingOf(Kind::freedTwice, kLibcurl, kLibcurl, false), true},
          {"freed twice by libcurl after no memory in our code",
           findingOf(Kind::freedTwice, kLibcurl, kOurs), true},
          {"freed twice by libcurl after no memory in OpenSSL",
           findingOf(Kind::freedTwice, kLibcurl, kOpenssl), true},
          {"freed twice by our code", findingOf(Kind::freedTwice, kOurs, kLibcurl), true},
          {"crash in libcurl after no memory in libcurl",
           findingOf(Kind::crash, kLibcurl, kLibcurl), true}};
}

const std::vector<PlantedDefect>& plantedDefects() {
  static const std::vector<PlantedDefect> defects{
      {{"crash", make<Crash>}, Kind::crash},
      {{"termination", make<Termination>}, Kind::terminate},
      {{"freed twice", make<FreeTwice>}, Kind::freedTwice},
      {{"freed list handed to libcurl", make<FreedListHandedOver>}, Kind::crash},
      {{"hang", make<Hang>}, Kind::hang},
      {{"leak", make<Leak>}, Kind::leak},
      {{"password", make<Secret>}, Kind::secret},
      {{"exception", make<Exception>}, Kind::exception},
      {{"broken state", make<Broken>}, Kind::next},
      {{"broken state seen late", make<LateBreak>}, Kind::next}};
  return defects;
}

}  // namespace kestrelvisor::torture
