#include <gtest/gtest.h>

#include <algorithm>

#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

constexpr char kCount[] =
    "<section name=\"count\">"
    "<load_int><from>runs</from><ret>n</ret></load_int>"
    "<add><a><ref>n</ref></a><b>1</b><ret>n</ret></add>"
    "<save_int><from>n</from><to>runs</to></save_int></section>";
constexpr char kRuns[] = "<var name=\"runs\" type=\"int\" value=\"0\"/>";

std::string variables(const std::string& globals, const std::string& environment) {
  return "global variables:\n" + globals + "variables of the environment:\n" + environment;
}

}  // namespace

TEST(FwrunVariables, SetAndEnvTakeAnIntWhenItLooksLikeOne) {
  const ScriptFile script(script_with("<section name=\"s\"/>"));
  const ProgramResult result = run_fwrun({script.path(), "--print",
                                          "--set",       "a=5",
                                          "--set",       "b=-5",
                                          "--set",       "c=5x",
                                          "--set",       "d=",
                                          "--set",       "e=a=b",
                                          "--set",       "名称=值",
                                          "--env",       "f:string=5",
                                          "--env",       "g:int=-2147483648",
                                          "--env",       "h=+5",
                                          "--env",       "i=-",
                                          "--env",       "j=1.5",
                                          "--env",       "k:string=99999999999"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            variables("  a: int = 5\n  b: int = -5\n  c: string = \"5x\"\n  d: string = \"\"\n"
                      "  e: string = \"a=b\"\n  名称: string = \"值\"\n",
                      "  f: string = \"5\"\n  g: int = -2147483648\n  h: string = \"+5\"\n"
                      "  i: string = \"-\"\n  j: string = \"1.5\"\n"
                      "  k: string = \"99999999999\"\n"));
  // No name of "--set" is in the script.
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 6) << result.err;
  EXPECT_EQ(result.err.find(std::string("fwrun: warning: --set a: '") + script.path() +
                            "' does not mention this name\n"),
            0U)
      << result.err;
}

TEST(FwrunVariables, SetReplacesAVariableOfTheScriptAndEnvDoesNot) {
  const ScriptFile script(script_with("<section name=\"s\"/>", kRuns));
  EXPECT_EQ(run_fwrun({script.path(), "--print", "--set", "runs=many"}).out,
            variables("  runs: string = \"many\"\n", ""));
  EXPECT_EQ(run_fwrun({script.path(), "--print", "--env", "runs=8"}).out,
            variables("  runs: int = 0\n", "  runs: int = 8\n"));
}

TEST(FwrunVariables, EnvIsWhatRefRefersTo) {
  const ScriptFile script(
      script_with("<section name=\"s\"><print><text><ref>who</ref></text></print></section>"));
  const ProgramResult result = run_fwrun({script.path(), "--env", "who=世界"});
  EXPECT_EQ(result.out, "世界\n");
  EXPECT_EQ(result.err, "");
}

TEST(FwrunVariables, PrintShowsWhatFunctionsMadeUnderNamesOfTheirArguments) {
  const ScriptFile script(script_with(
      "<section name=\"s\"><set_string><value>a \"b\"\nc</value><ret>text</ret></set_string>"
      "<save_string><from>text</from><to>kept</to></save_string></section>"));
  EXPECT_EQ(run_fwrun({script.path(), "--print"}).out,
            variables("  kept: string = \"a \\\"b\\\"\\nc\"\n",
                      "  text: string = \"a \\\"b\\\"\\nc\"\n"));
}

TEST(FwrunVariables, PrintShowsNamesThatOnlyADeclaredDefaultMentions) {
  const ScriptFile script(
      "<korvid><template><Func name=\"save_int\"><param tag=\"from\" type=\"string\"/>"
      "<param tag=\"to\" type=\"string\" must=\"false\" defaultval=\"kept\"/></Func></template>"
      "<Process name=\"\"><Exec><section name=\"s\"><save_int><from>n</from></save_int></section>"
      "</Exec></Process></korvid>");
  const ProgramResult result = run_fwrun({script.path(), "--print", "--env", "n=7"});
  EXPECT_EQ(result.out, variables("  kept: int = 7\n", "  n: int = 7\n")) << result.err;
}

TEST(FwrunVariables, PrintShowsThemAfterAFailureToo) {
  const ScriptFile script(
      script_with("<section name=\"s\"><set_int><value>3</value><ret>n</ret></set_int>" +
                  std::string(kFailingCall) + "</section>"));
  const ProgramResult result = run_fwrun({script.path(), "--print"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, variables("", "  n: int = 3\n"));
}

TEST(FwrunVariables, PrintLogsNothingAboutNamesThatAreNoVariables) {
  const ScriptFile script(script_with("<section name=\"s\"/>", kRuns));
  const std::string log = script.directory() + "/run.log";
  run_fwrun({script.path(), "--print", "--log", log, "--level", "error"});
  EXPECT_EQ(read_file(log).find("[ERROR]"), std::string::npos) << read_file(log);
}

TEST(FwrunVariables, SaveWritesGlobalVariablesBack) {
  const ScriptFile script(script_with(kCount, kRuns));
  EXPECT_EQ(run_fwrun({script.path(), "--save"}).status, 0);
  EXPECT_EQ(run_fwrun({script.path(), "--save", "count", "count", "--set", "名称=值"}).status, 0);
  const ProgramResult result = run_fwrun({script.path(), "--print"});
  EXPECT_EQ(result.out, variables("  runs: int = 4\n  名称: string = \"值\"\n", "  n: int = 4\n"));
  EXPECT_NE(script.text().find("<var name=\"名称\" type=\"string\" value=\"值\"/>"),
            std::string::npos)
      << script.text();
}

TEST(FwrunVariables, WithoutSaveTheFileStaysAsItIs) {
  const ScriptFile script(script_with(kCount, kRuns));
  const std::string before = script.text();
  EXPECT_EQ(run_fwrun({script.path(), "--set", "x=1"}).status, 0);
  EXPECT_EQ(script.text(), before);
}

TEST(FwrunVariables, SaveLeavesAFileWithoutChangesAsItIs) {
  const ScriptFile script(script_with("<section name=\"s\"/>", kRuns));
  const std::string before = script.text();
  EXPECT_EQ(run_fwrun({script.path(), "--save"}).status, 0);
  EXPECT_EQ(script.text(), before);
}

TEST(FwrunVariables, NothingIsSavedAfterAFailure) {
  const ScriptFile script(script_with(
      std::string(kCount) + "<section name=\"bad\">" + kFailingCall + "</section>", kRuns));
  const std::string before = script.text();
  const ProgramResult result = run_fwrun({script.path(), "--save", "count", "bad"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(without_places(result.err),
            std::string("fwrun: section 'bad', call 1, ") + kFailureText + "fwrun: '" +
                script.path() + "' is left as it was: nothing is saved after a failure\n" +
                kLogAdvice);
  EXPECT_EQ(script.text(), before);
}

// XML cannot hold the character.
TEST(FwrunVariables, ASaveThatFailsIsReported) {
  const ScriptFile script(script_with("<section name=\"s\"/>", kRuns));
  const std::string before = script.text();
  const ProgramResult result = run_fwrun({script.path(), "--save", "--set", "x=\x01"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find(std::string("fwrun: cannot save '") + script.path() +
                            "': SCRIPT_E_SAVE_XML (0x0008001b): writing the script document "
                            "failed\n"),
            std::string::npos)
      << result.err;
  EXPECT_EQ(script.text(), before);
}

}  // namespace fwrun::test
