#include "utility/xml/name_table.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <xercesc/util/Hash2KeysSetOf.hpp>
#include <xercesc/util/Hashers.hpp>
#include <xercesc/util/RefHashTableOf.hpp>

#include "tests/utility/xml/colliding_names.h"
#include "tests/utility/xml/xml_file.h"
#include "utility/text_codec.h"
#include "utility/xml/xml_memory.h"

namespace {

using namespace utility;
using fwbase::test::colliding_name;

DomText dom_text(const std::string& ascii) { return DomText(ascii.begin(), ascii.end()); }

constexpr HashTable kAll[] = {kDeclarations, kElements, kTag, kDomNames, kDomDeclarations};

// How many names such a table takes, of so many.
std::size_t taken(NameTable names, std::size_t count,
                  const std::function<std::string(std::size_t)>& name) {
  for (std::size_t i = 0; i < count; ++i) {
    try {
      names.add(dom_text(name(i)).c_str());
    } catch (const DocumentRefused&) {
      return i;
    }
  }
  return count;
}

std::string padded(std::size_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - std::min(width, digits.size()), '0') + digits;
}

TEST(NameTable, TakesNamesThatNobodyHasChosenForIt) {
  const auto letters = [](std::size_t i) {
    std::string name;
    for (i += 26 * 26; i != 0; i /= 26) name += static_cast<char>('a' + i % 26);
    return name;
  };
  const std::pair<const char*, std::function<std::string(std::size_t)>> kinds[] = {
      {"numbers", [](std::size_t i) { return "a" + std::to_string(i); }},
      {"numbers of one width", [](std::size_t i) { return "function_" + padded(i, 6); }},
      {"numbers before a suffix", [](std::size_t i) { return "n" + padded(i, 5) + "_id"; }},
      {"round numbers", [](std::size_t i) { return "a" + std::to_string(100 * i); }},
      {"multiples of the hash's factor",
       [](std::size_t i) { return "a" + std::to_string(38 * i); }},
      {"letters", letters},
      {"letters before a suffix", [&](std::size_t i) { return letters(i) + "_1"; }},
      {"rows and columns",
       [](std::size_t i) { return "r" + std::to_string(i / 250) + "c" + std::to_string(i % 250); }},
  };
  const NameTable in_all = {kDeclarations, kElements, kTag, kDomNames, kDomDeclarations};
  for (const auto& [kind, name] : kinds) EXPECT_EQ(taken(in_all, 50'000, name), 50'000u) << kind;
}

TEST(NameTable, RefusesNamesOfEqualHashes) {
  for (const HashTable& table : kAll) {
    const std::size_t count = taken(NameTable{table}, 2'000, colliding_name);
    EXPECT_GE(count, kMaxNamesPerBucket) << table.buckets;
    EXPECT_LE(count, kMaxNamesPerBucket + 20) << table.buckets;
  }
}

// Their hashes differ, but by multiples of the number of buckets that the table has in the end.
TEST(NameTable, RefusesNamesThatFallIntoOneBucket) {
  constexpr std::size_t kCount = 1'000;
  for (const HashTable& table : kAll) {
    const std::size_t buckets = buckets_for(kCount, table);
    std::size_t number = 0;
    const auto name = [&](std::size_t i) {
      std::string text = "a" + std::to_string(++number);
      if (i < kCount - kMaxNamesPerBucket) return text;  // they only make the table grow
      while (xercesc::XMLString::hash(dom_text(text).c_str(), buckets) != 0) {
        text = "a" + std::to_string(++number);
      }
      return text;
    };
    const std::size_t count = taken(NameTable{table}, 2 * kCount, name);
    EXPECT_GE(count, kCount - 10) << table.buckets;
    EXPECT_LE(count, kCount + 30) << table.buckets;
  }
}

TEST(NameTable, CountsANameOnce) {
  NameTable names{kElements};
  for (int i = 0; i < 10'000; ++i) names.add(i % 2 == 0 ? u"a" : u"b");
  EXPECT_EQ(names.size(), 2u);
}

TEST(NameTable, TablesGrowAsThoseOfTheLibrary) {
  const fwbase::test::XmlPlatform platform;
  xercesc::RefHashTableOf<int> declarations(kDeclarations.buckets, false);
  xercesc::RefHashTableOf<int> elements(kElements.buckets, false);
  xercesc::Hash2KeysSetOf<xercesc::StringHasher> tag(kTag.buckets);
  int value = 0;
  std::vector<DomText> names;
  for (std::size_t i = 0; i < 20'000; ++i) names.push_back(dom_text("a" + std::to_string(i)));
  for (std::size_t i = 0; i < names.size(); ++i) {
    declarations.put(names[i].data(), &value);
    elements.put(names[i].data(), &value);
    tag.putIfNotPresent(names[i].data(), 0);
    ASSERT_EQ(declarations.getHashModulus(), buckets_for(i + 1, kDeclarations)) << i;
    ASSERT_EQ(elements.getHashModulus(), buckets_for(i + 1, kElements)) << i;
    ASSERT_EQ(tag.getHashModulus(), buckets_for(i + 1, kTag)) << i;
  }
}

}  // namespace
