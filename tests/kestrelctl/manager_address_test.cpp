#include "kestrelctl/manager_address.h"

#include "kestrelctl/failure.h"
#include "tests/support/test_headers.h"

#include <clocale>

namespace kestrelvisor::ctl::test {
namespace {

struct GoodAddress {
  const char* text;
  const char* url;
};
class ReadableAddress : public ::testing::TestWithParam<GoodAddress> {};

TEST_P(ReadableAddress, BecomesItsFullForm) {
  EXPECT_EQ(readManagerAddress(GetParam().text).url(), GetParam().url);
}

INSTANTIATE_TEST_SUITE_P(
    ManagerAddress, ReadableAddress,
    ::testing::Values(GoodAddress{"https://vrm:8443", "https://vrm:8443"},
                      GoodAddress{"http://10.1.2.3:80/", "http://10.1.2.3:80"},
                      GoodAddress{"HTTPS://vrm", "https://vrm:7443"},
                      GoodAddress{"http://vrm", "http://vrm:7443"},
                      GoodAddress{"vrm", "https://vrm:7443"}, GoodAddress{"vrm:1", "https://vrm:1"},
                      GoodAddress{"https://[::1]:65535", "https://[::1]:65535"},
                      GoodAddress{"https://[fe80::1%eth0]", "https://[fe80::1%eth0]:7443"},
                      // In the form in which libcurl sends them.
                      GoodAddress{"https://[0:0:0:0:0:0:0:1]:1", "https://[::1]:1"},
                      GoodAddress{"https://[FE80:0::1%25eth0]", "https://[fe80::1%25eth0]:7443"},
                      GoodAddress{"https://127.1", "https://127.0.0.1:7443"},
                      GoodAddress{"https://0x7f000001:1", "https://127.0.0.1:1"},
                      GoodAddress{"https://1.2.3.4.example", "https://1.2.3.4.example:7443"}));

class UnreadableAddress : public ::testing::TestWithParam<const char*> {};

TEST_P(UnreadableAddress, IsWrongUsage) {
  try {
    const ManagerAddress address = readManagerAddress(GetParam());
    FAIL() << address.url();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.exitCode, ExitCode::wrongUsage);
    EXPECT_FALSE(failure.hint.empty());
  }
}

TEST(ManagerAddress, StandsForItselfWhenItIsANumber) {
  EXPECT_THAT(serversOf(readManagerAddress("https://127.0.0.1:80")),
              ::testing::Each("127.0.0.1:80"));
  EXPECT_THAT(serversOf(readManagerAddress("https://[::1]:80")),
              ::testing::ElementsAre("[::1]:80"));
}

TEST(ManagerAddress, StandsForWhatItsNameResolvesTo) {
  EXPECT_THAT(serversOf(readManagerAddress("https://localhost:80")),
              ::testing::IsSupersetOf({"localhost:80", "127.0.0.1:80"}));
}

TEST(ManagerAddress, StandsForItselfWhenItsNameIsUnknown) {
  EXPECT_THAT(serversOf(readManagerAddress("https://manager.invalid:80")),
              ::testing::ElementsAre("manager.invalid:80"));
}

INSTANTIATE_TEST_SUITE_P(ManagerAddress, UnreadableAddress,
                         ::testing::Values("", "https://", "https://:7443", "ftp://vrm",
                                           "https://user@vrm", "https://vrm:0", "https://vrm:65536",
                                           "https://vrm:", "https://vrm:+1", "https://vrm:80x",
                                           "https://::1", "https://[::1", "https://[vrm]:1",
                                           "https://[::1]7443", "https://vrm/service",
                                           "https://vrm?x", "https://v rm", "https://vrm\r\nX:y",
                                           "https://vrm\n", "https://a]b", "https://vrm%2e1"));

class InternationalName : public ::testing::Test {
 protected:
  ~InternationalName() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(InternationalName, GetsTheFormInWhichItIsSent) {
  std::setlocale(LC_CTYPE, "C.UTF-8");

  EXPECT_EQ(readManagerAddress("https://b\u00fccher.Example:1").url(),
            "https://xn--bcher-kva.example:1");
  EXPECT_EQ(readManagerAddress("https://xn--bcher-kva.example:1").url(),
            "https://xn--bcher-kva.example:1");
}

TEST_F(InternationalName, IsRefusedWhereTheLocaleHasNoSuchLetters) {
  EXPECT_THROW(readManagerAddress("https://b\u00fccher.example:1"), Failure);
}

TEST(ManagerAddress, TellsThisMachineByWhatIsWritten) {
  for (const char* host : {"127.0.0.1", "127.255.255.254", "[::1]", "[0:0:0:0:0:0:0:1]",
                           "localhost", "LocalHost", "127.1", "0x7f.1"}) {
    EXPECT_TRUE(readManagerAddress("http://" + std::string(host) + ":1").isLoopback()) << host;
  }
  for (const char* host : {"128.0.0.1", "10.0.0.127", "127.0.0.1.example.com", "localhost.evil",
                           "mylocalhost", "[::2]", "[fe80::1]", "0.0.0.0", "127"}) {
    EXPECT_FALSE(readManagerAddress("http://" + std::string(host) + ":1").isLoopback()) << host;
  }
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
