// fwlog --follow. Rotations with the library's own log are in rotations.cpp.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include <gtest/gtest.h>

#include "tests/harness/running_program.h"
#include "tests/harness/temp_dir.h"
#include "tests/tools/fwlog/fwlog_program.h"

using fwbase::test::TempDir;
using fwbase::test::write_file;

namespace fwlog::test {
namespace {

void append(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::app) << bytes;
}

// fwlog --follow, and what it has written.
class Following : public fwbase::test::RunningProgram {
 public:
  explicit Following(std::vector<std::string> arguments)
      : RunningProgram(command(std::move(arguments))) {}

 private:
  static std::vector<std::string> command(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {FWLOG_PROGRAM, "--follow"});
    return arguments;
  }
};

class FwlogFollow : public testing::Test {
 protected:
  std::string path(const std::string& end = "") const { return m_directory.path("host.log") + end; }

  void rotate() const {
    namespace fs = std::filesystem;
    for (const char* const number : {"2", "1", "0"}) {
      const std::string from = path(".bak.") + number;
      if (fs::exists(from)) {
        fs::rename(from, path(".bak.") + static_cast<char>(number[0] + 1));
      }
    }
    fs::rename(path(), path(".bak.0"));
  }

  /// Follows "a" and "b", has the file replaced by others, and expects these lines from its start.
  void expect_told_truncation(const std::function<void()>& replace, const std::string& lines) const;
  /// Rotates, has something made that is no log, and expects this error, once.
  void expect_told_new_file(const std::function<void()>& make, const std::string& told) const;

 private:
  const TempDir m_directory;
};

std::string line(const std::string& message) { return "ERROR here: " + message + "\n"; }
std::string error(const std::string& message) { return record("[ERROR]:", message); }

void FwlogFollow::expect_told_truncation(const std::function<void()>& replace,
                                         const std::string& lines) const {
  write_file(path(), error("a") + error("b"));
  Following following({path()});
  following.expect(line("a") + line("b"));
  replace();
  following.expect(lines);
  following.expect_error(
      "fwlog: " + path() +
      " was truncated; what was not read yet is lost, and it is read from its start\n");
  EXPECT_EQ(following.interrupt(), 0);
}

void FwlogFollow::expect_told_new_file(const std::function<void()>& make,
                                       const std::string& told) const {
  write_file(path(), error("a"));
  Following following({path()});
  following.expect(line("a"));
  rotate();
  make();
  following.expect_error("fwlog: " + told + "\n");
  append(path(".bak.0"), error("late"));
  following.expect(line("late"));
  std::filesystem::remove(path());
  write_file(path(), error("b"));
  following.expect(line("b"));
  EXPECT_EQ(following.interrupt(), 0);
}

}  // namespace

TEST_F(FwlogFollow, PrintsWhatIsThereAndWhatComes) {
  write_file(path(".bak.0"), error("a"));
  write_file(path(), error("b"));
  Following following({path()});
  following.expect(line("a") + line("b"));
  append(path(), error("c"));
  following.expect(line("c"));
  append(path(), error("d") + error("e\nf"));
  following.expect(line("d") + line("e\n    f"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, OnlyLeavesOutTheBackupsThatAreThereButNotRotations) {
  write_file(path(".bak.0"), error("a"));
  write_file(path(), error("b"));
  Following following({"--only", path()});
  following.expect(line("b"));
  rotate();
  write_file(path(), error("c"));
  following.expect(line("c"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, WaitsForALogThatIsNotThere) {
  Following following({path()});
  following.expect_error("fwlog: " + path() + " is not there; waiting for it\n");
  write_file(path(), error("a"));
  following.expect(line("a"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, ARecordThatIsCutOffWaitsForItsEnd) {
  write_file(path(), error("a") + "[ERROR]: here\r\n >b");
  Following following({path()});
  following.expect(line("a"));
  append(path(), "c\n");
  following.expect(line("bc"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, JsonDoesNotWaitForTheHeadOfTheNextRecord) {
  write_file(path(), error("a") + "[ERROR]: he");
  Following following({"--output", "json", path()});
  following.expect("{\"file\":\"" + path() +
                   "\",\"offset\":0,\"length\":19,\"level\":\"error\",\"location\":\"here\","
                   "\"message\":\"a\",\"ambiguous\":true}\n");
  append(path(), "re\r\n >b\n");
  following.expect("{\"file\":\"" + path() +
                   "\",\"offset\":19,\"length\":19,\"level\":\"error\",\"location\":\"here\","
                   "\"message\":\"b\"}\n");
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, ReadsRotatedFilesToTheirEndAndOnInTheirOrder) {
  write_file(path(), error("a"));
  Following following({path()});
  following.expect(line("a"));
  for (const char* const round : {"b", "c", "d"}) {
    append(path(), error(round));
    rotate();
    write_file(path(), error(std::string("new ") + round));
  }
  following.expect(line("b") + line("new b") + line("c") + line("new c") + line("d") +
                   line("new d"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, BehindALinkReadsTheBackupsOfTheFileThatItLeadsTo) {
  const TempDir links;
  const std::string link = links.path("link.log");
  std::filesystem::create_symlink(path(), link);
  write_file(path(".bak.0"), error("a"));
  write_file(path(), error("b"));
  Following following({link});
  following.expect(line("a") + line("b"));
  following.stop();
  for (const char* const round : {"c", "d", "e"}) {
    append(path(), error(round));
    rotate();
  }
  write_file(path(), error("f"));
  following.go_on();
  following.expect(line("c") + line("d") + line("e") + line("f"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, PrintsWhatAnotherProcessStillWritesBehindARotatedFile) {
  write_file(path(), error("a"));
  Following following({path()});
  following.expect(line("a"));
  rotate();
  write_file(path(), error("b"));
  following.expect(line("b"));
  append(path(".bak.0"), error("late"));
  following.expect(line("late"));
  rotate();
  append(path(".bak.1"), error("later"));
  append(path(), error("c"));
  following.expect(line("later") + line("c"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, ATruncatedLogIsToldAndReadFromItsStart) {
  const auto truncate_and_append = [this] {
    ASSERT_EQ(truncate(path().c_str(), 0), 0);
    append(path(), error("c"));
  };
  expect_told_truncation(truncate_and_append, line("c"));
}

TEST_F(FwlogFollow, ATruncatedLogThatHasGrownAgainIsNoticedByItsBytes) {
  // One write: the file is never seen shorter.
  const auto overwrite = [this] {
    const int file = open(path().c_str(), O_WRONLY);
    const std::string bytes = error("x") + error("y") + error("z");
    EXPECT_EQ(pwrite(file, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    close(file);
  };
  expect_told_truncation(overwrite, line("x") + line("y") + line("z"));
}

TEST_F(FwlogFollow, LinesAreTheLastOfThoseThereThenWhatComes) {
  write_file(path(), error("a") + error("b") + error("c"));
  Following following({"-n", "2", path()});
  following.expect(line("b") + line("c"));
  append(path(), error("d") + error("e") + error("f"));
  following.expect(line("d") + line("e") + line("f"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, LinesDoNotWaitForARecordThatIsCutOff) {
  write_file(path(), error("a") + error("b") + "[ERROR]: here\r\n >c");
  Following following({"-n1", path()});
  following.expect(line("b"));
  append(path(), "d\n");
  following.expect(line("cd"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, FiltersWhatComes) {
  write_file(path(), error("a"));
  Following following({"--level", "warn", path()});
  append(path(), error("b") + record("[WARN ]:", "c") + error("d"));
  following.expect("WARN  here: c\n");
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, SeveralLogsAtOnce) {
  const TempDir other;
  write_file(path(), error("a"));
  write_file(other.path("o.log"), error("b"));
  Following following({path(), other.path("o.log")});
  following.expect(line("a") + line("b"));
  append(other.path("o.log"), error("c"));
  following.expect(line("c"));
  append(path(), error("d"));
  following.expect(line("d"));
  EXPECT_EQ(following.interrupt(), 0);
}

TEST_F(FwlogFollow, EndsWhenItsReaderHasGone) {
  write_file(path(), error("a"));
  Following following({path()});
  following.expect(line("a"));
  following.close_out();
  EXPECT_EQ(following.wait(), 128 + SIGPIPE);
}

TEST_F(FwlogFollow, ABackupThatCannotBeReadIsToldAndTheOthersAreFollowed) {
  std::filesystem::create_directory(path(".bak.1"));
  write_file(path(".bak.0"), error("a"));
  write_file(path(), error("b"));
  Following following({path()});
  following.expect(line("a") + line("b"));
  append(path(), error("c"));
  following.expect(line("c"));
  following.expect_error("fwlog: cannot read " + path(".bak.1") + ": Is a directory\n");
  EXPECT_EQ(following.interrupt(), 2);
}

TEST_F(FwlogFollow, ANewFileThatCannotBeReadIsToldOnceAndWaitedFor) {
  expect_told_new_file([this] { std::filesystem::create_directory(path()); },
                       "cannot read " + path() + ": Is a directory");
}

TEST_F(FwlogFollow, AFileThatCannotBeReadAtTheEndIsStatus2) {
  write_file(path(), error("a"));
  Following following({path()});
  following.expect(line("a"));
  rotate();
  std::filesystem::create_directory(path());
  following.expect_error("fwlog: cannot read " + path() + ": Is a directory\n");
  EXPECT_EQ(following.interrupt(), 2);
}

TEST_F(FwlogFollow, ANewFileThatIsAPipeIsToldOnceAndNotOpened) {
  expect_told_new_file([this] { ASSERT_EQ(mkfifo(path().c_str(), 0600), 0); },
                       "cannot follow " + path() + ": not a regular file");
}

TEST_F(FwlogFollow, APipeIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
  const ProgramResult result = run_fwlog({"--follow", path()});
  EXPECT_EQ(result.err, "fwlog: cannot follow " + path() + ": not a regular file\n");
  EXPECT_EQ(result.status, 2);
}

TEST_F(FwlogFollow, LinesAreTheLastOfAllLogsAlsoWhereOneCannotBeFollowed) {
  write_file(path(), error("a") + error("b") + error("c"));
  Following following({"-n1", "/dev/null", path()});
  following.expect(line("c"));
  following.expect_error("fwlog: cannot follow /dev/null: not a regular file\n");
  EXPECT_EQ(following.interrupt(), 2);
}

TEST_F(FwlogFollow, WhatIsNoFileCannotBeFollowed) {
  const ProgramResult result = run_fwlog({"--follow", "/dev/null", "/"});
  EXPECT_EQ(result.err,
            "fwlog: cannot follow /dev/null: not a regular file\n"
            "fwlog: cannot read /: Is a directory\n");
  EXPECT_EQ(result.status, 2);
}

}  // namespace fwlog::test
