// Findings as the command prints them, and its exit statuses.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "tests/harness/script_file.h"
#include "tests/tools/fwcheck/fwcheck_program.h"

using fwbase::test::ScriptFile;
using fwbase::test::TempDir;
using fwbase::test::write_file;
using nlohmann::json;

namespace fwcheck::test {

namespace {

const char kClean[] = "<korvid><Process name=\"\"/></korvid>";
const char kFaulty[] = "<korvid>\n  <Process/>\n</korvid>";
const char kWarned[] = "<korvid a=\"1\">\n  <Process name=\"\"/>\n</korvid>";

const char kGreet[] = R"({"functions": [{"name": "greet", "parameters": [
    {"tag": "who", "type": "string"}, {"tag": "times", "type": "int", "must": false}]}]})";

std::string script(const std::string& template_, const std::string& calls) {
  return "<korvid>\n<template>" + template_ + "</template>\n<Process name=\"\"><Exec>" +
         "<section name=\"s\">\n" + calls + "\n</section></Exec></Process></korvid>\n";
}

}  // namespace

TEST(FwcheckCheck, ACleanScriptIsStatus0AndSilent) {
  const ScriptFile file(kClean);
  const ProgramResult result = run_fwcheck({file.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

TEST(FwcheckCheck, AnErrorIsALineWithItsPlaceAndStatus1) {
  const ScriptFile file(kFaulty);
  const ProgramResult result = run_fwcheck({file.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, std::string(file.path()) +
                            ":2:3: error: \"Process\" needs the attribute \"name\" "
                            "[missing-attribute]\n");
  EXPECT_EQ(result.err, "fwcheck: 1 error, 0 warnings\n");
}

TEST(FwcheckCheck, ARefusedFileIsToldWhy) {
  constexpr const char* kOtherFile =
      "it refers to an entity in another file, and a script is one file";
  constexpr const char* kBytes = "it has bytes that are no character of its encoding";
  const std::string declared = "<!DOCTYPE korvid [<!ELEMENT other ANY>]>";
  const std::string process = "<Process name=\"\"/>";
  std::string deep;
  for (int i = 0; i <= 1000; ++i) {
    deep += "<korvid>";
  }
  const struct {
    std::string text;
    std::string what;
  } kCases[] = {
      {"<!DOCTYPE korvid [<!ENTITY e SYSTEM \"e.xml\">]><korvid>&e;" + process + "</korvid>",
       kOtherFile},
      {"<!DOCTYPE korvid [<!ENTITY % e SYSTEM \"e.xml\"> %e;]><korvid>" + process + "</korvid>",
       kOtherFile},
      {"<!DOCTYPE korvid SYSTEM \"k.dtd\" [<!ENTITY e SYSTEM \"e.xml\">]><korvid a=\"&f;\"/>",
       "entity 'f' not found"},
      {"<korvid>" + process + "</korvid>\n\xE4", kBytes},
      {declared + "<korvid>" + process + "</korvid>\n\xE4", kBytes},
      {declared + "<korvid>" + process + "&e;<unknown/></korvid>", "entity 'e' not found"},
      {declared + deep, "the document is beyond the limits of a script"},
  };
  for (const auto& one : kCases) {
    const ScriptFile file(one.text);
    const ProgramResult result = run_fwcheck({file.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find(": error: " + one.what + " [malformed]\n"), std::string::npos)
        << result.out;
  }
}

TEST(FwcheckCheck, AWarningIsStatus0UnlessItIsStrict) {
  const ScriptFile file(kWarned);
  const std::string line =
      std::string(file.path()) +
      ":1:1: warning: nothing looks for the attribute \"a\" of \"korvid\" [unknown-attribute]\n";
  const ProgramResult result = run_fwcheck({file.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, line);
  EXPECT_EQ(result.err, "fwcheck: 0 errors, 1 warning\n");
  const ProgramResult strict = run_fwcheck({"--strict", file.path()});
  EXPECT_EQ(strict.status, 1);
  EXPECT_EQ(strict.out, line);
}

TEST(FwcheckCheck, LeavesOutAWarningThatIsIgnored) {
  const ScriptFile file("<korvid a=\"1\">text<Process name=\"\"/></korvid>");
  const ProgramResult result =
      run_fwcheck({"--strict", "--ignore", "unknown-attribute", file.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.out.find("[ignored-text]"), std::string::npos);
  EXPECT_EQ(result.out.find("[unknown-attribute]"), std::string::npos);
  EXPECT_EQ(run_fwcheck({"--strict", "--ignore", "unknown-attribute", "--ignore", "ignored-text",
                         file.path()})
                .status,
            0);
}

TEST(FwcheckCheck, FiveMistakesOfOneFileAreFiveFindings) {
  const ProgramResult result = run_fwcheck({CORPUS "/faulty/five_mistakes.xml"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 5) << result.out;
}

TEST(FwcheckCheck, TellsFindingsInTheUsersLanguageAndToProgramsInEnglish) {
  const ScriptFile file(kFaulty);
  const ProgramResult text = run_line("LC_ALL=zh_CN.UTF-8 \"$0\" \"$1\"", {file.path()});
  EXPECT_EQ(text.out, std::string(file.path()) +
                          ":2:3: error: \"Process\" 需要属性 \"name\" [missing-attribute]\n");
  EXPECT_EQ(text.err, "fwcheck: 1 个错误，0 个警告\n");
  const ProgramResult program =
      run_line("LC_ALL=zh_CN.UTF-8 \"$0\" --format json \"$1\"", {file.path()});
  EXPECT_EQ(json::parse(program.out)[0].at("message"), "\"Process\" needs the attribute \"name\"");
}

TEST(FwcheckCheck, ReadsSeveralScriptsInTheirOrder) {
  const ScriptFile clean(kClean);
  const ScriptFile faulty(kFaulty);
  const ScriptFile warned(kWarned);
  const ProgramResult result = run_fwcheck({warned.path(), clean.path(), faulty.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_LT(result.out.find(warned.path()), result.out.find(faulty.path()));
  EXPECT_EQ(result.out.find(clean.path()), std::string::npos);
  EXPECT_EQ(result.err, "fwcheck: 1 error, 1 warning\n");
}

TEST(FwcheckCheck, ReadsStandardInput) {
  const ScriptFile file(kFaulty);
  const ProgramResult result = run_line("\"$0\" - <\"$1\"", {file.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "-:2:3: error: \"Process\" needs the attribute \"name\" [missing-attribute]\n");
  EXPECT_EQ(run_line("printf %s \"$1\" | \"$0\" -", {kClean}).status, 0);
}

TEST(FwcheckCheck, WhatCannotBeReadIsAnError) {
  const TempDir directory;
  for (const std::string& path : {directory.path("none.xml"), directory.path()}) {
    const ProgramResult result = run_fwcheck({"--format", "json", path});
    EXPECT_EQ(result.status, 1);
    const json findings = json::parse(result.out);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].at("rule"), "unreadable");
    EXPECT_EQ(findings[0].at("code"), "SCRIPT_E_LOAD");
    EXPECT_EQ(findings[0].at("line"), 1);
    EXPECT_EQ(findings[0].at("column"), 1);
  }
}

TEST(FwcheckCheck, JsonIsOneArray) {
  const ScriptFile clean(kClean);
  EXPECT_EQ(run_fwcheck({"--format", "json", clean.path()}).out, "[]\n");

  const ScriptFile faulty(kFaulty);
  const ScriptFile warned(kWarned);
  const ProgramResult result = run_fwcheck({"--format", "json", faulty.path(), warned.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
  const json expected = {{{"file", faulty.path()},
                          {"line", 2},
                          {"column", 3},
                          {"severity", "error"},
                          {"rule", "missing-attribute"},
                          {"message", "\"Process\" needs the attribute \"name\""},
                          {"code", "SCRIPT_E_ATTR"}},
                         {{"file", warned.path()},
                          {"line", 1},
                          {"column", 1},
                          {"severity", "warning"},
                          {"rule", "unknown-attribute"},
                          {"message", "nothing looks for the attribute \"a\" of \"korvid\""}}};
  EXPECT_EQ(json::parse(result.out), expected);
}

TEST(FwcheckCheck, SarifIsOneRunOfVersion210) {
  const TempDir directory;
  const std::string path = directory.path("a b.xml");
  write_file(path, kFaulty);
  const ProgramResult result = run_fwcheck({"--format", "sarif", path});
  EXPECT_EQ(result.status, 1);
  const json log = json::parse(result.out);
  EXPECT_EQ(log.at("version"), "2.1.0");
  ASSERT_EQ(log.at("runs").size(), 1U);
  const json& run = log.at("runs")[0];
  EXPECT_EQ(run.at("tool").at("driver").at("name"), "fwcheck");
  EXPECT_EQ(run.at("columnKind"), "unicodeCodePoints");
  ASSERT_EQ(run.at("results").size(), 1U);
  const json& one = run.at("results")[0];
  EXPECT_EQ(one.at("ruleId"), "missing-attribute");
  EXPECT_EQ(one.at("level"), "error");
  EXPECT_EQ(one.at("message").at("text"), "\"Process\" needs the attribute \"name\"");
  const json& place = one.at("locations")[0].at("physicalLocation");
  EXPECT_EQ(place.at("artifactLocation").at("uri"), directory.path("a%20b.xml"));
  EXPECT_EQ(place.at("region").at("startLine"), 2);
  EXPECT_EQ(place.at("region").at("startColumn"), 3);

  const ProgramResult slashes = run_fwcheck({"--format", "sarif", "//nowhere/a.xml"});
  EXPECT_NE(slashes.out.find("\"uri\": \"/.//nowhere/a.xml\""), std::string::npos) << slashes.out;

  const ScriptFile clean(kClean);
  const json nothing = json::parse(run_fwcheck({"--format", "sarif", clean.path()}).out);
  EXPECT_EQ(nothing.at("runs")[0].at("results"), json::array());
}

TEST(FwcheckCheck, KnowsTheFunctionsOfAModule) {
  const ScriptFile file(
      script("<Func name=\"greet\"><param tag=\"who\" type=\"string\"/>"
             "<param tag=\"times\" type=\"int\"/></Func>",
             "<greet><who>a</who><times>1</times></greet>"));
  const ProgramResult without = run_fwcheck({file.path()});
  EXPECT_EQ(without.status, 1);
  EXPECT_NE(without.out.find("[unregistered-function]"), std::string::npos) << without.out;
  const char* const module = FWRUN_TEST_MODULES "/libbrings_functions.so";
  EXPECT_EQ(run_fwcheck({"--strict", "--module", module, file.path()}).status, 0);
  const ScriptFile catalogue("{\"functions\": []}");
  EXPECT_EQ(
      run_fwcheck({"--strict", "--catalogue", catalogue.path(), "--module", module, file.path()})
          .status,
      0);
}

TEST(FwcheckCheck, ComparesWithACatalogueInPlaceOfFwstd) {
  const ScriptFile catalogue(kGreet);
  const std::string greet =
      "<Func name=\"greet\"><param tag=\"who\" type=\"string\"/>"
      "<param tag=\"times\" type=\"int\" must=\"false\"/></Func>";
  const ScriptFile good(script(greet, "<greet><who>a</who></greet>"));
  EXPECT_EQ(run_fwcheck({"--strict", "--catalogue", catalogue.path(), good.path()}).status, 0);
  const ScriptFile bad(
      script("<Func name=\"greet\"><param tag=\"who\" type=\"int\"/>"
             "<param tag=\"times\" type=\"int\"/></Func>",
             "<greet><who>1</who><times>1</times></greet>"));
  EXPECT_NE(run_fwcheck({"--catalogue", catalogue.path(), bad.path()}).out.find("[parameter-type]"),
            std::string::npos);
  const ScriptFile print(script("<Func name=\"print\"><param tag=\"text\" type=\"string\"/></Func>",
                                "<print><text>a</text></print>"));
  EXPECT_EQ(run_fwcheck({print.path()}).status, 0);
  EXPECT_NE(run_fwcheck({"--catalogue", catalogue.path(), print.path()})
                .out.find("[unregistered-function]"),
            std::string::npos);
}

TEST(FwcheckCheck, BelievesTheScriptWithAnyFunction) {
  const ScriptFile file(
      script("<Func name=\"gone\"><param tag=\"a\" type=\"int\"/></Func>"
             "<Func name=\"set_int\"/><Func name=\"never\"/>",
             "<gone/><set_int/><other/>"));
  const ProgramResult result = run_fwcheck({"--any-function", file.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.out.find("[missing-argument]"), std::string::npos);
  EXPECT_NE(result.out.find("[undeclared-function]"), std::string::npos);
  EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 2) << result.out;
}

TEST(FwcheckCheck, VariablesThatTheHostSetsAreNotMissing) {
  const ScriptFile file(script("<Func name=\"print\"><param tag=\"text\" type=\"string\"/></Func>",
                               "<print><text><ref>a</ref></text></print>"
                               "<print><text><ref>b</ref></text></print>"));
  EXPECT_EQ(run_fwcheck({"--strict", file.path()}).status, 1);
  EXPECT_EQ(run_fwcheck({"--strict", "--env", "a", file.path()}).status, 1);
  EXPECT_EQ(run_fwcheck({"--strict", "--env", "a", "--env", "b", file.path()}).status, 0);
}

TEST(FwcheckCheck, TellsHowARefToDataIsMeant) {
  const ProgramResult result = run_fwcheck({CORPUS "/faulty/ref_to_data.xml"});
  EXPECT_NE(result.out.find("load_int"), std::string::npos) << result.out;
}

TEST(FwcheckCheck, SuggestsTheNameThatIsMeant) {
  const ProgramResult result = run_fwcheck({CORPUS "/faulty/element_misspelt_exec.xml"});
  EXPECT_NE(result.out.find("did you mean \"Exec\"?"), std::string::npos) << result.out;
}

TEST(FwcheckCheck, ShowsNoControlCharactersOfAFile) {
  const ScriptFile file(
      "<?xml version=\"1.1\"?><korvid><a\xC2\x85/><Process name=\"&#27;[31m\"/></korvid>");
  const ProgramResult result = run_fwcheck({file.path()});
  EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
}

TEST(FwcheckCheck, IsUtf8InALocaleOfAnotherCodePage) {
  const ScriptFile file(
      "<korvid><Process name=\"\"><Exec><section name=\"a\"><\xE5\xBC\x80/></section></Exec>"
      "</Process></korvid>");
  const ProgramResult result =
      run_line("LC_ALL=zh_CN.GBK LANGUAGE=en \"$0\" \"$1\"", {file.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.out.find("\"\xE5\xBC\x80\""), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("[undeclared-function]"), std::string::npos) << result.out;
}

TEST(FwcheckCheck, TellsWhatTheCodePageLacks) {
  const ScriptFile file(
      "<korvid><Process name=\"\"><Data>\n<var name=\"a\" type=\"string\" value=\"\xC3\xB6\"/>"
      "</Data></Process></korvid>");
  EXPECT_EQ(run_fwcheck({file.path()}).status, 0);
  const ProgramResult result =
      run_line("LC_ALL=zh_CN.GBK \"$0\" --format json \"$1\"", {file.path()});
  EXPECT_EQ(result.status, 1);
  const json findings = json::parse(result.out);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].at("rule"), "unconvertible");
  EXPECT_EQ(findings[0].at("code"), "SCRIPT_E_ATTR");
  EXPECT_EQ(findings[0].at("line"), 2);
}

// Blocked in reading a pipe that nobody writes to.
TEST(FwcheckCheck, InterruptedIsStatus130) {
  const TempDir directory;
  const ProgramResult result = run_line(
      "mkfifo \"$1\"; env --default-signal=INT \"$0\" - <>\"$1\" & "
      "until grep -q '(fwcheck) S' /proc/$!/stat || [ ! -e /proc/$! ]; do :; done; kill -INT $!; "
      "wait $!",
      {directory.path("pipe")});
  EXPECT_EQ(result.status, 130);
  EXPECT_EQ(result.out, "");
}

}  // namespace fwcheck::test
