// The README in Chinese says what the README says: what both have in common is the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/docs/markdown.h"

using fwbase::test::code_spans;
using fwbase::test::MarkdownPage;

namespace {

constexpr const char* kEnglish = "README.md";
constexpr const char* kChinese = "README.zh-CN.md";

/// Sentences have their own order in each language, and lines end elsewhere.
std::multiset<std::string> code_in_sentences(const MarkdownPage& page) {
  std::multiset<std::string> found;
  for (std::string span : code_spans(page.prose())) {
    std::replace(span.begin(), span.end(), '\n', ' ');
    found.insert(span);
  }
  return found;
}

/// But for the link to the other language.
std::multiset<std::string> links_but(const std::string& other, const MarkdownPage& page) {
  const std::vector<std::string> links = page.links();
  std::multiset<std::string> found(links.begin(), links.end());
  found.erase(other);
  return found;
}

std::size_t links_to(const std::string& target, const MarkdownPage& page) {
  const std::vector<std::string> links = page.links();
  return static_cast<std::size_t>(std::count(links.begin(), links.end(), target));
}

}  // namespace

TEST(ChineseReadme, HasTheSameCodeBlocksInTheSameOrder) {
  const std::vector<std::string> blocks = MarkdownPage(kEnglish).code_blocks();
  EXPECT_GE(blocks.size(), 4u);
  EXPECT_EQ(MarkdownPage(kChinese).code_blocks(), blocks);
}

TEST(ChineseReadme, HasHeadingsOfTheSameLevels) {
  const std::vector<std::size_t> levels = MarkdownPage(kEnglish).heading_levels();
  EXPECT_GE(levels.size(), 10u);
  EXPECT_EQ(MarkdownPage(kChinese).heading_levels(), levels);
}

TEST(ChineseReadme, NamesTheSameCommandsFilesAndHeaders) {
  const std::multiset<std::string> code = code_in_sentences(MarkdownPage(kEnglish));
  EXPECT_GE(code.size(), 30u);
  EXPECT_EQ(code_in_sentences(MarkdownPage(kChinese)), code);
}

TEST(ChineseReadme, LeadsToTheSamePages) {
  EXPECT_EQ(links_but(kEnglish, MarkdownPage(kChinese)),
            links_but(kChinese, MarkdownPage(kEnglish)));
}

TEST(ChineseReadme, IsLinkedWithTheEnglishOne) {
  EXPECT_EQ(links_to(kChinese, MarkdownPage(kEnglish)), 1u);
  EXPECT_EQ(links_to(kEnglish, MarkdownPage(kChinese)), 1u);
}
