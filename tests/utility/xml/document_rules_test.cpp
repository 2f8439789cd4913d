#include "utility/xml/document_rules.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/utility/xml/colliding_names.h"
#include "tests/utility/xml/xml_file.h"
#include "utility/xml/document_parser.h"

namespace {

using namespace utility;
using fwbase::test::colliding_name;
using fwbase::test::repeated;
using Rules = fwbase::test::XmlFile;

using Name = std::function<std::string(std::size_t)>;

std::string for_each(std::size_t count, const Name& piece) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += piece(i);
  return all;
}

std::string with_dtd(const std::string& declarations, const std::string& content = "<r/>") {
  return "<!DOCTYPE r [" + declarations + "]>" + content;
}

struct Kind {
  std::string what;
  std::function<std::string(std::size_t count, const Name& name)> document;
};

// Where a document has names, by what is named.
const Kind kKinds[] = {
    {"elements",
     [](std::size_t count, const Name& name) {
       return "<r>" + for_each(count, [&](auto i) { return "<" + name(i) + "/>"; }) + "</r>";
     }},
    {"attributes",
     [](std::size_t count, const Name& name) {
       return "<r>" + for_each(count, [&](auto i) { return "<a " + name(i) + "=''/>"; }) + "</r>";
     }},
    {"attributes of one element",
     [](std::size_t count, const Name& name) {
       return "<r" + for_each(count, [&](auto i) { return " " + name(i) + "=''"; }) + "/>";
     }},
    {"declared elements",
     [](std::size_t count, const Name& name) {
       return with_dtd(for_each(count, [&](auto i) { return "<!ELEMENT " + name(i) + " ANY>"; }));
     }},
    {"elements with declared attributes",
     [](std::size_t count, const Name& name) {
       return with_dtd(
           for_each(count, [&](auto i) { return "<!ATTLIST " + name(i) + " a CDATA #IMPLIED>"; }));
     }},
    {"elements in a declaration",
     [](std::size_t count, const Name& name) {
       return with_dtd("<!ELEMENT r (a" + for_each(count, [&](auto i) { return "|" + name(i); }) +
                       ")*>");
     }},
    {"elements in declarations of mixed content",
     [](std::size_t count, const Name& name) {
       return with_dtd(for_each(count, [&](auto i) {
         return "<!ELEMENT e" + std::to_string(i) + " (#PCDATA|" + name(i) + ")*>";
       }));
     }},
    {"declared attributes of one element",
     [](std::size_t count, const Name& name) {
       return with_dtd("<!ATTLIST r" +
                       for_each(count, [&](auto i) { return " " + name(i) + " ID #IMPLIED"; }) +
                       ">");
     }},
    {"entities",
     [](std::size_t count, const Name& name) {
       return with_dtd(for_each(count, [&](auto i) { return "<!ENTITY " + name(i) + " ''>"; }));
     }},
    {"parameter entities",
     [](std::size_t count, const Name& name) {
       return with_dtd(for_each(count, [&](auto i) { return "<!ENTITY % " + name(i) + " ''>"; }));
     }},
    {"notations",
     [](std::size_t count, const Name& name) {
       return with_dtd(
           for_each(count, [&](auto i) { return "<!NOTATION " + name(i) + " SYSTEM 's'>"; }));
     }},
};

TEST_F(Rules, RefuseNamesThatCollide) {
  for (const Kind& kind : kKinds) {
    EXPECT_EQ(load(kind.document(kMaxNamesPerBucket - 10, colliding_name)), XEC_OK) << kind.what;
    EXPECT_EQ(load(kind.document(kMaxNamesPerBucket + 100, colliding_name)), XEC_PARSE)
        << kind.what;
  }
}

TEST_F(Rules, TakeAsManyNamesThatDoNot) {
  const Name name = [](std::size_t i) { return "name" + std::to_string(i); };
  for (const Kind& kind : kKinds) {
    EXPECT_EQ(load(kind.document(3'900, name)), XEC_OK) << kind.what;
  }
}

// Each kind of name is kept by itself.
TEST_F(Rules, TakeNamesThatCollideInSeveralKinds) {
  std::string declarations, content;
  for (std::size_t i = 0; i < kMaxNamesPerBucket - 10; ++i) {
    const std::string name = colliding_name(i);
    declarations += "<!ENTITY " + name + " ''><!ENTITY % " + name + " ''><!ELEMENT " + name +
                    " ANY><!ATTLIST " + name + " " + name + " ID #IMPLIED>";
    content += "<" + name + " " + name + "='a'/>&" + name + ";";
  }
  EXPECT_EQ(load(with_dtd(declarations, "<r>" + content + "</r>")), XEC_OK);
}

TEST_F(Rules, BoundTheAttributesOfATag) {
  const auto document = [](std::size_t count) {
    return "<r" + for_each(count, [](auto i) { return " a" + std::to_string(i) + "=''"; }) + "/>";
  };
  EXPECT_EQ(load(document(kMaxAttributes)), XEC_OK);
  EXPECT_EQ(load(document(kMaxAttributes + 1)), XEC_PARSE);
}

// The scanner reports a tag, and a declaration, when it is complete. Until then the names in it can
// have cost the square of their number: so one that goes on for too long is not read to its end.
TEST_F(Rules, StopReadingATagOrDeclarationThatGoesOn) {
  const Kind* const kinds[] = {&kKinds[2], &kKinds[5]};
  for (const Kind* const kind : kinds) {
    std::size_t in_use[2];
    std::size_t i = 0;
    for (const std::size_t count : {10'000u, 20'000u}) {
      const std::unique_ptr<DocumentParser> parser(new (std::nothrow) DocumentParser);
      EXPECT_FALSE(parser->parse_text(kind->document(count, colliding_name))) << kind->what;
      in_use[i++] = parser->bytes_in_use();
    }
    EXPECT_EQ(in_use[0], in_use[1]) << kind->what;
  }
}

TEST_F(Rules, BoundTheListsOfDefaultsOfAnElement) {
  const auto document = [](std::size_t lists, const char* what) {
    return with_dtd(for_each(lists, [&](auto i) {
      return "<!ATTLIST r a" + std::to_string(i) + " CDATA " + what + ">";
    }));
  };
  EXPECT_EQ(load(document(300, "'x'")), XEC_OK);
  EXPECT_EQ(load(document(500, "'x'")), XEC_PARSE);
  EXPECT_EQ(load(document(kMaxDeclarations, "#IMPLIED")), XEC_OK);
}

TEST_F(Rules, AnEnumerationMayBeLong) {
  const std::string values = for_each(80'000, [](auto i) { return "|v" + std::to_string(i); });
  ASSERT_EQ(load(with_dtd("<!ATTLIST r a (v" + values + ") 'v1'>")), XEC_OK);
  std::string value;
  EXPECT_EQ(root().get_attr("a", value), XEC_OK);
  EXPECT_EQ(value, "v1");
}

TEST_F(Rules, AnyNumberOfIdsMayCollide) {
  const std::string id = with_dtd("<!ATTLIST a i ID #IMPLIED>", "<r>");
  EXPECT_EQ(
      load(id + for_each(50'000, [](auto i) { return "<a i='" + colliding_name(i) + "'/>"; }) +
           "</r>"),
      XEC_OK);
  EXPECT_EQ(load(id + repeated("<a i='x'/>", 50'000) + "</r>"), XEC_OK);
}

}  // namespace
