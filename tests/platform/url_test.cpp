#include "platform/reference/url.h"

#include "platform/contract/helpers.h"
#include "tests/support/test_headers.h"

namespace {

struct UrlRow {
  const char* name;
  const char* url;
  const char* formatted;
};
class UrlFormatTest : public ::testing::TestWithParam<UrlRow> {};

TEST_P(UrlFormatTest, BracketsBareAddressesOnly) {
  EXPECT_EQ(FormatFullUrl(GetParam().url), GetParam().formatted);
}

INSTANTIATE_TEST_SUITE_P(
    Platform, UrlFormatTest,
    ::testing::Values(
        UrlRow{"BareAddress", "https://fe80::1:7443/service/session",
               "https://[fe80::1]:7443/service/session"},
        UrlRow{"Loopback", "http://::1:7070/x?y=z", "http://[::1]:7070/x?y=z"},
        UrlRow{"EightGroups", "https://1:2:3:4:5:6:7:8:443/", "https://[1:2:3:4:5:6:7:8]:443/"},
        UrlRow{"MappedAddress", "https://::ffff:10.0.0.1:7443", "https://[::ffff:10.0.0.1]:7443"},
        UrlRow{"NoPort", "https://fe80::/x", "https://[fe80::]/x"},
        UrlRow{"EightGroupsWithoutPort", "https://1:2:3:4:5:6:7:8/", "https://[1:2:3:4:5:6:7:8]/"},
        UrlRow{"Zone", "https://fe80::1%eth0:7443/x", "https://[fe80::1%25eth0]:7443/x"},
        UrlRow{"EscapedZone", "https://fe80::1%25eth0:7443/x", "https://[fe80::1%25eth0]:7443/x"},
        UrlRow{"EmptyZone", "https://fe80::1%:7443/x", "https://fe80::1%:7443/x"},
        UrlRow{"ZoneThatIs25", "https://fe80::1%25:7443/x", "https://[fe80::1%2525]:7443/x"},
        UrlRow{"ZoneOfAllKinds", "https://fe80::1%aZ0-._~:7443/x",
               "https://[fe80::1%25aZ0-._~]:7443/x"},
        UrlRow{"ZoneThatIsNone", "https://fe80::1%a!b:7443/x", "https://fe80::1%a!b:7443/x"},
        UrlRow{"ZoneBelowTheLetters", "https://fe80::1%[@:7443/x", "https://fe80::1%[@:7443/x"},
        UrlRow{"UserAndAddress", "https://me@::1:7443/x", "https://me@[::1]:7443/x"},
        UrlRow{"Brackets", "https://[fe80::1]:7443/x", "https://[fe80::1]:7443/x"},
        UrlRow{"BracketsWithoutPort", "https://[fe80::1]/x", "https://[fe80::1]/x"},
        UrlRow{"Name", "https://manager:7443/a:b:c", "https://manager:7443/a:b:c"},
        UrlRow{"NameWithoutPort", "https://manager/x", "https://manager/x"},
        UrlRow{"Ipv4", "http://10.0.0.1:7070/x", "http://10.0.0.1:7070/x"},
        UrlRow{"NoAddress", "https://a:b:c:1/x", "https://a:b:c:1/x"},
        UrlRow{"EmptyServer", "https:///x", "https:///x"},
        UrlRow{"NoScheme", "fe80::1:7443/x", "fe80::1:7443/x"},
        UrlRow{"UrlInQuery", "/x?to=http://::1:80/", "/x?to=http://::1:80/"},
        UrlRow{"Empty", "", ""}),
    [](const auto& row) { return std::string(row.param.name); });

class KeptHost : public ::testing::Test {
 protected:
  ~KeptHost() override { kestrelvisor::keepToHost({}); }
};

TEST_F(KeptHost, ReplacesTheReportedHost) {
  ASSERT_TRUE(kestrelvisor::keepToHost("manager.example"));

  EXPECT_EQ(FormatFullUrl("https://10.0.0.1:7443/x?a=b#c"), "https://manager.example:7443/x?a=b#c");
  EXPECT_EQ(FormatFullUrl("https://me@[fe80::1]:7443"), "https://me@manager.example:7443");
  EXPECT_EQ(FormatFullUrl("http://fe80::1:80/"), "http://manager.example:80/");
  EXPECT_EQ(FormatFullUrl("http://other/x"), "http://manager.example/x");
}

TEST_F(KeptHost, GetsBracketsWhenItIsAnIpv6Address) {
  ASSERT_TRUE(kestrelvisor::keepToHost("::1"));
  EXPECT_EQ(FormatFullUrl("https://manager:7443/x"), "https://[::1]:7443/x");

  ASSERT_TRUE(kestrelvisor::keepToHost("[fe80::2]"));
  EXPECT_EQ(FormatFullUrl("https://manager:7443/x"), "https://[fe80::2]:7443/x");
}

TEST_F(KeptHost, LeavesTextsThatAreNoUrlAlone) {
  ASSERT_TRUE(kestrelvisor::keepToHost("manager"));

  EXPECT_EQ(FormatFullUrl("/service/sites"), "/service/sites");
}

TEST_F(KeptHost, IsOffAgainAfterAnEmptyText) {
  ASSERT_TRUE(kestrelvisor::keepToHost("manager"));

  ASSERT_TRUE(kestrelvisor::keepToHost(""));

  EXPECT_EQ(FormatFullUrl("https://10.0.0.1:7443/x"), "https://10.0.0.1:7443/x");
}

TEST_F(KeptHost, RefusesWhatCannotBeAHost) {
  ASSERT_TRUE(kestrelvisor::keepToHost("manager"));

  for (const std::string host :
       {"a/b", "a@b", "a\x7f", "a b", "a\r\nb", "a?b", "a#b", "a:b", "[a]", "[::1"})
    EXPECT_FALSE(kestrelvisor::keepToHost(host)) << host;

  EXPECT_EQ(FormatFullUrl("https://10.0.0.1:7443/x"), "https://manager:7443/x");
}

}  // namespace
