#include <utility/element.h>

#include <gtest/gtest.h>

#include <functional>
#include <type_traits>

#include "tests/utility/xml/xml_file.h"

namespace {

using namespace utility;
using Attributes = std::vector<std::pair<std::string, std::string>>;

class Element : public fwbase::test::XmlFile {
 protected:
  CElement child(const std::string& name) const { return child_of(root(), name); }

  static CElement child_of(const CElement& parent, const std::string& name) {
    CElement found;
    EXPECT_EQ(parent.get_first_child_element(name, found), XEC_OK) << name;
    return found;
  }

  CElement made(const std::string& name) {
    CElement element;
    EXPECT_EQ(xml.create_element(name, element), XEC_OK);
    return element;
  }

  // The document as a save writes it.
  std::string written() {
    EXPECT_EQ(xml.save(), XEC_OK);
    return saved();
  }
};

static_assert(sizeof(CElement) == 2 * sizeof(void*));
static_assert(!std::is_polymorphic_v<CElement>);

TEST_F(Element, EveryOperationOfAnEmptyHandleSaysSo) {
  ASSERT_EQ(load("<r><a/></r>"), XEC_OK);
  const CElement empty;
  const CElement other = child("a");
  CElement out = other;
  std::vector<CElement> elements;
  Attributes attrs;
  std::string value = "kept";
  EXPECT_EQ(empty.get_parent_element(out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_pre_element(out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_next_element(out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_first_child_element(out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_last_child_element(out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_pre_element("", out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_next_element("x", out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_first_child_element("x", out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_child_element("", elements), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_all_child_element(elements), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.clone(true, out), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_text(value), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.set_text("x"), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_text("x"), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.remove_text(), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_attr("", value), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.get_attr(attrs), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.set_attr("", "x"), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_attr("", "x"), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.remove_attr(""), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_pre_child_element(other, other), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_next_child_element(other, other), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_pre_element(other), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_next_element(other), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_front_child(other), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.insert_back_child(other), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.remove_child_node(nullptr), XEC_NO_ELEMENT);
  EXPECT_EQ(empty.remove_child_element(other), XEC_NO_ELEMENT);
  EXPECT_FALSE(empty.has_attr("a"));
  EXPECT_FALSE(empty.has_child_element("a"));
  EXPECT_EQ(empty.get_element_name(), "");
  EXPECT_EQ(empty.get_text(), "");
  EXPECT_EQ(empty.get_child_text("a"), "");
  EXPECT_EQ(out.get_element_name(), "a");
  EXPECT_EQ(value, "kept");
  EXPECT_TRUE(elements.empty());
  EXPECT_TRUE(attrs.empty());
}

TEST_F(Element, MovesAmongElementsOnly) {
  ASSERT_EQ(load("<r>t<a/><!--c-->t<?p?><b><x/></b>t<a/><c/>t</r>"), XEC_OK);
  CElement out;
  ASSERT_EQ(root().get_first_child_element(out), XEC_OK);
  EXPECT_EQ(out.get_element_name(), "a");
  EXPECT_EQ(out.get_pre_element(out), XEC_NOT_FOUND);
  ASSERT_EQ(out.get_next_element(out), XEC_OK);
  EXPECT_EQ(out.get_element_name(), "b");
  ASSERT_EQ(root().get_last_child_element(out), XEC_OK);
  EXPECT_EQ(out.get_element_name(), "c");
  EXPECT_EQ(out.get_next_element(out), XEC_NOT_FOUND);
  EXPECT_EQ(out.get_first_child_element(out), XEC_NOT_FOUND);
  EXPECT_EQ(out.get_last_child_element(out), XEC_NOT_FOUND);
  ASSERT_EQ(out.get_pre_element("b", out), XEC_OK);
  ASSERT_EQ(out.get_parent_element(out), XEC_OK);
  EXPECT_EQ(out.get_element_name(), "r");
  EXPECT_EQ(out.get_parent_element(out), XEC_NO_PARENT);
  EXPECT_EQ(out.get_element_name(), "r");
  EXPECT_EQ(made("n").get_parent_element(out), XEC_NO_PARENT);
}

TEST_F(Element, ByNameWalksLeaveOutAsItWasWhenNothingMatches) {
  ASSERT_EQ(load("<r><y/><a/><y/><b/></r>"), XEC_OK);
  CElement out = child("b");
  EXPECT_EQ(child("a").get_next_element("x", out), XEC_NOT_FOUND);
  EXPECT_EQ(child("a").get_pre_element("x", out), XEC_NOT_FOUND);
  EXPECT_EQ(root().get_first_child_element("x", out), XEC_NOT_FOUND);
  EXPECT_EQ(root().get_first_child_element("", out), XEC_NOT_FOUND);
  EXPECT_EQ(root().get_first_child_element("A", out), XEC_NOT_FOUND);
  EXPECT_EQ(out.get_element_name(), "b");
}

TEST_F(Element, CollectsChildrenBehindWhatIsThere) {
  ASSERT_EQ(load("<r><a i='1'/><b><a/></b><a i='2'/></r>"), XEC_OK);
  std::vector<CElement> out = {root()};
  EXPECT_EQ(root().get_child_element("a", out), XEC_OK);
  ASSERT_EQ(out.size(), 3u);
  std::string value;
  EXPECT_EQ(out[1].get_attr("i", value), XEC_OK);
  EXPECT_EQ(value, "1");
  EXPECT_EQ(out[2].get_attr("i", value), XEC_OK);
  EXPECT_EQ(value, "2");
  EXPECT_EQ(root().get_child_element("none", out), XEC_OK);
  EXPECT_EQ(root().get_child_element("", out), XEC_BAD_PARAM);
  EXPECT_EQ(out.size(), 3u);
  EXPECT_EQ(root().get_all_child_element(out), XEC_OK);
  EXPECT_EQ(out.size(), 6u);
  EXPECT_TRUE(root().has_child_element("b"));
  EXPECT_FALSE(root().has_child_element("c"));
  EXPECT_FALSE(root().has_child_element(""));
}

TEST_F(Element, NamesKeepTheirPrefix) {
  ASSERT_EQ(load("<p:r><p:a/><a/></p:r>"), XEC_OK);
  EXPECT_EQ(root().get_element_name(), "p:r");
  std::vector<CElement> out;
  EXPECT_EQ(root().get_child_element("a", out), XEC_OK);
  EXPECT_EQ(out.size(), 1u);
}

TEST_F(Element, TextIsTheLeadingTextTrimmed) {
  struct {
    std::string in, text;
  } const cases[] = {
      {"<a> x </a>", "x"},
      {"<a/>", ""},
      {"<a> \t\r\n</a>", ""},
      {"<a><!--c-->x</a>", ""},
      {"<a><b/>x</a>", ""},
      {"<a><?p?>x</a>", ""},
      {"<a><![CDATA[x]]></a>", ""},
      {"<a>x<![CDATA[<y>]]>z<b/>w</a>", "x<y>z"},
      {"<a>5</a> stray", "5"},
      {"<a>5<b>6</b></a> stray", "5"},
      {"<a>5<!--c-->6</a>", "5"},
      {"<a>1 &e; 2</a>", "1 ent 2"},
      {"<a>1 &m; 2</a>", "1 m"},
      {"<a>1 &empty; 2</a>", "1  2"},
      {"<a>1&n;</a> stray", "1(ent)"},
      {"<a>&lt;&#65;&amp;</a>", "<A&"},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(load("<!DOCTYPE r [<!ENTITY e 'ent'><!ENTITY m 'm<b/>n'><!ENTITY empty ''>"
                   "<!ENTITY n '(&e;)'>]><r>" +
                   c.in + "</r>"),
              XEC_OK)
        << c.in;
    EXPECT_EQ(child("a").get_text(), c.text) << c.in;
    EXPECT_EQ(root().get_child_text("a"), c.text) << c.in;
    std::string text = "old";
    EXPECT_EQ(child("a").get_text(text), XEC_OK) << c.in;
    EXPECT_EQ(text, c.text) << c.in;
  }
  EXPECT_EQ(root().get_child_text("none"), "");
  EXPECT_EQ(root().get_child_text(""), "");
}

TEST_F(Element, SetTextMakesOneNodeAndThenReplacesItsContent) {
  ASSERT_EQ(load("<r><a/><b>old<x/>tail</b><c><x/></c></r>"), XEC_OK);
  EXPECT_EQ(child("a").set_text("1"), XEC_OK);
  EXPECT_EQ(child("a").set_text("2"), XEC_OK);
  EXPECT_EQ(child("b").set_text("new"), XEC_OK);
  EXPECT_EQ(child("c").set_text("back"), XEC_OK);
  EXPECT_EQ(written(), "<r><a>2</a><b>new<x/>tail</b><c><x/>back</c></r>");
}

TEST_F(Element, InsertTextAppendsAndRemoveTextTakesTheLeadingOne) {
  ASSERT_EQ(load("<r><a>1</a><b><x/>2</b></r>"), XEC_OK);
  EXPECT_EQ(child("a").insert_text("3"), XEC_OK);
  EXPECT_EQ(child("a").get_text(), "13");
  EXPECT_EQ(child("a").remove_text(), XEC_OK);
  EXPECT_EQ(child("a").get_text(), "3");
  EXPECT_EQ(child("b").remove_text(), XEC_OK);
  EXPECT_EQ(written(), "<r><a>3</a><b><x/>2</b></r>");
}

TEST_F(Element, AHandleWithoutDocumentCannotInsertTextOrAttributes) {
  ASSERT_EQ(load("<r/>"), XEC_OK);
  xercesc::DOMXPathResult* const result = xml.get_xpath_result(".");
  ASSERT_NE(result, nullptr);
  ASSERT_TRUE(result->snapshotItem(0));
  const CElement bare(nullptr, static_cast<xercesc::DOMElement*>(result->getNodeValue()));
  result->release();
  EXPECT_EQ(bare.insert_text("x"), XEC_NO_DOCUMENT);
  EXPECT_EQ(bare.set_text("x"), XEC_NO_DOCUMENT);
  EXPECT_EQ(bare.insert_attr("", "x"), XEC_NO_DOCUMENT);
  EXPECT_EQ(bare.set_attr("a", "x"), XEC_OK);
}

TEST_F(Element, ReadsAndWritesAttributes) {
  ASSERT_EQ(load("<r b='2' a='1'/>"), XEC_OK);
  std::string value = "kept";
  EXPECT_TRUE(root().has_attr("a"));
  EXPECT_FALSE(root().has_attr("A"));
  EXPECT_FALSE(root().has_attr(""));
  EXPECT_EQ(root().get_attr("c", value), XEC_NO_ATTR);
  EXPECT_EQ(root().get_attr("", value), XEC_BAD_PARAM);
  EXPECT_EQ(value, "kept");
  EXPECT_EQ(root().get_attr("b", value), XEC_OK);
  EXPECT_EQ(value, "2");
  EXPECT_EQ(root().set_attr("b", "new"), XEC_OK);
  EXPECT_EQ(root().set_attr("c", "<&\"'>"), XEC_OK);
  EXPECT_EQ(root().set_attr("", "x"), XEC_BAD_PARAM);
  EXPECT_EQ(root().set_attr("a b", "x"), XEC_SET_ATTR);
  EXPECT_EQ(root().remove_attr("a"), XEC_OK);
  EXPECT_EQ(root().remove_attr("a"), XEC_OK);
  EXPECT_EQ(root().remove_attr(""), XEC_BAD_PARAM);
  Attributes attrs = {{"kept", "kept"}};
  EXPECT_EQ(root().get_attr(attrs), XEC_OK);
  EXPECT_EQ(attrs, (Attributes{{"kept", "kept"}, {"b", "new"}, {"c", "<&\"'>"}}));
}

TEST_F(Element, InsertAttrKeepsAnExistingValue) {
  ASSERT_EQ(load("<r a='old'/>"), XEC_OK);
  std::string value;
  EXPECT_EQ(root().insert_attr("a", "new"), XEC_ATTR_EXISTS);
  EXPECT_EQ(root().get_attr("a", value), XEC_OK);
  EXPECT_EQ(value, "old");
  EXPECT_EQ(root().insert_attr("", "x"), XEC_BAD_PARAM);
  EXPECT_EQ(root().insert_attr("1", "x"), XEC_CREATE_ATTR);
  EXPECT_EQ(root().insert_attr("b", "x"), XEC_OK);
  EXPECT_EQ(root().get_attr("b", value), XEC_OK);
  EXPECT_EQ(value, "x");
}

TEST_F(Element, InsertsWhereItSays) {
  const std::string file = "<r>t<a/>u<b/>v</r>";
  struct {
    std::string what;
    std::function<unsigned int(CElement r, CElement a, CElement b, CElement n)> insert;
    unsigned int code;
    std::string result;
  } const cases[] = {
      {"before a", [](auto r, auto a, auto, auto n) { return r.insert_pre_child_element(a, n); }, 0,
       "<r>t<n/><a/>u<b/>v</r>"},
      {"after a", [](auto r, auto a, auto, auto n) { return r.insert_next_child_element(a, n); }, 0,
       "<r>t<a/>u<n/><b/>v</r>"},
      {"after the last",
       [](auto r, auto, auto b, auto n) { return r.insert_next_child_element(b, n); }, 0,
       "<r>t<a/>u<b/>v<n/></r>"},
      {"previous sibling", [](auto, auto, auto b, auto n) { return b.insert_pre_element(n); }, 0,
       "<r>t<a/>u<n/><b/>v</r>"},
      {"next sibling", [](auto, auto a, auto, auto n) { return a.insert_next_element(n); }, 0,
       "<r>t<a/>u<n/><b/>v</r>"},
      {"front", [](auto r, auto, auto, auto n) { return r.insert_front_child(n); }, 0,
       "<r>t<n/><a/>u<b/>v</r>"},
      {"back", [](auto r, auto, auto, auto n) { return r.insert_back_child(n); }, 0,
       "<r>t<a/>u<b/>v<n/></r>"},
      {"front without elements", [](auto, auto a, auto, auto n) { return a.insert_front_child(n); },
       0, "<r>t<a><n/></a>u<b/>v</r>"},
      {"moves", [](auto r, auto a, auto, auto) { return r.insert_back_child(a); }, 0,
       "<r>tu<b/>v<a/></r>"},
      {"before itself", [](auto r, auto a, auto, auto) { return r.insert_pre_child_element(a, a); },
       0, file},
      {"its next after it",
       [](auto r, auto a, auto b, auto) { return r.insert_next_child_element(a, b); }, 0, file},
      {"the first to the front", [](auto r, auto a, auto, auto) { return r.insert_front_child(a); },
       0, file},
      {"beside the root", [](auto r, auto, auto, auto n) { return r.insert_pre_element(n); }, 15,
       file},
      {"behind the root", [](auto r, auto, auto, auto n) { return r.insert_next_element(n); }, 15,
       file},
      {"before no child",
       [](auto r, auto, auto, auto n) { return r.insert_pre_child_element(r, n); }, 13, file},
      {"after no child",
       [](auto r, auto, auto, auto n) { return r.insert_next_child_element(r, n); }, 0,
       "<r>t<a/>u<b/>v<n/></r>"},
      {"before an empty handle",
       [](auto r, auto, auto, auto n) { return r.insert_pre_child_element(CElement(), n); }, 13,
       file},
      {"after an empty handle",
       [](auto r, auto, auto, auto n) { return r.insert_next_child_element(CElement(), n); }, 14,
       file},
      {"nothing before",
       [](auto r, auto a, auto, auto) { return r.insert_pre_child_element(a, CElement()); }, 13,
       file},
      {"nothing after",
       [](auto r, auto a, auto, auto) { return r.insert_next_child_element(a, CElement()); }, 14,
       file},
      {"nothing in front",
       [](auto r, auto, auto, auto) { return r.insert_front_child(CElement()); }, 30, file},
      {"nothing at the back",
       [](auto r, auto, auto, auto) { return r.insert_back_child(CElement()); }, 31, file},
      {"itself into itself", [](auto, auto a, auto, auto) { return a.insert_back_child(a); }, 31,
       file},
      {"itself to its front", [](auto, auto a, auto, auto) { return a.insert_front_child(a); }, 30,
       file},
      {"the root below itself", [](auto r, auto a, auto, auto) { return a.insert_back_child(r); },
       31, file},
      {"the root before a child",
       [](auto r, auto a, auto, auto) { return r.insert_pre_child_element(a, r); }, 13, file},
      {"the root after a child",
       [](auto r, auto a, auto, auto) { return r.insert_next_child_element(a, r); }, 14, file},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(load(file), XEC_OK);
    EXPECT_EQ(c.insert(root(), child("a"), child("b"), made("n")), c.code) << c.what;
    EXPECT_EQ(written(), c.result) << c.what;
  }
}

TEST_F(Element, RefusesElementsOfAnotherDocument) {
  ASSERT_EQ(load("<r><a/></r>"), XEC_OK);
  CXml other;
  ASSERT_EQ(other.load(path()), XEC_OK);
  CElement foreign;
  ASSERT_EQ(other.create_element("f", foreign), XEC_OK);
  EXPECT_EQ(root().insert_back_child(foreign), XEC_INSERT_BACK);
  EXPECT_EQ(root().insert_front_child(foreign), XEC_INSERT_FRONT);
  EXPECT_EQ(root().insert_pre_child_element(child("a"), foreign), XEC_INSERT_BEFORE);
  EXPECT_EQ(root().insert_next_child_element(child("a"), foreign), XEC_INSERT_AFTER);
  EXPECT_EQ(root().remove_child_element(foreign), XEC_REMOVE_CHILD);
  EXPECT_EQ(written(), "<r><a/></r>");
  other.release();
}

TEST_F(Element, RefusesToChangeWhatAnEntityGives) {
  ASSERT_EQ(load("<!DOCTYPE r [<!ENTITY e '<a x=\"1\">t<b/></a>'>]><r>&e;</r>"), XEC_OK);
  std::vector<CElement> found;
  ASSERT_EQ(xml.search_element("a", found), XEC_OK);
  ASSERT_EQ(found.size(), 1u);
  const CElement a = found[0];
  EXPECT_EQ(a.set_text("n"), XEC_SET_TEXT);
  EXPECT_EQ(a.insert_text("n"), XEC_APPEND_TEXT);
  EXPECT_EQ(a.remove_text(), XEC_REMOVE_CHILD);
  EXPECT_EQ(a.set_attr("y", "n"), XEC_SET_ATTR);
  EXPECT_EQ(a.insert_attr("y", "n"), XEC_SET_ATTR);
  EXPECT_EQ(a.remove_attr("x"), XEC_REMOVE_ATTR);
  EXPECT_EQ(a.insert_back_child(made("n")), XEC_INSERT_BACK);
  CElement out;
  EXPECT_EQ(a.get_parent_element(out), XEC_NO_PARENT);
  EXPECT_EQ(a.get_text(), "t");
}

TEST_F(Element, DiscardsEntityReferencesWithAllThatTheyHold) {
  const std::string entities[] = {"x",    "<b/>",       "<b c='1'>t</b>", "<b><c d='1'/></b>u",
                                  "<d/>", "&f;<b/>&f;", "<b>&f;</b>"};
  for (const std::string& entity : entities) {
    ASSERT_EQ(load("<!DOCTYPE r [<!ATTLIST d e CDATA 'v'><!ENTITY f \"<c d='1'/>\"><!ENTITY e \"" +
                   entity + "\">]><r><a>&e;<b/></a>&e;</r>"),
              XEC_OK)
        << entity;
    CElement copy;
    ASSERT_EQ(child("a").clone(true, copy), XEC_OK);
    ASSERT_EQ(root().insert_back_child(copy), XEC_OK);
    EXPECT_EQ(root().discard_child_element(child("a")), XEC_OK) << entity;
    EXPECT_EQ(root().discard_child_element(child("a")), XEC_OK) << entity;
    EXPECT_FALSE(root().has_child_element("a"));
    EXPECT_EQ(xml.save(), XEC_OK);
    EXPECT_TRUE(saved().ends_with("]><r>&e;</r>")) << saved();
  }
}

TEST_F(Element, ARemovedElementStaysUsable) {
  ASSERT_EQ(load("<r><a>1</a><b/></r>"), XEC_OK);
  const CElement a = child("a");
  EXPECT_EQ(root().remove_child_element(a), XEC_OK);
  EXPECT_EQ(root().remove_child_element(a), XEC_REMOVE_CHILD);
  EXPECT_EQ(root().remove_child_element(CElement()), XEC_BAD_PARAM);
  EXPECT_EQ(root().remove_child_node(nullptr), XEC_BAD_PARAM);
  EXPECT_EQ(a.get_text(), "1");
  EXPECT_EQ(child("b").insert_back_child(a), XEC_OK);
  EXPECT_EQ(written(), "<r><b><a>1</a></b></r>");
}

TEST_F(Element, ClonesAreDetachedCopies) {
  const std::string inner =
      "<a x=\"1\">t<b y=\"2\"><c/>u</b><!--k--><d/><?p q?>v<e><f><g/></f></e>w</a>";
  ASSERT_EQ(load("<r>" + inner + "</r>"), XEC_OK);
  CElement flat, deep, out;
  EXPECT_EQ(child("a").clone(false, flat), XEC_OK);
  EXPECT_EQ(child("a").clone(true, deep), XEC_OK);
  EXPECT_EQ(deep.get_parent_element(out), XEC_NO_PARENT);
  EXPECT_EQ(deep.get_next_element(out), XEC_NOT_FOUND);
  EXPECT_EQ(root().insert_back_child(flat), XEC_OK);
  EXPECT_EQ(root().insert_back_child(deep), XEC_OK);
  EXPECT_EQ(written(), "<r>" + inner + "<a x=\"1\"/>" + inner + "</r>");
}

TEST_F(Element, CloningCopiesEntityReferences) {
  const std::string subset = "<!DOCTYPE r [<!ENTITY e \"ent\">]>";
  ASSERT_EQ(load(subset + "<r><a>1&e;2</a></r>"), XEC_OK);
  CElement copy;
  EXPECT_EQ(child("a").clone(true, copy), XEC_OK);
  EXPECT_EQ(copy.get_text(), "1ent2");
}

TEST_F(Element, ClonesAndReleasesTreesOfAnyDepthOnASmallStack) {
  ASSERT_EQ(load("<r/>"), XEC_OK);
  fwbase::test::run_with_stack(fwbase::test::kSmallStack, [this] {
    CElement top = made("a");
    for (int depth = 1; depth < 100'000; ++depth) {  // from the inside: each step is a small one
      const CElement outer = made("a");
      ASSERT_EQ(outer.insert_back_child(top), XEC_OK);
      top = outer;
    }
    CElement copy;
    ASSERT_EQ(top.clone(true, copy), XEC_OK);
    std::size_t depth = 1;
    while (copy.get_first_child_element(copy) == XEC_OK) ++depth;
    EXPECT_EQ(depth, 100'000u);
    ASSERT_EQ(root().insert_back_child(top), XEC_OK);
    EXPECT_EQ(xml.save(), XEC_WRITE);
    EXPECT_EQ(xml.get_xpath_result("//a"), nullptr);
    std::vector<CElement> found;
    EXPECT_EQ(xml.search_element("a", found), XEC_OK);
    EXPECT_EQ(found.size(), 100'000u);
    xml.release();
  });
}

TEST_F(Element, NamesAndTextsThatAreNoTextGiveACode) {
  ASSERT_EQ(load("<r a='1'>t<b/></r>"), XEC_OK);
  using std::string_literals::operator""s;
  for (const std::string& bad : {"a\0"s, "\0"s, "a\xFF"s, "\xC3"s, "\xED\xA0\x80"s, "\xF8\x88"s}) {
    CElement out;
    std::vector<CElement> elements;
    std::string value = "kept";
    EXPECT_EQ(root().get_first_child_element(bad, out), XEC_ENCODING);
    EXPECT_EQ(root().get_pre_element(bad, out), XEC_ENCODING);
    EXPECT_EQ(root().get_next_element(bad, out), XEC_ENCODING);
    EXPECT_EQ(root().get_child_element(bad, elements), XEC_ENCODING);
    EXPECT_FALSE(root().has_child_element(bad));
    EXPECT_EQ(root().get_child_text(bad), "");
    EXPECT_FALSE(root().has_attr(bad));
    EXPECT_EQ(root().get_attr(bad, value), XEC_ENCODING);
    EXPECT_EQ(root().set_attr(bad, "x"), XEC_ENCODING);
    EXPECT_EQ(root().set_attr("a", bad), XEC_ENCODING);
    EXPECT_EQ(root().insert_attr(bad, "x"), XEC_ENCODING);
    EXPECT_EQ(root().insert_attr("c", bad), XEC_ENCODING);
    EXPECT_EQ(root().remove_attr(bad), XEC_ENCODING);
    EXPECT_EQ(root().set_text(bad), XEC_ENCODING);
    EXPECT_EQ(root().insert_text(bad), XEC_ENCODING);
    EXPECT_EQ(xml.create_element(bad, out), XEC_ENCODING);
    EXPECT_EQ(xml.search_element(bad, elements), XEC_ENCODING);
    EXPECT_EQ(xml.get_xpath_result(bad), nullptr);
    EXPECT_EQ(value, "kept");
  }
  EXPECT_EQ(written(), "<r a=\"1\">t<b/></r>");
}

}  // namespace
