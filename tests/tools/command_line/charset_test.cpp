#include "command_line/charset.h"

#include <gtest/gtest.h>

#include "tests/harness/log_capture.h"

namespace tools::test {

TEST(Charset, ConvertsBothWays) {
  for (const std::string text : {"", "plain", "负载 is 高", "—…€"}) {
    EXPECT_EQ(utf8_of(gbk_of(text)), text);
  }
  EXPECT_EQ(gbk_of("负载"), "\xB8\xBA\xD4\xD8");
}

TEST(Charset, ConvertsTextsLongerThanItsBuffer) {
  std::string text;
  for (int i = 0; i < 1000; ++i) {
    text += "负a载";
  }
  EXPECT_EQ(gbk_of(text), fwbase::test::gbk(text));
  EXPECT_EQ(utf8_of(gbk_of(text)), text);
}

TEST(Charset, PutsAQuestionMarkForEachCharacterThatCannotBeConverted) {
  EXPECT_EQ(gbk_of("a😀b"), "a?b");
  EXPECT_EQ(gbk_of("\xFF\xFE"), "??");
  EXPECT_EQ(gbk_of("cut \xE8\xB4"), "cut ?");
  EXPECT_EQ(utf8_of("\xB8\xBA\xFF"), "负?");
  EXPECT_EQ(utf8_of("\xB8"), "?");
}

}  // namespace tools::test
