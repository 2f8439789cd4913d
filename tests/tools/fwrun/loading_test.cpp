#include <gtest/gtest.h>

#include "tests/support/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

void expect_load_failure(const std::string& path, const std::string& reasons) {
  const ProgramResult result = run_fwrun({path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "fwrun: cannot load '" + path + "': " + reasons + kLogAdvice);
}

constexpr char kNotLoaded[] =
    "SCRIPT_E_LOAD (0x0008000f): the script document could not be loaded\n";

}  // namespace

TEST(FwrunLoading, FailsForAFileThatCannotBeRead) {
  const ScriptFile file("");
  expect_load_failure(file.directory() + "/none.xml",
                      std::string(kNotLoaded) + "fwrun:   No such file or directory\n");
  expect_load_failure(file.directory(),
                      std::string(kNotLoaded) + "fwrun:   it is not a regular file\n");
}

TEST(FwrunLoading, FailsForAFileThatIsNotXml) {
  const ScriptFile file("<korvid><template></korvid>");
  expect_load_failure(file.path(), std::string(kNotLoaded) + "fwrun:   加载脚本出错, File[" +
                                       file.path() +
                                       "], Xec[4]\n"
                                       "fwrun:   " +
                                       kNotReadable + "\n");
}

TEST(FwrunLoading, FailsForAnotherRootElement) {
  const ScriptFile file("<脚本/>");
  expect_load_failure(
      file.path(),
      "SCRIPT_E_ROOT_NAME (0x0008000e): the script document's root element is not the required "
      "one\n"
      "fwrun:   XML 根节点不是指定的节点，[脚本]\n"
      "fwrun:   its root element is '脚本', not 'korvid'\n");
}

TEST(FwrunLoading, FailsWithoutAProcess) {
  const ScriptFile file("<korvid/>");
  expect_load_failure(file.path(),
                      "SCRIPT_NO_PROCESS (0x00080010): the script has no process element\n"
                      "fwrun:   进程节点数目不能为0\n");
}

TEST(FwrunLoading, NamesACallThatNoFuncDeclares) {
  const ScriptFile file(script_with("<section name=\"s\"><查询/></section>"));
  expect_load_failure(file.path(),
                      "SCRIPT_NO_RULE (0x00080005): no template registered for a function, or a "
                      "call of a function that no function declaration names\n"
                      "fwrun:   函数[查询]没有在模板中定义\n"
                      "fwrun:   section 's' calls '查询', which no Func in the script declares\n");
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
                      "names one that does, --mock fly stands in for it\n");
}

TEST(FwrunLoading, ShowsTheSignatureThatAFuncMustDeclare) {
  const ScriptFile count(
      "<korvid><template><Func name=\"add\"><param tag=\"a\" type=\"int\"/></Func></template>"
      "<Process name=\"\"><Exec><section name=\"s\"><add><a>1</a></add></section></Exec></Process>"
      "</korvid>");
  expect_load_failure(count.path(),
                      "SCRIPT_PARAM_COUNT (0x00080016): a function declares another number of "
                      "parameters than its template\n"
                      "fwrun:   模版参数与扩展函数参数不一样\n"
                      "fwrun:   section 's' calls 'add', whose Func declares (int) where "
                      "(int, int) is needed\n");
  const ScriptFile type(
      "<korvid><template><Func name=\"print\"><param tag=\"a\" type=\"int\"/></Func></template>"
      "<Process name=\"\"><Exec><section name=\"s\"><print><a>1</a></print></section></Exec>"
      "</Process></korvid>");
  expect_load_failure(type.path(),
                      "SCRIPT_PARAM_TYPE (0x00080017): a parameter's type differs from the "
                      "template\n"
                      "fwrun:   参数类型错误,[0x1][0x0]\n"
                      "fwrun:   section 's' calls 'print', whose Func declares (int) where "
                      "(string) is needed\n");
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

}  // namespace fwrun::test
