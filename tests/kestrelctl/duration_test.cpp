#include "kestrelctl/duration.h"

#include "kestrelctl/failure.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

using std::chrono::milliseconds;

struct DurationRow {
  const char* name;
  const char* text;
  std::int64_t milliseconds;
};
void PrintTo(const DurationRow& row, std::ostream* out) { *out << row.text; }

class ReadDuration : public ::testing::TestWithParam<DurationRow> {};

TEST_P(ReadDuration, GivesTheTimeThatIsMeant) {
  EXPECT_EQ(readDuration("--timeout", GetParam().text), milliseconds(GetParam().milliseconds));
}

INSTANTIATE_TEST_SUITE_P(Duration, ReadDuration,
                         ::testing::Values(DurationRow{"Seconds", "5s", 5'000},
                                           DurationRow{"Minutes", "2m", 120'000},
                                           DurationRow{"HoursAndMinutes", "1h30m", 5'400'000},
                                           DurationRow{"Milliseconds", "500ms", 500},
                                           DurationRow{"MinutesAndMilliseconds", "1m1ms", 60'001},
                                           DurationRow{"AllUnits", "1h2m3s4ms", 3'723'004},
                                           DurationRow{"PlainNumber", "90", 90'000},
                                           DurationRow{"LeadingZeros", "007s", 7'000},
                                           DurationRow{"ManySeconds", "100000s", 100'000'000},
                                           DurationRow{"AYear", "8760h", 31'536'000'000}),
                         [](const auto& row) { return std::string(row.param.name); });

struct WrongDuration {
  const char* name;
  const char* text;
  const char* what;
};
void PrintTo(const WrongDuration& row, std::ostream* out) { *out << row.text; }

class RefuseDuration : public ::testing::TestWithParam<WrongDuration> {};

TEST_P(RefuseDuration, IsWrongUsageThatSaysWhatIsWrong) {
  try {
    readDuration("--timeout", GetParam().text);
    FAIL() << "taken";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.exitCode, ExitCode::wrongUsage);
    EXPECT_EQ(failure.what(), std::string("--timeout: ") + GetParam().what);
    EXPECT_NE(failure.hint, "");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Duration, RefuseDuration,
    ::testing::Values(
        WrongDuration{"Empty", "", "\"\" is no duration"},
        WrongDuration{"Word", "soon", "\"soon\" is no duration"},
        WrongDuration{"UnknownUnit", "5d", "\"5d\" is no duration"},
        WrongDuration{"CapitalUnit", "5S", "\"5S\" is no duration"},
        WrongDuration{"UnitAlone", "s", "\"s\" is no duration"},
        WrongDuration{"NumberWithoutUnitBehindAUnit", "1h30", "\"1h30\" is no duration"},
        WrongDuration{"SmallerUnitFirst", "30s1m", "\"30s1m\" is no duration"},
        WrongDuration{"UnitTwice", "1m1m", "\"1m1m\" is no duration"},
        WrongDuration{"LastUnitTwice", "1ms1ms", "\"1ms1ms\" is no duration"},
        WrongDuration{"Negative", "-5s", "\"-5s\" is no duration"},
        WrongDuration{"Fraction", "1.5s", "\"1.5s\" is no duration"},
        WrongDuration{"Blank", "5 s", "\"5 s\" is no duration"},
        WrongDuration{"BeyondAllNumbers", "99999999999999999999",
                      "\"99999999999999999999\" is no duration"},
        WrongDuration{"BeyondTheUnit", "31536000000h", "\"31536000000h\" is no duration"},
        WrongDuration{"Zero", "0s", "it leaves no time at all"},
        WrongDuration{"PlainZero", "0", "it leaves no time at all"},
        WrongDuration{"MoreThanAYear", "8760h1ms", "more than a year (8760h)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(DurationText, IsWhatAUserWouldWrite) {
  EXPECT_EQ(durationText(milliseconds(5'000)), "5s");
  EXPECT_EQ(durationText(milliseconds(90'000)), "1m30s");
  EXPECT_EQ(durationText(milliseconds(3'600'500)), "1h500ms");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
