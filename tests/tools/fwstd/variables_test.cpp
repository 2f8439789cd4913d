#include <gtest/gtest.h>

#include "tests/tools/fwstd/script_run.h"

namespace fwstd::test {
namespace {

constexpr char kData[] =
    "<var name=\"n\" type=\"int\" value=\"7\"/><var name=\"s\" type=\"string\" value=\"seven\"/>";

struct Failure {
  const char* calls;
  ec::EC code;
  const char* error;  // the function's own, which is the last one
};

void expect_failures(const std::vector<Failure>& failures) {
  for (const Failure& one : failures) {
    SCOPED_TRACE(one.calls);
    ScriptRun run(one.calls, kData);
    EXPECT_EQ(run.result(), one.code);
    const std::vector<fwbase::test::Record> records = run.records();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back(), fwbase::test::record(fwbase::IRunLog::ERROR, one.error));
  }
}

}  // namespace

TEST(VariableFunctions, SetStoresTheValueInTheEnvironment) {
  ScriptRun run(
      "<set_int><value>-5</value><ret>i</ret></set_int>"
      "<set_string><value>a b</value><ret>s</ret></set_string>");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.value("i"), "-5");
  EXPECT_EQ(run.value("s"), "'a b'");
  EXPECT_EQ(run.global("i"), "missing");
}

TEST(VariableFunctions, CopyWithinTheEnvironment) {
  ScriptRun run(
      "<set_int><value>5</value><ret>i</ret></set_int>"
      "<set_string><value>five</value><ret>s</ret></set_string>"
      "<copy_int><from>i</from><ret>i2</ret></copy_int>"
      "<copy_string><from>s</from><ret>s2</ret></copy_string>");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.value("i2"), "5");
  EXPECT_EQ(run.value("s2"), "'five'");
}

TEST(VariableFunctions, LoadCopiesAGlobalVariableToTheEnvironment) {
  ScriptRun run(
      "<load_int><from>n</from><ret>i</ret></load_int>"
      "<load_string><from>s</from><ret>t</ret></load_string>",
      kData);
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.value("i"), "7");
  EXPECT_EQ(run.value("t"), "'seven'");
}

TEST(VariableFunctions, SaveCopiesToTheGlobalTableAndSoToTheFile) {
  ScriptRun run(
      "<set_int><value>8</value><ret>n</ret></set_int>"
      "<save_int><from>n</from></save_int>"
      "<set_string><value>eight</value><ret>text</ret></set_string>"
      "<save_string><from>text</from><to>s</to></save_string>",
      kData);
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.global("n"), "8");
  EXPECT_EQ(run.global("s"), "'eight'");
  const std::string saved = run.saved();
  EXPECT_NE(saved.find("<var name=\"n\" type=\"int\" value=\"8\"/>"), saved.npos) << saved;
  EXPECT_NE(saved.find("<var name=\"s\" type=\"string\" value=\"eight\"/>"), saved.npos) << saved;
}

TEST(VariableFunctions, RemoveGlobalTakesTheVariableOutOfTheFile) {
  ScriptRun run("<remove_global><name>n</name></remove_global>", kData);
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.global("n"), "missing");
  const std::string saved = run.saved();
  EXPECT_EQ(saved.find("name=\"n\""), saved.npos) << saved;
  EXPECT_NE(saved.find("name=\"s\""), saved.npos) << saved;
}

TEST(VariableFunctions, FailForAVariableThatDoesNotExist) {
  expect_failures({
      {"<copy_int><from>x</from><ret>r</ret></copy_int>", ec::SCRIPT_NOT_FOUND,
       "copy_int: there is no environment variable 'x'"},
      {"<copy_string><from>n</from><ret>r</ret></copy_string>", ec::SCRIPT_NOT_FOUND,
       "copy_string: there is no environment variable 'n'"},
      {"<load_int><from>x</from><ret>r</ret></load_int>", ec::SCRIPT_NOT_FOUND,
       "load_int: there is no global variable 'x'"},
      {"<load_string><from>变量</from><ret>r</ret></load_string>", ec::SCRIPT_NOT_FOUND,
       "load_string: there is no global variable '变量'"},
      {"<save_int><from>n</from></save_int>", ec::SCRIPT_NOT_FOUND,
       "save_int: there is no environment variable 'n'"},
      {"<save_string><from>s</from></save_string>", ec::SCRIPT_NOT_FOUND,
       "save_string: there is no environment variable 's'"},
      {"<remove_global><name>x</name></remove_global>", ec::SCRIPT_NOT_FOUND,
       "remove_global: there is no global variable 'x'"},
  });
}

TEST(VariableFunctions, FailForAVariableOfTheOtherType) {
  expect_failures({
      {"<set_string><value>t</value><ret>v</ret></set_string>"
       "<copy_int><from>v</from><ret>r</ret></copy_int>",
       ec::SCRIPT_BAD_PARAM, "copy_int: environment variable 'v' is not of type int"},
      {"<set_int><value>1</value><ret>v</ret></set_int>"
       "<copy_string><from>v</from><ret>r</ret></copy_string>",
       ec::SCRIPT_BAD_PARAM, "copy_string: environment variable 'v' is not of type string"},
      {"<load_int><from>s</from><ret>r</ret></load_int>", ec::SCRIPT_BAD_PARAM,
       "load_int: global variable 's' is not of type int"},
      {"<load_string><from>n</from><ret>r</ret></load_string>", ec::SCRIPT_BAD_PARAM,
       "load_string: global variable 'n' is not of type string"},
      {"<set_string><value>t</value><ret>v</ret></set_string>"
       "<save_int><from>v</from></save_int>",
       ec::SCRIPT_BAD_PARAM, "save_int: environment variable 'v' is not of type int"},
      {"<set_int><value>1</value><ret>v</ret></set_int>"
       "<save_string><from>v</from></save_string>",
       ec::SCRIPT_BAD_PARAM, "save_string: environment variable 'v' is not of type string"},
  });
}

}  // namespace fwstd::test
