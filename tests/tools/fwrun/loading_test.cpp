#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

/// findings   what follows the path in each line, ":1:1: error: ..."
void expect_load_failure(const std::string& path, const std::string& reasons,
                         const std::vector<std::string>& findings) {
  const ProgramResult result = run_fwrun({path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  std::string lines;
  for (const std::string& finding : findings) {
    lines += path + finding + "\n";
  }
  EXPECT_EQ(result.err, "fwrun: cannot load '" + path + "': " + reasons + lines + kLogAdvice);
}

constexpr char kNotLoaded[] =
    "SCRIPT_E_LOAD (0x0008000f): the script document could not be loaded\n";

}  // namespace

TEST(FwrunLoading, FailsForAFileThatCannotBeRead) {
  const ScriptFile file("");
  expect_load_failure(
      file.directory() + "/none.xml",
      std::string(kNotLoaded) + "fwrun:   No such file or directory\n",
      {":1:1: error: the file cannot be read: No such file or directory [unreadable]"});
  expect_load_failure(
      file.directory(), std::string(kNotLoaded) + "fwrun:   it is not a regular file\n",
      {":1:1: error: the file cannot be read: it is not a regular file [unreadable]"});
}

TEST(FwrunLoading, FailsForAFileThatIsNotXml) {
  const ScriptFile file("<korvid><template></korvid>");
  expect_load_failure(file.path(),
                      std::string(kNotLoaded) + "fwrun:   加载脚本出错, File[" + file.path() +
                          "], Xec[4]\n"
                          "fwrun:   it is not well-formed XML, or beyond the limits "
                          "of a script; fwcheck tells the place\n",
                      {":1:21: error: expected end of tag 'template' [malformed]"});
}

TEST(FwrunLoading, FailsForAnotherRootElement) {
  const ScriptFile file("<脚本/>");
  expect_load_failure(
      file.path(),
      "SCRIPT_E_ROOT_NAME (0x0008000e): the script document's root element is not the required "
      "one\n"
      "fwrun:   XML 根节点不是指定的节点，[脚本]\n"
      "fwrun:   its root element is '脚本', not 'korvid'\n",
      {":1:1: error: the root element is \"脚本\", not \"korvid\" [wrong-root]"});
}

TEST(FwrunLoading, FailsWithoutAProcess) {
  const ScriptFile file("<korvid/>");
  expect_load_failure(file.path(),
                      "SCRIPT_NO_PROCESS (0x00080010): the script has no process element\n"
                      "fwrun:   进程节点数目不能为0\n",
                      {":1:1: error: there is no \"Process\" element [no-process]"});
}

TEST(FwrunLoading, NamesACallThatNoFuncDeclares) {
  const ScriptFile file(script_with("<section name=\"s\"><查询/></section>"));
  expect_load_failure(file.path(),
                      "SCRIPT_NO_RULE (0x00080005): no template registered for a function, or a "
                      "call of a function that no function declaration names\n"
                      "fwrun:   函数[查询]没有在模板中定义\n"
                      "fwrun:   section 's' calls '查询', which no Func in the script declares; "
                      "fwcheck --print template has those of the modules\n",
                      {":31:55: error: no \"Func\" declares \"查询\" [undeclared-function]"});
}

TEST(FwrunLoading, NamesAFunctionThatNoModuleProvides) {
  const ScriptFile file(
      "<korvid><template><Func name=\"fly\"/></template><Process name=\"\"><Exec>"
      "<section name=\"s\"><fly/></section></Exec></Process></korvid>");
  expect_load_failure(file.path(),
                      "SCRIPT_NO_RULE (0x00080005): no template registered for a function, or a "
                      "call of a function that no function declaration names\n"
                      "fwrun:   没有找到模板[fly]\n"
                      "fwrun:   section 's' calls 'fly', which no module provides; --module "
                      "names one that does, --mock fly stands in for it\n",
                      {":1:89: error: the host has no function \"fly\" [unregistered-function]"});
}

TEST(FwrunLoading, ShowsTheSignatureThatAFuncMustDeclare) {
  const ScriptFile count(
      "<korvid><template><Func name=\"add\"><param tag=\"a\" type=\"int\"/></Func></template>"
      "<Process name=\"\"><Exec><section name=\"s\"><add><a>1</a></add></section></Exec></Process>"
      "</korvid>");
  expect_load_failure(
      count.path(),
      "SCRIPT_PARAM_COUNT (0x00080016): a function declares another number of "
      "parameters than its template\n"
      "fwrun:   模版参数与扩展函数参数不一样\n"
      "fwrun:   section 's' calls 'add', whose Func declares (int) where "
      "(int, int) is needed\n",
      {":1:19: error: \"add\" is declared with 1 parameters, the host's has 2 [parameter-count]"});
  const ScriptFile type(
      "<korvid><template><Func name=\"print\"><param tag=\"a\" type=\"int\"/></Func></template>"
      "<Process name=\"\"><Exec><section name=\"s\"><print><a>1</a></print></section></Exec>"
      "</Process></korvid>");
  expect_load_failure(type.path(),
                      "SCRIPT_PARAM_TYPE (0x00080017): a parameter's type differs from the "
                      "template\n"
                      "fwrun:   参数类型错误,[0x1][0x0]\n"
                      "fwrun:   section 's' calls 'print', whose Func declares (int) where "
                      "(string) is needed\n",
                      {":1:38: error: parameter \"a\" of \"print\" is declared as \"int\", the "
                       "host's is \"string\" [parameter-type]"});
}

TEST(FwrunLoading, NamesTheLogWhenThereIsOne) {
  const ScriptFile file("<korvid/>");
  const std::string log = file.directory() + "/run.log";
  const ProgramResult result = run_fwrun({file.path(), "--log", log});
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.err.find("fwrun: the records of the run are in " + log + " (fwlog shows it)\n"),
            std::string::npos)
      << result.err;
}

TEST(FwrunLoading, TellsAllMistakesOfTheScript) {
  const ScriptFile file(
      script_with("\n<section/>\n<section name=\"s\">\n<add><a>1</a></add></section>"));
  const ProgramResult result = run_fwrun({file.path(), "s"});
  EXPECT_EQ(result.status, 2);
  for (const char* const line :
       {":32:1: error: \"section\" needs the attribute \"name\" [missing-attribute]\n",
        ":34:1: error: \"add\" needs the argument \"b\" [missing-argument]\n"}) {
    EXPECT_NE(result.err.find("\n" + std::string(file.path()) + line), std::string::npos)
        << result.err;
  }
}

TEST(FwrunLoading, ChecksBeforeAnythingRuns) {
  const ScriptFile faulty(script_with("\n<section name=\"s\">\n<print/></section>"));
  const ProgramResult refused = run_fwrun({"--check", faulty.path()});
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, std::string(faulty.path()) +
                             ":33:1: error: \"print\" needs the argument \"text\" "
                             "[missing-argument]\n");

  const ScriptFile warned(
      script_with("\n<section name=\"s\" a=\"\">" + print_call("x") + "</section>"));
  const ProgramResult run = run_fwrun({"--check", warned.path()});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "x\n");
  EXPECT_EQ(run.err, std::string(warned.path()) +
                         ":32:1: warning: nothing looks for the attribute \"a\" of \"section\" "
                         "[unknown-attribute]\n");
}

TEST(FwrunLoading, KnowsTheVariablesAndMocksOfTheCommandLineWhereItChecks) {
  const ScriptFile file(
      "<korvid><template><Func name=\"fly\"><param tag=\"to\" type=\"string\"/></Func></template>"
      "<Process name=\"\"><Exec><section name=\"s\"><fly><to><ref>a</ref></to></fly></section>"
      "</Exec></Process></korvid>");
  const ProgramResult result =
      run_fwrun({"--check", "--mock", "fly", "--env", "a=moon", file.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "fly(to=\"moon\")\n");
  EXPECT_EQ(result.err, "");
}

TEST(FwrunLoading, ReadsStandardInput) {
  const ScriptFile file(script_with("<section name=\"s\">" + print_call("x") + "</section>"));
  const ProgramResult result =
      fwbase::test::run_program({"/bin/sh", "-c", "\"$0\" - <\"$1\"", FWRUN_PROGRAM, file.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "x\n");
  EXPECT_EQ(run_fwrun({"-", "--save"}).status, 2);
}

}  // namespace fwrun::test
