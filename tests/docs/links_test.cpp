// Every relative link of the documentation leads to a file of the tree, and to a heading in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/docs/markdown.h"

namespace fs = std::filesystem;
using fwbase::test::anchor_of;
using fwbase::test::MarkdownPage;
using fwbase::test::source_path;

namespace {

/// The pages of the tree, as paths relative to its root; build directories do not count.
std::vector<std::string> pages() {
  const fs::path root = source_path("");
  std::vector<std::string> found;
  for (auto entry = fs::recursive_directory_iterator(root);
       entry != fs::recursive_directory_iterator(); ++entry) {
    const std::string name = entry->path().filename().string();
    if (entry->is_directory() && (name.starts_with(".") || name == "build")) {
      entry.disable_recursion_pending();
    } else if (name.ends_with(".md")) {
      found.push_back(fs::relative(entry->path(), root).string());
    }
  }
  return found;
}

bool has_anchor(const std::string& page, const std::string& anchor) {
  const std::vector<std::string> headings = MarkdownPage(page).headings();
  return std::any_of(headings.begin(), headings.end(),
                     [&](const std::string& heading) { return anchor_of(heading) == anchor; });
}

void expect_target(const std::string& page, const std::string& link) {
  const std::size_t hash = std::min(link.find('#'), link.size());
  const std::string file = link.substr(0, hash);
  const std::string target =
      file.empty() ? page : (fs::path(page).parent_path() / file).lexically_normal().string();
  EXPECT_TRUE(fs::exists(source_path(target))) << page << ": " << link;
  if (hash < link.size() && fs::exists(source_path(target))) {
    EXPECT_TRUE(has_anchor(target, link.substr(hash + 1))) << page << ": " << link;
  }
}

}  // namespace

TEST(DocumentationLinks, RelativeOnesLeadToFilesAndHeadings) {
  std::size_t links = 0;
  for (const std::string& page : pages()) {
    for (const std::string& link : MarkdownPage(page).links()) {
      if (link.find("://") == std::string::npos) {
        expect_target(page, link);
        ++links;
      }
    }
  }
  EXPECT_GT(links, 10u);
}

TEST(DocumentationLinks, EveryPageInDocsIsLinkedFromTheReadme) {
  const std::vector<std::string> links = MarkdownPage("README.md").links();
  for (const std::string& page : pages()) {
    if (page.starts_with("docs/")) {
      EXPECT_NE(std::find(links.begin(), links.end(), page), links.end()) << page;
    }
  }
}
