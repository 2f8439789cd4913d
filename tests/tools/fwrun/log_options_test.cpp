#include <gtest/gtest.h>

#include "tests/harness/log_capture.h"
#include "tests/harness/matching.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::gbk;
using fwbase::test::has_match;
using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

std::string logging_script() {
  return script_with(
      "<section name=\"s\"><log>"
      "<params><level>trace</level><text>T</text></params>"
      "<params><level>debug</level><text>D</text></params>"
      "<params><level>warn</level><text>W</text></params>"
      "<params><level>error</level><text>E</text></params>"
      "<params><level>alert</level><text>A</text></params>"
      "<params><level>dump</level><text>负载</text></params></log></section>");
}

// The messages of one letter, and of the Chinese text, in the order of the log.
std::string messages(const std::string& log) {
  std::string all;
  for (const char* const message : {"T", "D", "W", "E", "A"}) {
    if (log.find(std::string("\r\n >") + message + "\n") != log.npos) {
      all += message;
    }
  }
  return all + (log.find("\r\n >" + gbk("负载") + "\n") != log.npos ? "负载" : "");
}

// Runs the script with a fresh log and gives the log's text.
std::string logged(std::vector<std::string> options) {
  const ScriptFile script(logging_script());
  const std::string log = script.directory() + "/run.log";
  options.insert(options.begin(), {script.path(), "--log", log});
  const ProgramResult result = run_fwrun(options);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return read_file(log);
}

}  // namespace

TEST(FwrunLog, TakesTheLevelsOfTheList) {
  EXPECT_EQ(messages(logged({})), "WEA负载");
  EXPECT_EQ(messages(logged({"--level", "all"})), "TDWEA负载");
  EXPECT_EQ(messages(logged({"--level", "debug,ALERT"})), "DA");
  EXPECT_EQ(messages(logged({"--level", "trace"})), "T");
  EXPECT_EQ(messages(logged({"--level", "Dump"})), "负载");
}

TEST(FwrunLog, LeavesErrorsOutThatAreNotInTheList) {
  const std::string log = logged({"--level", "warn"});
  EXPECT_EQ(messages(log), "W");
  EXPECT_EQ(log.find("[ERROR]"), std::string::npos) << log;
}

TEST(FwrunLog, AddsTheDetailsAsked) {
  const std::string none = logged({"--level", "warn"});
  EXPECT_TRUE(has_match(none, "\\[WARN \\]: this")) << none;
  const std::string all = logged({"--level", "warn", "--details", "time,pid,tid"});
  EXPECT_TRUE(has_match(all,
                        "\\[WARN \\]: pid:([0-9]+) tid:\\1 [A-Z][a-z]{2} [A-Z][a-z]{2} "
                        "[ 0-9][0-9] [0-9:]{8} [0-9]{4} this"))
      << all;
  const std::string pid = logged({"--level", "warn", "--details", "PID"});
  EXPECT_TRUE(has_match(pid, "\\[WARN \\]: pid:[0-9]+ this")) << pid;
}

TEST(FwrunLog, QueuedWritesTheSameRecords) {
  EXPECT_EQ(messages(logged({"--level", "all", "--queued", "--details", "time,pid"})), "TDWEA负载");
}

TEST(FwrunLog, AppendsToTheFile) {
  const ScriptFile script(logging_script());
  const std::string log = script.directory() + "/run.log";
  run_fwrun({script.path(), "--log", log, "--level", "warn"});
  const std::string first = read_file(log);
  run_fwrun({script.path(), "--log", log, "--level", "alert"});
  const std::string both = read_file(log);
  EXPECT_EQ(both.rfind(first, 0), 0U) << both;
  EXPECT_EQ(messages(both), "WA");
}

TEST(FwrunLog, AFileThatCannotBeOpenedIsStatus2) {
  const ScriptFile script(logging_script());
  const std::string log = script.directory() + "/none/run.log";
  const ProgramResult result = run_fwrun({script.path(), "--log", log});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "fwrun: cannot open the log file '" + log + "': No such file or directory\n");
}

TEST(FwrunLog, KeepsTheQueueInAJournalWhileItRuns) {
  EXPECT_EQ(messages(logged({"--level", "all", "--queued", "--journal", "--queue-bytes", "1",
                             "--when-full", "drop-below", "--keep-level", "all"})),
            "TDWEA负载");
}

TEST(FwrunLog, BeginsAnotherFileAtTheSizeGivenAndKeepsSoManyBackups) {
  const ScriptFile script(logging_script());
  const std::string log = script.directory() + "/run.log";
  EXPECT_EQ(run_fwrun({script.path(), "--log", log, "--log-bytes", "1", "--backups", "2"}).status,
            0);
  EXPECT_EQ(read_file(log), "");
  EXPECT_NE(read_file(log + ".bak.1"), "");
  EXPECT_EQ(read_file(log + ".bak.2"), "");
}

}  // namespace fwrun::test
