#include <utility/xml.h>

#include <gtest/gtest.h>
#include <malloc.h>

#include <thread>
#include <type_traits>

#include "tests/harness/failing_new.h"
#include "tests/utility/xml/xml_file.h"
#include "utility/xml/document_parser.h"
#include "utility/xml/xml_platform.h"

namespace {

using namespace utility;

static_assert(!std::is_copy_constructible_v<CXml> && !std::is_copy_assignable_v<CXml>);
static_assert(!std::is_polymorphic_v<CXml>);

using Xml = fwbase::test::XmlFile;

TEST_F(Xml, WithoutADocumentOperationsSaySo) {
  CElement element;
  std::vector<CElement> elements;
  std::string text = "kept";
  EXPECT_EQ(xml.init(), XEC_OK);
  EXPECT_EQ(xml.save(), XEC_BAD_PARAM);
  EXPECT_EQ(xml.save_as(""), XEC_BAD_PARAM);
  EXPECT_EQ(xml.save_as(path()), XEC_NO_DOCUMENT);
  EXPECT_FALSE(std::filesystem::exists(path()));
  EXPECT_EQ(xml.get_root_element(element), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.create_element("", element), XEC_OK);
  EXPECT_EQ(xml.create_element("a", element), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.search_element("", elements), XEC_EMPTY_TAG);
  EXPECT_EQ(xml.search_element("a", elements), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.get_xpath_result("a"), nullptr);
  EXPECT_EQ(xml.get_xpath_text("a", text), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.set_xpath_text("a", "x"), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.get_xpath_element("a", elements), XEC_NO_DOCUMENT);
  EXPECT_EQ(text, "kept");
}

TEST_F(Xml, AFailedLoadForgetsTheDocumentButNotThePath) {
  ASSERT_EQ(load("<r/>"), XEC_OK);
  fwbase::test::write_file(path("bad.xml"), "<r>");
  EXPECT_EQ(xml.load(path("bad.xml")), XEC_PARSE);
  CElement element;
  EXPECT_EQ(xml.get_root_element(element), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.save(), XEC_NO_DOCUMENT);
  EXPECT_EQ(fwbase::test::read_file(path()), "<r/>");
  EXPECT_EQ(xml.load(path("none.xml")), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.load(path()), XEC_OK);
  EXPECT_EQ(xml.save(), XEC_OK);
}

TEST_F(Xml, TheFileOfAFailedLoadIsNotTheOneToSave) {
  EXPECT_EQ(load("<r>"), XEC_PARSE);
  EXPECT_EQ(xml.save(), XEC_BAD_PARAM);
}

TEST_F(Xml, ReleaseIsHarmlessTwiceAndBeforeAnotherLoad) {
  xml.release();
  ASSERT_EQ(load("<r/>"), XEC_OK);
  xml.release();
  xml.release();
  CElement element;
  EXPECT_EQ(xml.get_root_element(element), XEC_NO_DOCUMENT);
  EXPECT_EQ(xml.load(path()), XEC_OK);
}

TEST_F(Xml, LoadingAgainTakesTheOtherDocumentAndKeepsNoneOfTheFirst) {
  DocumentParser* const parser = new (std::nothrow) DocumentParser;
  const std::string text = "<r>" + fwbase::test::repeated("<a b='c'>text</a>", 1000) + "</r>";
  ASSERT_TRUE(parser->parse_text(text));
  const std::size_t first = parser->bytes_in_use();
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(parser->parse_text(text));
  EXPECT_LT(parser->bytes_in_use(), first + first / 10);
  delete parser;

  // An external subset costs an object that only the parser's end frees.
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(load("<!DOCTYPE r SYSTEM 'none.dtd'><r/>"), XEC_OK);
  }
  ASSERT_EQ(load("<one/>"), XEC_OK);
  fwbase::test::write_file(path("two.xml"), "<two/>");
  ASSERT_EQ(xml.load(path("two.xml")), XEC_OK);
  EXPECT_EQ(root().get_element_name(), "two");
}

TEST_F(Xml, DiscardedElementsGiveTheirMemoryBack) {
  std::size_t in_use[2];
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(load("<!DOCTYPE r [<!ENTITY e 'x'><!ATTLIST a d CDATA 'd'>]><r/>"), XEC_OK);
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < (round == 0 ? 20 : 400); ++i) {
      CElement data;
      ASSERT_EQ(xml.create_element("data", data), XEC_OK);
      ASSERT_EQ(root().insert_front_child(data), XEC_OK);
      for (int j = 0; j < 20; ++j) {
        CElement child;
        ASSERT_EQ(xml.create_element("a", child), XEC_OK);
        ASSERT_EQ(child.insert_attr("value", std::to_string(j)), XEC_OK);
        ASSERT_EQ(child.insert_text("text"), XEC_OK);
        ASSERT_EQ(data.insert_back_child(child), XEC_OK);
      }
      ASSERT_EQ(root().discard_child_element(data), XEC_OK);
    }
    in_use[round] = mallinfo2().uordblks - before;
  }
  EXPECT_LE(in_use[1], in_use[0] + 65536);
  EXPECT_EQ(root().discard_child_element(root()), XEC_REMOVE_CHILD);
  EXPECT_EQ(root().discard_child_element(CElement()), XEC_BAD_PARAM);
}

TEST_F(Xml, RemovedAttributesGiveTheirMemoryBack) {
  ASSERT_EQ(load("<r/>"), XEC_OK);
  for (int i = 0; i < 10'000; ++i) {
    ASSERT_EQ(root().insert_attr("a", "value"), XEC_OK);
    ASSERT_EQ(root().remove_attr("a"), XEC_OK);
  }
  EXPECT_FALSE(xml.compact()) << "the document has doubled";
}

TEST_F(Xml, CompactMakesADocumentAnewThatChangesHaveDoubled) {
  EXPECT_FALSE(xml.compact());
  ASSERT_EQ(load("<?xml version='1.0' encoding='GBK'?><!DOCTYPE r [<!ENTITY e 'x'>]>"
                 "<r a='1'>&e;<!--c--><b>text</b></r>"),
            XEC_OK);
  EXPECT_FALSE(xml.compact());
  ASSERT_EQ(xml.save_as(path("before.xml")), XEC_OK);
  int changes = 0;
  do {
    CElement element;
    ASSERT_EQ(xml.create_element("data", element), XEC_OK);
    ASSERT_EQ(root().insert_back_child(element), XEC_OK);
    ASSERT_EQ(element.set_attr("name", std::to_string(++changes)), XEC_OK);
    ASSERT_EQ(root().discard_child_element(element), XEC_OK);
    ASSERT_LT(changes, 100000);
  } while (!xml.compact());
  EXPECT_GT(changes, 100);
  EXPECT_FALSE(xml.compact());
  ASSERT_EQ(xml.save_as(path("after.xml")), XEC_OK);
  EXPECT_EQ(fwbase::test::read_file(path("after.xml")),
            fwbase::test::read_file(path("before.xml")));
}

TEST_F(Xml, XPathLookUpsKeepNoMemory) {
  // What a document gives out and takes back is reused: ten times the look-ups, the same memory.
  std::size_t in_use[2];
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(load("<r><a>1</a></r>"), XEC_OK);
    const std::size_t before = mallinfo2().uordblks;
    std::string text;
    for (int i = 0; i < (round == 0 ? 100 : 1000); ++i) {
      ASSERT_EQ(xml.get_xpath_text("a", text), XEC_OK);
      ASSERT_EQ(xml.get_xpath_result("a["), nullptr);
    }
    in_use[round] = mallinfo2().uordblks - before;
  }
  EXPECT_LT(in_use[1], in_use[0] + 4096);
}

TEST_F(Xml, CreatesDetachedElements) {
  ASSERT_EQ(load("<r><a/></r>"), XEC_OK);
  CElement out = root();
  EXPECT_EQ(xml.create_element("", out), XEC_OK);
  EXPECT_EQ(out.get_element_name(), "r");
  for (const char* const bad : {"a b", "1", "<", "-a", " ", "a>"}) {
    EXPECT_EQ(xml.create_element(bad, out), XEC_CREATE_ELEMENT) << bad;
    EXPECT_EQ(out.get_element_name(), "r");
  }
  EXPECT_EQ(xml.create_element("n", out), XEC_OK);
  EXPECT_EQ(out.get_element_name(), "n");
  EXPECT_FALSE(root().has_child_element("n"));
}

TEST_F(Xml, SearchesTheWholeDocumentInOrder) {
  ASSERT_EQ(load("<a i='0'><b><a i='1'/></b><a i='2'><a i='3'/></a></a>"), XEC_OK);
  std::vector<CElement> found = {root()};
  EXPECT_EQ(xml.search_element("a", found), XEC_OK);
  ASSERT_EQ(found.size(), 5u);
  for (std::size_t i = 1; i < found.size(); ++i) {
    std::string value;
    EXPECT_EQ(found[i].get_attr("i", value), XEC_OK);
    EXPECT_EQ(value, std::to_string(i - 1));
  }
  EXPECT_EQ(xml.search_element("none", found), XEC_OK);
  EXPECT_EQ(found.size(), 5u);
  EXPECT_EQ(xml.search_element("", found), XEC_EMPTY_TAG);
}

TEST_F(Xml, XPathSelectsFromTheRootElement) {
  ASSERT_EQ(load("<r><a>1</a><b><a> 2 </a></b><a>3</a></r>"), XEC_OK);
  std::string text;
  EXPECT_EQ(xml.get_xpath_text("a", text), XEC_OK);
  EXPECT_EQ(text, "1");
  EXPECT_EQ(xml.get_xpath_text("b/a", text), XEC_OK);
  EXPECT_EQ(text, "2");
  EXPECT_EQ(xml.set_xpath_text("a", "new"), XEC_OK);
  std::vector<CElement> found = {root()};
  EXPECT_EQ(xml.get_xpath_element("a", found), XEC_OK);
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[1].get_text(), "new");
  EXPECT_EQ(found[2].get_text(), "3");
  EXPECT_EQ(xml.get_xpath_element("//a", found), XEC_OK);
  EXPECT_EQ(found.size(), 6u);
}

TEST_F(Xml, XPathOfOtherNodesSelectsNoElement) {
  ASSERT_EQ(load("<r><a x='1'>t</a></r>"), XEC_OK);
  for (const char* const xpath : {"a/@x", "@y", "//@x", "a/@*", "a/attribute::x", "a/text()",
                                  "text()", "//text()", "none/@x", "none", "a/none"}) {
    std::string text = "kept";
    std::vector<CElement> found;
    EXPECT_EQ(xml.get_xpath_text(xpath, text), XEC_XPATH_EMPTY) << xpath;
    EXPECT_EQ(xml.set_xpath_text(xpath, "x"), XEC_XPATH_EMPTY) << xpath;
    EXPECT_EQ(xml.get_xpath_element(xpath, found), XEC_OK) << xpath;
    EXPECT_TRUE(found.empty()) << xpath;
    EXPECT_EQ(text, "kept") << xpath;
  }
}

TEST_F(Xml, XPathThatCannotBeEvaluatedGivesACode) {
  ASSERT_EQ(load("<r><a/></r>"), XEC_OK);
  for (const char* const xpath :
       {"", "a[", "a b", "//", "]]", "a/@", "a/@x y", "a[/@x", "count(a)", "a[1]"}) {
    std::string text = "kept";
    std::vector<CElement> found;
    EXPECT_EQ(xml.get_xpath_result(xpath), nullptr) << xpath;
    EXPECT_EQ(xml.get_xpath_text(xpath, text), XEC_XPATH) << xpath;
    EXPECT_EQ(xml.set_xpath_text(xpath, "x"), XEC_XPATH) << xpath;
    EXPECT_EQ(xml.get_xpath_element(xpath, found), XEC_XPATH) << xpath;
    EXPECT_EQ(text, "kept") << xpath;
  }
}

TEST_F(Xml, XPathTextIsTheLeadingTextOnly) {
  ASSERT_EQ(load("<r><a/><b><!--c-->x</b><c>5</c> stray</r>"), XEC_OK);
  std::string text = "kept";
  EXPECT_EQ(xml.get_xpath_text("a", text), XEC_NO_TEXT);
  EXPECT_EQ(xml.get_xpath_text("b", text), XEC_NO_TEXT);
  EXPECT_EQ(text, "kept");
  EXPECT_EQ(xml.get_xpath_text("c", text), XEC_OK);
  EXPECT_EQ(text, "5");
  EXPECT_EQ(xml.set_xpath_text("a", "\xFF"), XEC_ENCODING);
}

TEST_F(Xml, SaveWritesBackAndSaveAsKeepsThePath) {
  ASSERT_EQ(load("<r a='1'/>"), XEC_OK);
  EXPECT_EQ(root().set_attr("a", "2"), XEC_OK);
  EXPECT_EQ(xml.save_as(path("copy.xml")), XEC_OK);
  EXPECT_EQ(fwbase::test::read_file(path()), "<r a='1'/>");
  EXPECT_EQ(xml.save_as(path("none/copy.xml")), XEC_WRITE);
  EXPECT_EQ(xml.save_as(""), XEC_BAD_PARAM);
  EXPECT_EQ(xml.save(), XEC_OK);
  EXPECT_EQ(saved(), "<r a=\"2\"/>");
  EXPECT_EQ(fwbase::test::read_file(path()), fwbase::test::read_file(path("copy.xml")));
}

TEST_F(Xml, AnyFailedAllocationOfALoadIsACodeAndForgetsTheDocument) {
  using fwbase::test::FailingNew;
  const std::string text = "<!DOCTYPE r [<!ENTITY e 'x'>]><r a='\xC3\xA9'><b>&e;</b></r>";
  const std::string file = path();
  int failures = 0;
  for (int n = 1;; ++n) {
    ASSERT_EQ(load(text), XEC_OK);
    const FailingNew memory(n, FailingNew::ANY);
    const unsigned int code = xml.load(file);
    if (!memory.has_failed()) break;
    ++failures;
    EXPECT_EQ(code, XEC_NO_MEMORY) << n;
  }
  EXPECT_GT(failures, 0);
  CElement element;
  EXPECT_EQ(xml.get_root_element(element), XEC_OK);
}

TEST_F(Xml, AnyFailedAllocationOfASaveIsACodeAndChangesNothing) {
  using fwbase::test::FailingNew;
  const std::string text = "<r a='1'><b>x</b></r>";
  int failures = 0;
  for (int n = 1;; ++n) {
    ASSERT_EQ(load(text), XEC_OK);
    unsigned int code = 0;
    {
      const FailingNew memory(n, FailingNew::ANY);
      code = xml.save();
      if (!memory.has_failed()) break;
    }
    ++failures;
    EXPECT_EQ(code, XEC_NO_TARGET) << n;
    EXPECT_EQ(fwbase::test::read_file(path()), text) << n;
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(saved(), "<r a=\"1\"><b>x</b></r>");
}

TEST_F(Xml, DifferentObjectsWorkAtTheSameTime) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, i] {
      const std::string file = path(std::to_string(i));
      const std::string name = "a" + std::to_string(i);
      fwbase::test::write_file(file, "<r><" + name + ">0</" + name + "></r>");
      CXml mine;
      for (int n = 1; n <= 20; ++n) {
        ASSERT_EQ(mine.load(file), XEC_OK);
        ASSERT_EQ(mine.set_xpath_text(name, std::to_string(n)), XEC_OK);
        ASSERT_EQ(mine.save(), XEC_OK);
      }
      std::string text;
      ASSERT_EQ(mine.get_xpath_text(name, text), XEC_OK);
      EXPECT_EQ(text, "20");
      mine.release();
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(XmlPlatform, LoadingWithoutItIsACode) {
  CXml xml;
  const fwbase::test::TempDir directory;
  fwbase::test::write_file(directory.path("x.xml"), "<r/>");
  EXPECT_EQ(xml.load(directory.path("x.xml")), XEC_NO_MEMORY);
  xml.release();
}

TEST(XmlPlatform, ReleaseAfterItsEndFreesTheDocument) {
  const fwbase::test::TempDir directory;
  fwbase::test::write_file(directory.path("x.xml"), "<r/>");
  CXml xml;
  {
    const fwbase::test::XmlPlatform platform;
    ASSERT_EQ(xml.load(directory.path("x.xml")), XEC_OK);
  }
  xml.release();
  CElement element;
  EXPECT_EQ(xml.get_root_element(element), XEC_NO_DOCUMENT);
}

// All but the first allocation are the library's, which gets memory that was put by.
TEST(XmlPlatform, StartsThoughAnAllocationFails) {
  for (int n = 1;; n += 1 + n / 7) {
    bool is_started = false;
    bool has_failed = false;
    {
      const fwbase::test::FailingNew memory(n);
      is_started = start_xml_platform();
      has_failed = memory.has_failed();
    }
    EXPECT_EQ(is_started, n != 1) << n;
    EXPECT_EQ(xml_platform_is_usable(), is_started) << n;
    if (is_started) {
      stop_xml_platform();
    }
    EXPECT_FALSE(xml_platform_is_usable()) << n;
    if (!has_failed) {
      break;
    }
  }
}

}  // namespace
