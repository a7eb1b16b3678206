#include "kestrelctl/diagnosis/proxy_choice.h"

#include "tests/kestrelctl/set_variable.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl {
namespace {

using test::SetVariable;

class ProxyChoice : public ::testing::Test {
 protected:
  static std::string choice(const std::string& url) {
    return proxyVariableFor(readManagerAddress(url));
  }

  // Nothing of what the environment of the test itself says.
  const SetVariable http{"http_proxy", nullptr};
  const SetVariable https{"https_proxy", nullptr};
  const SetVariable httpsInCapitals{"HTTPS_PROXY", nullptr};
  const SetVariable all{"all_proxy", nullptr};
  const SetVariable allInCapitals{"ALL_PROXY", nullptr};
  const SetVariable none{"no_proxy", nullptr};
  const SetVariable noneInCapitals{"NO_PROXY", nullptr};
};

TEST_F(ProxyChoice, IsNoneWhereNoVariableIsSet) {
  const SetVariable empty("https_proxy", "");

  EXPECT_EQ(choice("https://vrm"), "");
}

TEST_F(ProxyChoice, FitsTheScheme) {
  const SetVariable proxy("http_proxy", "http://proxy");

  EXPECT_EQ(choice("http://vrm"), "http_proxy");
  EXPECT_EQ(choice("https://vrm"), "");
}

TEST_F(ProxyChoice, PrefersSmallLettersAndTheScheme) {
  const SetVariable forAll("ALL_PROXY", "http://proxy");
  EXPECT_EQ(choice("https://vrm"), "ALL_PROXY");
  const SetVariable inCapitals("HTTPS_PROXY", "http://proxy");
  EXPECT_EQ(choice("https://vrm"), "HTTPS_PROXY");
  const SetVariable small("https_proxy", "http://proxy");
  EXPECT_EQ(choice("https://vrm"), "https_proxy");
}

struct Exception {
  const char* text;
  const char* host;
  bool matches;
};
void PrintTo(const Exception& row, std::ostream* out) { *out << row.text << " " << row.host; }

class ProxyException : public ProxyChoice, public ::testing::WithParamInterface<Exception> {};

TEST_P(ProxyException, IsReachedWithoutOne) {
  const SetVariable proxy("https_proxy", "http://proxy");
  const SetVariable exceptions("no_proxy", GetParam().text);

  EXPECT_EQ(choice("https://" + std::string(GetParam().host)),
            GetParam().matches ? "" : "https_proxy");
}

INSTANTIATE_TEST_SUITE_P(
    ByLibcurlsRules, ProxyException,
    ::testing::Values(
        Exception{"*", "vrm.example", true}, Exception{"vrm.example", "vrm.example", true},
        Exception{"VRM.Example", "vrm.EXAMPLE", true}, Exception{"example", "vrm.example", true},
        Exception{".example", "vrm.example", true}, Exception{".vrm.example", "vrm.example", true},
        Exception{"m.example", "vrm.example", false},
        Exception{"elsewhere, vrm.example", "vrm.example", true},
        Exception{"elsewhere vrm.example.", "vrm.example", true},
        Exception{"vrm.example", "vrm.example.", true},
        Exception{"*.example", "vrm.example", false},
        Exception{"sub.vrm.example", "vrm.example", false}, Exception{".", "vrm.example", false},
        Exception{"10.1.2.3", "10.1.2.3", true}, Exception{"10.1.2.30", "10.1.2.3", false},
        Exception{"10.1.0.0/16", "10.1.2.3", true}, Exception{"10.2.0.0/16", "10.1.2.3", false},
        Exception{"10.1.2.0/30", "10.1.2.4", false}, Exception{"10.1.0.0/33", "10.1.0.0", false},
        Exception{"2.3", "10.1.2.3", false}, Exception{"fd00::/8", "[fd00::1]", true},
        Exception{"::1", "[::1]", true}, Exception{"::2", "[::1]", false},
        Exception{"127.0.0.1", "localhost", false}));

}  // namespace
}  // namespace kestrelvisor::ctl
