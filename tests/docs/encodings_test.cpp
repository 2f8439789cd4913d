// docs/encodings.md: its example runs as printed, the encodings that it names can be loaded, and
// what cannot be converted has the results of its table.
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>
#include <utility/xml.h>

#include <map>

#include "tests/docs/markdown.h"
#include "tests/harness/gbk_locale.h"
#include "tests/harness/host_function.h"
#include "tests/harness/run_program.h"
#include "tests/harness/script_file.h"

using fwbase::IFWBase;
using fwbase::IScript;
using fwbase::test::code_spans;
using fwbase::test::GbkLocale;
using fwbase::test::HostFunction;
using fwbase::test::MarkdownPage;
using fwbase::test::run_program;
using fwbase::test::ScriptFile;
using fwbase::test::TableRow;
using fwbase::test::TempDir;
using fwbase::test::write_file;

namespace {

const MarkdownPage& page() {
  static const MarkdownPage encodings("docs/encodings.md");
  return encodings;
}

std::string shell(const std::string& command) {
  return run_program({"/bin/sh", "-c", command}).out;
}

class EncodingsPage : public testing::Test {
 protected:
  EncodingsPage() { m_facade->init(); }
  ~EncodingsPage() override { m_facade->release(); }

  IScript& script() { return *m_facade->script(); }

  /// Loads a script that has these variables and calls.
  ec::EC load(const std::string& vars, const std::string& calls = "",
              const std::string& encoding = "UTF-8") {
    m_file.emplace("<?xml version=\"1.0\" encoding=\"" + encoding +
                   "\"?><korvid><template><Func name='f'><param tag='text' type='string'/></Func>"
                   "</template><Process name=''><Data>" +
                   vars + "</Data><Exec><section name='s'>" + calls +
                   "</section></Exec></Process></korvid>");
    script().release();
    script().init();
    script().expand_syntax(&m_function);
    return script().load_script(m_file->path());
  }

  ec::EC save_with(const std::string& text) {
    script().set_value("text", IScript::VT_STRING, &text);
    return script().save_script();
  }

  std::optional<ScriptFile> m_file;

 private:
  IFWBase* const m_facade = IFWBase::instance();
  HostFunction m_function{"f", {IScript::VT_STRING}};
};

/// The first of some characters, from rare to plain, that an encoding has.
std::string character_of(const std::string& encoding) {
  for (const char* const character : {"\xE4\xB8\xAD", "\xC3\xA9"}) {
    if (run_program({"/bin/sh", "-c",
                     "printf '" + std::string(character) + "' | iconv -f UTF-8 -t " + encoding})
            .status == 0) {
      return character;
    }
  }
  return "e";
}

}  // namespace

TEST(EncodingsExample, AUtf8ScriptRunsInAGbkProcessAndIsSavedAsUtf8) {
  const GbkLocale locale;
  const TempDir directory;
  write_file(directory.path("greeting.xml"), page().blocks("xml").at(0));
  const std::string run = "cd '" + directory.path() + "' && '" FWBASE_ENCODINGS_HOST "'";
  EXPECT_EQ(shell(run), "\xC4\xE3\xBA\xC3\xA3\xAC\xCA\xC0\xBD\xE7\n");
  const std::string saved = fwbase::test::read_file(directory.path("greeting.xml"));
  const std::vector<std::string> spans =
      code_spans(page().text().substr(page().text().find("It prints")));
  EXPECT_NE(saved.find(spans.back()), std::string::npos) << saved;
}

TEST_F(EncodingsPage, EveryEncodingThatThePageNamesCanBeLoaded) {
  const std::string text = page().section("Script files").text();
  const std::size_t tested = text.find("Tested are");
  ASSERT_NE(tested, std::string::npos);
  const std::vector<std::string> encodings =
      code_spans(text.substr(tested, text.find(". ", tested) - tested));
  EXPECT_GE(encodings.size(), 7u);
  for (const std::string& encoding : encodings) {
    const std::string character = character_of(encoding);
    const std::string var = "<var name='a' type='string' value='" + character + "'/>";
    load(var, "", encoding);
    write_file(m_file->path(),
               shell("iconv -f UTF-8 -t " + encoding + " '" + m_file->path() + "'"));
    script().release();
    script().init();
    ASSERT_EQ(script().load_script(m_file->path()), ec::SCRIPT_OK) << encoding;
    std::string value;
    EXPECT_EQ(script().get_value("a", IScript::VT_STRING, &value), ec::SCRIPT_OK);
    EXPECT_EQ(value, character) << encoding;
  }
}

TEST_F(EncodingsPage, WhatTheCodePageLacksHasTheResultsOfTheTable) {
  const GbkLocale locale;
  const std::string o = "\xC3\xB6";  // not in GBK
  std::map<std::string, std::string> results = {
      {"`load_script`: an attribute",
       ec::name(load("<var name='a' type='string' value='" + o + "'/>"))},
      {"`load_script`: a text", ec::name(load("", "<f><text>" + o + "</text></f>"))},
      {"`load_script`: the name of a call", ec::name(load("", "<" + o + "/>"))},
  };
  load("");
  results["`save_script`: a variable whose name or string is no text of the code page"] =
      ec::name(save_with("\xFF"));
  load("", "", "US-ASCII");
  EXPECT_EQ(save_with("\xD6\xD0"), ec::SCRIPT_OK);
  results["`save_script`: a character that the encoding of the file lacks"] =
      m_file->text().find("&#x4E2D;") != std::string::npos ? "&#x4E2D;" : m_file->text();

  const ScriptFile file("<r a='" + o + "'>" + o + "</r>");
  utility::CXml xml;
  utility::CElement root;
  std::string value;
  ASSERT_EQ(xml.load(file.path()), utility::XEC_OK);
  ASSERT_EQ(xml.get_root_element(root), utility::XEC_OK);
  results["operations of `CXml` and `CElement` that return a code"] =
      root.get_attr("a", value) == utility::XEC_ENCODING ? "XEC_ENCODING" : "another";
  results["operations of `CElement` that return a text"] =
      root.get_text().empty() ? "the empty text" : root.get_text();
  xml.release();

  std::size_t rows = 0;
  for (const TableRow& row : page().section("The code page of the process").table()) {
    const std::vector<std::string> spans = code_spans(row.at(1));
    EXPECT_EQ(results[row.at(0)], spans.empty() ? row.at(1) : spans.at(0)) << row.at(0);
    ++rows;
  }
  EXPECT_EQ(rows, results.size());
}

TEST_F(EncodingsPage, WithoutSetlocaleTheCodePageIsUtf8) {
  const std::string o = "\xC3\xB6";
  ASSERT_EQ(load("<var name='" + o + "' type='string' value='" + o + "'/>"), ec::SCRIPT_OK);
  std::string value;
  EXPECT_EQ(script().get_value(o.c_str(), IScript::VT_STRING, &value), ec::SCRIPT_OK);
  EXPECT_EQ(value, o);
}

TEST_F(EncodingsPage, TwoWaysToWriteACharacterAreTwoNames) {
  const std::string one = "\xC3\xB6";
  const std::string other = "o\xCC\x88";
  ASSERT_EQ(load("<var name='" + one + "' type='int' value='1'/><var name='" + other +
                 "' type='int' value='2'/>"),
            ec::SCRIPT_OK);
  std::int32_t number = 0;
  EXPECT_EQ(script().get_value(one.c_str(), IScript::VT_INT, &number), ec::SCRIPT_OK);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(script().get_value(other.c_str(), IScript::VT_INT, &number), ec::SCRIPT_OK);
  EXPECT_EQ(number, 2);
}
