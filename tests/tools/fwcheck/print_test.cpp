// --print: the functions as a catalogue, a template, a schema and a page.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <map>

#include "printing.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwcheck/fwcheck_program.h"
#include "tests/tools/fwstd/documented_functions.h"

using fwbase::test::ScriptFile;
using fwstd::test::documented_functions;
using fwstd::test::DocumentedFunction;
using nlohmann::json;

namespace fwcheck::test {

namespace {

std::string printed(const char* form, std::vector<std::string> more = {}) {
  more.insert(more.end(), {"--print", form});
  const ProgramResult result = run_fwcheck(more);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return result.out;
}

const char kGreet[] = R"({"functions": [{"name": "greet", "module": "host",
  "description": "Greets -- & \"waves\".", "parameters": [
    {"tag": "who", "type": "string", "must": true, "description": "a|b"},
    {"tag": "times", "type": "int", "must": false, "default": "1"}]}]})";

}  // namespace

TEST(FwcheckPrint, CatalogueHasTheDocumentedFunctionsInTheOrderOfTheirNames) {
  std::map<std::string, DocumentedFunction> documented;
  for (const DocumentedFunction& function : documented_functions()) {
    documented[function.name] = function;
  }
  const json functions = json::parse(printed("catalogue")).at("functions");
  ASSERT_EQ(functions.size(), documented.size());
  auto expected = documented.begin();
  for (const json& function : functions) {
    const DocumentedFunction& like = (expected++)->second;
    EXPECT_EQ(function.at("name"), like.name);
    EXPECT_EQ(function.at("description"), like.does);
    EXPECT_NE(function.at("module").get<std::string>().find("/libfwstd.so"), std::string::npos);
    ASSERT_EQ(function.at("parameters").size(), like.parameters.size());
    for (std::size_t i = 0; i < like.parameters.size(); ++i) {
      const json& parameter = function.at("parameters")[i];
      EXPECT_EQ(parameter.at("tag"), like.parameters[i].tag);
      EXPECT_EQ(parameter.at("type"), like.parameters[i].type);
      EXPECT_EQ(parameter.at("must"), !like.parameters[i].default_value.has_value());
      EXPECT_EQ(parameter.contains("default"), like.parameters[i].default_value.has_value());
      EXPECT_EQ(parameter.value("default", std::string()),
                like.parameters[i].default_value.value_or(""));
      EXPECT_TRUE(parameter.at("description").is_string());
    }
  }
}

TEST(FwcheckPrint, IsTheSameOnEachRun) {
  for (const char* const form : {"catalogue", "template", "xsd", "markdown"}) {
    EXPECT_EQ(printed(form), printed(form));
  }
}

TEST(FwcheckPrint, TellsAModulesFunctionsBesideThoseThatAreAlwaysThere) {
  const json functions =
      json::parse(printed("catalogue", {"--module", FWRUN_TEST_MODULES "/libbrings_functions.so"}))
          .at("functions");
  EXPECT_GT(functions.size(), documented_functions().size());
  std::size_t brought = 0;
  for (const json& function : functions) {
    if (function.at("module") == FWRUN_TEST_MODULES "/libbrings_functions.so") {
      ++brought;
      for (std::size_t i = 0; i < function.at("parameters").size(); ++i) {
        EXPECT_EQ(function.at("parameters")[i].at("tag"), "arg" + std::to_string(i + 1));
      }
    }
  }
  EXPECT_GT(brought, 0U);
}

TEST(FwcheckPrint, CatalogueOfACatalogueIsItself) {
  const ScriptFile first(printed("catalogue"));
  EXPECT_EQ(printed("catalogue", {"--catalogue", first.path()}), first.text());
}

TEST(FwcheckPrint, CataloguesTakeThePlaceOfTheFunctionsThatAreAlwaysThere) {
  const ScriptFile catalogue(kGreet);
  const json functions =
      json::parse(printed("catalogue", {"--catalogue", catalogue.path()})).at("functions");
  ASSERT_EQ(functions.size(), 1U);
  EXPECT_EQ(functions[0].at("name"), "greet");
  EXPECT_EQ(functions[0].at("module"), "host");
}

TEST(FwcheckPrint, TemplateDeclaresAllFunctions) {
  const ScriptFile catalogue(kGreet);
  EXPECT_EQ(printed("template", {"--catalogue", catalogue.path()}),
            "<template>\n"
            "  <!-- Greets - - &amp; &quot;waves&quot;. -->\n"
            "  <Func name=\"greet\">\n"
            "    <param tag=\"who\" type=\"string\"/>\n"
            "    <param tag=\"times\" type=\"int\" must=\"false\" defaultval=\"1\"/>\n"
            "  </Func>\n"
            "</template>\n");
}

TEST(FwcheckPrint, TemplateFitsIntoAScript) {
  const ScriptFile script("<korvid>" + printed("template") + "<Process name=\"\"/></korvid>");
  const ProgramResult result = run_fwcheck({"--strict", script.path()});
  EXPECT_EQ(result.status, 0) << result.out;
}

TEST(FwcheckPrint, MarkdownHasATableOfEachFunction) {
  const ScriptFile catalogue(kGreet);
  EXPECT_EQ(printed("markdown", {"--catalogue", catalogue.path()}),
            "# Functions for scripts\n"
            "\n## `greet`\n\nGreets -- \\& \"waves\".\n\n"
            "| parameter | type | default | description |\n|---|---|---|---|\n"
            "| `who` | string | required | a\\|b |\n"
            "| `times` | int | `1` |  |\n"
            "\nFrom `host`.\n");
}

TEST(FwcheckPrint, WritesWhatModulesPrintToStandardError) {
  const ProgramResult result = run_line("\"$0\" --print catalogue --module \"$1\" 2>/dev/null",
                                        {FWRUN_TEST_MODULES "/libshows_argument.so=text"});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(json::accept(result.out)) << result.out;
}

TEST(FwcheckPrint, EndsSilentlyWhereNobodyReads) {
  const ProgramResult result = run_fwcheck({"--print", "xsd"}, Stdout::kBrokenPipe);
  EXPECT_EQ(result.err, "");
}

TEST(FwcheckPrint, TellsThatItCannotWrite) {
  const ProgramResult result = run_fwcheck({"--print", "xsd"}, Stdout::kFullDevice);
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "fwcheck: cannot write to standard output: No space left on device\n");
}

}  // namespace fwcheck::test
