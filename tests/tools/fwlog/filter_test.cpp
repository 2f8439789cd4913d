// Which records fwlog prints.
#include <gtest/gtest.h>

#include <ctime>

#include "tests/harness/log_capture.h"
#include "tests/harness/temp_dir.h"
#include "tests/tools/fwlog/fwlog_program.h"

using fwbase::test::gbk;
using fwbase::test::TempDir;
using fwbase::test::write_file;

namespace fwlog::test {
namespace {

// The messages of a log, "a", "b" ..., that pass.
class Messages {
 public:
  explicit Messages(const std::string& bytes) { write_file(m_directory.path("host.log"), bytes); }

  std::string of(std::vector<std::string> filters) const {
    filters.insert(filters.end(), {"--output", "json", m_directory.path("host.log")});
    const ProgramResult result = run_fwlog(filters);
    EXPECT_EQ(result.err, "");
    std::string messages;
    for (std::size_t at = 0; (at = result.out.find("\"message\":\"", at)) != std::string::npos;) {
      at += 11;
      messages += result.out.substr(at, 1);
    }
    EXPECT_EQ(result.status, messages.empty() ? 1 : 0);
    return messages;
  }

 private:
  const TempDir m_directory;
};

std::string at_time(const std::string& time, const std::string& message) {
  return record("[WARN ]:", message, " " + time + " ");
}

std::string at_place(const std::string& object, const std::string& function,
                     const std::string& source, const std::string& message) {
  return record(
      "[WARN ]:", message,
      " this(0x" + object + ") " + function + " " + source + "(1) CT:Oct 29 2014 10:20:30");
}

}  // namespace

TEST(FwlogFilter, Levels) {
  const Messages log("rest\n" + record("[TRACE]:", "a") + record("[DEBUG]:", "b") +
                     record("[WARN ]:", "c") + record("[ERROR]:", "d") + record("[ALERT]:", "e") +
                     record("[DUMP ]:", "f") + record("[NULL ]:", "g") + "[ERROR]:h\n");
  EXPECT_EQ(log.of({}), "rabcdefgh");
  EXPECT_EQ(log.of({"--level", "error"}), "dh");
  EXPECT_EQ(log.of({"--level", "trace,null,dump"}), "afg");
  EXPECT_EQ(log.of({"--level", "trace,debug,warn,error,alert,dump,null"}), "abcdefgh");
}

TEST(FwlogFilter, TimesWithBothBorders) {
  const Messages log(
      "rest\n" + record("[WARN ]:", "x") + at_time("Wed Oct 29 10:20:29 2014", "a") +
      at_time("Wed Oct 29 10:20:30 2014", "b") + at_time("Wed Oct 29 10:20:31 2014", "c") +
      at_time("Thu Oct 30 00:00:00 2014", "d") + at_time("Fri Oct 31 00:00:00 2014", "e"));
  EXPECT_EQ(log.of({"--since", "2014-10-29 10:20:30"}), "bcde");
  EXPECT_EQ(log.of({"--until", "2014-10-29 10:20:30"}), "ab");
  EXPECT_EQ(log.of({"--since", "2014-10-29 10:20", "--until", "2014-10-30"}), "abcd");
  EXPECT_EQ(log.of({"--since", "2014-10-30"}), "de");
  EXPECT_EQ(log.of({"--since", "-1d"}), "");
}

TEST(FwlogFilter, TimesOfToday) {
  const std::time_t now = std::time(nullptr);
  char text[64];
  std::tm parts{};
  std::strftime(text, sizeof text, "%a %b %e 00:00:00 %Y", localtime_r(&now, &parts));
  const Messages log(at_time("Wed Oct 29 10:20:29 2014", "a") + at_time(text, "b"));
  EXPECT_EQ(log.of({"--since", "00:00"}), "b");
  EXPECT_EQ(log.of({"--since", "00:00:00"}), "b");
  EXPECT_EQ(log.of({"--since", "-2d"}), "b");
  EXPECT_EQ(log.of({"--since", "-99999d"}), "ab");
}

TEST(FwlogFilter, Processes) {
  const Messages log(record("[WARN ]:", "a", " pid:1 ") + record("[WARN ]:", "b", " tid:2 ") +
                     record("[WARN ]:", "c", " pid:12 tid:2 ") + record("[WARN ]:", "d"));
  EXPECT_EQ(log.of({"--pid", "1"}), "a");
  EXPECT_EQ(log.of({"--pid", "2"}), "b");
  EXPECT_EQ(log.of({"--pid", "12"}), "c");
}

TEST(FwlogFilter, Objects) {
  const Messages log(at_place("1f", "f", "a", "a") + at_place("01F", "f", "a", "b") +
                     at_place("0", "f", "a", "c") + at_place("001f", "f", "a", "d") +
                     record("[WARN ]:", "e"));
  for (const char* const object : {"1f", "0x1f", "0X1F", "0x0001F"}) {
    EXPECT_EQ(log.of({"--object", object}), "ad") << object;
  }
  EXPECT_EQ(log.of({"--object", "0x0"}), "c");
}

TEST(FwlogFilter, FunctionsAndSourceFiles) {
  const Messages log(at_place("1", "void ns::Open::f(int)", "x/door.cpp", "a") +
                     at_place("1", "void g()", gbk("源/门.cpp"), "b") + record("[WARN ]:", "c"));
  EXPECT_EQ(log.of({"--function", "Open"}), "a");
  EXPECT_EQ(log.of({"--function", "open"}), "");
  EXPECT_EQ(log.of({"--function", ""}), "ab");
  EXPECT_EQ(log.of({"--source", "door"}), "a");
  EXPECT_EQ(log.of({"--source", "门"}), "b");
  EXPECT_EQ(log.of({"--function", "g", "--source", "door"}), "");
}

TEST(FwlogFilter, MessagesByExpressionsOnCharacters) {
  const Messages log(record("[WARN ]:", "a" + gbk("变量")) + record("[WARN ]:", "b\nend\n") +
                     record("[WARN ]:", gbk("c量")) +
                     record("[WARN ]:", "d" + std::string(1, '\0') + "x"));
  EXPECT_EQ(log.of({"--grep", "^a..$"}), "a");
  EXPECT_EQ(log.of({"--grep", "[变]"}), "a");
  EXPECT_EQ(log.of({"--grep", "^end"}), "");
  EXPECT_EQ(log.of({"--grep", "end$"}), "b");
  EXPECT_EQ(log.of({"--grep", "b.end"}), "b");
  EXPECT_EQ(log.of({"--grep", "(量|x)+$"}), "acd");
  EXPECT_EQ(log.of({"--exclude", "量"}), "bd");
  EXPECT_EQ(log.of({"--grep", "量", "--exclude", "^c"}), "a");
  EXPECT_EQ(log.of({"--grep", ""}), "abcd");
}

TEST(FwlogFilter, LastOfThosePassing) {
  const Messages log(record("[WARN ]:", "a") + record("[ERROR]:", "b") + record("[WARN ]:", "c") +
                     record("[ERROR]:", "d") + record("[WARN ]:", "e"));
  EXPECT_EQ(log.of({"-n", "2"}), "de");
  EXPECT_EQ(log.of({"--lines", "2", "--level", "error"}), "bd");
  EXPECT_EQ(log.of({"-n", "99"}), "abcde");
}

}  // namespace fwlog::test
