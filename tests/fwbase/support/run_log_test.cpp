#include "fwbase/support/run_log.h"

#include <gtest/gtest.h>

#include <regex>

#include "tests/support/log_capture.h"

using fwbase::IRunLog;
using fwbase::test::LogCapture;
using fwbase::test::record;

TEST(RunLogMacro, WritesTheMessageInGbkAtItsLevel) {
  LogCapture log;
  RUN_LOG_AT(nullptr, ERROR, "错误的类型，0x%x", 0x1Fu);
  RUN_LOG_AT(nullptr, DEBUG, "value is con`t find. vname=%s\n", "x");
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "错误的类型，0x1f"),
                                        record(IRunLog::DEBUG, "value is con`t find. vname=x\n")}));
}

TEST(RunLogMacro, EvaluatesNothingWhileTheLevelIsOff) {
  LogCapture log(IRunLog::WARN);
  int evaluated = 0;
  RUN_LOG_AT(nullptr, ERROR, "%d", ++evaluated);
  EXPECT_EQ(evaluated, 0);
  RUN_LOG_AT(nullptr, WARN, "%d", ++evaluated);
  EXPECT_EQ(evaluated, 1);
  EXPECT_EQ(log.records().size(), 1u);
}

TEST(RunLogMacro, TheLocationNamesObjectFunctionFileLineAndBuild) {
  LogCapture log;
  const void* const object = reinterpret_cast<const void*>(0x1234567890abcdefULL);
  RUN_LOG_AT(object, ERROR, "here");
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_TRUE(std::regex_match(
      log.records()[0].location,
      std::regex(R"(this\(0x90abcdef\) .*TestBody\(\) tests/fwbase/support/run_log_test\.cpp)"
                 R"(\(\d+\) CT:[A-Z][a-z]{2} [ \d]\d \d{4} \d\d:\d\d:\d\d)")))
      << log.records()[0].location;
}

TEST(RunLogMacro, IsSilentWhileTheFacadeHasNoLog) {
  IRunLog::ms_type_sign = IRunLog::ERROR;
  RUN_LOG_AT(nullptr, ERROR, "nobody listens");
  EXPECT_EQ(fwbase::IFWBase::instance()->runlog(), nullptr);
}

TEST(RunLogMacro, ConvertsTheFormatAndLeavesArgumentsAlone) {
  LogCapture log;
  RUN_LOG_AT(nullptr, ERROR, "名为:(%s)的字符串不存在", "\xFF\x80");
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].message,
            fwbase::test::gbk("名为:(") + "\xFF\x80" + fwbase::test::gbk(")的字符串不存在"));
}
