#include <fwbase/irunlog.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <memory>
#include <string>

#include "tests/harness/failing_new.h"
#include "tests/harness/temp_dir.h"

using fwbase::IRunLog;

namespace {

using Text = std::unique_ptr<char[]>;

Text formatted(const std::string& text) { return Text(IRunLog::FormatStr("%s", text.c_str())); }

}  // namespace

TEST(FormatStr, FormatsAsPrintf) {
  EXPECT_STREQ(Text(IRunLog::FormatStr("a %d %s %x", -1, "b", 255u)).get(), "a -1 b ff");
}

TEST(FormatStr, TheBufferHas1024BytesAndIsZeroBehindTheText) {
  const Text text(IRunLog::FormatStr("%s", "abc"));
  EXPECT_EQ(std::string(text.get(), 1024), "abc" + std::string(1021, '\0'));
}

TEST(FormatStr, WhatFollowsAZeroThatWasFormattedStays) {
  const Text text(IRunLog::FormatStr("a%cb", 0));
  std::string expected("a\0b", 3);
  expected.resize(1024);
  EXPECT_EQ(std::string(text.get(), 1024), expected);
}

TEST(FormatStr, KeepsUpTo1022CharactersAndCutsLongerTexts) {
  for (const std::size_t length : {0u, 1u, 1021u, 1022u, 1023u, 1024u, 1025u, 2000u, 100000u}) {
    const std::string text(length, 'x');
    EXPECT_EQ(std::string(formatted(text).get()), text.substr(0, 1022)) << length;
  }
}

TEST(FormatStr, ACutBufferIsZeroToItsEnd) {
  const Text text = formatted(std::string(2000, 'x'));
  EXPECT_EQ(std::string(text.get(), 1024), std::string(1022, 'x') + std::string(2, '\0'));
}

TEST(FormatStr, NullFormatGivesNull) {
  const char* const format = nullptr;
  EXPECT_EQ(IRunLog::FormatStr(format), nullptr);
}

TEST(FormatStr, NoMemoryGivesNull) {
  const fwbase::test::FailingNew memory(1);
  EXPECT_EQ(IRunLog::FormatStr("text"), nullptr);
  EXPECT_TRUE(memory.has_failed());
}

TEST(FormatStr, NumbersHaveThePointOfTheLocale) {
  const fwbase::test::TempDir directory;
  ASSERT_EQ(std::system(("localedef -i de_DE -f UTF-8 " + directory.path("comma")).c_str()), 0);
  ::setenv("LOCPATH", directory.path().c_str(), 1);
  ASSERT_NE(std::setlocale(LC_ALL, "comma"), nullptr);
  const Text text(IRunLog::FormatStr("%.2f", 1.5));
  std::setlocale(LC_ALL, "C");
  ::unsetenv("LOCPATH");
  EXPECT_STREQ(text.get(), "1,50");
}

TEST(FormatStr, AFormatterErrorLeavesATerminatedBuffer) {
  std::setlocale(LC_ALL, "C");
  const wchar_t not_in_this_locale[] = {wchar_t{0x4E00}, 0};
  const Text text(IRunLog::FormatStr("%ls", not_in_this_locale));
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(std::count(text.get(), text.get() + 1024, '\0'), 1024);
}
