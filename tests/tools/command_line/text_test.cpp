#include "command_line/text.h"

#include <gtest/gtest.h>

#include "command_line/result_code.h"
#include "tests/harness/log_capture.h"

using fwbase::test::gbk;

namespace tools::test {

TEST(ToolText, QuotedIsOneLine) {
  EXPECT_EQ(quoted("a \"b\" \\ 值"), "\"a \\\"b\\\" \\\\ 值\"");
  EXPECT_EQ(quoted("\n\t\r\x01\x7F"), "\"\\n\\t\\x0d\\x01\\x7f\"");
}

TEST(ToolText, EscapedHasNoControlCharacters) {
  const struct {
    std::string text;
    const char* escaped;
  } kCases[] = {
      {"plain", "plain"},
      {"it's \"quoted\" C:\\path 变量 naïve 😀", "it's \"quoted\" C:\\path 变量 naïve 😀"},
      {"\x1B[2J", "\\x1b[2J"},
      {"\x1B]0;title\x07", "\\x1b]0;title\\x07"},
      {"line\nline\ttab\rback", "line\\nline\\ttab\\x0dback"},
      {std::string("a\0b", 3), "a\\x00b"},
      {"\x7F", "\\x7f"},
      // The C1 controls, from the first to the last, and the characters around them.
      {"~\u0080\u009B31m\u009F\u00A0", "~\\u0080\\u009b31m\\u009f\u00A0"},
      // Bytes that are no UTF-8: a terminal may take one for a C1 control.
      {"\x9B\x33\x31m", "\\x9b31m"},
      {"cut \xE5\x8F", "cut \\xe5\\x8f"},
      {"long \xC1\x9B \xE0\x82\x9B \xF0\x80\x82\x9B",
       "long \\xc1\\x9b \\xe0\\x82\\x9b \\xf0\\x80\\x82\\x9b"},
      {"half \xED\xA0\x80, beyond \xF4\x90\x80\x80",
       "half \\xed\\xa0\\x80, beyond \\xf4\\x90\\x80\\x80"},
      {"last \xF4\x8F\xBF\xBF", "last \xF4\x8F\xBF\xBF"},
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(escaped(one.text), one.escaped);
    EXPECT_EQ(escaped(escaped(one.text)), one.escaped);
  }
}

TEST(ToolText, EscapedKeepsWhatItIsTold) {
  EXPECT_EQ(escaped("a\n\tb\x1B", "\n\t"), "a\n\tb\\x1b");
}

TEST(ToolText, QuotedHasNoControlCharacters) {
  EXPECT_EQ(quoted("\u009B\x9B"), "\"\\u009b\\x9b\"");
}

TEST(ToolText, NameIsQuotedWhereItMustBe) {
  EXPECT_EQ(shown_name("变量 2 (it's)"), "变量 2 (it's)");
  EXPECT_EQ(shown_name(""), "\"\"");
  EXPECT_EQ(shown_name("a\u009Bb"), "\"a\\u009bb\"");
  EXPECT_EQ(shown_name("a\nb"), "\"a\\nb\"");
  EXPECT_EQ(shown_name("a\\nb"), "\"a\\\\nb\"");
  EXPECT_EQ(shown_name("\"a\""), "\"\\\"a\\\"\"");
}

TEST(ToolText, JoinedHasCommas) {
  EXPECT_EQ(joined({}), "");
  EXPECT_EQ(joined({"a"}), "a");
  EXPECT_EQ(joined({"a", "b", "c"}), "a, b, c");
}

TEST(ToolText, DescribedHasNameNumberAndText) {
  EXPECT_EQ(described(ec::SCRIPT_E_SECTION),
            "SCRIPT_E_SECTION (0x00080002): no section of that name to execute");
  EXPECT_EQ(described(0x00080099),
            "UNKNOWN (0x00080099): a failure code that is not the library's own");
}

TEST(ToolText, ReadableTakesGbkWithUtf8InIt) {
  const struct {
    std::string message;
    const char* readable;
  } kCases[] = {
      {"plain", "plain"},
      {gbk("没有对应的变量,name[x]"), "没有对应的变量,name[x]"},
      {gbk("没有对应的变量,name[") + "变量]", "没有对应的变量,name[变量]"},
      {gbk("不能识别的参数类型，") + "整数", "不能识别的参数类型，整数"},
      {gbk("变量:(") + "naïve" + gbk(")类型不匹配"), "变量:(naïve)类型不匹配"},
      {gbk("没有找到模板[") + "😀]", "没有找到模板[😀]"},
      {gbk("默认值"), "默认值"},
      {gbk("镕a"), "镕a"},
      {"cut " + gbk("变量").substr(0, 3), "cut 变?"},
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(readable(one.message), one.readable);
  }
}

}  // namespace tools::test
