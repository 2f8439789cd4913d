#include "fwbase/runlog/log_rotation.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/harness/failing_new.h"
#include "tests/harness/no_descriptors.h"
#include "tests/harness/temp_dir.h"

using namespace fwbase;
using namespace fwbase::test;

using Result = LogRotation::Result;

namespace {

class LogRotationTest : public testing::Test {
 protected:
  // Opens the log, with that content.
  void start(const std::string& content) {
    write_file(log, content);
    rotation = LogRotation(log.c_str());
    ASSERT_TRUE(file.open(rotation.path()));
  }

  // Name and content of every file, in the order of the names.
  std::string files() const {
    std::string listing;
    for (const char* suffix : {"", ".bak.0", ".bak.1", ".bak.2", ".bak.3", ".bak.4", ".bak.~"}) {
      if (std::filesystem::exists(log + suffix)) {
        listing += "log" + std::string(suffix) + "=" + read_file(log + suffix) + " ";
      }
    }
    return listing;
  }

  // Writes into the file that is open, as the log does.
  void append(const char* message) {
    RecordTexts texts;
    texts.add({IRunLog::ERROR, message, "", {}});
    EXPECT_TRUE(file.append(texts, 0, 1).written);
  }
  static std::string text_of(const char* message) {
    return "[ERROR]: \r\n >" + std::string(message) + "\n";
  }

  TempDir dir;
  const std::string log = std::filesystem::canonical(dir.path()).string() + "/log";
  LogFile file;
  LogRotation rotation;
};

}  // namespace

// --- Renaming ---

TEST_F(LogRotationTest, TheFirstLeavesOneBackupAndAnEmptyFile) {
  start("1");
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_EQ(files(), "log= log.bak.0=1 ");
  append("new");
  EXPECT_EQ(read_file(log), text_of("new"));
}

TEST_F(LogRotationTest, BackupsAgeAndTheFifthLosesTheOldest) {
  const char* const after[] = {"log= log.bak.0=1 ", "log= log.bak.0=2 log.bak.1=1 ",
                               "log= log.bak.0=3 log.bak.1=2 log.bak.2=1 ",
                               "log= log.bak.0=4 log.bak.1=3 log.bak.2=2 log.bak.3=1 ",
                               "log= log.bak.0=5 log.bak.1=4 log.bak.2=3 log.bak.3=2 "};
  for (int round = 1; round <= 5; ++round) {
    start(std::to_string(round));
    EXPECT_EQ(rotation.rotate(file), Result::kDone);
    EXPECT_EQ(files(), after[round - 1]);
  }
}

TEST_F(LogRotationTest, AMissingBackupLeavesAGap) {
  start("new");
  write_file(log + ".bak.1", "old");
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_EQ(files(), "log= log.bak.0=new log.bak.2=old ");
}

TEST_F(LogRotationTest, OptionsSayHowManyBackupsAreKept) {
  write_file(log + ".bak.2", "beyond");
  for (const char* content : {"1", "2", "3"}) {
    start(content);
    rotation.limit({kRotationSize, 2});
    EXPECT_EQ(rotation.rotate(file), Result::kDone);
  }
  EXPECT_EQ(files(), "log= log.bak.0=3 log.bak.1=2 log.bak.2=beyond ");
  start("4");
  rotation.limit({kRotationSize, 1});
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_EQ(files(), "log= log.bak.0=4 log.bak.1=2 log.bak.2=beyond ");
}

TEST_F(LogRotationTest, WithoutBackupsTheFileIsBegunAnew) {
  start("old");
  rotation.limit({kRotationSize, 0});
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  append("new");
  EXPECT_EQ(files(), "log=" + text_of("new") + " ");
}

TEST_F(LogRotationTest, WithoutMemoryForOtherLimitsAllStaysAsItWas) {
  start("1");
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_THROW(rotation.limit({1, 0}), std::bad_alloc);
  }
  EXPECT_FALSE(rotation.due(1));
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_EQ(files(), "log= log.bak.0=1 ");
}

TEST_F(LogRotationTest, WhatAKilledProcessHasPutAsideIsRemoved) {
  start("new");
  write_file(log + ".bak.~", "oldest");
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_EQ(files(), "log= log.bak.0=new ");
}

TEST_F(LogRotationTest, AllocatesNothing) {
  start("1");
  write_file(log + ".bak.0", "0");
  const FailingNew memory(1, FailingNew::ANY);
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_FALSE(memory.has_failed());
}

TEST_F(LogRotationTest, LeavesNothingLocked) {
  start("1");
  const int another_log = ::open(log.c_str(), O_RDONLY);
  const NoDescriptors limit;
  EXPECT_EQ(rotation.rotate(file), Result::kFailed);
  EXPECT_EQ(::flock(another_log, LOCK_EX | LOCK_NB), 0);
  ::close(another_log);
}

// --- Failures ---

TEST_F(LogRotationTest, WithoutADescriptorAllStaysAsItWas) {
  start("new");
  write_file(log + ".bak.0", "0");
  write_file(log + ".bak.2", "2");
  write_file(log + ".bak.3", "3");
  {
    const NoDescriptors limit;
    EXPECT_EQ(rotation.rotate(file), Result::kFailed);
    EXPECT_EQ(errno, EMFILE);
  }
  EXPECT_EQ(files(), "log=new log.bak.0=0 log.bak.2=2 log.bak.3=3 ");
  append("");
  EXPECT_EQ(read_file(log), "new" + text_of(""));
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
}

TEST_F(LogRotationTest, ARefusedRenameLeavesAllAsItWas) {
  start("new");
  std::filesystem::create_directories(log + ".bak.~/directory");
  write_file(log + ".bak.0", "0");
  write_file(log + ".bak.3", "3");
  EXPECT_EQ(rotation.rotate(file), Result::kFailed);
  EXPECT_EQ(errno, EISDIR);
  std::filesystem::remove_all(log + ".bak.~");
  EXPECT_EQ(files(), "log=new log.bak.0=0 log.bak.3=3 ");
  append("");
  EXPECT_EQ(read_file(log), "new" + text_of(""));
}

TEST_F(LogRotationTest, WithoutItsDirectoryItKnowsThatTheNameLeadsNowhere) {
  std::filesystem::create_directory(dir.path("folder"));
  rotation = LogRotation(dir.path("folder/log").c_str());
  ASSERT_TRUE(file.open(rotation.path()));
  std::filesystem::rename(dir.path("folder"), dir.path("moved"));
  EXPECT_EQ(rotation.rotate(file), Result::kNoDirectory);
  write_file(dir.path("folder"), "");
  EXPECT_EQ(rotation.rotate(file), Result::kNoDirectory);
}

// --- Files of others ---

TEST_F(LogRotationTest, AFileThatIsABackupGivesWayToTheOneOfItsName) {
  for (const char* backup : {".bak.0", ".bak.1", ".bak.2", ".bak.3"}) {
    start("own");
    std::filesystem::rename(log, log + backup);
    write_file(log, "another process's ");
    EXPECT_EQ(rotation.rotate(file), Result::kDone);
    append("followed");
    EXPECT_EQ(files(), "log=another process's " + text_of("followed") + " log" + backup + "=own ");
    std::filesystem::remove(log + backup);
  }
}

TEST_F(LogRotationTest, AFileThatIsABackupGivesWayToANewOneWhereThereIsNone) {
  start("own");
  std::filesystem::rename(log, log + ".bak.0");
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_EQ(files(), "log= log.bak.0=own ");
}

TEST_F(LogRotationTest, AFileThatWasRemovedOrMovedAwayGivesWayToANewOneAndNoBackupAges) {
  for (const bool moved : {false, true}) {
    start("own");
    write_file(log + ".bak.0", "0");
    if (moved) {
      std::filesystem::rename(log, log + ".moved");
    } else {
      std::filesystem::remove(log);
    }
    EXPECT_EQ(rotation.rotate(file), Result::kDone);
    EXPECT_EQ(files(), "log= log.bak.0=0 ");
    EXPECT_TRUE(rotation.names(file));
  }
  EXPECT_EQ(read_file(log + ".moved"), "own");
}

// As that of a process which has written nothing while others have rotated five times.
TEST_F(LogRotationTest, AFileThatWasTheOldestBackupGivesWayToTheOneOfItsName) {
  start("own");
  std::filesystem::remove(log);
  write_file(log, "another process's ");
  EXPECT_EQ(rotation.rotate(file), Result::kDoneTooLate);
  append("followed");
  EXPECT_EQ(files(), "log=another process's " + text_of("followed") + " ");
}

TEST_F(LogRotationTest, AForeignFileThatHasTheNameIsLeftAlone) {
  start("own");
  std::filesystem::rename(log, log + ".moved");
  write_file(log, "foreign");
  write_file(log + ".bak.0", "0");
  EXPECT_EQ(rotation.rotate(file), Result::kForeign);
  append("");
  EXPECT_EQ(files(), "log=foreign log.bak.0=0 ");
  EXPECT_EQ(read_file(log + ".moved"), "own" + text_of(""));
}

TEST_F(LogRotationTest, WhatIsNoRegularFileIsForeign) {
  start("own");
  std::filesystem::rename(log, log + ".bak.0");
  std::filesystem::create_symlink(log + ".bak.0", log);
  EXPECT_EQ(rotation.rotate(file), Result::kForeign);
  EXPECT_TRUE(std::filesystem::is_symlink(log));
  std::filesystem::remove(log);
  std::filesystem::create_directory(log);
  EXPECT_EQ(rotation.rotate(file), Result::kForeign);
  EXPECT_TRUE(std::filesystem::is_directory(log));
}

TEST_F(LogRotationTest, AFifoThatHasTheNameOfARemovedFileIsNotOpened) {
  start("own");
  std::filesystem::remove(log);
  ASSERT_EQ(::mkfifo(log.c_str(), 0600), 0);
  EXPECT_EQ(rotation.rotate(file), Result::kFailed);  // and it does not wait for a reader
  const int reader = ::open(log.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(rotation.rotate(file), Result::kFailed);
  EXPECT_EQ(errno, EEXIST);
  ::close(reader);
}

// --- Names ---

TEST_F(LogRotationTest, ItsNameIsAbsoluteAndBehindAllSymbolicLinks) {
  std::filesystem::create_directory(dir.path("volume"));
  std::filesystem::create_symlink("volume/file", dir.path("log"));
  std::filesystem::create_symlink("log", dir.path("link"));
  std::filesystem::create_symlink("volume", dir.path("directory"));
  const std::string target = std::filesystem::canonical(dir.path("volume")).string() + "/file";
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  for (const char* given : {"volume/file", "log", "link", "directory/file", "./directory/../log"}) {
    EXPECT_EQ(LogRotation(given).path(), target) << given;
    write_file(target, "");  // the first was not there yet
  }
  std::filesystem::current_path(before);
  EXPECT_EQ(LogRotation(dir.path("link").c_str()).path(), target);
}

TEST_F(LogRotationTest, WhatLeadsThroughDevOrProcAndDevicesAreNeverRotated) {
  write_file(log, "another program's");
  const int open_file = ::open(log.c_str(), O_WRONLY);
  const std::string number = std::to_string(open_file);
  ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("/proc/self/fd/" + number, dir.path("link"));
  std::filesystem::create_symlink("link", dir.path("link to link"));
  std::filesystem::create_symlink("/dev/fd", dir.path("directory"));
  std::filesystem::create_symlink("/dev/null", dir.path("device"));
  const std::string names[] = {"/dev/fd/" + number,
                               "/proc/self/fd/" + number,
                               "/proc/self/cwd/log",
                               "//proc/self/fd/" + number,
                               "/dev/stdout",
                               "/dev/stderr",
                               "/dev/null",
                               "/dev/none",
                               dir.path("link"),
                               dir.path("link to link"),
                               dir.path("directory/" + number),
                               dir.path("device"),
                               dir.path("fifo")};
  for (const std::string& name : names) {
    EXPECT_FALSE(LogRotation(name.c_str()).due(kRotationSize)) << name;
    EXPECT_EQ(LogRotation(name.c_str()).path(), name);
  }
  ::close(open_file);
  EXPECT_FALSE(LogRotation("/dev/shm/../none").due(kRotationSize));
  EXPECT_TRUE(LogRotation(log.c_str()).due(kRotationSize));
  EXPECT_TRUE(LogRotation("/dev/shm/log").due(kRotationSize));
}

TEST_F(LogRotationTest, WithoutMemoryForTheNamesItThrows) {
  for (int n = 1;; ++n) {
    const FailingNew memory(n, FailingNew::THROWING);
    bool thrown = false;
    try {
      const LogRotation other(log.c_str());
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    EXPECT_EQ(thrown, memory.has_failed());
    if (!memory.has_failed()) {
      EXPECT_GT(n, 1);
      break;
    }
  }
}

// --- When it is due ---

TEST(RotationDue, From10MiBOn) {
  EXPECT_FALSE(rotation_due(0));
  EXPECT_FALSE(rotation_due(10485759));
  EXPECT_TRUE(rotation_due(10485760));
  EXPECT_TRUE(rotation_due(10485761));
}

TEST(RotationDue, PositionsCountIn32Bits) {
  EXPECT_TRUE(rotation_due(0xFFFFFFFF));
  EXPECT_FALSE(rotation_due(0x100000000));
  EXPECT_FALSE(rotation_due(0x1009FFFFF));
  EXPECT_TRUE(rotation_due(0x100A00000));
}

TEST(RotationDue, FromTheBytesOnThatOptionsSay) {
  EXPECT_FALSE(rotation_due(99, 100));
  EXPECT_TRUE(rotation_due(100, 100));
  EXPECT_TRUE(rotation_due(20000000, 100));
}

TEST(RotationDue, ALimitBeyond32BitsIsOneOfTheWholePosition) {
  constexpr std::uint64_t kLimit = 0x140000000;
  EXPECT_FALSE(rotation_due(0x13FFFFFFF, kLimit));
  EXPECT_TRUE(rotation_due(0x140000000, kLimit));
  EXPECT_TRUE(rotation_due(0x200000000, kLimit));
}

TEST(RotationDue, NeverWithoutAPosition) { EXPECT_FALSE(rotation_due(-1)); }

TEST_F(LogRotationTest, NothingIsDueWithoutAName) { EXPECT_FALSE(rotation.due(kRotationSize)); }

TEST_F(LogRotationTest, AfterAFailureItIsDueAgainWhenTheFileHasGrownBy64KiBOrWasCut) {
  constexpr std::int64_t kFailed = kRotationSize + 100;
  start("");
  std::filesystem::resize_file(log, kFailed - static_cast<std::int64_t>(text_of("").size()));
  append("");
  ASSERT_EQ(file.position(), kFailed);
  EXPECT_TRUE(rotation.due(kFailed));
  {
    const NoDescriptors limit;
    EXPECT_EQ(rotation.rotate(file), Result::kFailed);
  }
  EXPECT_FALSE(rotation.due(kFailed));
  EXPECT_FALSE(rotation.due(kFailed + 65535));
  EXPECT_TRUE(rotation.due(kFailed + 65536));
  EXPECT_TRUE(rotation.due(kFailed - 1));
  EXPECT_EQ(rotation.rotate(file), Result::kDone);
  EXPECT_TRUE(rotation.due(kFailed));
}

namespace {

// So many of four records of 100 bytes are written in one piece, counted from the second.
std::size_t until_due(std::int64_t position, const LogRotation& rotation) {
  RecordTexts texts;
  for (int i = 0; i < 4; ++i) {
    texts.add({IRunLog::ERROR, std::string(86, 'x').c_str(), "", {}});
  }
  EXPECT_EQ(texts.end_of(3), 400u);
  return rotation.records_until_due(texts, 1, position);
}

}  // namespace

TEST_F(LogRotationTest, RecordsAreWrittenInOnePieceUpToTheOneThatMakesItDue) {
  rotation = LogRotation(log.c_str());
  EXPECT_EQ(until_due(0, rotation), 3u);
  EXPECT_EQ(until_due(10485760 - 201, rotation), 3u);
  EXPECT_EQ(until_due(10485760 - 200, rotation), 2u);
  EXPECT_EQ(until_due(10485760 - 101, rotation), 2u);
  EXPECT_EQ(until_due(10485760 - 100, rotation), 1u);
  EXPECT_EQ(until_due(10485760, rotation), 1u);
  EXPECT_EQ(until_due(10485760, LogRotation("/dev/fd/1")), 3u);
}

TEST_F(LogRotationTest, RecordsAreWrittenOneByOneWithoutAPosition) {
  EXPECT_EQ(until_due(-1, LogRotation(log.c_str())), 1u);
}
