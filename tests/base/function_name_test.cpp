#include "base/log.h"
#include "tests/support/test_headers.h"

namespace {

using kestrelvisor::functionName;

TEST(FunctionName, KeepsTheQualifiedNameAlone) {
  const char signature[] =
      "virtual EnvProxyResult KestrelVisorEngine::DisableCBT(const EnvironmentPath&)";

  EXPECT_EQ(GetFunctionName(signature), "KestrelVisorEngine::DisableCBT()");
  EXPECT_EQ(functionName(signature).view(), "KestrelVisorEngine::DisableCBT()");
}

TEST(FunctionName, LeavesASignatureWithoutParenthesisAlone) {
  const char signature[] = "int no parenthesis";

  EXPECT_EQ(GetFunctionName(signature), signature);
  EXPECT_EQ(functionName(signature).view(), signature);
}

TEST(FunctionName, TakesAllOfANameWithoutABlank) {
  EXPECT_EQ(GetFunctionName("~Client()"), "~Client()");
  EXPECT_EQ(functionName("~Client()").view(), "~Client()");
}

TEST(FunctionName, OfAnEmptySignatureIsEmpty) {
  EXPECT_EQ(GetFunctionName(""), "");
  EXPECT_EQ(functionName("").view(), "");
}

}  // namespace
