#include "fwbase/runlog/journal_recovery.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/harness/no_descriptors.h"
#include "tests/harness/temp_dir.h"

using namespace fwbase;
using namespace fwbase::test;

namespace {

std::string text_of(const std::string& message) { return "[ERROR]: \r\n >" + message + "\n"; }

class JournalRecovery : public testing::Test {
 protected:
  explicit JournalRecovery(const std::vector<std::string>& messages = {"a", "b", "c"}) {
    for (const std::string& message : messages) {
      batch.add(LogRecord{IRunLog::ERROR, message.c_str(), "", {}});
      text += text_of(message);
    }
    note.length = text.size();
    note.hash = journal_hash(text);
  }

  // A digit for each record, and behind them how much of the batch the file ends with.
  std::string find(const std::string& content) const {
    const BatchInLog found = find_batch(note, batch, content);
    std::string shown;
    for (const bool written : found.written) {
      shown += written ? '1' : '0';
    }
    return shown + (found.begun != 0 ? " " + std::to_string(found.begun) : "");
  }

  RecordTexts batch;
  std::string text;
  JournalNote note;
};

class EqualRecords : public JournalRecovery {
 protected:
  EqualRecords() : JournalRecovery({"x", "x", "x\nmore", "x"}) {}
};

}  // namespace

TEST_F(JournalRecovery, NothingIsWrittenWhereTheFileEnds) { EXPECT_EQ(find(""), "000"); }

TEST_F(JournalRecovery, TheHashSaysThatAllIsWritten) {
  EXPECT_EQ(find(text), "111");
  EXPECT_EQ(find(text + text_of("of another process")), "111");
}

TEST_F(JournalRecovery, TheHashCountsEvenIfTextsCannotBeMadeAgain) {
  const RecordTexts none;
  EXPECT_TRUE(find_batch(note, none, text).written.empty());
  note.length = 3;
  note.hash = journal_hash("abc");
  EXPECT_EQ(find("abc"), "111");
}

TEST_F(JournalRecovery, WhatIsCutOffIsToldToTheByte) {
  const std::size_t each = text_of("a").size();
  for (std::size_t size = 1; size < text.size(); ++size) {
    const std::string written = size < each ? "000" : size < 2 * each ? "100" : "110";
    EXPECT_EQ(find(text.substr(0, size)), written + " " + std::to_string(size));
  }
}

TEST_F(JournalRecovery, RecordsAreFoundBehindAndBetweenThoseOfOthers) {
  const std::string other = text_of("other");
  EXPECT_EQ(find(other + text), "111");
  EXPECT_EQ(find(text_of("a") + other), "100");
  EXPECT_EQ(find(other + text_of("a") + other + text_of("b")), "110");
  EXPECT_EQ(find(text_of("a") + text_of("c") + other), "101");
  EXPECT_EQ(find(other), "000");
}

TEST_F(JournalRecovery, ATornRecordIsNotWritten) {
  EXPECT_EQ(find(text_of("a") + "[ERROR]: \r\n" + text_of("other")), "100");
}

TEST_F(JournalRecovery, ATextWithinARecordOfOthersIsNoRecord) {
  EXPECT_EQ(find("x" + text_of("a") + text_of("other")), "000");
}

TEST_F(EqualRecords, CountAsOftenAsTheyStandThere) {
  const std::string other = text_of("other");
  EXPECT_EQ(find(other + text_of("x")), "1000");
  EXPECT_EQ(find(other + text_of("x") + text_of("x")), "1100");
  EXPECT_EQ(find(other + text_of("x\nmore")), "0010");
  EXPECT_EQ(find(other + text), "1111");
}

TEST(NotedFile, IsFoundByItsInodeUnderWhateverName) {
  const TempDir dir;
  write_file(dir.path("log"), "new");
  write_file(dir.path("log.bak.12"), "before|batch");
  std::filesystem::create_symlink("log.bak.12", dir.path("log.bak.1"));
  struct stat status;
  ASSERT_EQ(::stat(dir.path("log.bak.12").c_str(), &status), 0);
  JournalNote note;
  note.device = status.st_dev;
  note.inode = status.st_ino;
  note.offset = 7;
  note.length = 5;
  std::string name;
  std::string content;
  ASSERT_EQ(read_noted_file(note, dir.path("log"), name, content), NotedFile::kFound);
  EXPECT_EQ(name, dir.path("log.bak.12"));
  EXPECT_EQ(content, "batch");
  note.offset = 100;
  ASSERT_EQ(read_noted_file(note, dir.path("log"), name, content), NotedFile::kFound);
  EXPECT_EQ(content, "");
  ++note.device;
  EXPECT_EQ(read_noted_file(note, dir.path("log"), name, content), NotedFile::kGone);
  --note.device;
  std::filesystem::rename(dir.path("log.bak.12"), dir.path("log"));
  ASSERT_EQ(read_noted_file(note, dir.path("log"), name, content), NotedFile::kFound);
  EXPECT_EQ(name, dir.path("log"));
  std::filesystem::rename(dir.path("log"), dir.path("other.bak.0"));
  EXPECT_EQ(read_noted_file(note, dir.path("log"), name, content), NotedFile::kGone);
}

#if FWBASE_TEST_CAN_TAKE_ALL_DESCRIPTORS
TEST(NotedFile, IsUnknownWhereItCannotBeLookedFor) {
  const TempDir dir;
  write_file(dir.path("log"), "batch");
  std::string name;
  std::string content;
  const NoDescriptors none;
  EXPECT_EQ(read_noted_file({}, dir.path("log"), name, content), NotedFile::kUnknown);
  EXPECT_EQ(errno, EMFILE);
}
#endif
