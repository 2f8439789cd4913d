#include <gtest/gtest.h>

#include "command_line/result_code.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

std::string script_of(const std::string& calls) {
  return "<korvid><template>"
         "<Func name=\"print\"><param tag=\"text\" type=\"string\"/></Func>"
         "<Func name=\"greet\"><param tag=\"who\" type=\"string\"/>"
         "<param tag=\"times\" type=\"int\" must=\"false\" defaultval=\"1\"/></Func>"
         "<Func name=\"fly\"/></template>"
         "<Process name=\"\"><Exec><section name=\"s\">" +
         calls + "</section></Exec></Process></korvid>";
}

const std::string kGreet = "<greet><who>world</who><ret>name</ret></greet>";

}  // namespace

TEST(FwrunMocks, PrintTheirCallsAndSucceed) {
  const ScriptFile script(
      script_of(kGreet + print_call("between") +
                "<greet><who> 世界 </who><times>-2</times></greet><fly/><fly><ret>r</ret></fly>"));
  const ProgramResult result =
      run_fwrun({"--mock", "greet", "--mock", "fly", "--mock", "greet", script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "greet(who=\"world\", times=1) -> name\n"
            "between\n"
            "greet(who=\"世界\", times=-2)\n"
            "fly()\n"
            "fly() -> r\n");
  EXPECT_EQ(result.err, "");
}

TEST(FwrunMocks, PrintOneUnambiguousLine) {
  const ScriptFile script(script_of("<greet><who><ref>text</ref></who></greet>"));
  const ProgramResult result = run_fwrun(
      {"--mock", "greet", script.path(), "--env", "text:string=a\", times=2)\n\\ -> \t\x01"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "greet(who=\"a\\\", times=2)\\n\\\\ -> \\t\\x01\", times=1)\n");
}

TEST(FwrunMocks, SetNothing) {
  const ScriptFile script(script_of(kGreet + "<print><text><ref>name</ref></text></print>"));
  const ProgramResult result =
      run_fwrun({"--mock-missing", "--print", "--env", "other=1", script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "greet(who=\"world\", times=1) -> name\n\n"
            "global variables:\nvariables of the environment:\n  other: int = 1\n");
  EXPECT_EQ(result.err, "fwrun: warning: section 's', call 2, print: 没有对应的变量,name[name]\n");
}

TEST(FwrunMocks, MockMissingLeavesTheFunctionsThatModulesProvide) {
  const ScriptFile script(script_of(print_call("printed") + kGreet + "<fly/>"));
  const ProgramResult all = run_fwrun({"--mock-missing", script.path()});
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.out, "printed\ngreet(who=\"world\", times=1) -> name\nfly()\n");
  EXPECT_EQ(all.err, "");
  const ProgramResult both =
      run_fwrun({"--mock-missing", "--mock", "fly", "--module",
                 FWRUN_TEST_MODULES "/libbrings_functions.so", script.path()});
  EXPECT_EQ(both.status, 0) << both.err;
  EXPECT_EQ(both.out, "printed\nHello, world\nfly()\n");
}

TEST(FwrunMocks, OneFunctionMockedLeavesTheOthersMissing) {
  const ScriptFile script(script_of(kGreet + "<fly/>"));
  const ProgramResult result = run_fwrun({"--mock", "greet", script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("section 's' calls 'fly', which no module provides"), std::string::npos)
      << result.err;
}

TEST(FwrunMocks, OfAFunctionThatTheScriptDoesNotDeclareAreRefused) {
  const ScriptFile script(script_of(""));
  const ProgramResult result = run_fwrun({"--mock", "swim", script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, std::string("fwrun: --mock: '") + script.path() +
                            "' declares no function 'swim'; it declares: print, greet, fly\n");
  const ScriptFile empty("<korvid><Process name=\"\"/></korvid>");
  EXPECT_EQ(run_fwrun({"--mock", "swim", empty.path()}).err,
            std::string("fwrun: --mock: '") + empty.path() +
                "' declares no function 'swim'; it declares: none\n");
}

TEST(FwrunMocks, OfAFunctionThatAModuleProvidesAreRefused) {
  const ScriptFile script(script_of(print_call("never")));
  const ProgramResult result = run_fwrun({"--mock", "print", script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "fwrun: --mock: a module provides 'print', which needs no mock\n");
}

TEST(FwrunMocks, OfAScriptThatCannotBeReadFailAsItsLoadingDoes) {
  const ScriptFile script("<korvid><template>");
  const ProgramResult with = run_fwrun({"--mock", "greet", "--mock-missing", script.path()});
  EXPECT_EQ(with.status, 2);
  EXPECT_EQ(with.err, run_fwrun({script.path()}).err);
}

TEST(FwrunMocks, FailTheirCallWhenTheyCannotPrint) {
  const ScriptFile script(script_of(kGreet));
  const struct {
    Stdout kind;
    const char* reason;
  } kLost[] = {{Stdout::kClosed, "Bad file descriptor"},
               {Stdout::kFullDevice, "No space left on device"},
               {Stdout::kBrokenPipe, "Broken pipe"}};
  for (const auto& lost : kLost) {
    SCOPED_TRACE(lost.reason);
    const ProgramResult result = run_fwrun({"--mock-missing", script.path()}, lost.kind);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(without_places(result.err),
              "fwrun: section 's', call 1, greet: " + tools::described(ec::SCRIPT_BAD_PARAM) +
                  "\nfwrun:   greet: cannot write to standard output: " + lost.reason + "\n" +
                  kLogAdvice);
  }
}

}  // namespace fwrun::test
