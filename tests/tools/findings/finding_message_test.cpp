#include "findings/finding_message.h"

#include <gtest/gtest.h>

namespace tools::test {

TEST(FindingMessage, KeepsWhatItQuotes) {
  const auto chinese = [](const char* english) {
    return finding_message(Language::kChinese, english);
  };
  EXPECT_EQ(
      chinese("parameter \"a {2}\" of \"f\" is declared as \"int\", the host's is \"string\""),
      "\"f\" 的参数 \"a {2}\" 声明为 \"int\"，宿主的是 \"string\"");
  EXPECT_EQ(chinese("the root element is \"\", not \"korvid\""), "根元素是 \"\"，不是 \"korvid\"");
  EXPECT_EQ(chinese("nothing looks for the element \"Dta\" here; did you mean \"Data\"?"),
            "这里的元素 \"Dta\" 不会被读取；是不是想写 \"Data\"？");
  EXPECT_EQ(chinese("nothing looks for the element \"here\" here"),
            "这里的元素 \"here\" 不会被读取");
  EXPECT_EQ(chinese("the file cannot be read: Too many open files"),
            "无法读取文件：Too many open files");
}

TEST(FindingMessage, OtherWordsStayAsTheyAre) {
  for (const char* const text :
       {"", "equal sign expected", "the section", "\"a\" needs the argument"}) {
    EXPECT_EQ(finding_message(Language::kChinese, text), text);
  }
  const char* const english = "\"open\" needs the argument \"who\"";
  EXPECT_EQ(finding_message(Language::kEnglish, english), english);
}

}  // namespace tools::test
