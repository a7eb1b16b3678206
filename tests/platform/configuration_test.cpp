#include "platform/reference/configuration.h"

#include "platform/contract/config_reader.h"
#include "platform/reference/logging.h"
#include "tests/platform/quiet_log.h"
#include "tests/platform/scratch.h"
#include "tests/support/test_headers.h"

namespace {

using kestrelvisor::LogObserver;
using kestrelvisor::LogRecord;
using kestrelvisor::test::ScopedEnvironment;
using kestrelvisor::test::ScratchDirectory;

class Configuration : public ::testing::Test {
 protected:
  ~Configuration() override { kestrelvisor::resetConfiguration(); }

  void useFile(const std::string& content) {
    kestrelvisor::setConfigurationFile(scratch_.file("host.ini", content));
  }

  static int certAuthSwitch() { return ConfigReader::getInt("General", "CertAuthSwitch", true); }

  ScratchDirectory scratch_;
  ScopedEnvironment noFile_{"KESTRELVISOR_CONFIG", nullptr};
  std::vector<LogRecord> log_;
  kestrelvisor::test::QuietLog quiet_;
  LogObserver observer_{[this](const LogRecord& record) { log_.push_back(record); }};
};

TEST_F(Configuration, IsStrictWithoutAFile) { EXPECT_EQ(certAuthSwitch(), 1); }

TEST_F(Configuration, GivesZeroForOtherKeysThatAreMissing) {
  EXPECT_EQ(ConfigReader::getInt("General", "Other", true), 0);
  EXPECT_EQ(ConfigReader::getInt("Other", "CertAuthSwitch", true), 0);
}

TEST_F(Configuration, ReadsTheFileThatTheHostNames) {
  useFile("[General]\nCertAuthSwitch=0\n");

  EXPECT_EQ(certAuthSwitch(), 0);
}

TEST_F(Configuration, ReadsTheFileThatTheEnvironmentNames) {
  const std::string path = scratch_.file("environment.ini", "[General]\nCertAuthSwitch=0\n");
  const ScopedEnvironment named("KESTRELVISOR_CONFIG", path.c_str());

  EXPECT_EQ(certAuthSwitch(), 0);
}

TEST_F(Configuration, PrefersTheHostsFileToTheEnvironments) {
  const std::string path = scratch_.file("environment.ini", "[General]\nCertAuthSwitch=0\n");
  const ScopedEnvironment named("KESTRELVISOR_CONFIG", path.c_str());
  useFile("[General]\nCertAuthSwitch=2\n");

  EXPECT_EQ(certAuthSwitch(), 2);
}

TEST_F(Configuration, PrefersAValueOfTheHostToTheFile) {
  useFile("[General]\nCertAuthSwitch=0\n");
  kestrelvisor::setConfigurationValue("general", "certauthswitch", " 5 ");

  EXPECT_EQ(certAuthSwitch(), 5);
}

TEST_F(Configuration, ForgetsTheHostsValuesAndFile) {
  useFile("[General]\nCertAuthSwitch=0\n");
  kestrelvisor::setConfigurationValue("General", "Other", "5");

  kestrelvisor::resetConfiguration();

  EXPECT_EQ(certAuthSwitch(), 1);
  EXPECT_EQ(ConfigReader::getInt("General", "Other", true), 0);
}

TEST_F(Configuration, SeesAChangedFileAtOnce) {
  useFile("[General]\nCertAuthSwitch=0\n");
  ASSERT_EQ(certAuthSwitch(), 0);

  useFile("[General]\nCertAuthSwitch=1\n");

  EXPECT_EQ(certAuthSwitch(), 1);
}

TEST_F(Configuration, IsStrictAndSaysSoWhenTheFileIsMissing) {
  kestrelvisor::setConfigurationFile(scratch_.path("missing.ini"));

  EXPECT_EQ(certAuthSwitch(), 1);

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_EQ(log_[0].level, 3);
  EXPECT_EQ(log_[0].text, "Configuration not read: " + scratch_.path("missing.ini") +
                              ": No such file or directory");
}

TEST_F(Configuration, RefusesAFileThatIsTooLong) {
  useFile("[General]\nCertAuthSwitch=0\n" + std::string(1U << 20U, '\n'));

  EXPECT_EQ(certAuthSwitch(), 1);

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_THAT(log_[0].text, ::testing::EndsWith("longer than 1048576 bytes"));
}

TEST_F(Configuration, ReadsAFileOfTheLargestSize) {
  const std::string setting = "[General]\nCertAuthSwitch=0\n";
  useFile(setting + std::string((1U << 20U) - setting.size(), '\n'));

  EXPECT_EQ(certAuthSwitch(), 0);
}

TEST_F(Configuration, RefusesWhatIsNotARegularFile) {
  kestrelvisor::setConfigurationFile(scratch_.path("."));

  EXPECT_EQ(certAuthSwitch(), 1);

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_THAT(log_[0].text, ::testing::EndsWith("not a regular file"));
}

// A regular file to the eye; nothing lies at the address where reading it starts.
TEST_F(Configuration, SaysWhyAFileCannotBeRead) {
  kestrelvisor::setConfigurationFile("/proc/self/mem");

  EXPECT_EQ(certAuthSwitch(), 1);

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_EQ(log_[0].text, "Configuration not read: /proc/self/mem: Input/output error");
}

TEST_F(Configuration, SaysWhichValueIsNotANumber) {
  useFile("[General]\nCertAuthSwitch=off\n");

  EXPECT_EQ(certAuthSwitch(), 1);

  ASSERT_EQ(log_.size(), 1U);
  EXPECT_EQ(log_[0].text, "Configuration value is not a number: [General] CertAuthSwitch");
}

struct IniRow {
  const char* name;
  const char* content;
  int value;
};
class IniFileTest : public Configuration, public ::testing::WithParamInterface<IniRow> {};

TEST_P(IniFileTest, IsReadAsDocumented) {
  useFile(GetParam().content);

  EXPECT_EQ(certAuthSwitch(), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Platform, IniFileTest,
    ::testing::Values(
        IniRow{"Blanks", "  [ General ]\t\n\tCertAuthSwitch \t=  7  \n", 7},
        IniRow{"CarriageReturns", "[General]\r\nCertAuthSwitch=7\r\n", 7},
        IniRow{"ByteOrderMark", "\xEF\xBB\xBF[General]\nCertAuthSwitch=7", 7},
        IniRow{"OtherCase", "[GENERAL]\ncertAUTHswitch=7", 7},
        IniRow{"LastWins", "[General]\nCertAuthSwitch=0\nCertAuthSwitch=7", 7},
        IniRow{"LastIsNoNumber", "[General]\nCertAuthSwitch=0\nCertAuthSwitch=x", 1},
        IniRow{"SectionInTwoParts", "[General]\nCertAuthSwitch=0\n[A]\n[General]\nCertAuthSwitch=7",
               7},
        IniRow{"CommentLines", "[General]\n;CertAuthSwitch=0\n # CertAuthSwitch=0\n", 1},
        IniRow{"CommentBehindValue", "[General] ; all\nCertAuthSwitch=7 ; strict # really", 7},
        IniRow{"MarkWithinValue", "[General]\nCertAuthSwitch=7;0", 1},
        IniRow{"OtherSection", "[Other]\nCertAuthSwitch=0", 1},
        IniRow{"NoSection", "CertAuthSwitch=0", 1},
        IniRow{"HalfASectionLine", "[General\nCertAuthSwitch=0\n[\n]\n", 1},
        IniRow{"OtherKey", "[General]\nCertAuth=0\nCertAuthSwitch2=0", 1},
        IniRow{"NoEquals", "[General]\nCertAuthSwitch 0", 1},
        IniRow{"Negative", "[General]\nCertAuthSwitch=-3", -3},
        IniRow{"NoValue", "[General]\nCertAuthSwitch=", 1},
        IniRow{"TooLarge", "[General]\nCertAuthSwitch=99999999999", 1},
        IniRow{"Fraction", "[General]\nCertAuthSwitch=0.5", 1}, IniRow{"Empty", "", 1}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
