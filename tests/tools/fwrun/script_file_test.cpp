#include "script_file.h"

#include <gtest/gtest.h>

namespace fwrun::test {

TEST(FwrunScriptFile, NamedThingsAreFoundInTheOrderOfTheFile) {
  NamedList<Section> sections;
  EXPECT_EQ(sections.find("a"), nullptr);
  sections.add({"b", {}});
  sections.add({"a", {{"first", {}, ""}}});
  sections.add({"a", {{"second", {}, ""}}});
  ASSERT_EQ(sections.size(), 3U);
  EXPECT_EQ(sections.begin()->name, "b");
  ASSERT_NE(sections.find("a"), nullptr);
  EXPECT_EQ(sections.find("a")->calls.front().function, "first");
  EXPECT_EQ(sections.find("c"), nullptr);
}

}  // namespace fwrun::test
