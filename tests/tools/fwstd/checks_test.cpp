#include <gtest/gtest.h>

#include "tests/tools/fwstd/script_run.h"

namespace fwstd::test {

TEST(CheckFunctions, HoldWithoutAnyRecord) {
  for (const char* const calls : {
           "<expect_equal_int><actual>5</actual><expected>5</expected></expect_equal_int>",
           "<expect_equal_string><actual>a b</actual><expected>a b</expected>"
           "</expect_equal_string>",
           "<expect_equal_string><actual/><expected/></expect_equal_string>",
           "<expect_at_most><actual>5</actual><limit>5</limit></expect_at_most>",
           "<expect_at_most><actual>-6</actual><limit>5</limit></expect_at_most>",
       }) {
    SCOPED_TRACE(calls);
    const ScriptRun run(calls);
    EXPECT_EQ(run.result(), ec::SCRIPT_OK);
    EXPECT_TRUE(run.records().empty());
  }
}

TEST(CheckFunctions, FailAndSayWhatWasExpected) {
  const struct {
    const char* calls;
    const char* error;
  } kCases[] = {
      {"<expect_equal_int><actual>5</actual><expected>6</expected></expect_equal_int>",
       "expect_equal_int: the value is 5, expected 6"},
      {"<expect_equal_int><actual>5</actual><expected>6</expected><what>threads</what>"
       "</expect_equal_int>",
       "expect_equal_int: threads is 5, expected 6"},
      {"<expect_equal_string><actual>a</actual><expected>b</expected><what>名称</what>"
       "</expect_equal_string>",
       "expect_equal_string: 名称 is 'a', expected 'b'"},
      {"<expect_equal_string><actual>a&#10;[ERROR]: &#x9b;b</actual><expected/>"
       "</expect_equal_string>",
       "expect_equal_string: the value is 'a\\n[ERROR]: \\u009bb', expected ''"},
      {"<expect_at_most><actual>6</actual><limit>5</limit><what>load</what></expect_at_most>",
       "expect_at_most: load is 6, expected at most 5"},
  };
  for (const auto& one : kCases) {
    SCOPED_TRACE(one.calls);
    const ScriptRun run(one.calls);
    EXPECT_EQ(run.result(), ec::SCRIPT_BAD_PARAM);
    EXPECT_EQ(run.error(), one.error);
  }
}

TEST(CheckFunctions, AFailureEndsTheSection) {
  ScriptRun run(
      "<expect_at_most><actual>6</actual><limit>5</limit></expect_at_most>"
      "<set_int><value>1</value><ret>after</ret></set_int>");
  EXPECT_EQ(run.result(), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(run.value("after"), "missing");
}

}  // namespace fwstd::test
