#include "fwbase/script/document.h"

#include <gtest/gtest.h>

#include <utility/xml.h>
#include <xercesc/util/PlatformUtils.hpp>

#include "tests/harness/code_page.h"
#include "tests/harness/script_file.h"
#include "tests/utility/xml/xml_file.h"

namespace {

using namespace fwbase;
using fwbase::test::CodePage;
using fwbase::test::repeated;
using fwbase::test::ScriptFile;
using script::Document;
using script::Place;
using Element = Document::Element;

class DocumentTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { xercesc::XMLPlatformUtils::Initialize(); }
  static void TearDownTestSuite() { xercesc::XMLPlatformUtils::Terminate(); }

  Place stopped(const std::string& text) {
    EXPECT_EQ(document.parse(text), utility::XEC_PARSE);
    return document.stopped();
  }

  // An element and all below it, such as "a[x=1]'text'(b c)".
  static std::string shown(const Element& element, bool with_place = false) {
    std::string text = element.name();
    if (with_place) {
      text +=
          "@" + std::to_string(element.place().line) + ":" + std::to_string(element.place().column);
    }
    std::string_view leading;
    if (element.text(leading) != utility::XEC_OK) {
      leading = "?";
    }
    text += leading.empty() ? "" : "'" + std::string(leading) + "'";
    std::string children;
    for (const Element child : element.children()) {
      children += (children.empty() ? "" : " ") + shown(child, with_place);
    }
    return text + (children.empty() ? "" : "(" + children + ")");
  }

  // The same of a tree of the XML library.
  static std::string shown(const utility::CElement& element) {
    std::string text = element.get_element_name();
    std::string leading;
    if (element.get_text(leading) != utility::XEC_OK) {
      leading = "?";
    }
    text += leading.empty() ? "" : "'" + leading + "'";
    std::vector<utility::CElement> all;
    element.get_all_child_element(all);
    std::string children;
    for (const utility::CElement& child : all) {
      children += (children.empty() ? "" : " ") + shown(child);
    }
    return text + (children.empty() ? "" : "(" + children + ")");
  }

  std::string tree(const std::string& text) {
    const unsigned int code = document.parse(text);
    return code == utility::XEC_OK ? shown(document.root()) : "code " + std::to_string(code);
  }

  // Elements with their places.
  std::string places(const std::string& text) {
    const unsigned int code = document.parse(text);
    return code == utility::XEC_OK ? shown(document.root(), true) : "code " + std::to_string(code);
  }

  static std::string tree_of_library(const std::string& text) {
    const ScriptFile file(text);
    utility::CXml xml;
    xml.init();
    const unsigned int code = xml.load(file.path());
    utility::CElement root;
    const std::string result = xml.get_root_element(root) == utility::XEC_OK
                                   ? shown(root)
                                   : "code " + std::to_string(code);
    xml.release();
    return result;
  }

  Document document;
};

// What this reads is what the XML library's tree says, refusals included.

const std::string kDeclared =
    "<!DOCTYPE a [<!ENTITY t 'text'><!ENTITY e '<b>in</b>'><!ENTITY c '<!-- c -->x'>"
    "<!ENTITY n ''><!ENTITY two '&t;&t;'><!ENTITY x SYSTEM 'other.xml'>"
    "<!ENTITY % p \"<!ENTITY q 'from p'>\">%p;"
    "<!ATTLIST a d CDATA 'default'><!ELEMENT s (i*)>]>";

TEST_F(DocumentTest, HoldsWhatTheLibrarysTreeHolds) {
  const std::string texts[] = {
      "<a/>",
      "<a>x</a>",
      "<a>  x y\n </a>",
      "<a>x<b/>y</a>",
      "<a><b/>y</a>",
      "<a><!-- c -->x</a>",
      "<a>x<!-- c -->y</a>",
      "<a><?p i?>x</a>",
      "<a>x<?p i?>y</a>",
      "<a><![CDATA[x]]>y</a>",
      "<a>x<![CDATA[y]]>z</a>",
      "<a><![CDATA[]]>y</a>",
      "<a> <![CDATA[ y ]]> </a>",
      "<a>&#65;&lt;&amp;b</a>",
      "<a>&#32;x&#32;</a>",
      "<a>\r\nx\ry\n</a>",
      "<a><b>1</b><c><d/>2</c><e>3<f/></e></a>",
      "<?xml version='1.0' standalone='yes'?><!-- c --><?p i?><a/><!-- c -->\n<?p i?>",
      kDeclared + "<a>&t;</a>",
      kDeclared + "<a>x&t;y</a>",
      kDeclared + "<a>x&two;y</a>",
      kDeclared + "<a>x&n;y</a>",
      kDeclared + "<a>&n;y</a>",
      kDeclared + "<a>x&e;y</a>",
      kDeclared + "<a>&e;<b>own</b></a>",
      kDeclared + "<a>x&c;y</a>",
      kDeclared + "<a>x&t;<b/>&t;</a>",
      kDeclared + "<a><b>&q;</b><b>x&q;</b></a>",
      kDeclared + "<a><s> <i/> </s></a>",
      kDeclared + "<a>&x;</a>",
      kDeclared + "<a b='&x;'/>",
      kDeclared + "<a b='&e;'/>",
      kDeclared + "<a b='&two;'/>",
      "<!DOCTYPE a SYSTEM 'none.dtd'><a>x</a>",
      "<!DOCTYPE a SYSTEM 'none.dtd'><a>&u;</a>",
      "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>",
      "<!DOCTYPE a:b:c [<!ENTITY e 'x'>]><a/>",
      "<!DOCTYPE : []><a/>",
      "<!DOCTYPE a: []><a/>",
      "<!DOCTYPE :a []><a/>",
      "<!DOCTYPE a:b []><a/>",
      "<!DOCTYPE a:1 []><a/>",
      "<!DOCTYPE a:- []><a/>",
      "<!DOCTYPE a.-1 []><a/>",
      "<?xml version='1.1'?><!DOCTYPE \xC4\xB2:\xC4\xB2 []><a/>",
      "<!DOCTYPE a [<!ATTLIST a i ID #IMPLIED><!ATTLIST a i CDATA 'x'>]><a i='1'><a i='1'/></a>",
      "<a:b xmlns='x' a:c='1'><:d/></a:b>",
      "<a b='1' b='2'/>",
      "<a b=1/>",
      "<a b='<'/>",
      "<a>&u;</a>",
      "<a>]]></a>",
      "<a><!-- -- --></a>",
      "<a></b>",
      "<a/><b/>",
      "<a/>x",
      "",
      " ",
      std::string("<a/>\0", 5),
      "<a>\x01</a>",
      "<a>&#1;</a>",
      "<?xml version='1.1'?><a>&#1;x</a>",
      "<?xml version='1.1'?><a>\xC2\x85x\xE2\x80\xA8</a>",
      "<?xml version='2.0'?><a/>",
      "<?xml version='1.0' encoding='GBK'?><a>\xD6\xD0</a>",
      "<?xml version='1.0' encoding='GBK'?><\xD6\xD0>\xCE\xC4</\xD6\xD0>",
      "<?xml version='1.0' encoding='GBK'?><a>\xD6</a>",
      "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>",
      "<?xml version='1.0' encoding='US-ASCII'?><a>\xE4</a>",
      "<?xml version='1.0' encoding='UTF-16'?><a/>",
      "<?xml version='1.0' encoding='none'?><a/>",
      "\xEF\xBB\xBF<a>x</a>",
      "<a>\xF0\x9F\x98\x80</a>",
      "<a>\xC3</a>",
      "<a>\xC2\xA0x\xC2\xA0</a>",
  };
  for (const std::string& text : texts) {
    EXPECT_EQ(tree(text), tree_of_library(text)) << text;
  }
}

TEST_F(DocumentTest, RefusesWhatTheLibrarysTreeRefuses) {
  std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'text'>";
  for (int i = 1; i < 20; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY e" + std::to_string(i) + " '" + inner + inner + inner + "'>";
  }
  const std::string many = "<!DOCTYPE a [<!ENTITY m '" + repeated("<b/>", 50'000) + "'>]>";
  std::string names;
  for (int i = 0; i < 50'001; ++i) {
    names += "<n" + std::to_string(i) + "/>";
  }
  const std::string texts[] = {
      repeated("<a>", 1000) + repeated("</a>", 1000),
      repeated("<a>", 1001) + repeated("</a>", 1001),
      bomb + "]><a>&e19;</a>",
      bomb + "]><a b='&e19;'/>",
      many + "<a>&m;</a>",
      many + "<a>" + repeated("&m;", 20) + "</a>",
      "<a>" + names + "</a>",
  };
  for (const std::string& text : texts) {
    EXPECT_EQ(tree(text), tree_of_library(text)) << text.substr(0, 60);
  }
}

TEST_F(DocumentTest, AttributesAreFoundByName) {
  ASSERT_EQ(document.parse(kDeclared + "<a x=' 1&#10;2 ' y=''><b z='&two;'/></a>"), 0u);
  const Element a = document.root();
  std::string_view value = "untouched";
  const auto get = [&](const Element& element, const char* name) {
    const std::optional<Document::NameId> id = document.find_name(name);
    return id ? element.attribute(*id, value) : utility::XEC_NO_ATTR;
  };
  EXPECT_EQ(get(a, "x"), utility::XEC_OK);
  EXPECT_EQ(value, " 1\n2 ");
  EXPECT_EQ(get(a, "y"), utility::XEC_OK);
  EXPECT_EQ(value, "");
  EXPECT_EQ(get(a, "d"), utility::XEC_OK);
  EXPECT_EQ(value, "default");
  EXPECT_EQ(get(*a.children().begin(), "z"), utility::XEC_OK);
  EXPECT_EQ(value, "texttext");
  EXPECT_EQ(get(a, "z"), utility::XEC_NO_ATTR);
  EXPECT_EQ(get(a, "none"), utility::XEC_NO_ATTR);
  EXPECT_EQ(value, "texttext");
}

TEST_F(DocumentTest, WhatTheCodePageCannotExpressIsAnErrorWhereItIsRead) {
  const CodePage page("US-ASCII");
  ASSERT_EQ(document.parse("<a><\xE4\xB8\xAD>x</\xE4\xB8\xAD><b c='\xE4\xB8\xAD'>\xE4\xB8\xAD"
                           "</b></a>"),
            0u);
  EXPECT_EQ(shown(document.root()), "a('x' b'?')");
  const Element b = *++document.root().children().begin();
  std::string_view value;
  EXPECT_TRUE(b.has_attribute(*document.find_name("c")));
  EXPECT_EQ(b.attribute(*document.find_name("c"), value), utility::XEC_ENCODING);
}

// Places.

TEST_F(DocumentTest, PlacesAreThoseOfTheStartTags) {
  EXPECT_EQ(places("<a/>"), "a@1:1");
  EXPECT_EQ(places("<?xml version='1.0'?>\n<!-- <x> -->\n\n  <a\n b='>'\n ><b/><c></c></a>"),
            "a@4:3(b@6:3 c@6:7)");
  EXPECT_EQ(places("<a>\n\t<b>x<c/></b>\n</a>"), "a@1:1(b@2:2'x'(c@2:6))");
  EXPECT_EQ(places("<a>\r<b/>\r\n<c/>\n\r<d/></a>"), "a@1:1(b@2:1 c@3:1 d@5:1)");
}

TEST_F(DocumentTest, MarkupOfOtherKindsMovesNoPlace) {
  EXPECT_EQ(places("<a><!-- <b/>\n -->\n<![CDATA[<b/>\n]]]><?p <b/>?><b/></a>"), "a@1:1(b@4:15)");
  EXPECT_EQ(places("<!DOCTYPE a [\n<!-- ' ]> <x> -->\n<!ENTITY e \"]>'<b/>\">\n<?p ' ]> ?>\n"
                   "<!ELEMENT a ANY>] >\n<a>&e;<b/></a>"),
            "a@6:1(b@6:7)");
  EXPECT_EQ(places("<!DOCTYPE a SYSTEM \"[<x>\"><a/>"), "a@1:27");
  EXPECT_EQ(places("<a>&#60;b&gt;&lt;b/><b/></a>"), "a@1:1'<b><b/>'(b@1:21)");
}

TEST_F(DocumentTest, ColumnsCountCharacters) {
  EXPECT_EQ(places("\xEF\xBB\xBF<a>\xE4\xB8\xAD\xF0\x9F\x98\x80\t\xC3\xA4<b/></a>"),
            "a@1:1'\xE4\xB8\xAD\xF0\x9F\x98\x80\t\xC3\xA4'(b@1:8)");
  EXPECT_EQ(places("<?xml version='1.1'?><a>\xC2\x85\xE2\x80\xA8<b/></a>").substr(0, 6), "a@1:22");
  EXPECT_NE(places("<?xml version='1.1'?><a>\xC2\x85\xE2\x80\xA8<b/></a>").find("(b@1:27)"),
            std::string::npos);
}

TEST_F(DocumentTest, PlacesAreTheSameInEveryEncoding) {
  // "中😀" and an element behind it; with and without a byte order mark.
  EXPECT_EQ(
      places("<?xml version='1.0' encoding='GBK'?>\n<a>\xD6\xD0\x81\x5D<b/></a>").find("(b@2:6)") !=
          std::string::npos,
      true);
  const std::u16string wide = u"<a>\u4E2D\U0001F600\r\n\u4E2D<b/></a>";
  const auto bytes = [](std::u16string_view text, bool is_little) {
    std::string out;
    for (const char16_t c : text) {
      const char low = static_cast<char>(c & 0xFF);
      const char high = static_cast<char>(c >> 8);
      out += is_little ? std::string{low, high} : std::string{high, low};
    }
    return out;
  };
  for (const bool is_little : {true, false}) {
    EXPECT_NE(places(bytes(u"\uFEFF" + wide, is_little)).find("a@1:1"), std::string::npos);
    EXPECT_NE(places(bytes(u"\uFEFF" + wide, is_little)).find("(b@2:2)"), std::string::npos);
    const std::u16string declared = u"<?xml version='1.0' encoding='UTF-16'?>\n" + wide;
    EXPECT_NE(places(bytes(u"\uFEFF" + declared, is_little)).find("(b@3:2)"), std::string::npos);
    EXPECT_NE(places(bytes(declared, is_little)).find("(b@3:2)"), std::string::npos)
        << places(bytes(declared, is_little));
  }
}

TEST_F(DocumentTest, PlacesAreRightBehindLongTexts) {
  const std::string text = repeated("\xE4\xB8\xAD", 100'000);
  EXPECT_NE(places("<a>" + text + "<b/>" + repeated("\n", 70'000) + " <c/></a>")
                .find("(b@1:100004 c@70001:2)"),
            std::string::npos);
}

TEST_F(DocumentTest, ADamagedDocumentTellsWhereReadingStopped) {
  EXPECT_EQ(document.parse("<a>\n  <b></c></a>"), utility::XEC_PARSE);
  EXPECT_EQ(document.stopped().line, 2u);
  EXPECT_EQ(document.parse("<a>\n\n&u;</a>"), utility::XEC_PARSE);
  EXPECT_EQ(document.stopped().line, 3u);
  EXPECT_EQ(document.parse(""), utility::XEC_PARSE);
  EXPECT_EQ(document.stopped(), (Place{1, 1}));
  EXPECT_EQ(document.parse("<a/>"), utility::XEC_OK);
}

TEST_F(DocumentTest, ADocumentThatCannotBeDecodedTellsWhere) {
  const std::string lines = repeated("<b/>\n", 30'000);  // more than the scanner's buffer
  const std::string declared = "<?xml version='1.0' encoding='";
  EXPECT_EQ(stopped("<a>\n\xC3\xA4\xF0\x9F\x98\x80\xFF</a>"), (Place{2, 3}));
  EXPECT_EQ(stopped("<a>" + lines + " \xD6\xD0</a>"), (Place{30'001, 2}));
  EXPECT_EQ(stopped("<a/>\n<!-- --> \xE4\xB8"), (Place{2, 10}));
  EXPECT_EQ(stopped(declared + "GBK'?>\n<a>\xD6\xD0" + lines + "\xD6\xD0\x81 </a>"),
            (Place{30'002, 2}));
  EXPECT_EQ(stopped(declared + "ASCII'?>\n<a>" + lines + "b\xC3\xA4</a>"), (Place{30'002, 2}));
  EXPECT_EQ(stopped("\xEF\xBB\xBF" + declared + "GBK'?>\n<a/>"), (Place{1, 1}));
  EXPECT_EQ(stopped(std::string("<\0a\0>\0\n\0\x2D\x4E\x3D\xD8<\0/\0a\0>\0", 20)), (Place{2, 2}));
}

TEST_F(DocumentTest, TheFirstMistakeTellsWhereReadingStopped) {
  // The type declares no element, which is no mistake here.
  EXPECT_EQ(stopped("<!DOCTYPE a [<!ENTITY e SYSTEM 'e'>]>\n<a>\n<b/>\n&e;</a>"), (Place{4, 4}));
  EXPECT_EQ(stopped("<!DOCTYPE a [\n<!ENTITY % e SYSTEM 'e'>\n%e;]><a/>"), (Place{3, 4}));
  EXPECT_EQ(stopped("<!DOCTYPE a [<!ENTITY e 'e'>]>\n<a>\n<b/>\n&f;&g;</a>"), (Place{4, 4}));
}

// Only CR, LF and CRLF end a line, whatever the parser takes for lines.
TEST_F(DocumentTest, ADamagedDocumentOfXml11TellsTheLineOfTheFile) {
  const std::string ends = "\r\xC2\x85\xE2\x80\xA8\n";
  EXPECT_EQ(stopped("<?xml version='1.1'?>\n<a>" + ends + " \xC2\x85<b></a>"), (Place{4, 8}));
  EXPECT_EQ(stopped("<?xml version='1.0'?>\n<a>" + ends + " \xC2\x85<b></a>"), (Place{4, 8}));
}

TEST_F(DocumentTest, AByteOrderMarkOfAnotherEncodingMovesNoPlace) {
  EXPECT_EQ(places("\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a/>"), "a@1:44");
}

TEST_F(DocumentTest, AnotherNameOfUtf8IsNoDoubtfulEncoding) {
  const std::string text = "<a>\xE4\xB8\xAD\xE4\xB8\xAD\xE4\xB8\xAD</a>";
  for (const char* const name : {"UTF-8", "utf-8", "UTF8", "utf8"}) {
    ASSERT_EQ(document.parse("<?xml version='1.0' encoding='" + std::string(name) + "'?>" + text),
              utility::XEC_OK);
    EXPECT_FALSE(document.is_in_doubtful_encoding()) << name;
  }
  ASSERT_EQ(document.parse("<?xml version='1.0' encoding='ISO-8859-1'?>" + text), utility::XEC_OK);
  EXPECT_TRUE(document.is_in_doubtful_encoding());
  // A byte order mark is no character.
  ASSERT_EQ(document.parse("\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a>"
                           "\xC3\xA4\xC3\xA4</a>"),
            utility::XEC_OK);
  EXPECT_FALSE(document.is_in_doubtful_encoding());
}

}  // namespace
