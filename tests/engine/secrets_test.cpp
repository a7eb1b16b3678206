#include "tests/engine/engine_fixture.h"

#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>

namespace {

// What the calling thread's freed blocks may not hold any more; looked at only while it watches.
// Plain arrays, because the allocator cannot lean on itself.
struct Watch {
  static constexpr std::size_t kMost = 4;
  const char* secrets[kMost] = {};
  std::size_t count = 0;
  std::size_t found[kMost] = {};
  std::size_t largestBlock = SIZE_MAX;  // in bytes; there is no memory for more
};
thread_local Watch* watch = nullptr;

void freeBlock(void* block) {
  if (watch != nullptr && block != nullptr) {
    const std::size_t size = malloc_usable_size(block);
    for (std::size_t i = 0; i < watch->count; ++i) {
      const char* const secret = watch->secrets[i];
      if (memmem(block, size, secret, std::strlen(secret)) != nullptr) ++watch->found[i];
    }
  }
  std::free(block);
}

void* newBlock(std::size_t size) {
  if (watch != nullptr && size > watch->largestBlock) throw std::bad_alloc();
  // Zeroed, so that nothing of an earlier owner is taken for this one's.
  void* const block = std::calloc(1, size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) { return newBlock(size); }
void* operator new[](std::size_t size) { return newBlock(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::calloc(1, size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return std::calloc(1, size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept { freeBlock(block); }
void operator delete[](void* block) noexcept { freeBlock(block); }
void operator delete(void* block, std::size_t) noexcept { freeBlock(block); }
void operator delete[](void* block, std::size_t) noexcept { freeBlock(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { freeBlock(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { freeBlock(block); }

namespace kestrelvisor::test {
namespace {

class FreedMemory : public EngineTest {
 protected:
  FreedMemory() : path(manager.path()), encrypted(path.password(0)) {
    seen.secrets[0] = kPassword.data();
    seen.secrets[1] = encrypted.c_str();
    seen.secrets[2] = kPasswordDigest.data();
    seen.secrets[3] = "fake-session-token-1";
    seen.count = Watch::kMost;
  }

  // Runs an operation and watches what it frees.
  template <class Operation>
  void watching(Operation operation) {
    watch = &seen;
    operation();
    watch = nullptr;
  }

  void expectNothingFound() const {
    EXPECT_EQ(seen.found[0], 0U) << "the password was left in freed memory";
    EXPECT_EQ(seen.found[1], 0U) << "the encrypted password was left in freed memory";
    EXPECT_EQ(seen.found[2], 0U) << "the password's digest was left in freed memory";
    EXPECT_EQ(seen.found[3], 0U) << "a token was left in freed memory";
  }

  void verify() { engine.VerifyCredentials(path, description, guid); }

  EnvironmentPath path;
  std::string encrypted;
  std::string guid;
  Watch seen;
};

TEST_F(FreedMemory, IsReallyWatched) {
  watching([&] { delete new std::string(kPassword); });

  EXPECT_EQ(seen.found[0], 1U);
}

TEST_F(FreedMemory, HoldsNoSecretAfterAVerification) {
  watching([&] { verify(); });

  EXPECT_EQ(description, "OK");
  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterARefusedLogin) {
  manager.serves("POST", kSession, refusal(401, "10100101"));

  watching([&] { verify(); });

  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterALoginThatGotNoAnswer) {
  manager.serves("POST", kSession, hangUp());

  watching([&] { verify(); });

  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterARefusedQuery) {
  manager.serves("GET", kSites, refusal(500, "10100108"));

  watching([&] { verify(); });

  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterAnException) {
  manager.serves("GET", kSites, ok(R"({"sites":[{"uri":{}}]})"));

  watching([&] {
    try {
      verify();
    } catch (const std::exception&) {
      description = "thrown";
    }
  });

  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterACopyThatFoundNoMemory) {
  VRM_INFO vrm;
  vrm.clientPassword = std::string(kPassword);
  vrm.vrmCert.assign(100'000, 'c');
  seen.largestBlock = 50'000;  // copied after the password

  watching([&] { EXPECT_THROW(VRM_INFO{vrm}, std::bad_alloc); });

  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretThatAnotherOneReplaced) {
  kestrelvisor::SecretString secret;
  secret = std::string(kPassword);

  watching([&] { secret = std::string(100, 'x'); });

  EXPECT_EQ(secret, std::string(100, 'x'));
  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterAScan) {
  hasOneHost();
  std::ostringstream printed;
  std::streambuf* const before = std::cout.rdbuf(printed.rdbuf());

  watching([&] {
    ScanEnvironmentReply reply;
    engine.scanEnvironment(reply, path, description);
  });

  std::cout.rdbuf(before);
  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterACbtRequest) {
  manager.serves("DELETE", "/vm/action/CBTbackup", refusal(500, "10000002"));

  watching([&] { engine.DisableCBT(path, "/vm", description); });

  EXPECT_EQ(description, "unknown error");
  expectNothingFound();
}

TEST_F(FreedMemory, HoldsNoSecretAfterTheLogouts) {
  auto shortLived = std::make_unique<KestrelVisorEngine>();
  shortLived->VerifyCredentials(path, description, guid);

  watching([&] { shortLived.reset(); });

  EXPECT_EQ(manager.lines().back(), "DELETE /service/session");
  expectNothingFound();
}

}  // namespace
}  // namespace kestrelvisor::test
