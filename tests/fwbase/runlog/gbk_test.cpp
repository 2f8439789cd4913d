#include "fwbase/runlog/gbk.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/harness/log_capture.h"

namespace gbk = fwbase::gbk;

namespace {

std::string utf8_of(char32_t c) {
  if (c < 0x800) {
    return {static_cast<char>(0xC0 | (c >> 6)), static_cast<char>(0x80 | (c & 0x3F))};
  }
  return {static_cast<char>(0xE0 | (c >> 12)), static_cast<char>(0x80 | ((c >> 6) & 0x3F)),
          static_cast<char>(0x80 | (c & 0x3F))};
}

// The two bytes that the C library gives a character, or an empty text.
std::string system_gbk(char32_t c) {
  try {
    return fwbase::test::gbk(utf8_of(c));
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace

TEST(Gbk, EveryCharacterIsEncodedAsTheCLibraryEncodesIt) {
  int encoded = 0;
  for (char32_t c = 0x80; c < 0x10000; ++c) {
    // Not characters, and the euro sign, to which the C library gives a byte that GBK leaves open.
    if ((c >= 0xD800 && c < 0xE000) || c == 0x20AC) {
      continue;
    }
    const char16_t code = gbk::code_of(c);
    std::string bytes;
    if (code != 0) {
      bytes = {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
      ++encoded;
    }
    ASSERT_EQ(bytes, system_gbk(c)) << "U+" << std::hex << static_cast<unsigned>(c);
  }
  EXPECT_EQ(encoded, 21791);
}

TEST(Gbk, TextsAreConvertedWhileCompiling) {
  static constexpr auto text = gbk::encode<gbk::size_of("错误: %d\n")>("错误: %d\n");
  static_assert(sizeof(text.bytes) == 10);
  EXPECT_EQ(std::string(text.bytes), fwbase::test::gbk("错误: %d\n"));
  EXPECT_EQ(std::string(GBK("数据块构造")), fwbase::test::gbk("数据块构造"));
  EXPECT_STREQ(GBK(""), "");
}

TEST(Gbk, CharactersOutsideHaveNoCode) {
  EXPECT_EQ(gbk::code_of(U'é'), gbk::code_of(0xE9));
  EXPECT_EQ(gbk::code_of(U'\u0E01'), 0);
  EXPECT_EQ(gbk::code_of(U'\U0001F600'), 0);
}
