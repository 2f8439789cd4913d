#include "fwbase/script/reader.h"

#include <gtest/gtest.h>

#include <xercesc/util/PlatformUtils.hpp>

#include "tests/harness/code_page.h"

namespace {

using namespace fwbase;
using fwbase::test::CodePage;
using script::Document;
using script::Failure;
using script::Finding;
using script::Mistake;
using script::Place;
using script::Program;

constexpr auto VT_INT = IScript::VT_INT;
constexpr auto VT_STRING = IScript::VT_STRING;

// A host with f(int, string), g() and h(int).
class Host : public script::Surroundings {
 public:
  const script::Signatures* signatures() const override { return is_known ? &m_known : nullptr; }

  bool is_known = true;

 private:
  const script::Signatures m_known{{"f", {VT_INT, VT_STRING}}, {"g", {}}, {"h", {VT_INT}}};
};

class Reader : public testing::Test {
 protected:
  static void SetUpTestSuite() { xercesc::XMLPlatformUtils::Initialize(); }
  static void TearDownTestSuite() { xercesc::XMLPlatformUtils::Terminate(); }

  // All mistakes as "line:column rule", in the order in which they are found.
  std::vector<std::string> mistakes(const std::string& text) {
    EXPECT_EQ(document.parse(text), 0u) << text;
    findings = script::find_mistakes(document, host);
    std::vector<std::string> shown;
    for (const Finding& finding : findings) {
      EXPECT_TRUE(finding.is_error);
      EXPECT_FALSE(finding.message.empty());
      shown.push_back(std::to_string(finding.place.line) + ":" +
                      std::to_string(finding.place.column) + " " + finding.rule);
    }
    const Failure failure = script::read_program(document, host, program = Program());
    EXPECT_EQ(failure.code, findings.empty() ? ec::SCRIPT_OK : findings.front().code);
    EXPECT_EQ(failure.mistake == Mistake::kNone, findings.empty());
    return shown;
  }

  Host host;
  Document document;
  Program program;
  std::vector<Finding> findings;
};

using Texts = std::vector<std::string>;

TEST_F(Reader, AProgramHasEverythingWithItsPlace) {
  EXPECT_EQ(
      mistakes("<korvid>\n"
               "<template><Func name='f'>\n"
               " <param tag='n' type='int'/>\n"
               " <param tag='s' type='string' must='false' defaultval='d'/></Func></template>\n"
               "<Process name=''>\n"
               "<Data><var name='v' type='string' value='x'/>\n"
               " <var name='i' type='int' value='7'/></Data>\n"
               "<Exec><section name='s'>\n"
               " <f><n>5</n></f>\n"
               " <f><params><n><ref>r</ref></n><s>t</s><ret>o</ret></params>\n"
               "    <params><n>6</n></params></f></section>\n"
               "</Exec></Process></korvid>"),
      Texts{});
  ASSERT_EQ(program.functions.size(), 1u);
  EXPECT_EQ(program.functions[0]->place, (Place{2, 11}));
  EXPECT_EQ(program.functions[0]->params[1].place, (Place{4, 2}));
  ASSERT_EQ(program.variables.size(), 2u);
  EXPECT_EQ(program.variables[0].text, "x");
  EXPECT_EQ(program.variables[0].place, (Place{6, 7}));
  EXPECT_EQ(program.variables[1].number, 7);
  ASSERT_EQ(program.sections.size(), 1u);
  EXPECT_EQ(program.sections[0].name, "s");
  EXPECT_EQ(program.sections[0].place, (Place{8, 7}));
  ASSERT_EQ(program.sections[0].call_count, 3u);
  EXPECT_EQ(program.calls[0].place, (Place{9, 2}));
  EXPECT_EQ(program.calls[1].place, (Place{10, 5}));
  EXPECT_EQ(program.calls[2].place, (Place{11, 5}));
  EXPECT_EQ(program.called.size(), 1u);
  EXPECT_EQ(program.arguments[program.calls[0].first_argument].int_value, 5);
  EXPECT_STREQ(program.arguments[program.calls[0].first_argument + 1].string_value, "d");
  EXPECT_EQ(program.calls[0].ret, nullptr);
  EXPECT_STREQ(program.calls[1].ret, "o");
  ASSERT_EQ(program.calls[1].reference_count, 1u);
  EXPECT_STREQ(program.references[0].name, "r");
  EXPECT_EQ(program.references[0].place, (Place{10, 16}));
}

// One snippet of each mistake, told once and at its place.

struct Wrong {
  const char* text;
  Texts mistakes;
};

std::string in_template(const std::string& children) {
  return "<korvid><template>" + children + "</template><Process name=''/></korvid>";
}

TEST_F(Reader, MistakesOfDeclarations) {
  const Wrong all[] = {
      {"<Func/>", {"1:19 missing-attribute"}},
      {"<Func name='x'><param/></Func>", {"1:34 missing-attribute", "1:34 missing-attribute"}},
      {"<Func name='x'><param tag='ret' type='x'/></Func>", {"1:34 reserved-tag", "1:34 bad-type"}},
      {"<Func name='x'><param tag='t' type='int' must='x'/></Func>", {"1:34 bad-must"}},
      {"<Func name='x'/><Func name='x'/><Func name='x'/>",
       {"1:35 duplicate-function", "1:51 duplicate-function"}},
      {"<Func name='x'><param tag='' type='int'/></Func>", {}},
  };
  for (const Wrong& wrong : all) {
    EXPECT_EQ(mistakes(in_template(wrong.text)), wrong.mistakes) << wrong.text;
  }
}

TEST_F(Reader, MistakesOfTheFileAndItsVariables) {
  EXPECT_EQ(mistakes("\n<Korvid><template><Func/></template></Korvid>"), Texts{"2:1 wrong-root"});
  EXPECT_EQ(mistakes("<korvid><template><Func/></template></korvid>"),
            (Texts{"1:19 missing-attribute", "1:1 no-process"}));
  EXPECT_EQ(mistakes("<korvid><Process/></korvid>"), Texts{"1:9 missing-attribute"});
  EXPECT_EQ(mistakes("<korvid><Process name='other'><Data><var/></Data></Process></korvid>"),
            Texts{});
  EXPECT_EQ(mistakes("<korvid><Process name=''><Data><var/>"
                     "<var name='a' value='' type='x'/></Data></Process></korvid>"),
            (Texts{"1:32 missing-attribute", "1:32 missing-attribute", "1:32 missing-attribute",
                   "1:38 bad-type"}));
}

std::string in_section(const std::string& calls) {
  return "<korvid><template>\n"
         "<Func name='f'><param tag='n' type='int'/><param tag='s' type='string'/></Func>\n"
         "<Func name='g'/><Func name='unknown'/>\n"
         "<Func name='h'><param tag='n' type='string'/></Func>\n"
         "</template><Process name=''><Exec><section name='s'>\n" +
         calls + "</section></Exec></Process></korvid>";
}

TEST_F(Reader, MistakesOfCalls) {
  const Wrong all[] = {
      {"<x><n/></x><x/>", {"6:1 undeclared-function", "6:12 undeclared-function"}},
      {"<unknown/><unknown><ret/></unknown>",
       {"6:1 unregistered-function", "6:11 unregistered-function"}},
      {"<h><n/></h><h><n/></h>", {"4:16 parameter-type"}},
      {"<f/>", {"6:1 missing-argument", "6:1 missing-argument"}},
      {"<f><params><n/></params></f>", {"6:4 missing-argument"}},
      {"<f><n/><s/><n/><n/></f>", {"6:12 duplicate-argument", "6:16 duplicate-argument"}},
      {"<f><n><ref/></n><s/><ret/></f>", {"6:7 empty-name", "6:21 empty-name"}},
      {"<g/></section><section name='s'><x/></section><section>",
       {"6:15 duplicate-section", "6:33 undeclared-function", "6:47 missing-attribute"}},
  };
  for (const Wrong& wrong : all) {
    EXPECT_EQ(mistakes(in_section(wrong.text)), wrong.mistakes) << wrong.text;
  }
}

TEST_F(Reader, MistakesOfCalledDeclarationsAreToldOnceAtTheDeclaration) {
  EXPECT_EQ(mistakes("<korvid><template><Func name='g'><param tag='a' type='int' must='false'/>"
                     "</Func>\n<Func name='h'><param tag='' type='int'/></Func></template>"
                     "<Process name=''><Exec><section name='s'><g/><g/><h/><h/></section></Exec>"
                     "</Process></korvid>"),
            (Texts{"1:19 parameter-count", "2:16 empty-tag"}));
}

TEST_F(Reader, WithoutAHostDeclarationsAreBelieved) {
  host.is_known = false;
  EXPECT_EQ(mistakes(in_section("<unknown/><h><n/></h><x/>")), Texts{"6:22 undeclared-function"});
}

TEST_F(Reader, WhatTheCodePageCannotExpressIsToldWithTheCodeOfItsKind) {
  const CodePage page("US-ASCII");
  const auto codes = [&](const std::string& text) {
    std::vector<ec::EC> all;
    for (const std::string& one : mistakes(text)) {
      EXPECT_NE(one.find("unconvertible"), std::string::npos) << one;
    }
    for (const Finding& finding : findings) {
      all.push_back(finding.code);
    }
    return all;
  };
  EXPECT_EQ(codes(in_section("<f><n>&#x4E2D;</n><s><ref>&#x4E2D;</ref></s><ret>&#x4E2D;</ret></f>"
                             "<\xE4\xB8\xAD/>")),
            (std::vector{ec::SCRIPT_E_FORMAT, ec::SCRIPT_E_FORMAT, ec::SCRIPT_E_FORMAT,
                         ec::SCRIPT_NO_RULE}));
  EXPECT_EQ(codes("<korvid><Process name='&#x4E2D;'><Data><var/></Data></Process></korvid>"),
            std::vector{ec::SCRIPT_E_ATTR});
}

}  // namespace
