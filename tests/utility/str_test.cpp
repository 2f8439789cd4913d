#include <utility/str.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using utility::CStr;
using Strings = std::vector<std::string>;
using std::string_literals::operator""s;

TEST(Str, TrimsBlankTabCarriageReturnAndLineFeedOnly) {
  struct {
    std::string in, left, right, both;
  } const cases[] = {
      {"", "", "", ""},
      {" \t\r\n", "", "", ""},
      {" a ", "a ", " a", "a"},
      {"\r\n\ta b\t\n", "a b\t\n", "\r\n\ta b", "a b"},
      {"\va\v", "\va\v", "\va\v", "\va\v"},
      {"\f \f", "\f \f", "\f \f", "\f \f"},
      {"\xC2\xA0 a", "\xC2\xA0 a", "\xC2\xA0 a", "\xC2\xA0 a"},
      {" \0 "s, "\0 "s, " \0"s, "\0"s},
      {"unchanged", "unchanged", "unchanged", "unchanged"},
  };
  for (const auto& c : cases) {
    std::string s = c.in;
    CStr::left_trim(s);
    EXPECT_EQ(s, c.left) << "left_trim of <" << c.in << ">";
    s = c.in;
    CStr::right_trim(s);
    EXPECT_EQ(s, c.right) << "right_trim of <" << c.in << ">";
    s = c.in;
    CStr::trim(s);
    EXPECT_EQ(s, c.both) << "trim of <" << c.in << ">";
  }
}

TEST(Str, TrimsRunsOfOneByte) {
  struct {
    char byte;
    std::string in, left, right, both;
  } const cases[] = {
      {'0', "", "", "", ""},
      {'0', "000", "", "", ""},
      {'0', "0102300", "102300", "01023", "1023"},
      {'0', "123", "123", "123", "123"},
      {'\0', "\0a\0\0"s, "a\0\0"s, "\0a"s, "a"},
      {'\xFF', "\xFF\xFE\xFF", "\xFE\xFF", "\xFF\xFE", "\xFE"},
  };
  for (const auto& c : cases) {
    std::string s = c.in;
    CStr::left_trim_byte(c.byte, s);
    EXPECT_EQ(s, c.left) << "left_trim_byte of <" << c.in << ">";
    s = c.in;
    CStr::right_trim_byte(c.byte, s);
    EXPECT_EQ(s, c.right) << "right_trim_byte of <" << c.in << ">";
    s = c.in;
    CStr::trim_byte(c.byte, s);
    EXPECT_EQ(s, c.both) << "trim_byte of <" << c.in << ">";
  }
}

TEST(Str, CutsAtARemark) {
  struct {
    std::string mark, in, out;
  } const cases[] = {
      {"//", "a // b", "a "}, {"//", "a / b", "a / b"},
      {"//", "// all", ""},   {"//", "a//b//c", "a"},
      {"", "a", ""},          {"", "", ""},
      {"ab", "aab", "a"},     {"long mark", "a", "a"},
  };
  for (const auto& c : cases) {
    std::string s = c.in;
    CStr::trim_remark(c.mark, s);
    EXPECT_EQ(s, c.out) << "mark <" << c.mark << "> in <" << c.in << ">";
  }
}

// The rule as it is worded, step by step: what the linear implementation must agree with.
std::string without_comments(const std::string& begin, const std::string& end, std::string s) {
  for (;;) {
    const std::size_t from = s.find(begin);
    if (from == std::string::npos) return s;
    const std::size_t to = s.find(end, from);
    if (to == std::string::npos) return s;
    s = s.substr(0, from) + s.substr(to + end.size());
  }
}

TEST(Str, RemovesBlockComments) {
  struct {
    std::string begin, end, in, out;
  } const cases[] = {
      {"/*", "*/", "a/*x*/b/*y", "ab/*y"},
      {"/*", "*/", "a/*x*/b", "ab"},
      {"/*", "*/", "/*a*//*b*/", ""},
      {"/*", "*/", "a*/b", "a*/b"},
      {"/*", "*/", "/*/", ""},
      {"/*", "*/", "/*x*/*y*/", "*y*/"},
      {"/*", "*/", "//*x*/*y*/z", "z"},
      {"#", "#", "a#b#c", "abc"},
      {"##", "##", "a##b###c", "ab#c"},
      {"<!--", "-->", "x<!-- a --> y <!-- b -->z", "x y z"},
      {"ab", "b", "aabbc", "c"},
      {"aab", "a", "aabaab", "abab"},
      {"", ";", "a;b;c", "c"},
      {"a", "", "abc", "abc"},
      {"", "", "abc", "abc"},
      {"/*", "*/", "", ""},
  };
  for (const auto& c : cases) {
    std::string s = c.in;
    CStr::trim_remark(c.begin, c.end, s);
    EXPECT_EQ(s, c.out) << "<" << c.begin << "> to <" << c.end << "> in <" << c.in << ">";
  }
}

TEST(Str, RemovesBlockCommentsAsTheRuleSaysForEveryShortText) {
  const Strings markers = {"a", "b", "ab", "ba", "aa", "aab", "aba", "bab", "abab"};
  for (unsigned length = 0; length <= 9; ++length) {
    for (unsigned bits = 0; bits < 1U << length; ++bits) {
      std::string text;
      for (unsigned i = 0; i < length; ++i) text += (bits >> i & 1U) != 0 ? 'a' : 'b';
      for (const std::string& begin : markers) {
        for (const std::string& end : markers) {
          std::string s = text;
          CStr::trim_remark(begin, end, s);
          ASSERT_EQ(s, without_comments(begin, end, text))
              << "<" << begin << "> to <" << end << "> in <" << text << ">";
        }
      }
    }
  }
}

TEST(Str, ReplacesFromLeftToRightWithoutRescanning) {
  struct {
    std::string from, to, in, out;
  } const cases[] = {
      {"aa", "a", "aaaa", "aa"}, {"a", "aa", "aba", "aabaa"}, {"x", "y", "abc", "abc"},
      {"", "y", "abc", "abc"},   {"b", "", "abcb", "ac"},     {"aa", "b", "aaa", "ba"},
      {"abc", "", "abc", ""},    {"a", "b", "", ""},          {"\0"s, "0", "a\0b"s, "a0b"},
  };
  for (const auto& c : cases) {
    std::string s = c.in;
    CStr::string_replace(s, c.from, c.to);
    EXPECT_EQ(s, c.out) << "<" << c.from << "> by <" << c.to << "> in <" << c.in << ">";
  }
}

TEST(Str, SplitsAtASeparatorAndDropsEmptyPieces) {
  struct {
    std::string sep, in;
    Strings out;
  } const cases[] = {
      {",", "", {}},
      {",", "a", {"a"}},
      {",", "a,,b,", {"a", "b"}},
      {",", ",,,", {}},
      {",", ",a", {"a"}},
      {"::", "a::b:c", {"a", "b:c"}},
      {"", "abc", {}},
      {"ab", "aab", {"a"}},
      {", ", "a, b,c", {"a", "b,c"}},
      {"\0"s, "a\0b"s, {"a", "b"}},
  };
  for (const auto& c : cases) {
    Strings parts = {"kept"};
    CStr::ext_line(c.sep, parts, c.in);
    Strings expected = {"kept"};
    expected.insert(expected.end(), c.out.begin(), c.out.end());
    EXPECT_EQ(parts, expected) << "<" << c.in << "> at <" << c.sep << ">";
  }
}

TEST(Str, SplitsIntoWords) {
  struct {
    std::string in;
    Strings out;
  } const cases[] = {
      {"", {}},
      {" \t\r\n\v\f", {}},
      {"  one two\tthree ", {"one", "two", "three"}},
      {"one", {"one"}},
      {"a\vb\fc\nd\re", {"a", "b", "c", "d", "e"}},
      {"a\0b c"s, {"a\0b"s, "c"}},
  };
  for (const auto& c : cases) {
    Strings words = {"kept"};
    CStr::ext_line(words, c.in);
    Strings expected = {"kept"};
    expected.insert(expected.end(), c.out.begin(), c.out.end());
    EXPECT_EQ(words, expected) << "<" << c.in << ">";
  }
}

TEST(Str, ReadsSignedNumbers) {
  const long long min = std::numeric_limits<long long>::min();
  const long long max = std::numeric_limits<long long>::max();
  struct {
    std::string in;
    long long out;
  } const cases[] = {
      {"42abc", 42},
      {" -7", -7},
      {"+5", 5},
      {"", 0},
      {"abc", 0},
      {"-", 0},
      {"+-1", 0},
      {"\t\n\v\f\r 12", 12},
      {"007", 7},
      {"1 2", 1},
      {"- 1", 0},
      {"0x10", 0},
      {"1.9", 1},
      {"9223372036854775807", max},
      {"9223372036854775808", max},
      {"-9223372036854775808", min},
      {"-9223372036854775809", min},
      {"99999999999999999999999999", max},
      {"-99999999999999999999999999", min},
      {"00000000000000000000000000000001", 1},
      {"5\0006"s, 5},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CStr::atoll(c.in), c.out) << "<" << c.in << ">";
    EXPECT_EQ(CStr::atol(c.in), c.out) << "<" << c.in << ">";
  }
}

TEST(Str, ReadsUnsignedNumbers) {
  const unsigned long long max = std::numeric_limits<unsigned long long>::max();
  struct {
    std::string in;
    unsigned long long out;
  } const cases[] = {
      {"42abc", 42},
      {" 7", 7},
      {"", 0},
      {"x", 0},
      {"18446744073709551615", max},
      {"18446744073709551616", max},
      {"-1", max},
      {"-0", 0},
      {"+9", 9},
  };
  for (const auto& c : cases) EXPECT_EQ(CStr::atoull(c.in), c.out) << "<" << c.in << ">";
}

TEST(Str, WritesNumbers) {
  EXPECT_EQ(CStr::lltoa(0), "0");
  EXPECT_EQ(CStr::lltoa(-15), "-15");
  EXPECT_EQ(CStr::lltoa(std::numeric_limits<long long>::min()), "-9223372036854775808");
  EXPECT_EQ(CStr::lltoa(std::numeric_limits<long long>::max()), "9223372036854775807");
  EXPECT_EQ(CStr::ulltoa(0), "0");
  EXPECT_EQ(CStr::ulltoa(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
}

TEST(Str, OneObjectMayBeSeveralArguments) {
  std::string s = "ab";
  CStr::trim_remark(s, s);
  EXPECT_EQ(s, "");
  s = "a";
  CStr::trim_remark(s, "b", s);
  EXPECT_EQ(s, "a");
  s = "ab";
  CStr::trim_remark("a", s, s);
  EXPECT_EQ(s, "");
  s = "ab";
  CStr::string_replace(s, s, s);
  EXPECT_EQ(s, "ab");
  Strings words = {"a b c"};
  CStr::ext_line(words, words[0]);
  EXPECT_EQ(words, (Strings{"a b c", "a", "b", "c"}));
  Strings parts = {"a,b,c"};
  CStr::ext_line(",", parts, parts[0]);
  EXPECT_EQ(parts, (Strings{"a,b,c", "a", "b", "c"}));
}

}  // namespace
