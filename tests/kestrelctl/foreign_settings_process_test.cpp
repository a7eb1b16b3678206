#include "tests/kestrelctl/fixture.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

struct Proxy {
  const char* name;
  const char* variable;
  bool tls;
};

// Another simulator stands for the proxy: it keeps a journal of whatever comes.
class ProxyOfTheEnvironment : public ::testing::TestWithParam<Proxy> {
 protected:
  Finished run(const Arguments& more = {}, const Setting& setting = {}) const {
    Arguments words{"verify", "--manager",       manager.url(), "--user",
                    kUser,    "--password-file", passwordFile};
    if (GetParam().tls) words.insert(words.end(), {"--ca-cert", certificateFile});
    words.insert(words.end(), more.begin(), more.end());
    Setting whole = setting;
    whole.environment.emplace_back(GetParam().variable, proxy.url());
    return Finished(words, whole);
  }

  Simulator manager{managerOptions(GetParam().tls)};
  Simulator proxy{managerOptions()};
  TemporaryFolder folder;
  std::string passwordFile = folder.write("password", kSecret);
  std::string certificateFile = folder.write("manager.pem", manager.certificatePem());

  void SetUp() override {
    std::filesystem::permissions(passwordFile, std::filesystem::perms(0600));
  }
};

TEST_P(ProxyOfTheEnvironment, GetsNoConnection) {
  const Finished verified = run();

  EXPECT_EQ(verified.status, 0) << verified.talk;
  EXPECT_THAT(proxy.journal(), IsEmpty());
  EXPECT_THAT(manager.journal(), Not(IsEmpty()));
}

TEST_P(ProxyOfTheEnvironment, GetsTheRequestsWhenTheUserSaysSo) {
  const Finished verified = run({"--use-environment"});

  EXPECT_NE(verified.status, 0);
  EXPECT_THAT(proxy.journal(), Not(IsEmpty()));
  EXPECT_THAT(manager.journal(), IsEmpty());
}

TEST_P(ProxyOfTheEnvironment, IsLeftOutForTheHostsThatTheUserExcepts) {
  const Finished verified = run({"--use-environment"}, {"", {{"no_proxy", "127.0.0.1"}}});

  EXPECT_EQ(verified.status, 0) << verified.talk;
  EXPECT_THAT(proxy.journal(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Named, ProxyOfTheEnvironment,
                         ::testing::Values(Proxy{"HttpInLowerCase", "http_proxy", false},
                                           Proxy{"HttpsInLowerCase", "https_proxy", true},
                                           Proxy{"HttpsInUpperCase", "HTTPS_PROXY", true},
                                           Proxy{"AllInLowerCase", "all_proxy", false},
                                           Proxy{"AllInUpperCase", "ALL_PROXY", true}),
                         [](const auto& row) { return std::string(row.param.name); });

class TlsSettingsOfTheEnvironment : public ManagerTest {
 protected:
  TlsSettingsOfTheEnvironment() : ManagerTest(managerOptions(true)) {}

  Finished verify(const std::string& variable, const std::string& value,
                  Arguments more = {}) const {
    more.insert(more.end(), {"--ca-cert", certificateFile});
    return Finished(command({"verify"}, more), {"", {{variable, value}}});
  }

  std::string certificateFile = folder.write("manager.pem", manager.certificatePem());
  std::string keyLog = folder.file("keys");
  // It leaves OpenSSL without a provider of algorithms.
  std::string configuration =
      folder.write("openssl.cnf",
                   "openssl_conf = all\n[all]\nproviders = list\n[list]\nbase = base\n"
                   "[base]\nactivate = 1\n");
};

TEST_F(TlsSettingsOfTheEnvironment, WriteNoSessionKeys) {
  EXPECT_EQ(verify("SSLKEYLOGFILE", keyLog).status, 0);

  EXPECT_FALSE(std::filesystem::exists(keyLog));
}

TEST_F(TlsSettingsOfTheEnvironment, WriteSessionKeysWhenTheUserSaysSo) {
  EXPECT_EQ(verify("SSLKEYLOGFILE", keyLog, {"--use-environment"}).status, 0);

  EXPECT_THAT(TemporaryFolder::read(keyLog), HasSubstr("CLIENT_"));
}

TEST_F(TlsSettingsOfTheEnvironment, DoNotDecideWhatTheTlsLibraryLoads) {
  const Finished verified = verify("OPENSSL_CONF", configuration);

  EXPECT_EQ(verified.status, 0) << verified.talk;
}

TEST_F(TlsSettingsOfTheEnvironment, DecideWhatTheTlsLibraryLoadsWhenTheUserSaysSo) {
  EXPECT_NE(verify("OPENSSL_CONF", configuration, {"--use-environment"}).status, 0);
}

TEST_F(TlsSettingsOfTheEnvironment, MakeNoCertificateTrusted) {
  const Finished verified(command({"verify"}), {"", {{"SSL_CERT_FILE", certificateFile}}});

  EXPECT_EQ(verified.status, 6) << verified.talk;
}

class OtherSettings : public ManagerTest {};

// No option of ours asks for credentials from such a file.
TEST_F(OtherSettings, OfOtherClientsAddNoCredentials) {
  const std::string file =
      folder.write(".netrc", "machine 127.0.0.1 login stranger password stranger\n");
  const std::string home = std::filesystem::path(file).parent_path();
  folder.write(".curlrc", "user = stranger:stranger\n");

  const Finished verified(command({"verify"}, {"--use-environment"}),
                          {"", {{"HOME", home}, {"CURL_HOME", home}, {"NETRC", file}}});

  EXPECT_EQ(verified.status, 0) << verified.talk;
  ASSERT_THAT(manager.journal(), Not(IsEmpty()));
  for (const auto& request : manager.journal()) {
    for (const auto& header : request.headers) EXPECT_NE(header.first, "Authorization");
  }
}

TEST_F(OtherSettings, ReachNoProgramThatItStarts) {
  const std::vector<std::string> names{
      "http_proxy",   "HTTP_PROXY",   "https_proxy",     "HTTPS_PROXY",          "all_proxy",
      "ALL_PROXY",    "no_proxy",     "NO_PROXY",        "SSLKEYLOGFILE",        "SSL_CERT_FILE",
      "SSL_CERT_DIR", "OPENSSL_CONF", "OPENSSL_MODULES", "OPENSSL_CONF_INCLUDE", "OPENSSL_ENGINES"};
  const std::string seen = folder.file("seen");
  const std::string program = folder.write("program", "#!/bin/sh\nenv > '" + seen + "'\n");
  std::filesystem::permissions(program, std::filesystem::perms(0700));
  Setting setting{"", {{"OURS", "kept"}}};
  for (const std::string& name : names) setting.environment.emplace_back(name, "foreign");

  Finished({"demo", "--vrmsim", program, "--save", folder.file("reply.pb")}, setting);

  EXPECT_THAT(TemporaryFolder::read(seen),
              AllOf(HasSubstr("OURS=kept"), Not(HasSubstr("foreign"))));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
