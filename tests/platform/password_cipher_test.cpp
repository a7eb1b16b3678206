#define OPENSSL_SUPPRESS_DEPRECATED  // a random source of one's own

#include "platform/reference/password_cipher.h"

#include "base/wipe_string.h"
#include "platform/contract/security.h"
#include "platform/reference/logging.h"
#include "platform/reference/password_key.h"
#include "tests/platform/quiet_log.h"
#include "tests/platform/scratch.h"
#include "tests/support/test_headers.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using kestrelvisor::LogObserver;
using kestrelvisor::LogRecord;
using kestrelvisor::test::ScopedEnvironment;
using kestrelvisor::test::ScratchDirectory;

constexpr const char* kHexKey = "000102030405060708090a0b0c0d0e0f101112131415161718191A1B1C1D1E1F";
constexpr const char* kBase64Key = "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8=";
constexpr const char* kOtherKey =
    "ff0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";

TEST(SecString, GivesWhatItWasAssigned) {
  SecString secret;

  secret.assign("first");
  secret.assign("second, which is long enough to live in the heap");

  EXPECT_EQ(static_cast<std::string>(secret), "second, which is long enough to live in the heap");
}

TEST(SecString, TakesAPartOfItself) {
  SecString secret;
  secret.assign("a text that is long enough to live in the heap");
  // The conversion gives a copy; the object's own characters are reached through its memory.
  const std::string& own = reinterpret_cast<const std::string&>(secret);

  secret.assign(std::string_view(own).substr(2, 4));

  EXPECT_EQ(static_cast<std::string>(secret), "text");
}

TEST(SecString, WipesItsCharactersWhenItEnds) {
  alignas(SecString) std::array<char, sizeof(SecString)> storage{};
  auto* const secret = new (storage.data()) SecString;
  secret->assign("short-secret");

  secret->~SecString();

  const std::string_view left(storage.data(), storage.size());
  EXPECT_EQ(left.find("secret"), std::string_view::npos);
}

TEST(SecString, WipesAShortValueThatIsReplaced) {
  alignas(SecString) std::array<char, sizeof(SecString)> storage{};
  auto* const secret = new (storage.data()) SecString;
  secret->assign("short-secret");

  secret->assign("x");

  EXPECT_EQ(std::string_view(storage.data(), storage.size()).find("secret"),
            std::string_view::npos);
  secret->~SecString();
}

// OpenSSL's random source fails as long as this lives.
class NoRandomBytes {
 public:
  NoRandomBytes() { RAND_set_rand_method(&kFailing); }
  ~NoRandomBytes() { RAND_set_rand_method(nullptr); }
  NoRandomBytes(const NoRandomBytes&) = delete;
  NoRandomBytes& operator=(const NoRandomBytes&) = delete;

 private:
  static int fail(unsigned char*, int) { return 0; }
  static constexpr RAND_METHOD kFailing{nullptr, fail, nullptr, nullptr, fail, nullptr};
};

// OpenSSL finds no algorithm as long as this lives.
class NoAlgorithms {
 public:
  NoAlgorithms() { EVP_set_default_properties(nullptr, "provider=none"); }
  ~NoAlgorithms() { EVP_set_default_properties(nullptr, ""); }
  NoAlgorithms(const NoAlgorithms&) = delete;
  NoAlgorithms& operator=(const NoAlgorithms&) = delete;
};

class PasswordCipher : public ::testing::Test {
 protected:
  ~PasswordCipher() override { kestrelvisor::forgetPasswordKey(); }

  void useKey(const char* key) {
    std::string problem;
    ASSERT_TRUE(kestrelvisor::setPasswordKey(key, problem)) << problem;
  }

  static std::string encrypted(std::string_view plain) {
    std::string cipher;
    std::string problem;
    EXPECT_TRUE(kestrelvisor::encryptPassword(plain, cipher, problem)) << problem;
    return cipher;
  }

  // Returns the password, or "!" and the number of the failure.
  static std::string decrypted(const std::string& cipher) {
    SecString plain;
    plain.assign("left over");
    const int failure = SecuritySS::KmcDecryptInfo(cipher, plain);
    if (failure == 0) return plain;
    EXPECT_EQ(static_cast<std::string>(plain), "");
    return "!" + std::to_string(failure);
  }

  ScratchDirectory scratch_;
  ScopedEnvironment noKey_{"KESTRELVISOR_PASSWORD_KEY", nullptr};
  ScopedEnvironment noKeyFile_{"KESTRELVISOR_PASSWORD_KEY_FILE", nullptr};
  std::vector<LogRecord> log_;
  kestrelvisor::test::QuietLog quiet_;
  LogObserver observer_{[this](const LogRecord& record) { log_.push_back(record); }};
};

TEST_F(PasswordCipher, GivesThePasswordBack) {
  useKey(kHexKey);

  EXPECT_EQ(decrypted(encrypted("correct horse")), "correct horse");
  EXPECT_EQ(decrypted(encrypted("")), "");
  EXPECT_EQ(decrypted(encrypted(std::string_view())), "");
  EXPECT_EQ(decrypted(encrypted(std::string("a\0b", 3))), std::string("a\0b", 3));
  const std::string longest(1U << 16U, 'x');
  EXPECT_EQ(decrypted(encrypted(longest)), longest);
}

TEST_F(PasswordCipher, HidesThePasswordAndNeverRepeatsItself) {
  useKey(kHexKey);

  const std::string first = encrypted("correct horse");
  const std::string second = encrypted("correct horse");

  EXPECT_THAT(first, ::testing::MatchesRegex("kv1:[A-Za-z0-9+/]+=*"));
  EXPECT_EQ(first.size(), 4U + (12 + 13 + 16 + 2) / 3 * 4);
  EXPECT_NE(first, second);
}

TEST_F(PasswordCipher, TellsThatThereAreNoRandomBytes) {
  useKey(kHexKey);
  const NoRandomBytes exhausted;
  std::string text = "left over";
  std::string problem;

  EXPECT_FALSE(kestrelvisor::encryptPassword("correct horse", text, problem));
  EXPECT_EQ(text, "");
  EXPECT_EQ(problem, "encryption failed");
  EXPECT_FALSE(kestrelvisor::generateKey(text, problem));
  EXPECT_EQ(text, "");
  EXPECT_EQ(problem, "no random bytes");
}

TEST_F(PasswordCipher, TellsThatTheCipherIsMissing) {
  useKey(kHexKey);
  const std::string cipher = encrypted("correct horse");
  const NoAlgorithms missing;
  std::string text;
  std::string problem;

  EXPECT_FALSE(kestrelvisor::encryptPassword("correct horse", text, problem));
  EXPECT_EQ(problem, "encryption failed");
  EXPECT_EQ(decrypted(cipher), "!3");
}

// Made with another implementation of AES-256-GCM.
TEST_F(PasswordCipher, ReadsATextFromElsewhere) {
  useKey(kHexKey);

  EXPECT_EQ(decrypted("kv1:ZGVmZ2hpamtsbW5vK3SsFByKIr5WDS2bv9NPdtFOXlqt6MkSHYsJ2jI="),
            "correct horse");
}

TEST_F(PasswordCipher, NoticesEveryChangedCharacter) {
  useKey(kHexKey);
  const std::string cipher = encrypted("pw");

  for (std::size_t i = 0; i < cipher.size(); ++i) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      std::string changed = cipher;
      changed[i] = static_cast<char>(static_cast<unsigned char>(changed[i]) ^ (1U << bit));
      EXPECT_EQ(decrypted(changed).front(), '!') << "character " << i << " bit " << bit;
    }
  }
}

TEST_F(PasswordCipher, NoticesMissingAndFurtherCharacters) {
  useKey(kHexKey);
  const std::string cipher = encrypted("pw");

  for (std::size_t size = 0; size < cipher.size(); ++size)
    EXPECT_EQ(decrypted(cipher.substr(0, size)).front(), '!') << size;
  EXPECT_EQ(decrypted(cipher + "A"), "!2");
  EXPECT_EQ(decrypted(cipher + "AAAA"), "!3");
  EXPECT_EQ(decrypted(cipher + "\n"), "!2");
  EXPECT_EQ(decrypted(" " + cipher), "!2");
}

TEST_F(PasswordCipher, DoesNotReadOtherTexts) {
  useKey(kHexKey);

  EXPECT_EQ(decrypted(""), "!2");
  EXPECT_EQ(decrypted("plain password"), "!2");
  EXPECT_EQ(decrypted("kv1:"), "!2");
  EXPECT_EQ(decrypted("kv1:===="), "!2");
  EXPECT_EQ(decrypted("kv1:AAAA"), "!2");
  EXPECT_EQ(decrypted("kv1:" + std::string(200000, 'A')), "!2");
}

TEST_F(PasswordCipher, SaysWhyWithoutAnySecret) {
  useKey(kHexKey);
  const std::string cipher = encrypted("correct horse");
  useKey(kOtherKey);

  EXPECT_EQ(decrypted(cipher), "!3");

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_EQ(log_[0].level, 4);
  EXPECT_EQ(log_[0].text, "Password not decrypted: encrypted under another key, or damaged");
}

TEST_F(PasswordCipher, RefusesAPasswordThatIsTooLong) {
  useKey(kHexKey);
  std::string cipher = "left over";
  std::string problem;

  EXPECT_FALSE(kestrelvisor::encryptPassword(std::string((1U << 16U) + 1, 'x'), cipher, problem));

  EXPECT_EQ(cipher, "");
  EXPECT_EQ(problem, "the password is too long");
}

class PasswordKeySource : public PasswordCipher {
 protected:
  // Encrypts under the key that all tests here name in their own way.
  std::string cipher() {
    useKey(kHexKey);
    std::string text = encrypted("correct horse");
    kestrelvisor::forgetPasswordKey();
    return text;
  }

  static std::string problemOfKey() {
    std::string problem;
    return kestrelvisor::hasPasswordKey(problem) ? "" : problem;
  }

  const std::string cipher_ = cipher();
};

TEST_F(PasswordKeySource, IsMissingByDefault) {
  EXPECT_EQ(decrypted(cipher_), "!1");
  EXPECT_EQ(problemOfKey(),
            "no key: neither KESTRELVISOR_PASSWORD_KEY nor KESTRELVISOR_PASSWORD_KEY_FILE is set");
  std::string cipher;
  std::string problem;
  EXPECT_FALSE(kestrelvisor::encryptPassword("x", cipher, problem));
  EXPECT_EQ(problem, problemOfKey());
}

TEST_F(PasswordKeySource, CanBeBase64) {
  useKey(kBase64Key);

  EXPECT_EQ(decrypted(cipher_), "correct horse");
}

TEST_F(PasswordKeySource, CanBeTheEnvironment) {
  const ScopedEnvironment key("KESTRELVISOR_PASSWORD_KEY", kHexKey);

  EXPECT_EQ(problemOfKey(), "");
  EXPECT_EQ(decrypted(cipher_), "correct horse");
}

TEST_F(PasswordKeySource, IsTheHostsBeforeTheEnvironments) {
  const ScopedEnvironment key("KESTRELVISOR_PASSWORD_KEY", kOtherKey);
  useKey(kHexKey);

  EXPECT_EQ(decrypted(cipher_), "correct horse");
}

TEST_F(PasswordKeySource, IsTheEnvironmentBeforeTheFile) {
  const std::string path = scratch_.file("key", kOtherKey);
  const ScopedEnvironment file("KESTRELVISOR_PASSWORD_KEY_FILE", path.c_str());
  const ScopedEnvironment key("KESTRELVISOR_PASSWORD_KEY", kHexKey);

  EXPECT_EQ(decrypted(cipher_), "correct horse");
}

TEST_F(PasswordKeySource, DoesNotLookPastAnUnusableOne) {
  const std::string path = scratch_.file("key", kHexKey);
  const ScopedEnvironment file("KESTRELVISOR_PASSWORD_KEY_FILE", path.c_str());
  const ScopedEnvironment key("KESTRELVISOR_PASSWORD_KEY", "0001");

  EXPECT_EQ(decrypted(cipher_), "!1");
  EXPECT_EQ(problemOfKey(),
            "KESTRELVISOR_PASSWORD_KEY: not a key: 64 hexadecimal digits or base64 of 32 bytes "
            "expected");
}

TEST_F(PasswordKeySource, CanBeAFile) {
  const std::string path = scratch_.file("key", std::string(" ") + kBase64Key + "\r\n");
  const ScopedEnvironment file("KESTRELVISOR_PASSWORD_KEY_FILE", path.c_str());
  const ScopedEnvironment empty("KESTRELVISOR_PASSWORD_KEY", "");

  EXPECT_EQ(problemOfKey(), "");
  EXPECT_EQ(decrypted(cipher_), "correct horse");
}

class PasswordKeyFile : public PasswordKeySource, public ::testing::WithParamInterface<mode_t> {};

TEST_P(PasswordKeyFile, IsRefusedWhenOthersHaveAccess) {
  const std::string path = scratch_.file("key", kHexKey);
  const ScopedEnvironment file("KESTRELVISOR_PASSWORD_KEY_FILE", path.c_str());
  ASSERT_EQ(chmod(path.c_str(), 0600 | GetParam()), 0);

  EXPECT_EQ(problemOfKey(), path + ": accessible to others than its owner; chmod 600 it");
  EXPECT_EQ(decrypted(cipher_), "!1");
}

INSTANTIATE_TEST_SUITE_P(Platform, PasswordKeyFile,
                         ::testing::Values(0040, 0020, 0010, 0004, 0002, 0001));

TEST_F(PasswordKeySource, IsNoFileOfAnotherUser) {
  struct stat status = {};
  status.st_mode = S_IFREG | 0600;
  status.st_uid = 1001;

  EXPECT_EQ(kestrelvisor::problemOfKeyFile(status, 1000), "owned by another user");
  EXPECT_EQ(kestrelvisor::problemOfKeyFile(status, 1001), "");
  status.st_uid = 0;
  EXPECT_EQ(kestrelvisor::problemOfKeyFile(status, 1000), "");
}

TEST_F(PasswordKeySource, IsNothingButARegularFile) {
  const std::string pipe = scratch_.path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);

  for (const std::string& path : {pipe, scratch_.path(".")}) {
    const ScopedEnvironment file("KESTRELVISOR_PASSWORD_KEY_FILE", path.c_str());
    EXPECT_EQ(problemOfKey(), path + ": not a regular file");
  }
}

TEST_F(PasswordKeySource, IsNoMissingEmptyOrLongFile) {
  const std::string missing = scratch_.path("missing");
  const std::string empty = scratch_.file("empty", " \n");
  const std::string tooLong = scratch_.file("long", kHexKey + std::string(4096, '\n'));
  const auto problemOf = [](const std::string& path) {
    const ScopedEnvironment file("KESTRELVISOR_PASSWORD_KEY_FILE", path.c_str());
    return problemOfKey();
  };

  EXPECT_EQ(problemOf(missing), missing + ": No such file or directory");
  EXPECT_EQ(problemOf(empty),
            empty + ": not a key: 64 hexadecimal digits or base64 of 32 bytes expected");
  EXPECT_EQ(problemOf(tooLong), tooLong + ": longer than 4096 bytes");
}

TEST_F(PasswordKeySource, IsForgottenOnRequest) {
  useKey(kHexKey);

  kestrelvisor::forgetPasswordKey();

  EXPECT_EQ(decrypted(cipher_), "!1");
}

TEST_F(PasswordKeySource, KeepsTheOldKeyWhenANewOneIsUnusable) {
  useKey(kHexKey);
  std::string problem;
  const std::string digits(64, 'g');
  const std::string tooShort(63, '0');

  EXPECT_FALSE(kestrelvisor::setPasswordKey(digits, problem));
  EXPECT_FALSE(kestrelvisor::setPasswordKey(tooShort, problem));
  EXPECT_FALSE(kestrelvisor::setPasswordKey("", problem));
  EXPECT_FALSE(kestrelvisor::setPasswordKey("AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHg==",
                                            problem));  // 31 bytes

  EXPECT_EQ(problem, "not a key: 64 hexadecimal digits or base64 of 32 bytes expected");
  EXPECT_EQ(decrypted(cipher_), "correct horse");
}

TEST_F(PasswordKeySource, CanBeGenerated) {
  std::string first;
  std::string second;
  std::string problem;
  ASSERT_TRUE(kestrelvisor::generateKey(first, problem)) << problem;
  ASSERT_TRUE(kestrelvisor::generateKey(second, problem)) << problem;

  EXPECT_THAT(first, ::testing::MatchesRegex("[0-9a-f]+"));
  EXPECT_EQ(first.size(), 64U);
  EXPECT_NE(first, second);
  useKey(first.c_str());
  EXPECT_EQ(decrypted(encrypted("pw")), "pw");
  EXPECT_EQ(decrypted(cipher_), "!3");
}

struct Base64Row {
  const char* name;
  const char* text;
  bool readable;
};
class StrictBase64 : public ::testing::TestWithParam<Base64Row> {};

TEST_P(StrictBase64, HasOneTextForEachRunOfBytes) {
  std::string bytes = "left over";

  EXPECT_EQ(kestrelvisor::bytesOfBase64(GetParam().text, bytes), GetParam().readable);

  EXPECT_EQ(bytes, GetParam().readable ? "M" : "");
}

INSTANTIATE_TEST_SUITE_P(
    Platform, StrictBase64,
    ::testing::Values(Base64Row{"Canonical", "TQ==", true}, Base64Row{"StrayBits", "TR==", false},
                      Base64Row{"LineEnd", "TQ==\n", false},
                      Base64Row{"LeadingBlanks", "    TQ==", false},
                      Base64Row{"NoPadding", "TQ", false}, Base64Row{"PaddingAlone", "====", false},
                      Base64Row{"PaddingWithin", "T=Q=", false},
                      Base64Row{"OtherCharacters", "T*==", false}, Base64Row{"Empty", "", false}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
