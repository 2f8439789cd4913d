// What fwlog prints, and where it says no.
#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "command_line/text.h"
#include "fwbase/runlog/journal_format.h"
#include "fwbase/runlog/packed_record.h"
#include "tests/harness/log_capture.h"
#include "tests/harness/temp_dir.h"
#include "tests/tools/fwlog/fwlog_program.h"

using fwbase::test::gbk;
using fwbase::test::TempDir;
using fwbase::test::write_file;

namespace fwlog::test {
namespace {

constexpr char kPlace[] =
    " pid:4711 tid:4711 Wed Oct 29 10:20:30 2014 this(0x1f) void ns::C::f(int) a/b.cpp(12) "
    "CT:Oct  9 2014 10:20:30";

// A log with these bytes.
class Log {
 public:
  explicit Log(const std::string& bytes) { write_file(path(), bytes); }
  std::string path() const { return m_directory.path("host.log"); }
  void backup(int number, const std::string& bytes) const {
    write_file(path() + ".bak." + std::to_string(number), bytes);
  }

 private:
  const TempDir m_directory;
};

std::string json_of(const Log& log) {
  const std::string out = run_fwlog({"--output", "json", log.path()}).out;
  const std::string file = "{\"file\":\"" + log.path() + "\",";
  std::string lines;
  for (std::size_t at = 0; at < out.size();) {
    const std::size_t end = out.find('\n', at);
    EXPECT_EQ(out.compare(at, file.size(), file), 0) << out;
    lines += "{" + out.substr(at + file.size(), end + 1 - at - file.size());
    at = end + 1;
  }
  return lines;
}

}  // namespace

TEST(FwlogJson, HasTheFieldsOfARecordInTheirOrder) {
  const std::string first = record("[ERROR]:", gbk("变量[") + "变量" + gbk("]") + "\r\n", kPlace);
  const Log log(first + record("[DEBUG]:", "x", " "));
  EXPECT_EQ(json_of(log), "{\"offset\":0,\"length\":" + std::to_string(first.size()) +
                              ",\"level\":\"error\",\"pid\":4711,\"time\":\"2014-10-29T10:20:30\","
                              "\"object\":\"1f\",\"function\":\"void ns::C::f(int)\","
                              "\"source\":\"a/b.cpp\",\"line\":12,"
                              "\"compiled\":\"Oct  9 2014 10:20:30\",\"message\":\"变量[变量]\"}\n"
                              "{\"offset\":" +
                              std::to_string(first.size()) +
                              ",\"length\":15,\"level\":\"debug\",\"message\":\"x\"}\n");
}

TEST(FwlogJson, HasALocationOfAnotherFormAsAWhole) {
  EXPECT_EQ(
      json_of(Log(record("[NULL ]:", "", " " + gbk("位置")))),
      "{\"offset\":0,\"length\":18,\"level\":\"null\",\"location\":\"位置\",\"message\":\"\"}\n");
}

TEST(FwlogJson, EscapesWhatIsControlAndWhatJsonNeeds) {
  EXPECT_EQ(
      json_of(Log("a\"b\\c\td\x01\x1b[31m\x7f\r\n\xC2\x9B\xC3\xA9\xE4\xBD\xA0.\n")),
      "{\"offset\":0,\"length\":25,\"message\":\"a\\\"b\\\\c\\td\\u0001\\u001b[31m\\u007f\\r\\n"
      "\\u009bé你.\"}\n");
}

TEST(FwlogJson, MarksARecordThatMayBeOneWithTheNext) {
  const std::string first = record("[ERROR]:", "outer");
  EXPECT_EQ(
      json_of(Log("rest\n[WARN ]: x\n" + first + "[DUMP ]: inner\n" + record("[WARN ]:", "y"))),
      "{\"offset\":0,\"length\":5,\"message\":\"rest\"}\n"
      "{\"offset\":5,\"length\":11,\"level\":\"warn\",\"message\":\" x\"}\n"
      "{\"offset\":16,\"length\":23,\"level\":\"error\",\"location\":\"here\",\"message\":"
      "\"outer\","
      "\"ambiguous\":true}\n"
      "{\"offset\":39,\"length\":15,\"level\":\"dump\",\"message\":\" inner\"}\n"
      "{\"offset\":54,\"length\":19,\"level\":\"warn\",\"location\":\"here\",\"message\":\"y\"}\n");
}

TEST(FwlogText, IsALineThatPeopleCanScan) {
  const Log log("rest\n" + record("[ERROR]:", gbk("文本\r\n第二行\n"), kPlace) +
                record("[WARN ]:", "x", " ") + record("[DUMP ]:", "\ny\n\n"));
  EXPECT_EQ(run_fwlog({log.path()}).out,
            "      rest\n"
            "2014-10-29 10:20:30 ERROR ns::C::f: 文本\\x0d\n    第二行\n"
            "WARN  x\n"
            "DUMP  here: y\n");
}

TEST(FwlogText, NeverSendsControlCharacters) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) {
    all += static_cast<char>(byte);
  }
  all += "\xC2\x80\xC2\x85\xC2\x9F\xE4\xBD\xA0";
  for (const char* const form : {"--full", "--calls", "--stats", "--lines=9"}) {
    const Log log(record("[TRACE]:", "Call: " + all, " " + all));
    for (const char c : run_fwlog({form, "--encoding", "utf-8", log.path()}).out) {
      EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20 || c == '\n' || c == '\t') << form;
      EXPECT_NE(c, '\x7F') << form;
    }
  }
}

TEST(FwlogText, EscapesAsTheOtherCommandsDo) {
  const std::string text = "a\x01\x1b[0m\r\x7f \xC2\x9B\\ é你\tend";
  EXPECT_EQ(run_fwlog({"--encoding", "utf-8", Log(text).path()}).out,
            "      " + tools::escaped(text, "\t") + "\n");
}

TEST(FwlogText, FullHasAllFields) {
  const Log log(record("[ERROR]:", "a\nb", kPlace));
  EXPECT_EQ(run_fwlog({"--full", log.path()}).out,
            "2014-10-29 10:20:30 ERROR pid 4711\n    file      " + log.path() +
                ", offset 0, length " + std::to_string(record("[ERROR]:", "a\nb", kPlace).size()) +
                "\n    function  void ns::C::f(int)\n    source    a/b.cpp:12\n"
                "    compiled  Oct  9 2014 10:20:30\n    object    0x1f\n"
                "    message   a\n              b\n");
}

TEST(FwlogText, CallsAreATree) {
  const auto trace = [](const std::string& message, const std::string& function) {
    return record("[TRACE]:", message,
                  function.empty()
                      ? " "
                      : " this(0x1) void " + function + "() a.cpp 1 CT:Oct 29 2014 10:20:30");
  };
  const Log log(trace("Call: ", "f") + trace("Call: text", "g") + record("[ERROR]:", "Call: x") +
                trace("Ret: text", "g") + trace("Call: ", "h") + trace("Ret: ", "") +
                trace("Ret: ", "f") + trace("Ret: ", "f"));
  EXPECT_EQ(run_fwlog({"--calls", log.path()}).out,
            "Call: f\n  Call: g: text\n  Ret: g: text\n  Call: h\n    Ret: \nRet: f\nRet: f\n");
}

TEST(FwlogText, StatsCountWhatPasses) {
  const Log log(record("[ERROR]:", "a", kPlace) + record("[ERROR]:", "b", kPlace) +
                record("[WARN ]:", "c"));
  EXPECT_EQ(run_fwlog({"--stats", log.path()}).out,
            "         3  records\n\nlevels\n         1  warn\n         2  error\n\nfunctions\n"
            "         2  void ns::C::f(int)\n\nsource files\n         2  a/b.cpp\n");
  EXPECT_EQ(run_fwlog({"--stats", "--level", "dump", log.path()}).status, 1);
}

TEST(FwlogRaw, IsTheBytesOfTheFilesInTheirOrder) {
  std::string bytes;
  for (int i = 1; i < 256; ++i) {
    bytes +=
        record("[ERROR]:", std::string(static_cast<std::size_t>(i) * 20, static_cast<char>(i)));
  }
  const Log log("rest\n" + bytes);
  log.backup(0, "0");
  log.backup(3, "3" + bytes);
  log.backup(12, "12\n");
  write_file(log.path() + ".bak.x", "no");
  write_file(log.path() + ".bak.01", "no");
  EXPECT_EQ(run_fwlog({"--output", "raw", log.path()}).out,
            "12\n3" + bytes + "0" + "rest\n" + bytes);
  EXPECT_EQ(run_fwlog({"--output", "raw", "--only", log.path()}).out, "rest\n" + bytes);
}

TEST(FwlogFiles, OfALinkTheBackupsAreReadBesideItAndBesideTheFileThatItLeadsTo) {
  const Log log("file\n");
  log.backup(0, "0\n");
  log.backup(2, "2\n");
  const TempDir directory;
  const std::string link = directory.path("link.log");
  std::filesystem::create_symlink(log.path(), link);
  write_file(link + ".bak.1", "beside the link\n");
  EXPECT_EQ(run_fwlog({"--output", "raw", link}).out, "2\nbeside the link\n0\nfile\n");
  EXPECT_EQ(run_fwlog({"--output", "raw", "--only", link}).out, "file\n");
}

TEST(FwlogFiles, BackupsAreReadWhereTheFileIsMissing) {
  const Log log("");
  log.backup(1, "a\n");
  std::filesystem::remove(log.path());
  ProgramResult result = run_fwlog({"--output", "raw", log.path()});
  EXPECT_EQ(result.out, "a\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  result = run_fwlog({"--only", log.path()});
  EXPECT_EQ(result.err, "fwlog: cannot read " + log.path() + ": No such file or directory\n");
  EXPECT_EQ(result.status, 2);
}

TEST(FwlogFiles, StandardInputIsReadFromWhereItStands) {
  const Log log("x\n" + record("[ERROR]:", "a"));
  log.backup(0, "no");
  const auto shell = [&](const std::string& command) {
    return fwbase::test::run_program({"/bin/sh", "-c", command, FWLOG_PROGRAM, log.path()});
  };
  EXPECT_EQ(shell("cat \"$1\" | \"$0\" -").out, "      x\nERROR here: a\n");
  EXPECT_EQ(shell("{ read -r line; \"$0\" -; } <\"$1\"").out, "ERROR here: a\n");
  EXPECT_EQ(shell("\"$0\" --output json - <\"$1\" | head -n 1").out,
            "{\"file\":\"-\",\"offset\":0,\"length\":2,\"message\":\"x\"}\n");
  const ProgramResult followed = shell("\"$0\" --follow - <\"$1\"");
  EXPECT_EQ(followed.err, "fwlog: cannot follow -: not a regular file\n");
  EXPECT_EQ(followed.status, 2);
}

TEST(FwlogFiles, OneThatCannotBeReadIsToldAndTheOthersAreRead) {
  const Log log("text\n");
  const TempDir directory;
  const ProgramResult result =
      run_fwlog({"--output", "raw", directory.path("none"), log.path(), directory.path()});
  EXPECT_EQ(result.out, "text\n");
  EXPECT_EQ(result.err, "fwlog: cannot read " + directory.path("none") +
                            ": No such file or directory\nfwlog: cannot read " + directory.path() +
                            ": Is a directory\n");
  EXPECT_EQ(result.status, 2);
}

// What a host that was killed has left: records in its journal.
std::string journal_of(const std::vector<std::string>& messages,
                       fwbase::JournalNote* note = nullptr) {
  constexpr std::size_t kCapacity = 4096;
  std::vector<char> packed;
  for (const std::string& message : messages) {
    fwbase::pack_record({fwbase::IRunLog::ERROR, message.c_str(), "here", {}}, packed);
    if (note != nullptr && note->to == 0) {
      note->to = packed.size();  // about the first
    }
  }
  fwbase::JournalHeader header{};
  header.magic = fwbase::kJournalMagic;
  header.capacity = kCapacity;
  header.end = packed.size();
  if (note != nullptr) {
    header.noted = 1;
    header.note = *note;
  }
  std::string bytes(fwbase::kJournalHeaderSize + kCapacity, '\0');
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + fwbase::kJournalHeaderSize, packed.data(), packed.size());
  return bytes;
}

TEST(FwlogJournal, ItsRecordsComeBehindTheLastOfTheLogAndNothingIsChanged) {
  const Log log(record("[WARN ]:", "old"));
  const std::string journal = journal_of({"a", "b"});
  write_file(log.path() + ".journal", journal);
  EXPECT_EQ(run_fwlog({log.path()}).out, "WARN  here: old\n");
  const ProgramResult result = run_fwlog({"--journal", log.path()});
  EXPECT_EQ(result.out, "WARN  here: old\nERROR here: a\nERROR here: b\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(fwbase::test::read_file(log.path()), record("[WARN ]:", "old"));
  EXPECT_EQ(fwbase::test::read_file(log.path() + ".journal"), journal);
  EXPECT_EQ(run_fwlog({"--journal", "--grep", "^b$", "--output", "json", log.path()}).out,
            "{\"file\":\"" + std::filesystem::canonical(log.path()).string() +
                ".journal\",\"offset\":19,\"length\":19,\"level\":\"error\",\"location\":\"here\","
                "\"message\":\"b\"}\n");
}

TEST(FwlogJournal, WhatTheLogHasAlreadyIsLeftOut) {
  const std::string text = record("[ERROR]:", "a");
  const Log log(text);
  struct stat status;
  ASSERT_EQ(::stat(log.path().c_str(), &status), 0);
  fwbase::JournalNote note;
  note.device = status.st_dev;
  note.inode = status.st_ino;
  note.length = text.size();
  note.hash = fwbase::journal_hash(text);
  write_file(log.path() + ".journal", journal_of({"a", "b"}, &note));
  EXPECT_EQ(run_fwlog({"--journal", log.path()}).out, "ERROR here: a\nERROR here: b\n");
}

TEST(FwlogJournal, OneThatIsDamagedOrALinkIsToldAndTheLogIsRead) {
  const Log log(record("[ERROR]:", "a"));
  const std::string name = std::filesystem::canonical(log.path()).string() + ".journal";
  write_file(name, "garbage");
  ProgramResult result = run_fwlog({"--journal", log.path()});
  EXPECT_EQ(result.out, "ERROR here: a\n");
  EXPECT_EQ(result.err, "fwlog: " + name + " is damaged\n");
  EXPECT_EQ(result.status, 2);
  std::filesystem::remove(name);
  std::filesystem::create_symlink("elsewhere", name);
  result = run_fwlog({"--journal", log.path()});
  EXPECT_EQ(result.out, "ERROR here: a\n");
  EXPECT_EQ(result.err, "fwlog: cannot read " + name + ": Too many levels of symbolic links\n");
  EXPECT_EQ(result.status, 2);
}

TEST(FwlogUsage, StatusTellsWhetherARecordPassed) {
  EXPECT_EQ(run_fwlog({Log("x").path()}).status, 0);
  EXPECT_EQ(run_fwlog({Log("").path()}).status, 1);
  EXPECT_EQ(run_fwlog({"--level", "error", Log("x").path()}).status, 1);
  EXPECT_EQ(run_fwlog({"--journal", Log("x").path()}).status, 0);
}

TEST(FwlogUsage, WrongUsageIsStatus2AndPointsToHelp) {
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } kCases[] = {
      {{}, "FILE is required"},
      {{"--foo", "f"}, "The following argument was not expected: --foo"},
      {{"--level", "bad", "f"},
       "--level: 'bad' is not one of trace, debug, warn, error, alert, dump, null"},
      {{"--pid", "-1", "f"}, "--pid: '-1' is not a number"},
      {{"-n", "x", "f"}, "--lines: 'x' is not a number"},
      {{"--object", "0xg", "f"}, "--object: '0xg' is not a hexadecimal number"},
      {{"--encoding", "big5", "f"}, "--encoding: 'big5' is not one of auto, gbk, gb18030, utf-8"},
      {{"--output", "xml", "f"}, "--output: 'xml' is not one of text, json, raw"},
      {{"--calls", "--output", "json", "f"}, "--calls: goes with --output text only"},
      {{"--stats", "--output", "raw", "f"}, "--stats: goes with --output text only"},
      {{"--stats", "-f", "f"}, "--stats: does not go with --follow"},
      {{"--stats", "--calls", "f"}, "--stats: does not go with --calls"},
      {{"--grep", "(", "f"}, "--grep: '(': Unmatched ( or \\("},
      {{"--exclude", "\xff", "f"}, "--exclude: '\uFFFD': not UTF-8"},
  };
  for (const auto& one : kCases) {
    const ProgramResult result = run_fwlog(one.arguments);
    EXPECT_EQ(result.status, 2) << one.message;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              std::string("fwlog: ") + one.message + "\nfwlog: fwlog --help shows the options\n");
  }
}

TEST(FwlogUsage, TimesThatDoNotExistAreWrongUsage) {
  for (const char* const time :
       {"2023-02-29", "2024-13-01", "2024-01-01 24:00", "2024-01-01 10:60", "2024-01-01 10:00:60",
        "24:00", "1:00", "10", "", "-5", "-5m", "-x", "--5s", "2024-1-1", "2024-01-01 ",
        "2024-01-01T10:00", "2024-01-01 10:00:00 "}) {
    EXPECT_EQ(run_fwlog({std::string("--since=") + time, Log("x").path()}).status, 2) << time;
  }
  for (const char* const time : {"2024-02-29", "2024-01-01 23:59", "2024-01-01 10:00:59", "00:00",
                                 "23:59:59", "-5s", "-10min", "-2h", "-1d", "-99999999999999d"}) {
    EXPECT_EQ(run_fwlog({"--since", time, Log("x").path()}).status, 1) << time;
  }
}

TEST(FwlogUsage, OutputThatCannotBeWrittenIsStatus2) {
  const Log log("x");
  const ProgramResult full = run_fwlog({log.path()}, Stdout::kFullDevice);
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "fwlog: cannot write to standard output: No space left on device\n");
  EXPECT_EQ(run_fwlog({log.path()}, Stdout::kClosed).status, 2);
}

TEST(FwlogUsage, AClosedPipeEndsItSilently) {
  const ProgramResult result = run_fwlog({Log("x").path()}, Stdout::kBrokenPipe);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 128 + 13);
}

TEST(FwlogUsage, ChineseUsersReadChineseMessages) {
  setenv("LC_ALL", "zh_CN.GBK", 1);
  EXPECT_EQ(run_fwlog({"/none/host.log"}).err,
            "fwlog: 无法读取 /none/host.log：没有那个文件或目录\n");
  EXPECT_EQ(run_fwlog({"--foo", "x"}).err,
            "fwlog: 不认识的参数：--foo\nfwlog: fwlog --help 显示全部选项\n");
  const std::string help = run_fwlog({"--help"}).out;
  EXPECT_NE(help.find("打印日志的记录。"), help.npos);
  const std::string page = run_fwlog({"--man-page"}).out;
  EXPECT_NE(page.find("Prints the records of logs."), page.npos);
}

}  // namespace fwlog::test
