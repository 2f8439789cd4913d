#include "utility/xml/document_text.h"

#include <gtest/gtest.h>

#include <xercesc/framework/MemBufFormatTarget.hpp>

#include "tests/harness/log_capture.h"
#include "tests/utility/xml/xml_file.h"

namespace {

using namespace utility;
using fwbase::test::encoded;
using fwbase::test::read_file;
using Saving = fwbase::test::XmlFile;

TEST_F(Saving, KeepsTheWholeDocument) {
  const std::string cases[] = {
      "<r/>",
      "<r a=\"1\" b=\"&lt;&amp;&quot;'&gt;\">&lt;&amp;\"'&gt;</r>",
      "<!--before--><r><!--in--><?p data?><a>t<b/>u</a> \n\t</r><!--after-->",
      "<r a=\"x&#xA;y&#x9;z&#xD;w\">p&#xD;q</r>",
      "<r><![CDATA[<a> & ]]></r>",
      "<r>x<![CDATA[]]]]><![CDATA[>]]>y</r>",
      "<r>\xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80</r>",
      "<\xE4\xB8\xAD \xE6\x96\x87=\"1\"/>",
      "<!DOCTYPE r SYSTEM \"none.dtd\"><r/>",
      "<!DOCTYPE r PUBLIC \"p\" \"none.dtd\"><r/>",
      "<!DOCTYPE r [<!ENTITY e \"ent\">]><r a=\"&e;\">1&e;2</r>",
      "<!DOCTYPE r [<!ELEMENT r ANY><!ATTLIST r d CDATA \"default\">]><r/>",
      "<!DOCTYPE r [<!NOTATION n SYSTEM \"s\"><!NOTATION p PUBLIC \"q\">"
      "<!ENTITY u SYSTEM \"f\" NDATA n>]><r/>",
      "<p:r xmlns:p=\"u\"><p:a/></p:r>",
      "<?xml version='1.0' encoding='GBK'?><r a=\"\xD6\xD0\">\xCE\xC4</r>",
      "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>",
      "<?xml version='1.1'?><r>x</r>",
  };
  for (const std::string& text : cases) {
    ASSERT_EQ(load(text), XEC_OK) << text;
    ASSERT_EQ(xml.save(), XEC_OK) << text;
    const std::string once = read_file(path());
    ASSERT_EQ(xml.load(path()), XEC_OK) << text;
    ASSERT_EQ(xml.save(), XEC_OK) << text;
    EXPECT_EQ(read_file(path()), once) << text;
  }
}

TEST_F(Saving, KeepsUtf16OfBothByteOrders) {
  const std::string declarations[] = {"", "<?xml version='1.0' encoding='UTF-16'?>"};
  for (const std::string& declaration : declarations) {
    for (const bool big : {false, true}) {
      std::string text = big ? "\xFE\xFF" : "\xFF\xFE";
      for (const char c : declaration + "<r a='1'>text</r>") {
        text += big ? std::string{'\0', c} : std::string{c, '\0'};
      }
      ASSERT_EQ(load(text), XEC_OK) << declaration << big;
      ASSERT_EQ(root().set_text("\xE4\xB8\xAD"), XEC_OK);
      ASSERT_EQ(xml.save(), XEC_OK) << declaration << big;
      const std::string once = read_file(path());
      EXPECT_TRUE(once.starts_with("\xFF\xFE") || once.starts_with("\xFE\xFF"));
      ASSERT_EQ(xml.load(path()), XEC_OK) << declaration << big;
      EXPECT_EQ(root().get_text(), "\xE4\xB8\xAD");
      ASSERT_EQ(xml.save(), XEC_OK) << declaration << big;
      EXPECT_EQ(read_file(path()), once) << declaration << big;
    }
  }
}

// A quotation mark takes one character in memory and 12 bytes in this file, "&quot;" in UTF-16.
TEST_F(Saving, RefusesATextThatIsTooLargeToBeLoaded) {
  const std::string text("\xFF\xFE<\0r\0/\0>\0", 10);
  ASSERT_EQ(load(text), XEC_OK);
  ASSERT_EQ(root().set_attr("a", std::string(kMaxFileSize / 12 + 1, '"')), XEC_OK);
  EXPECT_EQ(xml.save(), XEC_WRITE);
  EXPECT_EQ(read_file(path()), text);
  ASSERT_EQ(root().set_attr("a", "\""), XEC_OK);
  EXPECT_EQ(xml.save(), XEC_OK);
}

TEST_F(Saving, KeepsTheEncoding) {
  ASSERT_EQ(load("<?xml version='1.0' encoding='GBK'?><r>\xD6\xD0</r>"), XEC_OK);
  EXPECT_EQ(root().get_text(), "\xE4\xB8\xAD");
  EXPECT_EQ(root().set_text("\xE6\x96\x87"), XEC_OK);
  ASSERT_EQ(xml.save(), XEC_OK);
  EXPECT_EQ(saved(), "<r>\xCE\xC4</r>");
}

// With the names that a document gives them and those that iconv knows.
TEST_F(Saving, KeepsTheCommonEncodings) {
  const std::string latin = "\xC3\xA9", chinese = "\xE4\xB8\xAD", emoji = "\xF0\x9F\x98\x80";
  const std::string euro = "\xE2\x82\xAC", cyrillic = "\xD0\xB6", thai = "\xE0\xB8\x81";
  const std::string little = "\xFF\xFE", big = "\xFE\xFF";
  struct {
    const char* declared;
    const char* encoding;
    std::string mark, text;
  } const cases[] = {
      {"UTF-8", "UTF-8", "", chinese + emoji},
      {"UTF-8", "UTF-8", "\xEF\xBB\xBF", chinese + emoji},
      {"UTF-16", "UTF-16LE", little, chinese + emoji},
      {"UTF-16", "UTF-16BE", big, chinese + emoji},
      {"utf-16", "UTF-16LE", little, chinese + emoji},
      {"UTF-16LE", "UTF-16LE", "", chinese + emoji},
      {"UTF-16BE", "UTF-16BE", "", chinese + emoji},
      {"ISO-10646-UCS-2", "UTF-16LE", little, latin + chinese},
      {"UCS-4", "UCS-4LE", "", chinese + emoji},
      {"UCS-4", "UCS-4BE", "", chinese + emoji},
      {"ISO-10646-UCS-4", "UCS-4LE", "", chinese + emoji},
      {"ISO-10646-UCS-4", "UCS-4BE", std::string("\0\0\xFE\xFF", 4), chinese + emoji},
      {"UTF-32", "UCS-4BE", "", chinese + emoji},
      {"US-ASCII", "ASCII", "", "e"},
      {"ISO-8859-1", "ISO-8859-1", "", latin},
      {"latin1", "ISO-8859-1", "", latin},
      {"ISO-8859-2", "ISO-8859-2", "", latin},
      {"ISO-8859-15", "ISO-8859-15", "", latin + euro},
      {"windows-1250", "CP1250", "", latin + euro},
      {"windows-1251", "CP1251", "", cyrillic},
      {"windows-1252", "CP1252", "", latin + euro},
      {"KOI8-R", "KOI8-R", "", cyrillic},
      {"TIS-620", "TIS-620", "", thai},
      {"macintosh", "MACINTOSH", "", latin},
      {"EBCDIC-CP-US", "IBM037", "", latin},
      {"IBM037", "IBM037", "", latin},
      {"IBM500", "IBM500", "", latin},
      {"IBM1047", "IBM1047", "", latin},
      {"IBM1140", "IBM1140", "", latin + euro},
      {"GB2312", "GB2312", "", chinese},
      {"GBK", "GBK", "", chinese},
      {"GB18030", "GB18030", "", chinese + latin + emoji},
      {"Big5", "BIG5", "", chinese},
      {"Shift_JIS", "SJIS", "", chinese},
      {"EUC-JP", "EUC-JP", "", chinese},
      {"EUC-KR", "EUC-KR", "", chinese},
  };
  for (const auto& c : cases) {
    const std::string what = std::string(c.declared) + " as " + c.encoding;
    const std::string text = "<?xml version=\"1.0\" encoding=\"" + std::string(c.declared) +
                             "\"?><r a=\"" + c.text + "\">" + c.text + "</r>";
    ASSERT_EQ(load(c.mark + encoded(c.encoding, text)), XEC_OK) << what;
    std::string once;
    for (int round = 0; round < 2; ++round) {
      std::string value;
      EXPECT_EQ(root().get_attr("a", value), XEC_OK) << what;
      EXPECT_EQ(value, c.text) << what;
      EXPECT_EQ(root().get_text(), c.text) << what;
      ASSERT_EQ(xml.save(), XEC_OK) << what;
      EXPECT_TRUE(round == 0 || read_file(path()) == once) << what;
      once = read_file(path());
      ASSERT_EQ(xml.load(path()), XEC_OK) << what;
    }
  }
}

TEST_F(Saving, RefusesEncodingsThatTheLibraryReadsButCannotWrite) {
  const std::pair<const char*, const char*> cases[] = {
      {"ISO-2022-JP", "ISO-2022-JP"}, {"ISO-2022-JP-2", "ISO-2022-JP-2"},
      {"ISO-2022-CN", "ISO-2022-CN"}, {"ISO-2022-CN-EXT", "ISO-2022-CN-EXT"},
      {"csUCS4", "UCS-4BE"},          {"ibm-933", "IBM933"},
      {"ibm-935", "IBM935"},          {"ibm-937", "IBM937"},
      {"ibm-939", "IBM939"},          {"ibm-1364", "IBM1364"},
      {"ibm-1371", "IBM1371"},        {"ibm-1388", "IBM1388"},
      {"ibm-1399", "IBM1399"}};
  const std::string chinese = "\xE4\xB8\xAD";
  for (const auto& [declared, encoding] : cases) {
    const std::string text =
        encoded(encoding, "<?xml version=\"1.0\" encoding=\"" + std::string(declared) + "\"?><r>" +
                              chinese + "</r>");
    ASSERT_EQ(load(text), XEC_OK) << declared;
    EXPECT_EQ(root().get_text(), chinese) << declared;
    EXPECT_EQ(xml.save(), XEC_WRITE) << declared;
    EXPECT_EQ(read_file(path()), text) << declared;
  }
}

// What the library by itself makes of a document.
std::string written_by_the_library(const xercesc::DOMDocument& document) {
  xercesc::DOMImplementation* const dom = document.getImplementation();
  xercesc::DOMLSSerializer* const serializer = dom->createLSSerializer();
  xercesc::DOMLSOutput* const output = dom->createLSOutput();
  xercesc::MemBufFormatTarget target;
  output->setByteStream(&target);
  EXPECT_TRUE(serializer->write(&document, output));
  const std::string text(reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen());
  output->release();
  serializer->release();
  return text;
}

TEST_F(Saving, WritesCommentsAsTheLibraryDoes) {
  const std::string chinese = "\xE4\xB8\xAD", latin = "\xC3\xA9";
  struct {
    const char* declared;
    const char* encoding;
    std::string text;
  } const cases[] = {
      {"UTF-8", "UTF-8", chinese},     {"UTF-32", "UCS-4BE", chinese},
      {"UCS-4", "UCS-4LE", chinese},   {"GBK", "GBK", chinese},
      {"GB18030", "GB18030", chinese}, {"Big5", "BIG5", chinese},
      {"Shift_JIS", "SJIS", chinese},  {"ISO-8859-1", "ISO-8859-1", latin},
      {"IBM037", "IBM037", latin},     {"ibm-933", "IBM933", "c"},
      {"US-ASCII", "ASCII", "c"},      {"ISO-2022-JP", "ISO-2022-JP", "c"},
  };
  for (const auto& c : cases) {
    const std::string comment = "<!-- <" + c.text + "> & -->";
    const std::string text =
        encoded(c.encoding, "<?xml version=\"1.0\" encoding=\"" + std::string(c.declared) + "\"?>" +
                                comment + "<r>" + comment + "<a/>" + comment + comment + c.text +
                                comment + "</r>" + comment);
    DocumentParser parser;
    ASSERT_TRUE(parser.parse_text(text)) << c.declared;
    std::string written;
    ASSERT_TRUE(to_document_text(parser, *parser.getDocument(), written)) << c.declared;
    EXPECT_EQ(written, written_by_the_library(*parser.getDocument())) << c.declared;
  }
}

TEST_F(Saving, RefusesACommentThatTheEncodingLacks) {
  ASSERT_EQ(load("<?xml version='1.0' encoding='ISO-8859-1'?><r><!--&--></r>"), XEC_OK);
  xercesc::DOMXPathResult* const result = xml.get_xpath_result(".");
  ASSERT_TRUE(result->snapshotItem(0));
  xercesc::DOMNode* const comment = result->getNodeValue()->getFirstChild();
  result->release();
  comment->setNodeValue(u"\u4E2D");
  EXPECT_EQ(xml.save(), XEC_WRITE);
  comment->setNodeValue(u"<\u00E9&>");
  EXPECT_EQ(xml.save(), XEC_OK);
  EXPECT_EQ(saved(), "<r><!--<\xE9&>--></r>");
}

// The serializer by itself looks for an element among the siblings of each.
TEST_F(Saving, WritesAnyNumberOfCommentsInARow) {
  const std::string text = "<r>" + fwbase::test::repeated("<!--c-->", 200'000) + "</r>";
  ASSERT_EQ(load(text), XEC_OK);
  ASSERT_EQ(xml.save(), XEC_OK);
  EXPECT_TRUE(saved() == text);
}

TEST_F(Saving, AttributeValuesKeepTheirLineBreaksAndTabs) {
  ASSERT_EQ(load("<r/>"), XEC_OK);
  const std::string value = " a\n\tb\r\nc  d\"'<>& ";
  EXPECT_EQ(root().set_attr("a", value), XEC_OK);
  EXPECT_EQ(root().set_text(value), XEC_OK);
  ASSERT_EQ(xml.save(), XEC_OK);
  ASSERT_EQ(xml.load(path()), XEC_OK);
  std::string read;
  EXPECT_EQ(root().get_attr("a", read), XEC_OK);
  EXPECT_EQ(read, value);
  EXPECT_EQ(root().get_text(), "a\n\tb\r\nc  d\"'<>&");
}

TEST_F(Saving, RefusesWhatWouldNotComeBackAndLeavesTheFile) {
  const std::string gbk = "<?xml version='1.0' encoding='GBK'?><r/>";
  const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?><r/>";
  struct {
    std::string what, file;
    std::function<void(CXml& xml, CElement& root)> change;
  } const cases[] = {
      {"a control character in an attribute", "<r/>",
       [](auto&, auto& r) { r.set_attr("a", "x\x01"); }},
      {"a control character in text", "<r/>", [](auto&, auto& r) { r.set_text("\x1F"); }},
      {"a character that is none", "<r/>", [](auto&, auto& r) { r.set_text("\xEF\xBF\xBF"); }},
      {"an emoji in an encoding without it", gbk,
       [](auto&, auto& r) { r.set_text("\xF0\x9F\x98\x80"); }},
      {"an element name outside the encoding", latin,
       [](auto& x, auto& r) {
         CElement element;
         ASSERT_EQ(x.create_element("\xE4\xB8\xAD", element), XEC_OK);
         r.insert_back_child(element);
       }},
      {"an attribute name outside the encoding", latin,
       [](auto&, auto& r) { r.set_attr("\xE4\xB8\xAD", "x"); }},
      {"quotes in an entity", "<!DOCTYPE r [<!ENTITY e 'a\"b'>]><r>&e;</r>", [](auto&, auto&) {}},
      {"quotes in an entity that nobody uses", "<!DOCTYPE r [<!ENTITY e 'a\"b'>]><r/>",
       [](auto&, auto&) {}},
      {"quotes in a default that read as another declaration",
       "<!DOCTYPE r [<!ATTLIST z a CDATA 'v\" b CDATA \"w'>]><r/>", [](auto&, auto&) {}},
      {"quotes in the name of a notation", "<!DOCTYPE r [<!NOTATION n SYSTEM 's\"t'>]><r/>",
       [](auto&, auto&) {}},
      {"blanks that tokens lose", "<!DOCTYPE r [<!ATTLIST r a NMTOKENS #IMPLIED>]><r/>",
       [](auto&, auto& r) { r.set_attr("a", " x  y "); }},
      {"a comment with a double hyphen", "<r/>",
       [](auto& x, auto&) {
         xercesc::DOMXPathResult* const result = x.get_xpath_result(".");
         ASSERT_TRUE(result->snapshotItem(0));
         xercesc::DOMNode* const node = result->getNodeValue();
         node->appendChild(node->getOwnerDocument()->createComment(u"a--b"));
         result->release();
       }},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(load(c.file), XEC_OK) << c.what;
    CElement element = root();
    c.change(xml, element);
    EXPECT_EQ(xml.save(), XEC_WRITE) << c.what;
    EXPECT_EQ(read_file(path()), c.file) << c.what;
    EXPECT_EQ(xml.save_as(path("new.xml")), XEC_WRITE) << c.what;
    EXPECT_FALSE(std::filesystem::exists(path("new.xml"))) << c.what;
  }
}

TEST_F(Saving, ACharacterOutsideTheEncodingBecomesAReference) {
  ASSERT_EQ(load("<?xml version='1.0' encoding='ISO-8859-1'?><r/>"), XEC_OK);
  ASSERT_EQ(root().set_text("\xE4\xB8\xAD"), XEC_OK);
  ASSERT_EQ(xml.save(), XEC_OK);
  EXPECT_EQ(saved(), "<r>&#x4E2D;</r>");
}

}  // namespace
