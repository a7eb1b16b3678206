#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/json_answer.h"
#include "tests/platform/tls_server.h"
#include "tests/support/loopback_socket.h"

#include <optional>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

namespace fs = std::filesystem;

// A user with a home, and a manager that can get a new certificate.
class Cert : public ::testing::Test {
 protected:
  Cert() {
    fs::permissions(passwordFile, fs::perms(0600));
    serve();
  }

  // Begins, or begins anew with another key. The kernel gives another port then, which what is kept
  // for the manager follows.
  void serve(const std::string& certificate = {}) {
    SimulatorOptions options = managerOptions(true);
    options.certificate = certificate;
    const std::string before = manager ? manager->url() : std::string();
    manager.emplace(std::move(options));
    folder.write("manager.pem", manager->certificatePem());
    if (fs::exists(pinFile())) {
      std::string pins = TemporaryFolder::read(pinFile());
      pins.replace(pins.find(before), before.size(), manager->url());
      folder.write("home/.config/kestrelctl/pins.toml", pins);
    }
  }

  Finished run(const Arguments& words, const Arguments& more = {}) const {
    Arguments all = words;
    all.insert(all.end(), {"--manager", manager->url(), "--ca-cert", folder.file("manager.pem")});
    all.insert(all.end(), more.begin(), more.end());
    return Finished(all, {"", {{"HOME", folder.file("home")}}});
  }

  Finished verify(const Arguments& more = {}) const {
    Arguments account{"--user", kUser, "--password-file", passwordFile};
    account.insert(account.end(), more.begin(), more.end());
    return run({"verify"}, account);
  }

  Json::Value shown(const Arguments& words = {"cert", "-o", "json"}) const {
    const Finished finished = run(words);
    EXPECT_EQ(finished.status, 0) << finished.talk;
    return parsedAnswer(finished.output);
  }
  std::string pin() const { return shown()["pin"].asString(); }

  // What is kept for managers, as by hand.
  void writePins(const std::string& text) {
    fs::create_directories(folder.file("home/.config/kestrelctl"));
    folder.write("home/.config/kestrelctl/pins.toml", text);
    fs::permissions(pinFile(), fs::perms(0600));
  }

  std::string pinFile() const { return folder.file("home/.config/kestrelctl/pins.toml"); }

  TemporaryFolder folder;
  std::string passwordFile = folder.write("password", kSecret);
  std::optional<Simulator> manager;
};

TEST_F(Cert, ShowsTheChainForPeople) {
  serve("intermediate");

  const Finished finished = run({"cert"});

  EXPECT_EQ(finished.status, 0) << finished.talk;
  EXPECT_THAT(
      finished.output,
      AllOf(HasSubstr("  manager      " + manager->url() + "\n"), HasSubstr("  trusted      yes\n"),
            HasSubstr("  names host   yes\n"), HasSubstr("\nCertificate 1, the manager's own\n"),
            HasSubstr("\nCertificate 2\n"), HasSubstr("days left\n"),
            HasSubstr("  pin          sha256//"),
            HasSubstr("  kept pin     none; kestrelctl cert pin keeps this one\n")));
  std::istringstream lines(finished.output);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(Cert, ShowsTheChainForPrograms) {
  serve("intermediate");

  const Json::Value document = shown();

  EXPECT_EQ(document["certificates"].size(), 2U);
  EXPECT_EQ(document["certificates"][0]["pin"], document["pin"]);
  EXPECT_THAT(document["pin"].asString(), MatchesRegex("sha256//[A-Za-z0-9+/]{43}="));
  EXPECT_EQ(document["trusted"], true);
  EXPECT_TRUE(document["keptPin"].isNull());
}

TEST_F(Cert, ShowsWhatNobodyTrusts) {
  folder.write("manager.pem", Simulator(managerOptions(true)).certificatePem());

  const Finished finished = run({"cert"});

  EXPECT_EQ(finished.status, 0);
  EXPECT_THAT(finished.output, HasSubstr("  trusted      no: "));
}

TEST_F(Cert, KeptAsPemItCanBeTrusted) {
  const std::string file = folder.file("kept.pem");
  ASSERT_EQ(run({"cert", "--save", file}).status, 0);

  EXPECT_EQ(TemporaryFolder::read(file), manager->certificatePem());
}

TEST_F(Cert, PinIsKeptForTheOwnerAlone) {
  const std::string pin = this->pin();

  const Finished finished = run({"cert", "pin"});

  EXPECT_EQ(finished.status, 0) << finished.talk;
  EXPECT_THAT(finished.output, HasSubstr("  kept pin     this one\n"));
  EXPECT_THAT(TemporaryFolder::read(pinFile()), AllOf(HasSubstr(manager->url()), HasSubstr(pin)));
  EXPECT_EQ(fs::status(pinFile()).permissions(), fs::perms(0600));
  EXPECT_EQ(shown()["keptPin"], pin);
}

TEST_F(Cert, PinOfACertificateThatIsNotTrustedIsKeptWithAWarning) {
  folder.write("manager.pem", Simulator(managerOptions(true)).certificatePem());

  const Json::Value document = shown({"cert", "pin", "-o", "json"});

  EXPECT_EQ(document["keptPin"], document["pin"]);
  ASSERT_EQ(document["warnings"].size(), 1U);
  EXPECT_EQ(document["warnings"][0]["kind"], "unverified-pin");
}

TEST_F(Cert, PinOfACertificateForAnotherHostIsKeptWithAWarning) {
  serve("wrong-name");

  const Json::Value document = shown({"cert", "pin", "-o", "json"});

  EXPECT_EQ(document["trusted"], true);
  EXPECT_EQ(document["warnings"][0]["kind"], "unverified-pin");
}

TEST_F(Cert, PinThatTakesThePlaceOfAnotherIsWarnedOfToo) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  const std::string trusted = TemporaryFolder::read(folder.file("manager.pem"));
  serve();
  folder.write("manager.pem", trusted);

  const Json::Value document = shown({"cert", "pin", "--replace", "-o", "json"});

  EXPECT_EQ(document["keptPin"], document["pin"]);
  ASSERT_EQ(document["warnings"].size(), 1U);
  EXPECT_EQ(document["warnings"][0]["kind"], "unverified-pin");
}

// By a demand for a certificate of the client, before anybody has shown the key.
TEST_F(Cert, HandshakeThatBreaksOffLeavesNothing) {
  serve("client-certificate-demanded");
  const std::string file = folder.file("kept.pem");

  const Finished finished = run({"cert", "pin", "--save", file});

  EXPECT_EQ(finished.status, 5);
  EXPECT_THAT(finished.output, AllOf(HasSubstr("  trusted      no: the greeting of TLS failed\n"),
                                     HasSubstr("\nCertificate 1, the manager's own\n")));
  EXPECT_THAT(finished.talk,
              AllOf(HasSubstr("the greeting of TLS failed after the manager's certificate"),
                    HasSubstr("The certificates are not kept in " + file + ".\n")));
  EXPECT_FALSE(fs::exists(pinFile()));
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(Cert, HandshakeThatBreaksOffIsAnErrorForPrograms) {
  serve("client-certificate-demanded");

  const Finished finished = run({"cert", "-o", "json"});

  EXPECT_EQ(finished.status, 5);
  EXPECT_EQ(parsedAnswer(finished.output)["error"]["exitCode"], 5);
}

TEST_F(Cert, OfAProxyThatSpeaksTlsIsNotTakenForTheManagers) {
  const kestrelvisor::test::Identity identity("proxy", "IP:127.0.0.1");
  const kestrelvisor::test::TlsServer proxy(identity);

  const Finished finished({"cert", "pin", "--use-environment", "--manager", manager->url()},
                          {"", {{"HOME", folder.file("home")}, {"https_proxy", proxy.url()}}});

  EXPECT_EQ(finished.status, 5);
  EXPECT_EQ(finished.output, "");
  EXPECT_THAT(finished.talk, HasSubstr("the proxy wants to be spoken to over TLS"));
  EXPECT_FALSE(fs::exists(pinFile()));
}

TEST_F(Cert, ChangedCertificateIsNotSavedOverTheTrustedOne) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  const std::string trusted = TemporaryFolder::read(folder.file("manager.pem"));
  serve();
  folder.write("manager.pem", trusted);

  for (const char* form : {"text", "json"}) {
    const Finished finished = run({"cert", "--save", folder.file("manager.pem"), "-o", form});

    EXPECT_EQ(finished.status, 6);
    EXPECT_THAT(finished.talk, HasSubstr("The certificates are not kept in "));
    EXPECT_EQ(TemporaryFolder::read(folder.file("manager.pem")), trusted);
  }
}

TEST_F(Cert, PinThatIsNoTextCanBeReplacedAndForgotten) {
  const std::string odd = "[pins]\n\"" + manager->url() + "\" = 5\n";
  writePins(odd);
  const Finished refused = verify();
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.talk, HasSubstr("is no text"));

  EXPECT_EQ(run({"cert", "pin", "--replace"}).status, 0);
  EXPECT_EQ(verify().status, 0);

  writePins(odd);
  EXPECT_EQ(run({"cert", "forget"}).status, 0);
  EXPECT_EQ(verify().status, 0);
}

TEST_F(Cert, PinsThatNobodyWouldAskForAreRefused) {
  const std::string pin = " = \"" + this->pin() + "\"\n";
  for (const std::string& key :
       {manager->url() + "/", "HTTPS" + manager->url().substr(5), manager->url().substr(8),
        "http" + manager->url().substr(5), std::string("https://vrm.example")}) {
    writePins("[pins]\n\"" + key + "\"" + pin);

    const Finished finished = verify();

    EXPECT_EQ(finished.status, 2) << key;
    EXPECT_THAT(finished.talk, HasSubstr("\"" + key + "\""));
  }
  writePins("[pin]\n\"" + manager->url() + "\"" + pin);
  const Finished finished = verify();
  EXPECT_EQ(finished.status, 2);
  EXPECT_THAT(finished.talk, HasSubstr("\"pin\" is unknown"));
  EXPECT_TRUE(manager->journal().empty());
}

// Whoever the manager names would not be held to a pin of its own.
TEST_F(Cert, PinOfAnyManagerForbidsToFollowAddresses) {
  writePins("[pins]\n\"https://elsewhere:7443\" = \"" + pin() + "\"\n");

  const Finished finished = verify({"--follow-address"});

  EXPECT_EQ(finished.status, 2);
  EXPECT_THAT(finished.talk, HasSubstr("--follow-address: pins are kept"));
  EXPECT_TRUE(manager->journal().empty());
}

TEST_F(Cert, TakesNoOptionThatItsActionDoesNotUse) {
  EXPECT_EQ(run({"cert", "--replace"}).status, 2);
  EXPECT_EQ(run({"cert", "forget", "--replace"}).status, 2);
  EXPECT_EQ(run({"cert", "forget", "--save", folder.file("kept.pem")}).status, 2);
}

TEST_F(Cert, KeptPinLetsTheSameKeyPass) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);

  EXPECT_EQ(verify().status, 0);
  EXPECT_EQ(run({"cert"}).status, 0);
}

TEST_F(Cert, ChangedCertificateIsRefusedWithBothPins) {
  const std::string before = pin();
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  serve();

  const Finished finished = run({"cert"});

  EXPECT_EQ(finished.status, 6);
  const std::size_t shown = finished.output.find("\n  pin          sha256//");
  ASSERT_NE(shown, std::string::npos) << finished.output;
  const std::string now = finished.output.substr(shown + 16, before.size());
  EXPECT_NE(before, now);
  EXPECT_THAT(finished.talk,
              AllOf(HasSubstr("kept pin    " + before), HasSubstr("its pin     " + now),
                    HasSubstr("kestrelctl cert pin --replace")));
}

TEST_F(Cert, ChangedCertificateIsAnErrorForPrograms) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  serve();

  const Finished finished = run({"cert", "-o", "json"});

  EXPECT_EQ(finished.status, 6);
  const Json::Value facts = parsedAnswer(finished.output)["error"]["facts"];
  EXPECT_EQ(facts[0]["label"], "kept pin");
  EXPECT_EQ(facts[1]["label"], "its pin");
}

TEST_F(Cert, ChangedCertificateEndsAnOperationBeforeTheLogin) {
  const std::string before = pin();
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  serve();

  const Finished finished = verify();

  EXPECT_EQ(finished.status, 6) << finished.talk;
  const std::string now = [&] {
    fs::remove(pinFile());
    return pin();
  }();
  EXPECT_THAT(finished.talk, AllOf(HasSubstr(before), HasSubstr(now)));
  EXPECT_TRUE(manager->journal().empty());
}

TEST_F(Cert, ChangedCertificateThatIsNotTrustedEitherIsToldWithBothPins) {
  const std::string before = pin();
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  const std::string trusted = TemporaryFolder::read(folder.file("manager.pem"));
  serve();
  folder.write("manager.pem", trusted);

  const Finished finished = verify();

  EXPECT_EQ(finished.status, 6);
  EXPECT_THAT(finished.talk, AllOf(HasSubstr("kept pin    " + before), HasSubstr("its pin     ")));
}

TEST_F(Cert, CertificateThatIsNotTrustedButHasTheKeptKeyIsToldAsThat) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  folder.write("manager.pem", Simulator(managerOptions(true)).certificatePem());

  const Finished finished = verify();

  EXPECT_EQ(finished.status, 6);
  EXPECT_THAT(finished.talk, Not(HasSubstr("its pin")));
}

TEST_F(Cert, ChangedCertificateIsNotLetPassByLeniency) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  serve();

  EXPECT_EQ(verify({"--no-strict-tls"}).status, 6);
  EXPECT_TRUE(manager->journal().empty());
}

TEST_F(Cert, ChangedCertificateFailsTheDoctorsChain) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  serve();

  const Finished finished = run({"doctor", "-q"});

  EXPECT_EQ(finished.status, 6);
  EXPECT_THAT(finished.output, HasSubstr("FAIL  chain         the public key is not the kept one"));
}

TEST_F(Cert, PinTakesThePlaceOfAnotherOnlyWhenTold) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  serve();
  EXPECT_EQ(run({"cert", "pin"}).status, 6);
  EXPECT_EQ(verify().status, 6);

  EXPECT_EQ(run({"cert", "pin", "--replace"}).status, 0);

  EXPECT_EQ(verify().status, 0);
}

TEST_F(Cert, ForgottenPinLetsAnyKeyPass) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  serve();

  EXPECT_EQ(run({"cert", "forget"}).status, 0);

  EXPECT_EQ(verify().status, 0);
  EXPECT_EQ(run({"cert", "forget"}).status, 2);
}

TEST_F(Cert, PinsThatOthersCanChangeAreNotUsed) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  fs::permissions(pinFile(), fs::perms(0622));

  const Finished finished = verify();

  EXPECT_EQ(finished.status, 2);
  EXPECT_THAT(finished.talk, HasSubstr("others than its owner can write to it"));
  EXPECT_TRUE(manager->journal().empty());
}

TEST_F(Cert, WhatIsNoPinIsRefused) {
  ASSERT_EQ(run({"cert", "pin"}).status, 0);
  std::string text = TemporaryFolder::read(pinFile());
  text.replace(text.find("sha256//"), 8, "md5_____");
  folder.write("home/.config/kestrelctl/pins.toml", text);

  EXPECT_EQ(verify().status, 2);
  EXPECT_TRUE(manager->journal().empty());
}

TEST_F(Cert, NoCertificateOverPlainHttp) {
  const Finished finished({"cert", "--manager", "http://127.0.0.1:1"});

  EXPECT_EQ(finished.status, 2);
  EXPECT_THAT(finished.talk, HasSubstr("a manager over plain HTTP has no certificate"));
}

TEST_F(Cert, UnreachableManagerEndsWith5) {
  const std::string port = std::to_string(kestrelvisor::test::unusedPort("127.0.0.1"));

  EXPECT_EQ(Finished({"cert", "--manager", "https://127.0.0.1:" + port}).status, 5);
}

TEST_F(Cert, SilentManagerEndsWithTheTimeLimit) {
  manager->addFault("connection=1 tls=stall");

  EXPECT_EQ(run({"cert", "--timeout", "500ms"}).status, 7);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
