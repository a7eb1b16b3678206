#include "base/error_message.h"

#include "tests/support/grouping_locale.h"
#include "tests/support/test_headers.h"

namespace {

TEST(ErrorMessage, StartsWithTheDefaultCodeAndText) {
  const KestrelVisorErrorMessage error;

  EXPECT_EQ(error.errorCode, "00000000");
  EXPECT_EQ(error.errorDescription, "internal error.");
  EXPECT_TRUE(error.errorParams.empty());
}

TEST(ErrorMessage, EmptyCodeAndNoCbtErrorChangeNothing) {
  KestrelVisorErrorMessage error;
  error.errorCode = "10000002";

  error.setErrorCode("", CBT_GET_OK);

  EXPECT_EQ(error.errorCode, "10000002");
}

TEST(ErrorMessage, CodeReplacesTheOneBefore) {
  KestrelVisorErrorMessage error;

  error.setErrorCode("2404", CBT_GET_OK);

  EXPECT_EQ(error.errorCode, "2404");
}

TEST(ErrorMessage, EmptyDescriptionKeepsTheOneBefore) {
  KestrelVisorErrorMessage error;
  error.setErrorDescription("OK");

  error.setErrorDescription("");

  EXPECT_EQ(error.errorDescription, "OK");
}

TEST(ErrorMessage, ResetPutsBothDefaultsBack) {
  KestrelVisorErrorMessage error;
  error.setErrorCode("2000", CBT_GET_OK);
  error.setErrorDescription("gone");

  error.reset();

  EXPECT_EQ(error.errorCode, "00000000");
  EXPECT_EQ(error.errorDescription, "internal error.");
}

TEST(ErrorMessage, WritesACbtNumberPlainlyInAHostsLocale) {
  const kestrelvisor::test::GroupingLocale locale;
  KestrelVisorErrorMessage error;

  error.setErrorCode("", CBT_QSTORE_AGENT_NOT_INSTALLED);

  EXPECT_EQ(error.errorCode, "1000, QStore agent is not be installed");
}

TEST(ErrorMessage, IsCopiedAndAssignedFieldByField) {
  KestrelVisorErrorMessage error;
  error.setErrorCode("2000", CBT_GET_OK);
  error.setErrorDescription("gone");
  error.errorParams = {"parameter"};
  KestrelVisorErrorMessage assigned;

  const KestrelVisorErrorMessage copy(error);
  assigned = error;

  EXPECT_EQ(copy.errorCode, "2000");
  EXPECT_EQ(copy.errorDescription, "gone");
  EXPECT_EQ(copy.errorParams, error.errorParams);
  EXPECT_EQ(assigned.errorCode, "2000");
  EXPECT_EQ(assigned.errorDescription, "gone");
  EXPECT_EQ(assigned.errorParams, error.errorParams);
}

struct CbtText {
  std::int32_t cbt;
  const char* code;
};
class CbtErrorTest : public ::testing::TestWithParam<CbtText> {};

TEST_P(CbtErrorTest, ReplacesTheCodeByItsNumberAndText) {
  KestrelVisorErrorMessage error;

  error.setErrorCode("X", static_cast<CBTGetErrorCode>(GetParam().cbt));

  EXPECT_EQ(error.errorCode, GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    EveryValue, CbtErrorTest,
    ::testing::Values(
        CbtText{0, "X"}, CbtText{1, "1, get vmhandle failed"}, CbtText{2, "2, snapshot ID is NULL"},
        CbtText{3, "3, get qstore IP failed"},
        CbtText{4, "4, create and open bitmap volume failed"},
        CbtText{5, "5, get dirty ranges failed"},
        CbtText{6, "6, close and delete bitmap volume failed"},
        CbtText{7, "7, get CBT exceed disk size"},
        CbtText{8, "8, the previous snapshot change ID is null"},
        CbtText{9, "9, the snapshot is invalid"}, CbtText{10, "10, get snapshot vmhandle failed"},
        CbtText{11, "11, get vmhandle failed when delete snapshot"},
        CbtText{12, "12, get vmhandle failed when get dirty ranges"},
        CbtText{13, "13, get vmhandle failed when kestrel vsior engine get dirty ranges"},
        CbtText{14, "1000, QStore agent is not be installed"},
        CbtText{15, "1001, Java file is not exist"},
        CbtText{16, "1002, Java file have no permission"},
        CbtText{17, "1003, VBS_TOOL configure fault"}, CbtText{18, "X"}, CbtText{-1, "X"}),
    [](const auto& row) {
      return row.param.cbt < 0 ? std::string("negative") : std::to_string(row.param.cbt);
    });

}  // namespace
