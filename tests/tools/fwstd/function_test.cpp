#include "fwstd/function.h"

#include <gtest/gtest.h>

#include <new>

#include "tests/tools/fwstd/script_run.h"

using fwbase::IScript;

namespace fwstd::test {

TEST(Function, DropsItsResultWithoutRet) {
  ScriptRun run(
      "<add><a>1</a><b>2</b></add>"
      "<set_int><value>1</value></set_int><set_string><value>x</value></set_string>");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_TRUE(run.records().empty());
  EXPECT_EQ(run.value(""), "missing");
}

TEST(Function, DescribesItselfAsRegistered) {
  Function function("f", {IScript::VT_INT, IScript::VT_STRING},
                    [](const Call&) { return ec::SCRIPT_OK; });
  EXPECT_STREQ(function.name(), "f");
  ASSERT_EQ(function.param_count(), 2);
  EXPECT_EQ(function.param_types()[0], IScript::VT_INT);
  EXPECT_EQ(function.param_types()[1], IScript::VT_STRING);
}

TEST(Function, TurnsMemoryThatRunsOutIntoACode) {
  Function function("f", {}, [](const Call&) -> ec::EC { throw std::bad_alloc(); });
  EXPECT_EQ(function.call(nullptr, nullptr, nullptr), ec::SCRIPT_NO_MEMORY);
}

TEST(Function, FailsWithoutARecordWhenTheLevelIsOff) {
  const ScriptRun run("");
  fwbase::IRunLog::ms_type_sign = fwbase::IRunLog::WARN;
  Function function("f", {}, [](const Call& call) { return call.fail(ec::SCRIPT_NOT_FOUND, "x"); });
  EXPECT_EQ(function.call(nullptr, nullptr, nullptr), ec::SCRIPT_NOT_FOUND);
  EXPECT_TRUE(run.records().empty());
  fwbase::IRunLog::ms_type_sign = fwbase::IRunLog::ERROR;
  EXPECT_EQ(function.call(nullptr, nullptr, nullptr), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(run.error(), "f: x");
}

}  // namespace fwstd::test
