#include "fwbase/runlog/fast_printf.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <clocale>
#include <string>

namespace {

// What is made of a format; "(vsnprintf)" where that is to be asked.
std::string made(std::size_t room, const char* format, ...) {
  std::string text(room, '?');
  std::va_list args;
  va_start(args, format);
  const auto size = fwbase::fast_printf(text.data(), room, format, args);
  va_end(args);
  return size ? text.substr(0, *size) : "(vsnprintf)";
}

constexpr std::size_t kRoom = 100;

}  // namespace

TEST(FastPrintf, KnowsWhatHostsWriteMost) {
  EXPECT_EQ(made(kRoom, "a %d of %s, %.3f%%", -1, "text", 2.0005), "a -1 of text, 2.001%");
  EXPECT_EQ(
      made(kRoom, "%5d|%-5d|%05d|%lu|%lld|%zx|%X", 1, 2, -3, 4ul, 5ll, std::size_t{255}, 255u),
      "    1|2    |-0003|4|5|ff|FF");
  EXPECT_EQ(made(kRoom, "%6s|%-4s|%.2s|%.*s", "a", "b", "cdef", 1, "gh"), "     a|b   |cd|g");
  EXPECT_EQ(made(kRoom, "%f|%8.1f|%08.1f", 0.5, -0.25, -0.25), "0.500000|    -0.2|-00000.2");
  EXPECT_EQ(made(kRoom, "%p|%p", reinterpret_cast<void*>(0x1234), nullptr), "0x1234|(nil)");
  EXPECT_EQ(made(kRoom, ""), "");
}

TEST(FastPrintf, LeavesTheRestToVsnprintf) {
  const char* const nothing = nullptr;
  for (const char* const format :
       {"%+d", "% d", "%#x", "%'d", "%.3d", "%hd", "%o", "%c", "%*d", "%200d", "%5%", "%"}) {
    EXPECT_EQ(made(kRoom, format, 1, 1), "(vsnprintf)") << format;
  }
  for (const char* const format : {"%e", "%g", "%.101f", "%.*f", "%Lf"}) {
    EXPECT_EQ(made(kRoom, format, 1.0), "(vsnprintf)") << format;
  }
  EXPECT_EQ(made(kRoom, "%f", 1e15), "(vsnprintf)");
  EXPECT_EQ(made(kRoom, "%s", nothing), "(vsnprintf)");
}

TEST(FastPrintf, LeavesATextThatDoesNotFitToVsnprintf) {
  EXPECT_EQ(made(4, "%d", 1234), "1234");
  for (const char* const format : {"%d", "%5d", "%05d"}) {
    EXPECT_EQ(made(4, format, 12345), "(vsnprintf)") << format;
  }
  EXPECT_EQ(made(4, "abcd"), "abcd");
  EXPECT_EQ(made(4, "abcde"), "(vsnprintf)");
  EXPECT_EQ(made(4, "%s", "abcd"), "abcd");
  EXPECT_EQ(made(4, "%s", "abcde"), "(vsnprintf)");
  EXPECT_EQ(made(4, "a%%%d", 123), "(vsnprintf)");
}

TEST(FastPrintf, LeavesNumbersToVsnprintfWhereTheThreadRoundsOtherwise) {
  std::fesetround(FE_UPWARD);
  const std::string upward = made(kRoom, "%.1f", 0.11);
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(upward, "(vsnprintf)");
  EXPECT_EQ(made(kRoom, "%.1f", 0.11), "0.1");
}
