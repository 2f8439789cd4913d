#include <gtest/gtest.h>

#include "tests/harness/script_file.h"
#include "tests/tools/fwcheck/fwcheck_program.h"

using fwbase::test::ScriptFile;

namespace fwcheck::test {

TEST(FwcheckUsage, HelpNamesEveryOptionAndStatus) {
  for (const char* const option : {"--help", "-h"}) {
    const ProgramResult result = run_fwcheck({option});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    for (const char* const text :
         {"SCRIPT", "--module PATH[:FUNCTION][=ARGUMENT]", "--catalogue FILE", "--any-function",
          "--env NAME", "--format FORMAT", "--ignore RULE", "--strict", "--print FORM", "--help",
          "--version", "Exit status: 0"}) {
      EXPECT_NE(result.out.find(text), std::string::npos) << text;
    }
  }
}

TEST(FwcheckUsage, VersionIsTheProjects) {
  const ProgramResult result = run_fwcheck({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "fwcheck " FWCHECK_VERSION "\n");
}

TEST(FwcheckUsage, WrongUsageIsStatus2AndPointsToHelp) {
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } kCases[] = {
      {{}, "SCRIPT: is required"},
      {{""}, "SCRIPT: must not be empty"},
      {{"a.xml", ""}, "SCRIPT: must not be empty"},
      {{"-", "-"}, "SCRIPT: standard input can be read once"},
      {{"--foo", "s.xml"}, "The following argument was not expected: --foo"},
      {{"--format", "yaml", "s.xml"}, "--format: 'yaml' is not one of json, sarif, text"},
      {{"--print", "dtd"}, "--print: 'dtd' is not one of catalogue, markdown, template, xsd"},
      {{"--print", "", "s.xml"}, "--print: '' is not one of catalogue, markdown, template, xsd"},
      {{"--ignore", "doctypes", "s.xml"}, "--ignore: 'doctypes' is no warning"},
      {{"--ignore", "malformed", "s.xml"}, "--ignore: 'malformed' is no warning"},
      {{"--module", ":f", "s.xml"}, "--module: ':f' is not PATH[:FUNCTION][=ARGUMENT]"},
  };
  for (const auto& [arguments, message] : kCases) {
    const ProgramResult result = run_fwcheck(arguments);
    EXPECT_EQ(result.status, 2) << message;
    EXPECT_EQ(result.out, "") << message;
    EXPECT_NE(result.err.find(std::string("fwcheck: ") + message), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("fwcheck: fwcheck --help shows the options\n"), std::string::npos)
        << result.err;
  }
}

TEST(FwcheckUsage, MessagesAreChineseForAChineseUser) {
  const ProgramResult result = run_line("LC_ALL=zh_CN.UTF-8 \"$0\"");
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.err.find("fwcheck --help 显示全部选项"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.rfind("fwcheck: SCRIPT: 必须给出\n", 0), 0U) << result.err;
  const ProgramResult module = run_line("LC_ALL=zh_CN.UTF-8 \"$0\" --module nowhere.so a.xml");
  EXPECT_EQ(module.err.rfind("fwcheck: 无法创建模块“nowhere.so:create_module”: MM_BAD_PARAM", 0),
            0U)
      << module.err;
}

TEST(FwcheckUsage, AModuleThatCannotBeMadeIsStatus2) {
  const ScriptFile script(script_with_calls(""));
  for (const char* const module : {"/nowhere/libx.so", TEST_MODULES "/init_fails.so",
                                   TEST_MODULES "/init_throws.so", TEST_MODULES "/no_entry.so"}) {
    const ProgramResult result = run_fwcheck({"--module", module, script.path()});
    EXPECT_EQ(result.status, 2) << module;
    EXPECT_EQ(result.out, "") << module;
    EXPECT_NE(result.err.find(std::string("fwcheck: cannot create module '") + module),
              std::string::npos)
        << result.err;
  }
}

// The sanitizers do not follow the unwinding of a thread that ends.
#ifndef __SANITIZE_ADDRESS__
TEST(FwcheckUsage, AModuleThatEndsTheThreadIsStatus2) {
  const ScriptFile script(script_with_calls(""));
  const ProgramResult result = run_fwcheck(
      {"--module", FWRUN_TEST_MODULES "/librelease_throws.so:create_ending_thread", script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "fwcheck: a module ended the thread of the program, as pthread_exit() does\n");
}
#endif

TEST(FwcheckUsage, ACatalogueThatCannotBeReadIsStatus2) {
  const ScriptFile script(script_with_calls(""));
  const ProgramResult missing = run_fwcheck({"--catalogue", "/nowhere.json", script.path()});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err,
            "fwcheck: cannot read the catalogue '/nowhere.json': No such file or directory\n");
  const ProgramResult directory = run_fwcheck({"--catalogue", "/", script.path()});
  EXPECT_EQ(directory.status, 2);
  EXPECT_EQ(directory.err, "fwcheck: cannot read the catalogue '/': Is a directory\n");
  for (const char* const text :
       {"", "{", "[]", "{\"functions\": 1}", "{\"functions\": [{}]}",
        R"({"functions": [{"name": "f"}]})",
        R"({"functions": [{"name": "f", "parameters": [{"tag": "a"}]}]})",
        R"({"functions": [{"name": "f", "parameters": [{"tag": "a", "type": "float"}]}]})"}) {
    const ScriptFile catalogue(text);
    const ProgramResult result = run_fwcheck({"--catalogue", catalogue.path(), script.path()});
    EXPECT_EQ(result.status, 2) << text;
    EXPECT_NE(result.err.find("is no catalogue: "), std::string::npos) << text << result.err;
  }
}

}  // namespace fwcheck::test
