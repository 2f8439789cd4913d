#include <gtest/gtest.h>

#include "tests/harness/matching.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::has_match;
using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

constexpr char kHealth[] = SOURCE_ROOT "/examples/health/health.xml";

ProgramResult run_example(const std::string& directory) {
  return fwbase::test::run_program(
      {SOURCE_ROOT "/examples/health/run.sh", FWRUN_PROGRAM, FWLOG_PROGRAM, directory});
}

}  // namespace

TEST(HealthExample, ReportsAndCountsItsRuns) {
  const ScriptFile place("");
  const std::string work = place.directory() + "/work";
  for (const char* const runs : {"1", "2", "3"}) {
    const ProgramResult result = run_example(work);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(has_match(
        result.out, ("^Health at [0-9]{4}-[0-9][0-9]-[0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\n"
                     "load:   [0-9]+\\.[0-9][0-9] \\(one minute\\)\n"
                     "memory: [0-9]+% used \\([0-9]+ of [0-9]+ MiB\\)\n"
                     "uptime: [0-9]+ days, [0-9]+ hours\n"
                     "runs:   " +
                     std::string(runs) + "\n")))
        << result.out;
    EXPECT_NE(result.out.find("负载、内存和运行时间都在限度之内"), std::string::npos) << result.out;
  }
}

TEST(HealthExample, SavesInTheWorkingCopyOnly) {
  const ScriptFile place("");
  const std::string before = read_file(kHealth);
  EXPECT_EQ(run_example(place.directory()).status, 0);
  EXPECT_EQ(read_file(kHealth), before);
  EXPECT_NE(
      read_file(place.directory() + "/health.xml").find("name=\"runs\" type=\"int\" value=\"1\""),
      std::string::npos);
}

TEST(HealthExample, FailsWhenAThresholdIsPassed) {
  const ProgramResult result = run_fwrun({kHealth, "--set", "memory_limit=-1", "measure", "check"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has_match(
      result.err, ("expect_at_most: memory used in percent is [0-9]+, expected at most -1\n")))
      << result.err;
}

TEST(HealthExample, IsListedWithoutSection) {
  const ProgramResult result = run_fwrun({kHealth});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out.rfind("sections:\n  measure\n", 0), 0U) << result.out;
}

TEST(HealthExample, SaysHowItIsUsed) {
  const ProgramResult result = fwbase::test::run_program({SOURCE_ROOT "/examples/health/run.sh"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "usage: run.sh FWRUN FWLOG WORK_DIR\n");
}

}  // namespace fwrun::test
