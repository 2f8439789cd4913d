#include <gtest/gtest.h>

#include "tests/tools/fwstd/script_run.h"

namespace fwstd::test {

TEST(Function, DropsItsResultWithoutRet) {
  ScriptRun run(
      "<add><a>1</a><b>2</b></add>"
      "<set_int><value>1</value></set_int><set_string><value>x</value></set_string>");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_TRUE(run.records().empty());
  EXPECT_EQ(run.value(""), "missing");
}

}  // namespace fwstd::test
