#include "log_records/encoding.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/harness/log_capture.h"

using fwbase::test::gbk;

namespace log_records::test {

namespace {

std::string decoded(const std::string& text, Encoding encoding) {
  std::string utf8;
  append_decoded(text, reading_of(text, encoding), utf8);
  return utf8;
}

const std::string kUnknown = "\uFFFD";

}  // namespace

TEST(LogEncoding, AutoTellsGbkAndUtf8Apart) {
  const struct {
    std::string text;
    std::string utf8;
  } kCases[] = {
      {"", ""},
      {"plain", "plain"},
      {gbk("没有对应的变量"), "没有对应的变量"},
      {"没有对应的变量", "没有对应的变量"},
      {"变", "变"},         // valid UTF-8 with a character of three bytes
      {"naïve", "na茂ve"},  // valid UTF-8, but of two bytes, and valid GBK
      {"😀", "😀"},
      {gbk("名[") + "变量" + gbk("]不存在"), "名[变量]不存在"},
      {gbk("名[") + "变" + gbk("]不存在"), "名[鍙榏不存在"},  // one alone may be GBK
      {gbk("名") + "变量", "名变量"},
      {gbk("名[") + "né变量é" + gbk("]"), "名[né变量é]"},
      {gbk("变量").substr(0, 3), "变" + kUnknown},
      {"\xFF\x80 " + gbk("量"), kUnknown + kUnknown + " 量"},
      {gbk("量") + "\xC2\x85\xFF", "量聟" + kUnknown},
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(decoded(one.text, Encoding::kAuto), one.utf8);
  }
}

TEST(LogEncoding, GivenEncodingsAreTakenAtTheirWord) {
  EXPECT_EQ(decoded("变量", Encoding::kUtf8), "变量");
  EXPECT_EQ(decoded(gbk("变"), Encoding::kUtf8), kUnknown + kUnknown);
  EXPECT_EQ(decoded(gbk("变量"), Encoding::kGbk), "变量");
  EXPECT_EQ(decoded("变量", Encoding::kGbk), "鍙橀噺");
  EXPECT_EQ(decoded(gbk("变量"), Encoding::kGb18030), "变量");
  EXPECT_EQ(decoded("\x94\x39\xDA\x33!", Encoding::kGb18030), "💩!");
  EXPECT_EQ(decoded("\x94\x39\xDA", Encoding::kGb18030), kUnknown + "9" + kUnknown);
  EXPECT_EQ(decoded("\xFF"
                    "a",
                    Encoding::kGb18030),
            kUnknown + "a");
}

TEST(LogEncoding, WhatIsNoUtf8IsOneSignForEachByte) {
  const struct {
    const char* text;
    std::size_t unknown;
  } kCases[] = {{"\x80", 1},         {"\xC0\xAF", 2},         {"\xE0\x80\xAF", 3},
                {"\xED\xA0\x80", 3}, {"\xF4\x90\x80\x80", 4}, {"\xE5\x8F", 2},
                {"\xFE", 1},         {"\xF0\x80\x80\x80", 4}};
  for (const auto& one : kCases) {
    std::string expected;
    for (std::size_t i = 0; i < one.unknown; ++i) {
      expected += kUnknown;
    }
    EXPECT_EQ(decoded(one.text, Encoding::kUtf8), expected);
  }
}

TEST(LogEncoding, GbkIsWhatTheLibraryWrites) {
  int pairs = 0;
  for (unsigned int lead = 0x80; lead <= 0xFF; ++lead) {
    for (unsigned int trail = 0x40; trail <= 0xFF; ++trail) {
      const std::string pair{static_cast<char>(lead), static_cast<char>(trail)};
      const std::string utf8 = decoded(pair, Encoding::kGbk);
      if (utf8.find(kUnknown) == utf8.npos) {
        EXPECT_EQ(gbk(utf8), pair);
        ++pairs;
      }
    }
  }
  EXPECT_EQ(pairs, 21791);
}

TEST(LogEncoding, PiecesNeverDivideACharacter) {
  std::string many = "a";
  for (int i = 0; i < 2000; ++i) {
    many += "变";
  }
  const std::string text = gbk(many);
  Pieces pieces(text, Reading::kGbk);
  std::string_view piece;
  while (pieces.next(piece)) {
    while (!piece.empty()) {
      ASSERT_GT(utf8_length(piece), 0U);
      piece.remove_prefix(utf8_length(piece));
    }
  }
}

// Each byte would be looked at as often as there are bytes before it if runs were searched anew.
TEST(LogEncoding, LongRunsThatAreTooShortOfLongCharactersTakeLinearTime) {
  std::string text = "\xFF";
  for (int i = 0; i < 2'000'000; ++i) {
    text += "é";
  }
  EXPECT_EQ(decoded(text, Encoding::kAuto).size(), 3 + 3U * 2'000'000);
}

}  // namespace log_records::test
