#include "fwbase/script/outline.h"

#include <gtest/gtest.h>

#include <xercesc/util/PlatformUtils.hpp>

#include "fwbase/script/reader.h"
#include "tests/harness/code_page.h"

namespace {

using fwbase::script::Document;
using fwbase::script::NamedList;
using fwbase::script::Place;
using Written = fwbase::script::Outline;
using Texts = std::vector<std::string>;

class Outline : public testing::Test {
 protected:
  static void SetUpTestSuite() { xercesc::XMLPlatformUtils::Initialize(); }
  static void TearDownTestSuite() { xercesc::XMLPlatformUtils::Terminate(); }

  static Written outline(const std::string& text) {
    Document document;
    EXPECT_EQ(document.parse(text), 0u) << text;
    return read_outline(document);
  }

  static Written of_process(const std::string& children) {
    return outline(
        "<korvid><template><Func name='f'><param tag='a' type='int'/></Func></template>"
        "<Process name=''>" +
        children + "</Process></korvid>");
  }

  // The calls of all sections, such as "f(a=1, b=$x) -> r".
  static Texts calls(const std::string& sections) {
    Texts all;
    for (const Written::Section& section : of_process("<Exec>" + sections + "</Exec>").sections) {
      for (const Written::Call& call : section.calls) {
        all.push_back(shown(call));
      }
    }
    return all;
  }

 private:
  static std::string shown(const Written::Call& call) {
    std::string text = call.function + "(";
    for (const Written::Argument& argument : call.arguments) {
      text += (text.back() == '(' ? "" : ", ") + argument.tag + "=" +
              (argument.is_variable ? "$" : "") + argument.text;
    }
    return text + ")" + (call.result.empty() ? "" : " -> " + call.result);
  }
};

TEST_F(Outline, NamedThingsAreFoundInTheOrderOfTheFile) {
  NamedList<Written::Section> sections;
  EXPECT_EQ(sections.find("a"), nullptr);
  sections.add({"b", {}});
  sections.add({"a", {{"first", {}, ""}}});
  sections.add({"a", {{"second", {}, ""}}});
  ASSERT_EQ(sections.size(), 3U);
  EXPECT_EQ(sections.begin()->name, "b");
  EXPECT_EQ(sections.back().calls.front().function, "second");
  ASSERT_NE(sections.find("a"), nullptr);
  EXPECT_EQ(sections.find("a")->calls.front().function, "first");
  EXPECT_EQ(sections.find("c"), nullptr);
}

TEST_F(Outline, HasFunctionsAsTheyAreDeclared) {
  const Written written = outline(
      "<korvid><template><Func name='f'><param tag='ret' type='text'/>"
      "<param tag='a' type='int' must='false'/><param tag='b' type='string' must='false'/>"
      "<param tag='c' type='int' must='false' defaultval=' 3 '/>"
      "<param tag='d' type='int' must='no' defaultval='3'/><param/></Func></template>"
      "<template><Func/><Func name='f'/></template></korvid>");
  Texts shown;
  for (const Written::Function& function : written.functions) {
    shown.push_back("Func " + function.name);
    for (const Written::Parameter& one : function.parameters) {
      shown.push_back(one.tag + ": " + one.type + " = " + one.default_value.value_or("none"));
    }
  }
  EXPECT_EQ(shown, (Texts{"Func f", "ret: text = none", "a: int = 0", "b: string = ",
                          "c: int =  3 ", "d: int = none", ":  = none", "Func ", "Func f"}));
}

TEST_F(Outline, HasVariablesAsTheyAreWritten) {
  const Written written = of_process(
      "<Data><var name='a' type='int' value='1x'/><var/></Data>"
      "<Data><var name='a' type='text' value=' b '/></Data>");
  Texts shown;
  for (const Written::Variable& one : written.variables) {
    shown.push_back(one.name + ": " + one.type + " = " + one.value);
  }
  EXPECT_EQ(shown, (Texts{"a: int = 1x", ":  = ", "a: text =  b "}));
}

TEST_F(Outline, HasArgumentsInTheirOrderWhateverTheFunctionTakes) {
  EXPECT_EQ(calls("<section name='s'><f><b>x</b><a>1x</a><a><ref>v</ref><ref>w</ref></a>"
                  "<ret>r</ret><ret>q</ret></f><f/></section>"),
            (Texts{"f(b=x, a=1x, a=$v) -> r", "f()"}));
}

TEST_F(Outline, HasCallsThatNothingDeclares) {
  EXPECT_EQ(calls("<section name='s'><g><a>1</a></g><ret/></section>"), (Texts{"g(a=1)", "ret()"}));
}

TEST_F(Outline, HasACallForEachSetOfArguments) {
  EXPECT_EQ(calls("<section name='s'><f><a>0</a><params><a>1</a><params/></params><params/></f>"
                  "<g><params><a>2</a></params></g></section>"),
            (Texts{"f(a=1)", "f()", "g(a=2)"}));
}

TEST_F(Outline, HasSectionsOfOneNameAndOfNone) {
  const Written written = of_process(
      "<Exec><section name='s'><f/></section><section/></Exec>"
      "<Exec>\n<section name='s'>\n <f><params/></f></section></Exec>");
  ASSERT_EQ(written.sections.size(), 3U);
  const auto& last = *(written.sections.begin() + 2);
  EXPECT_EQ(last.name, "s");
  ASSERT_EQ(last.calls.size(), 1U);
  EXPECT_EQ(last.calls[0].place, (Place{3, 5}));
  EXPECT_EQ((written.sections.begin() + 1)->name, "");
}

TEST_F(Outline, HasTheNamesOfProcessesThatArePassedOver) {
  const Written written = outline(
      "<korvid><Process name='a'><Exec><section name='s'/></Exec></Process><Process/>"
      "<Process name='b'/></korvid>");
  EXPECT_EQ(written.other_processes, (Texts{"a", "b"}));
  EXPECT_EQ(written.sections.size(), 0U);
}

TEST_F(Outline, HasNothingOfAProcessWhoseNameTheCodePageCannotExpress) {
  const fwbase::test::CodePage page("US-ASCII");
  const Written written = outline(
      "<korvid><Process name='&#x4E2D;'><Exec><section name='s'/></Exec></Process></korvid>");
  EXPECT_EQ(written.other_processes, Texts{""});
  EXPECT_EQ(written.sections.size(), 0U);
}

TEST_F(Outline, IsEmptyForAnotherRoot) {
  EXPECT_EQ(outline("<html><template><Func name='f'/></template></html>").functions.size(), 0U);
}

}  // namespace
