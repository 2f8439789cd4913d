#include "fwbase/runlog/runlog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "tests/harness/log_capture.h"

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
      std::regex(R"(this\(0x90abcdef\) .*TestBody\(\) tests/fwbase/runlog/runlog_test\.cpp)"
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

TEST(RunLogMacro, QuotedTextsShowTheirControlCharacters) {
  LogCapture log;
  RUN_LOG_AT(nullptr, ERROR, "[%s]\n", "a\n[ERROR]: \r\n >b\x1b[2J\x01\x1f\x7f");
  EXPECT_EQ(
      log.records(),
      std::vector{record(IRunLog::ERROR, "[a\\n[ERROR]: \\r\\n >b\\x1b[2J\\x01\\x1f\\x7f]\n")});
}

TEST(RunLogMacro, QuotedTextsKeepTheTabAndAllBytesThatNoControlCharacterHas) {
  std::string others = "\t";
  for (int byte = 0x20; byte < 0x100; ++byte) {
    if (byte != 0x7F) {
      others += static_cast<char>(byte);
    }
  }
  LogCapture log;
  RUN_LOG_AT(nullptr, ERROR, "%s", others.c_str());
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].message, others);
}

TEST(RunLogMacro, PartsOfTextsAreQuotedLikewise) {
  LogCapture log;
  const char text[] = {'a', '\n', 'b', '\n'};  // no zero behind them
  RUN_LOG_AT(nullptr, ERROR, "[%.*s]", 4, text);
  RUN_LOG_AT(nullptr, ERROR, "[%.*s]", 2, text);
  RUN_LOG_AT(nullptr, ERROR, "[%.*s]", 0, text);
  RUN_LOG_AT(nullptr, ERROR, "[%.*s]", 9, "b\n");
  RUN_LOG_AT(nullptr, ERROR, "[%.*s]", -1, "b\n");
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "[a\\nb\\n]"), record(IRunLog::ERROR, "[a\\n]"),
                         record(IRunLog::ERROR, "[]"), record(IRunLog::ERROR, "[b\\n]"),
                         record(IRunLog::ERROR, "[b\\n]")}));
}

TEST(RunLogMacro, NumbersAndPercentSignsAreThoseOfPrintf) {
  LogCapture log;
  RUN_LOG_AT(nullptr, ERROR, "%d %d %u %x %0x 100%%", -2147483647 - 1, 0, 4294967295u, 0xabcdefu,
             0u);
  RUN_LOG_AT(nullptr, ERROR, "%s%d%s", "", 7, "");
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "-2147483648 0 4294967295 abcdef 0 100%"),
                         record(IRunLog::ERROR, "7")}));
}

TEST(RunLogMacro, ANullTextIsPrintedAsSuch) {
  LogCapture log;
  const char* volatile none = nullptr;
  RUN_LOG_AT(nullptr, ERROR, "[%s]", none);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "[(null)]")});
}

TEST(RunLogMacro, MessagesAreCutAt1022Bytes) {
  LogCapture log;
  const std::string longer(2000, 'x');
  const std::string line_ends(2000, '\n');
  RUN_LOG_AT(nullptr, ERROR, "%s", longer.c_str());
  RUN_LOG_AT(nullptr, ERROR, "a%s", line_ends.c_str());
  RUN_LOG_AT(nullptr, ERROR, "%s%d", longer.c_str(), 1);
  std::string shown = "a";
  while (shown.size() < 1022) {
    shown += "\\n";
  }
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, longer.substr(0, 1022)),
                                        record(IRunLog::ERROR, shown.substr(0, 1022)),
                                        record(IRunLog::ERROR, longer.substr(0, 1022))}));
}

TEST(RunLogMacro, KnowsTheConversionsOfItsMessages) {
  using fwbase::is_message_format;
  EXPECT_TRUE(is_message_format(""));
  EXPECT_TRUE(is_message_format("%s %.*s %d %u %x %0x %%"));
  for (const char* const format : {"%", "%c", "%ld", "%5d", "%.3s", "%-s", "%p", "%n", "%0d"}) {
    EXPECT_FALSE(is_message_format(format)) << format;
  }
}
