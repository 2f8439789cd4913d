#include "utility/xml/document_parser.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <xercesc/dom/DOM.hpp>

#include "tests/utility/xml/xml_file.h"

namespace {

using namespace utility;
using fwbase::test::repeated;
using std::string_literals::operator""s;
using Loading = fwbase::test::XmlFile;

TEST_F(Loading, RefusesEveryDamagedDocument) {
  const std::string cases[] = {
      "",
      " ",
      "text",
      "<",
      "<r",
      "<r>",
      "<r><a></r>",
      "<r></r",
      "<r/><r/>",
      "<r/>text",
      "text<r/>",
      "</r>",
      "<?xml version='1.0' encoding='GBK'?><r>\xD6</r>",
      "<?xml version='1.0' encoding='GBK'?><r a='\xD6'/>",
      "<?xml version='1.0' encoding='GB2312'?><r a='\xFF\xFF'/>",
      "<?xml version='1.0' encoding='Big5'?><r>\xD6</r>",
      "<r a=1/>",
      "<r a='1' a='2'/>",
      "<r a='<'/>",
      "<r>&unknown;</r>",
      "<r a='&unknown;'/>",
      "<r>&</r>",
      "<r>a & b</r>",
      "<r>]]></r>",
      "<r><!-- -- --></r>",
      "<r><![CDATA[</r>",
      "<r>&#0;</r>",
      "<r>&#xFFFF;</r>",
      "<r>\x01</r>",
      "<r>\xFF</r>",
      "<r>\xC3</r>",
      "<r>\0</r>"s,
      "<r/>\0"s,
      "<r/>\0<r/>"s,
      "<r/>" + std::string(4096, '\0'),
      "\xFF\xFE<\0r\0/\0>\0\0\0x\0"s,
      " <?xml version='1.0'?><r/>",
      "<?xml version='1.0' encoding='no-such-code'?><r/>",
      "<?xml version='9.9'?><r/>",
      "<?xml version='1.0'?>",
      "<!DOCTYPE r [<!ENTITY e 'x'>",
      "<!DOCTYPE r [<!ENTITY e '&e;'>]><r>&e;</r>",
      "<!DOCTYPE r [<!ENTITY e '<a>'>]><r>&e;</r>",
      "<!DOCTYPE r SYSTEM 'none.dtd'><r>&unknown;</r>",
      "\xFF\xFE<\0r\0"s,
  };
  for (const std::string& text : cases) EXPECT_EQ(load(text), XEC_PARSE) << "<" << text << ">";
}

TEST_F(Loading, RefusesADocumentCutOffAnywhere) {
  const std::string text =
      "<?xml version='1.0'?><!DOCTYPE r [<!ENTITY e 'x'>]><r a='1'><b>&e;</b><!--c--><c/></r>";
  for (std::size_t size = 0; size < text.size(); ++size) {
    EXPECT_EQ(load(text.substr(0, size)), XEC_PARSE) << text.substr(0, size);
  }
  EXPECT_EQ(load(text), XEC_OK);
}

TEST_F(Loading, TakesWellFormedDocumentsWhateverTheirValidity) {
  const std::string cases[] = {
      "<r/>",
      "<r/>\n<!-- c --><?p?>\n",
      "<a:r xmlns:b='u'><c:d/></a:r>",
      "<!DOCTYPE other><r/>",
      "<!DOCTYPE r [<!ELEMENT r EMPTY>]><r>text<a/></r>",
      "<!DOCTYPE r [<!ELEMENT r (a,b)><!ATTLIST r x ID #REQUIRED>]><r y='1'><b/></r>",
      "<!DOCTYPE r [<!ATTLIST r x IDREF #IMPLIED>]><r x='none'/>",
      "<!DOCTYPE r [<!ENTITY % xx '&#37;zz;'>"
      "<!ENTITY % zz '&#60;!ENTITY tricky \"error-prone\" >'>%xx;]><r>&tricky;</r>",
      "<?xml version='1.1'?><r/>",
      "<r xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
      "xsi:noNamespaceSchemaLocation='none.xsd'/>",
      "\xEF\xBB\xBF<r/>",
      "\xFF\xFE<\0r\0/\0>\0"s,
      "<?xml version='1.0' encoding='GBK'?><r>\xD6\xD0</r>",
  };
  for (const std::string& text : cases) EXPECT_EQ(load(text), XEC_OK) << "<" << text << ">";
}

TEST_F(Loading, AMissingFileIsNoDocument) {
  fwbase::test::write_file(path("unreadable"), "<r/>");
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path("s").copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  const std::string cases[] = {"",
                               path("none"),
                               path("none/x.xml"),
                               directory(),
                               path("pipe"),
                               path("s"),
                               "/dev/null",
                               path("x.xml\0"s),
                               "file://" + path(),
                               "http://localhost/x.xml",
                               path("x.xml/")};
  for (const std::string& name : cases) {
    ASSERT_EQ(load("<r/>"), XEC_OK);
    EXPECT_EQ(xml.load(name), XEC_NO_DOCUMENT) << name;
  }
  ::close(socket);
}

TEST_F(Loading, AnUnreadableFileIsNoDocument) {
  ASSERT_EQ(load("<r/>"), XEC_OK);
  ASSERT_EQ(::chmod(path().c_str(), 0), 0);
  if (::geteuid() == 0) {  // root may read everything: be nobody for a while
    ASSERT_EQ(::chmod(directory().c_str(), 0755), 0);
    ASSERT_EQ(::seteuid(65534), 0);
    EXPECT_EQ(xml.load(path()), XEC_NO_DOCUMENT);
    ASSERT_EQ(::seteuid(0), 0);
  } else {
    EXPECT_EQ(xml.load(path()), XEC_NO_DOCUMENT);
  }
}

TEST_F(Loading, APathIsBytesAndNeverAnAddress) {
  for (const std::string& name : {"\xFF\xFE.xml"s, "a%20b.xml"s, "http:x.xml"s, "\xD6\xD0.xml"s}) {
    fwbase::test::write_file(path(name), "<r/>");
    EXPECT_EQ(xml.load(path(name)), XEC_OK) << name;
    EXPECT_EQ(xml.save(), XEC_OK) << name;
  }
}

TEST_F(Loading, ReadsNothingOutsideTheFile) {
  fwbase::test::write_file(path("secret"), "secret");
  fwbase::test::write_file(path("secret.dtd"), "<!ENTITY e 'secret'><!ATTLIST r a CDATA 'secret'>");
  const std::string file = "'file://" + path("secret") + "'";
  const std::string dtd = "'file://" + path("secret.dtd") + "'";
  struct {
    std::string text;
    unsigned int code;
  } const cases[] = {
      {"<!DOCTYPE r [<!ENTITY e SYSTEM " + file + ">]><r>&e;</r>", 4},
      {"<!DOCTYPE r [<!ENTITY e SYSTEM 'secret'>]><r>&e;</r>", 4},
      {"<!DOCTYPE r [<!ENTITY e PUBLIC 'p' " + file + ">]><r>&e;</r>", 4},
      {"<!DOCTYPE r [<!ENTITY e SYSTEM " + file + "><!ENTITY f '&e;'>]><r>&f;</r>", 4},
      {"<!DOCTYPE r [<!ENTITY e SYSTEM " + file + ">]><r a='&e;'/>", 4},
      {"<!DOCTYPE r [<!ENTITY % e SYSTEM " + dtd + ">%e;]><r/>", 4},
      {"<!DOCTYPE r SYSTEM " + dtd + "><r>&e;</r>", 4},
      {"<!DOCTYPE r SYSTEM 'http://localhost:1/x.dtd'><r/>", 0},
      {"<!DOCTYPE r SYSTEM " + dtd + "><r/>", 0},
      {"<!DOCTYPE r PUBLIC 'p' " + dtd + " [<!ENTITY f 'x'>]><r>&f;</r>", 0},
      {"<!DOCTYPE r [<!ENTITY e SYSTEM " + file + ">]><r/>", 0},
      {"<r xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include parse='text' href=" + file +
           "/></r>",
       0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(load(c.text), c.code) << c.text;
    if (c.code != 0) continue;
    EXPECT_EQ(root().get_text().find("secret"), std::string::npos) << c.text;
    EXPECT_FALSE(root().has_attr("a")) << c.text;
  }
}

// e0 is text; each further entity, up to e19, refers ten times to the one before it.
std::string nested_entities(const std::string& kind, const std::string& reference,
                            const std::string& text) {
  std::string all = "<!ENTITY " + kind + "e0 '" + text + "'>";
  for (int i = 1; i < 20; ++i) {
    all += "<!ENTITY " + kind + "e" + std::to_string(i) + " '" +
           repeated(reference + "e" + std::to_string(i - 1) + ";", 10) + "'>";
  }
  return all;
}

TEST_F(Loading, RefusesBombs) {
  const std::string nested = "<!DOCTYPE r [" + nested_entities("", "&", "text");
  const std::string nested_empty = "<!DOCTYPE r [" + nested_entities("", "&", "");
  const std::string large = "<!DOCTYPE r [<!ENTITY e '" + repeated("x", 100'000) + "'>";
  const std::string blank = "<!DOCTYPE r [<!ENTITY e '" + repeated(" ", 100'000) + "'>";
  struct {
    std::string kind, text;
  } const cases[] = {
      {"nested entities in content", nested + "]><r>&e19;</r>"},
      {"nested entities in an attribute", nested + "]><r a='&e19;'/>"},
      {"nested entities in a default", nested + "<!ATTLIST r a CDATA '&e19;'>]><r/>"},
      {"empty nested entities in content", nested_empty + "]><r>&e19;</r>"},
      {"empty nested entities in an attribute", nested_empty + "]><r a='&e19;'/>"},
      {"empty nested entities in a default", nested_empty + "<!ATTLIST r a CDATA '&e19;'>]><r/>"},
      {"a large entity used often in content", large + "]><r>" + repeated("&e;", 10'000) + "</r>"},
      {"a large entity used often in attributes",
       large + "]><r>" + repeated("<a b='&e;'/>", 10'000) + "</r>"},
      {"a large entity used often in defaults",
       large + "<!ATTLIST r a CDATA '" + repeated("&e;", 10'000) + "'>]><r/>"},
      {"blanks that tokens leave out",
       blank + "<!ATTLIST r a NMTOKENS #IMPLIED>]><r a='" + repeated("&e;", 10'000) + "'/>"},
      {"blanks within tags", "<!DOCTYPE r [<!ENTITY e '<a" + repeated(" ", 100'000) + "/>'>]><r>" +
                                 repeated("&e;", 10'000) + "</r>"},
      {"a large default of many elements", "<!DOCTYPE r [<!ATTLIST a x CDATA '" +
                                               repeated("x", 100'000) + "'>]><r>" +
                                               repeated("<a/>", 10'000) + "</r>"},
      {"many attributes declared for many elements",
       "<!DOCTYPE r [<!ATTLIST a" +
           [] {
             std::string all;
             for (int i = 0; i < 4'900; ++i) all += " a" + std::to_string(i) + " CDATA #IMPLIED";
             return all;
           }() +
           ">]><r>" + repeated("<a/>", 100'000) + "</r>"},
      {"nested parameter entities",
       "<!DOCTYPE r [" + nested_entities("% ", "&#37;", "") + "%e19;]><r/>"},
      {"a large parameter entity used often", "<!DOCTYPE r [<!ENTITY % e '<!--" +
                                                  repeated("x", 100'000) + "-->'>" +
                                                  repeated("%e;", 10'000) + "]><r/>"},
      {"blanks within a declaration", "<!DOCTYPE r [<!ENTITY % e '<!ENTITY x " +
                                          repeated(" ", 100'000) + "\"\">'>" +
                                          repeated("%e;", 10'000) + "]><r/>"},
      {"entities nested deeply",
       [] {
         std::string all = "<!DOCTYPE r [<!ENTITY e0 'x'>";
         for (int i = 1; i < 4'000; ++i) {
           all += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
         }
         return all + "]><r a='&e3999;'/>";
       }()},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(load(c.text), XEC_PARSE) << c.kind;
  }
}

// Validation costs the square of a document's size: of an enumeration, of IDs that collide.
TEST_F(Loading, ValidatesNothing) {
  const std::string attributes = "<!ATTLIST r a (x|y) #IMPLIED b ID #IMPLIED c IDREFS #IMPLIED>";
  const std::string documents[] = {
      "<!DOCTYPE r [<!ELEMENT r (r,r)>]><r><r/></r>",
      "<!DOCTYPE r [<!ELEMENT r ANY>" + attributes + "]><r a='z' b='1' c='none'><r b='1'/></r>",
      "<!DOCTYPE r [<!ELEMENT r ANY><!ATTLIST r a (x|x|y) 'z' b ID '1'>]><r/>",
  };
  for (const std::string& text : documents) {
    const std::unique_ptr<DocumentParser> parser(new (std::nothrow) DocumentParser);
    EXPECT_TRUE(parser->parse_text(text)) << text;
    EXPECT_EQ(parser->getErrorCount(), 0u) << text;
  }
}

TEST_F(Loading, KeepsTextThatADeclarationForbids) {
  ASSERT_EQ(load("<!DOCTYPE r [<!ELEMENT r (a)><!ELEMENT a EMPTY>]><r> <a>text</a> </r>"), XEC_OK);
  EXPECT_EQ(root().get_child_text("a"), "text");
  EXPECT_EQ(root().get_text(), "");
  ASSERT_EQ(xml.save(), XEC_OK);
  EXPECT_TRUE(saved().ends_with("<r> <a>text</a> </r>"));
}

TEST_F(Loading, TakesAnIdForATokenAndKeepsItsDeclaration) {
  ASSERT_EQ(load("<!DOCTYPE r [<!ATTLIST r i ID #IMPLIED>]><r i='  a '/>"), XEC_OK);
  std::string value;
  EXPECT_EQ(root().get_attr("i", value), XEC_OK);
  EXPECT_EQ(value, "a");
  xercesc::DOMXPathResult* const result = xml.get_xpath_result(".");
  ASSERT_TRUE(result->snapshotItem(0));
  EXPECT_EQ(result->getNodeValue()->getOwnerDocument()->getElementById(u"a"), nullptr);
  result->release();
  ASSERT_EQ(xml.save(), XEC_OK);
  EXPECT_EQ(saved(), "<!DOCTYPE r [<!ATTLIST r i ID #IMPLIED>]><r i=\"a\"/>");
}

TEST_F(Loading, ChecksNoContentModelWhateverItsSize) {
  // An automaton for this has 2^40 states.
  EXPECT_EQ(load("<!DOCTYPE r [<!ELEMENT r ((a|b)*,a" + repeated(",(a|b)", 40) + ")>]><r><a/></r>"),
            XEC_OK);
}

TEST_F(Loading, TakesEntitiesInReason) {
  ASSERT_EQ(load("<!DOCTYPE r [<!ENTITY e '" + repeated("x", 10'000) + "'>]><r>x" +
                 repeated("&e;", 500) + repeated("<a b='&e;'/>", 100) + "</r>"),
            XEC_OK);
  EXPECT_EQ(root().get_text().size(), 5'000'001u);
  EXPECT_EQ(load("<!DOCTYPE r [<!ENTITY e 'x'>]><r>" + repeated("&e;", 19'000) + "</r>"), XEC_OK);
  EXPECT_EQ(load("<!DOCTYPE r [<!ENTITY e 'x'>]><r>" + repeated("&e;", 24'000) + "</r>"),
            XEC_PARSE);
}

// By the lengths of those that are referred to, not of the longest one.
TEST_F(Loading, CountsTheCharactersOfEntitiesInContent) {
  const std::string declarations =
      "<!DOCTYPE r [<!ENTITY long '" + repeated("x", 100'000) + "'><!ENTITY e 'x'>]><r>";
  EXPECT_EQ(load(declarations + repeated("&long;", 88) + repeated("&e;", 500) + "</r>"), XEC_OK);
  EXPECT_EQ(load(declarations + repeated("&long;", 89) + "</r>"), XEC_PARSE);
  EXPECT_EQ(load(declarations + repeated("<a>&long;&e;</a>", 88) + "</r>"), XEC_OK);
  EXPECT_EQ(load(declarations + repeated("<a>&long;&e;</a>", 89) + "</r>"), XEC_PARSE);
}

TEST_F(Loading, BoundsNamesAndDeclarations) {
  const auto document = [](int names) {
    std::string text = "<r>";
    for (int i = 1; i < names; ++i) text += "<a" + std::to_string(i) + "/>";
    return text + "</r>";
  };
  EXPECT_EQ(load(document(static_cast<int>(kMaxNames))), XEC_OK);
  EXPECT_EQ(load(document(static_cast<int>(kMaxNames) + 1)), XEC_PARSE);
  for (const char* const declaration : {"<!ENTITY e 'x'>", "<!NOTATION n SYSTEM 's'>"}) {
    const auto declarations = [&](std::size_t count) {
      return "<!DOCTYPE r [" + repeated(declaration, count) + "]><r/>";
    };
    EXPECT_EQ(load(declarations(kMaxDeclarations)), XEC_OK) << declaration;
    EXPECT_EQ(load(declarations(kMaxDeclarations + 1)), XEC_PARSE) << declaration;
  }
}

TEST_F(Loading, BoundsNestingAndWorksAtTheLimitOnASmallStack) {
  const auto nested = [](std::size_t depth) {
    return repeated("<a>", depth) + repeated("</a>", depth);
  };
  fwbase::test::run_with_stack(fwbase::test::kSmallStack, [&] {
    EXPECT_EQ(load(nested(100'000)), XEC_PARSE);
    EXPECT_EQ(load(repeated("<a>", 100'000)), XEC_PARSE);
    EXPECT_EQ(load(nested(kMaxNesting + 1)), XEC_PARSE);
    ASSERT_EQ(load(nested(kMaxNesting)), XEC_OK);
    CElement copy, found;
    std::vector<CElement> all;
    EXPECT_EQ(root().clone(true, copy), XEC_OK);
    EXPECT_EQ(xml.get_xpath_element("//a", all), XEC_OK);
    EXPECT_FALSE(all.empty());
    EXPECT_EQ(xml.save(), XEC_OK);
    EXPECT_EQ(xml.load(path()), XEC_OK);
    xml.release();
    // References nest as well, and so do the declarations of content.
    EXPECT_EQ(load("<!DOCTYPE r [<!ELEMENT r " + repeated("(", 5'000) + "a" +
                   repeated(",b)", 5'000) + ">]><r/>"),
              XEC_OK);
    EXPECT_EQ(load("<!DOCTYPE r [<!ENTITY e '" + nested(600) + "'>]>" + repeated("<a>", 600) +
                   "&e;" + repeated("</a>", 600)),
              4u);
  });
}

TEST_F(Loading, TakesAnAttributeOf100Megabytes) {
  const std::string value(100'000'000, 'x');
  ASSERT_EQ(load("<r a='" + value + "'/>"), XEC_OK);
  std::string read;
  EXPECT_EQ(root().get_attr("a", read), XEC_OK);
  EXPECT_TRUE(read == value);
  EXPECT_EQ(load("<r a='" + value), XEC_PARSE);
}

TEST_F(Loading, RefusesAnEnormousFileUnread) {
  fwbase::test::write_file(path(), "<r/>");
  ASSERT_EQ(::truncate(path().c_str(), 1LL << 40), 0);
  EXPECT_EQ(xml.load(path()), XEC_PARSE);
}

TEST_F(Loading, MemoryGrowsWithTheFile) {
  std::size_t in_use[2];
  std::size_t i = 0;
  for (const std::size_t count : {10'000u, 80'000u}) {
    const std::unique_ptr<DocumentParser> parser(new (std::nothrow) DocumentParser);
    ASSERT_TRUE(parser->parse_text("<r>" + repeated("<a b=''>x</a>", count) + "</r>"));
    in_use[i++] = parser->bytes_in_use();
  }
  EXPECT_LT(in_use[1], 9 * in_use[0]);
}

TEST_F(Loading, TheDensestDocumentsFitTheirMemory) {
  for (const char* const piece : {"<a/>", "<a/>x", "<a b=''/>", "<!---->", "<?a?>", "x&amp;"}) {
    const std::string text = "<r>" + repeated(piece, 50'000) + "</r>";
    const std::unique_ptr<DocumentParser> parser(new (std::nothrow) DocumentParser);
    EXPECT_TRUE(parser->parse_text(text)) << piece;
    EXPECT_LT(parser->bytes_in_use(), kMaxMemoryPerByte * text.size()) << piece;
  }
}

}  // namespace
