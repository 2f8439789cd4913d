#include "command_line/messages.h"

#include <gtest/gtest.h>

namespace tools::test {

TEST(ToolMessages, LanguageIsThatOfTheFirstVariableThatIsSet) {
  const struct {
    LanguageSettings settings;
    Language language;
  } kCases[] = {
      {{nullptr, nullptr, nullptr, nullptr}, Language::kEnglish},
      {{nullptr, nullptr, "zh_CN.UTF-8", nullptr}, Language::kChinese},
      {{nullptr, nullptr, "zh_CN.GBK", nullptr}, Language::kChinese},
      {{nullptr, nullptr, "zh", nullptr}, Language::kChinese},
      {{nullptr, nullptr, "zh_TW@stroke", nullptr}, Language::kChinese},
      {{nullptr, nullptr, "zha_CN", nullptr}, Language::kEnglish},
      {{nullptr, nullptr, "de_DE.UTF-8", nullptr}, Language::kEnglish},
      {{nullptr, "zh_CN", "en_US", nullptr}, Language::kChinese},
      {{"", "", "zh_CN", nullptr}, Language::kChinese},
      {{"en_US.UTF-8", "zh_CN", "zh_CN", nullptr}, Language::kEnglish},
      {{"C", "zh_CN", "zh_CN", nullptr}, Language::kEnglish},
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(language_of(one.settings), one.language) << one.settings.lang;
  }
}

TEST(ToolMessages, ListOfLanguagesGoesBeforeALocaleThatIsNotC) {
  EXPECT_EQ(language_of({nullptr, nullptr, "en_US", "zh_CN:en"}), Language::kChinese);
  EXPECT_EQ(language_of({nullptr, nullptr, "zh_CN", "en"}), Language::kEnglish);
  EXPECT_EQ(language_of({nullptr, nullptr, "zh_CN", "de:fr"}), Language::kChinese);
  EXPECT_EQ(language_of({nullptr, nullptr, "de_DE", "fr::zh"}), Language::kChinese);
  EXPECT_EQ(language_of({nullptr, nullptr, "C.UTF-8", "zh_CN"}), Language::kEnglish);
  EXPECT_EQ(language_of({nullptr, nullptr, nullptr, "zh_CN"}), Language::kEnglish);
}

TEST(ToolMessages, ArgumentsStandWhereTheLanguageHasThem) {
  const Message message{"{1} of {2}", "{2}的{1}"};
  EXPECT_EQ(in_language(Language::kEnglish, message, {"a", "b"}), "a of b");
  EXPECT_EQ(in_language(Language::kChinese, message, {"a", "b"}), "b的a");
}

TEST(ToolMessages, BracesOfArgumentsAndThoseThatAreNoPlacesStay) {
  const Message message{"{1} {} {x} {9} {", "{9} {1}"};
  EXPECT_EQ(in_language(Language::kEnglish, message, {"{1}"}), "{1} {} {x} {9} {");
  EXPECT_EQ(in_language(Language::kChinese, message), "{9} {1}");
}

}  // namespace tools::test
