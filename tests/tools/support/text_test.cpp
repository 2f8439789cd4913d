#include "support/text.h"

#include <gtest/gtest.h>

#include "tests/support/log_capture.h"

using fwbase::test::gbk;

namespace tools::test {

TEST(ToolText, QuotedIsOneLine) {
  EXPECT_EQ(quoted("a \"b\" \\ 值"), "\"a \\\"b\\\" \\\\ 值\"");
  EXPECT_EQ(quoted("\n\t\r\x01\x7F"), "\"\\n\\t\\x0d\\x01\\x7f\"");
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
