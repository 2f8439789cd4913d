#include <gtest/gtest.h>

#include "tests/tools/fwstd/script_run.h"

using fwbase::IRunLog;
using fwbase::test::record;

namespace fwstd::test {

TEST(OutputFunctions, PrintWritesALine) {
  testing::internal::CaptureStdout();
  const ScriptRun run(
      "<print><params><text>负载 100%d</text></params><params><text/></params></print>");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "负载 100%d\n\n");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
}

TEST(OutputFunctions, LogWritesGbkAtItsLevel) {
  const ScriptRun run(
      "<log>"
      "<params><level>trace</level><text>t</text></params>"
      "<params><level>debug</level><text>d</text></params>"
      "<params><level>warn</level><text>警告 100%s</text></params>"
      "<params><level>Error</level><text>e</text></params>"
      "<params><level>ALERT</level><text>a</text></params>"
      "<params><level>dump</level><text>没有的字符：😀。</text></params>"
      "</log>");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  // The capture leaves TRACE out.
  const std::vector<fwbase::test::Record> expected = {
      record(IRunLog::DEBUG, "d"), record(IRunLog::WARN, "警告 100%s"), record(IRunLog::ERROR, "e"),
      record(IRunLog::ALERT, "a"), record(IRunLog::DUMP, "没有的字符：?。")};
  EXPECT_EQ(run.records(), expected);
}

TEST(OutputFunctions, LogTellsWhereItComesFrom) {
  const ScriptRun run("<log><level>warn</level><text>x</text></log>");
  const std::vector<fwbase::test::Record> records = run.records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_NE(records[0].location.find(" log tools/fwstd/output.cpp("), std::string::npos)
      << records[0].location;
}

TEST(OutputFunctions, LogFailsForALevelThatDoesNotExist) {
  const ScriptRun run("<log><level>info</level><text>x</text></log>");
  EXPECT_EQ(run.result(), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(run.error(),
            "log: 'info' is no level; the levels are trace, debug, warn, error, alert and dump");
}

}  // namespace fwstd::test
