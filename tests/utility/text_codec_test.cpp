#include "utility/text_codec.h"

#include <gtest/gtest.h>
#include <locale.h>

#include <thread>

#include "tests/harness/gbk_locale.h"
#include "tests/utility/xml/xml_file.h"

namespace {

using namespace utility;
using fwbase::test::GbkLocale;
using std::string_literals::operator""s;

TEST(TextCodec, ConvertsTheCLocaleAsUtf8) {
  struct {
    std::string narrow;
    std::u16string text;
  } const cases[] = {
      {"", u""},
      {"plain \x7F\x01", u"plain \x7F\x01"},
      {"\xC2\x80", u"\x80"},
      {"a\xE4\xB8\xADz", u"a\u4E2Dz"},
      {"\xF0\x9F\x98\x80", u"\U0001F600"},
      {"\xEF\xBB\xBFx", u"\uFEFFx"},
      {"\xEF\xBF\xBD", u"\uFFFD"},
  };
  for (const auto& c : cases) {
    DomText text;
    std::string narrow;
    EXPECT_TRUE(to_dom_text(c.narrow, text)) << c.narrow;
    EXPECT_TRUE(text == c.text) << c.narrow;
    EXPECT_TRUE(to_narrow_text(c.text, narrow)) << c.narrow;
    EXPECT_EQ(narrow, c.narrow);
  }
}

TEST(TextCodec, RefusesWhatIsNoText) {
  DomText text;
  std::string narrow;
  for (const std::string& bad : {"\0"s, "a\0b"s, "\xE4\xB8\xAD\0"s, "\x80"s, "\xC0\x80"s,
                                 "\xE4\xB8"s, "\xED\xA0\x80"s, "\xF4\x90\x80\x80"s, "\xFF"s}) {
    EXPECT_FALSE(to_dom_text(bad, text)) << bad.size();
  }
  for (const std::u16string& bad :
       {u"\0"s, u"a\0"s, std::u16string{0xD83D}, std::u16string{0xDE00, 0xD83D},
        std::u16string{u'a', 0xD83D, u'b'}}) {
    EXPECT_FALSE(to_narrow_text(bad, narrow)) << bad.size();
  }
}

TEST(TextCodec, FollowsTheLocaleOfTheThread) {
  const GbkLocale locale;
  DomText text;
  std::string narrow;
  EXPECT_TRUE(to_dom_text("\xD6\xD0", text));
  EXPECT_TRUE(text == u"\u4E2D");
  EXPECT_TRUE(to_narrow_text(u"\u6587|", narrow));
  EXPECT_EQ(narrow, "\xCE\xC4|");
  EXPECT_FALSE(to_narrow_text(u"\U0001F600", narrow));
  EXPECT_FALSE(to_narrow_text(u"\u00E9\u0E01", narrow));
  EXPECT_FALSE(to_dom_text("\xD6", text));
  EXPECT_FALSE(to_dom_text("\xFF\xFF", text));

  const locale_t c_locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
  const locale_t before = ::uselocale(c_locale);
  EXPECT_TRUE(to_dom_text("\xE4\xB8\xAD", text));
  EXPECT_TRUE(text == u"\u4E2D");
  EXPECT_TRUE(to_narrow_text(u"\u4E2D", narrow));
  EXPECT_EQ(narrow, "\xE4\xB8\xAD");
  ::uselocale(before);
  ::freelocale(c_locale);
}

TEST(TextCodec, EveryChineseCharacterComesBackFromGbk) {
  const GbkLocale locale;
  for (XMLCh c = 0x4E00; c <= 0x9FA5; ++c) {
    std::string narrow;
    DomText text;
    ASSERT_TRUE(to_narrow_text(DomText(1, c), narrow)) << static_cast<unsigned int>(c);
    ASSERT_EQ(narrow.size(), 2u) << static_cast<unsigned int>(c);
    ASSERT_TRUE(to_dom_text(narrow, text)) << static_cast<unsigned int>(c);
    ASSERT_TRUE(text == DomText(1, c));
  }
}

TEST(TextCodec, ThreadsConvertAtTheSameTime) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      const std::string mine = "\xE4\xB8\xAD" + std::to_string(i);
      for (int n = 0; n < 1000; ++n) {
        DomText text;
        std::string narrow;
        ASSERT_TRUE(to_dom_text(mine, text) && to_narrow_text(text, narrow));
        ASSERT_EQ(narrow, mine);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

using GbkProcess = fwbase::test::XmlFile;

TEST_F(GbkProcess, ReadsAndSavesChineseInItsCodePage) {
  const GbkLocale locale;
  // Names, text and value are U+4E2D U+6587 in the UTF-8 file, and GBK for the program.
  const std::string utf8 = "\xE4\xB8\xAD\xE6\x96\x87";
  const std::string gbk = "\xD6\xD0\xCE\xC4";
  ASSERT_EQ(load("<r><" + utf8 + " " + utf8 + "='" + utf8 + "'> " + utf8 + " </" + utf8 + "></r>"),
            XEC_OK);
  CElement element;
  ASSERT_EQ(root().get_first_child_element(gbk, element), XEC_OK);
  EXPECT_EQ(element.get_element_name(), gbk);
  EXPECT_EQ(element.get_text(), gbk);
  std::string value;
  EXPECT_EQ(element.get_attr(gbk, value), XEC_OK);
  EXPECT_EQ(value, gbk);
  EXPECT_EQ(xml.get_xpath_text(gbk, value), XEC_OK);
  EXPECT_EQ(value, gbk);
  EXPECT_EQ(element.set_text(gbk + gbk), XEC_OK);
  ASSERT_EQ(xml.save(), XEC_OK);
  EXPECT_EQ(saved(), "<r><" + utf8 + " " + utf8 + "=\"" + utf8 + "\">" + utf8 + utf8 + "</" + utf8 +
                         "></r>");
}

TEST_F(GbkProcess, GetsACodeForTextThatItsCodePageLacks) {
  const GbkLocale locale;
  const std::string emoji = "\xF0\x9F\x98\x80";
  ASSERT_EQ(load("<r a='" + emoji + "'>" + emoji + "</r>"), XEC_OK);
  std::string text = "kept";
  EXPECT_EQ(root().get_text(text), XEC_ENCODING);
  EXPECT_EQ(root().get_attr("a", text), XEC_ENCODING);
  std::vector<std::pair<std::string, std::string>> attrs;
  EXPECT_EQ(root().get_attr(attrs), XEC_ENCODING);
  EXPECT_EQ(xml.get_xpath_text(".", text), XEC_ENCODING);
  EXPECT_EQ(text, "kept");
  EXPECT_EQ(root().get_text(), "");
  EXPECT_EQ(root().set_text("\xD6"), XEC_ENCODING);
  ASSERT_EQ(xml.save(), XEC_OK);
  EXPECT_EQ(saved(), "<r a=\"" + emoji + "\">" + emoji + "</r>");
}

}  // namespace
