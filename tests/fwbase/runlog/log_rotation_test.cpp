#include "fwbase/runlog/log_rotation.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/failing_new.h"
#include "tests/support/temp_dir.h"

using namespace fwbase;
using namespace fwbase::test;

namespace {

class LogRotation : public testing::Test {
 protected:
  // Name and content of every file, in the order of the names.
  std::string files() const {
    std::string listing;
    for (const char* suffix : {"", ".bak.0", ".bak.1", ".bak.2", ".bak.3", ".bak.4"}) {
      if (std::filesystem::exists(log + suffix)) {
        listing += "log" + std::string(suffix) + "=" + read_file(log + suffix) + " ";
      }
    }
    return listing;
  }

  TempDir dir;
  const std::string log = dir.path("log");
};

}  // namespace

TEST_F(LogRotation, TheFirstRotationLeavesOneBackup) {
  write_file(log, "1");
  rotate_backups(log);
  EXPECT_EQ(files(), "log.bak.0=1 ");
}

TEST_F(LogRotation, BackupsAgeAndTheFifthRotationLosesTheOldest) {
  const char* const after[] = {"log.bak.0=1 ", "log.bak.0=2 log.bak.1=1 ",
                               "log.bak.0=3 log.bak.1=2 log.bak.2=1 ",
                               "log.bak.0=4 log.bak.1=3 log.bak.2=2 log.bak.3=1 ",
                               "log.bak.0=5 log.bak.1=4 log.bak.2=3 log.bak.3=2 "};
  for (int round = 1; round <= 5; ++round) {
    write_file(log, std::to_string(round));
    rotate_backups(log);
    EXPECT_EQ(files(), after[round - 1]);
  }
}

TEST_F(LogRotation, AMissingBackupLeavesAGap) {
  write_file(log, "new");
  write_file(log + ".bak.1", "old");
  rotate_backups(log);
  EXPECT_EQ(files(), "log.bak.0=new log.bak.2=old ");
}

TEST_F(LogRotation, AMissingLogFileOnlyAgesTheBackups) {
  write_file(log + ".bak.0", "old");
  rotate_backups(log);
  EXPECT_EQ(files(), "log.bak.1=old ");
}

TEST_F(LogRotation, WithoutMemoryNothingIsRenamed) {
  write_file(log, "1");
  write_file(log + ".bak.0", "0");
  for (int n = 1;; ++n) {
    const FailingNew memory(n, FailingNew::THROWING);
    try {
      rotate_backups(log);
    } catch (const std::bad_alloc&) {
    }
    if (!memory.has_failed()) {
      break;
    }
    EXPECT_EQ(files(), "log=1 log.bak.0=0 ") << n;
  }
  EXPECT_EQ(files(), "log.bak.0=1 log.bak.1=0 ");
}

TEST(LogRotationDue, From10MiBOn) {
  EXPECT_FALSE(rotation_due(0));
  EXPECT_FALSE(rotation_due(10485759));
  EXPECT_TRUE(rotation_due(10485760));
  EXPECT_TRUE(rotation_due(10485761));
}

TEST(LogRotationDue, PositionsCountIn32Bits) {
  EXPECT_TRUE(rotation_due(0xFFFFFFFF));
  EXPECT_FALSE(rotation_due(0x100000000));
  EXPECT_FALSE(rotation_due(0x1009FFFFF));
  EXPECT_TRUE(rotation_due(0x100A00000));
}

TEST(LogRotationDue, NeverWithoutAPosition) { EXPECT_FALSE(rotation_due(-1)); }

namespace {

// So many of four records of 100 bytes are written in one piece, counted from the second.
std::size_t until_rotation(std::int64_t position) {
  RecordTexts texts;
  for (int i = 0; i < 4; ++i) {
    texts.add({IRunLog::ERROR, std::string(86, 'x').c_str(), "", {}});
  }
  EXPECT_EQ(texts.end_of(3), 400u);
  return records_until_rotation(texts, 1, position);
}

}  // namespace

TEST(RecordsUntilRotation, EndWithTheOneThatMakesItDue) {
  EXPECT_EQ(until_rotation(0), 3u);
  EXPECT_EQ(until_rotation(10485760 - 201), 3u);
  EXPECT_EQ(until_rotation(10485760 - 200), 2u);
  EXPECT_EQ(until_rotation(10485760 - 101), 2u);
  EXPECT_EQ(until_rotation(10485760 - 100), 1u);
  EXPECT_EQ(until_rotation(10485760), 1u);
}

TEST(RecordsUntilRotation, GoOneByOneWithoutAPosition) { EXPECT_EQ(until_rotation(-1), 1u); }
