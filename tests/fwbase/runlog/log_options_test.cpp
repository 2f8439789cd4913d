// The options of the log, from log_options() to what is in its files.
#include <fwbase/ifwbase.h>
#include <fwbase/log_options.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "fwbase/runlog/gbk.h"
#include "fwbase/runlog/log_process.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/temp_dir.h"

using namespace fwbase;
using namespace fwbase::test;

namespace {

std::string text_of(const std::string& message) { return "[ERROR]: \r\n >" + message + "\n"; }

class LogOptionsTest : public testing::Test {
 protected:
  ~LogOptionsTest() override { log.release(); }

  void start() {
    ASSERT_EQ(log.init(), ec::LOG_OK);
    ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  }
  void write(const std::string& message) { log.write(IRunLog::ERROR, message.c_str(), nullptr); }
  std::string written() const { return read_file(path); }
  std::string backup(int number) const {
    return read_file(path + ".bak." + std::to_string(number));
  }

  TempDir dir;
  const std::string path = dir.path("log");
  CLogProcess log;
  LogOptions options;
};

}  // namespace

TEST_F(LogOptionsTest, DefaultsAreWhatTheLogDoesWithoutThem) {
  EXPECT_EQ(options.queue_bytes, 16384u);
  EXPECT_EQ(options.when_full, LogOptions::kWait);
  EXPECT_EQ(options.keep_level, 0u);
  EXPECT_FALSE(options.journal);
  EXPECT_EQ(options.file_bytes, 10485760u);
  EXPECT_EQ(options.backups, 4);
  EXPECT_EQ(log.options(options), ec::LOG_OK);
}

TEST_F(LogOptionsTest, WhatMakesNoSenseIsRefusedAndChangesNothing) {
  start();
  options.file_bytes = 1;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  LogOptions bad[5];
  bad[0].queue_bytes = 0;
  bad[1].file_bytes = 0;
  bad[2].backups = -1;
  bad[3].when_full = static_cast<LogOptions::WhenFull>(LogOptions::kDropBelow + 1);
  bad[4].backups = INT_MIN;
  for (const LogOptions& one : bad) {
    EXPECT_EQ(log.options(one), ec::LOG_BAD_PARAM);
  }
  write("x");
  EXPECT_EQ(backup(0), text_of("x"));
}

TEST_F(LogOptionsTest, AreRefusedWhileQueuedModeIsOn) {
  start();
  log.asynch(true);
  options.file_bytes = 1;
  EXPECT_EQ(log.options(options), ec::LOG_BAD_PARAM);
  log.asynch(false);
  write("x");
  EXPECT_EQ(written(), text_of("x"));
  EXPECT_EQ(log.options(options), ec::LOG_OK);
}

TEST_F(LogOptionsTest, WithoutMemoryNothingChanges) {
  start();
  options.file_bytes = 1;
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_EQ(log.options(options), ec::LOG_NO_MEMORY);
  }
  write("x");
  EXPECT_EQ(written(), text_of("x"));
}

TEST_F(LogOptionsTest, SizeAndNumberOfBackupsCountForFilesThatComeLater) {
  options.file_bytes = text_of("1").size();
  options.backups = 2;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  start();
  for (const char* message : {"1", "2", "3"}) {
    write(message);
  }
  EXPECT_EQ(written(), "");
  EXPECT_EQ(backup(0), text_of("3"));
  EXPECT_EQ(backup(1), text_of("2"));
  EXPECT_FALSE(std::filesystem::exists(path + ".bak.2"));
}

TEST_F(LogOptionsTest, SizeAndNumberOfBackupsCountForTheFileThatIsOpen) {
  start();
  options.file_bytes = text_of("1").size() + 1;
  options.backups = 0;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  write("1");
  EXPECT_EQ(written(), text_of("1"));
  write("2");
  EXPECT_EQ(written(), "");
  EXPECT_FALSE(std::filesystem::exists(path + ".bak.0"));
}

TEST_F(LogOptionsTest, StayOverInitAndRelease) {
  options.file_bytes = 1;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  start();
  log.release();
  start();
  write("x");
  EXPECT_EQ(backup(0), text_of("x"));
}

TEST_F(LogOptionsTest, AForkedChildKeepsThem) {
  options.queue_bytes = 30;
  options.when_full = LogOptions::kDropNew;
  options.file_bytes = 1000;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  IFWBase::instance();  // watches forks
  const pid_t child = ::fork();
  if (child == 0) {
    log.asynch(true);
    const LogOptions others;
    bool kept = log.options(others) == ec::LOG_BAD_PARAM;
    log.asynch(false);
    log.file(path.c_str());
    write(std::string(2000, 'x'));
    kept = kept && std::filesystem::exists(path + ".bak.0");
    // Its own queue drops what is too much.
    kept = kept && ec::succeeded(log.init()) && ec::succeeded(log.file(path.c_str()));
    log.asynch(true);
    for (int i = 0; i < 10000; ++i) {
      write("x");
    }
    log.release();
    kept = kept && std::filesystem::file_size(path) < 10000 * text_of("x").size();
    ::_exit(kept ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(LogOptionsTest, OneRecordSaysHowManyWereDroppedAndStandsWhereTheyAreMissing) {
  options.queue_bytes = 50;
  options.when_full = LogOptions::kDropNew;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  log.asynch(true);  // without a writer, until release()
  for (const char* message : {"1", "22222222222222222222222222222", "dropped", "dropped"}) {
    write(message);
  }
  IRunLog::ms_type_sign = 0;
  log.release();
  const std::string text = written();
  const std::string before = text_of("1") + text_of("22222222222222222222222222222");
  ASSERT_EQ(text.substr(0, before.size()), before);
  const std::string report = std::string("\r\n >") + GBK("队列已满,丢弃了2条记录") + "\n";
  const std::size_t at = text.find(report);
  ASSERT_NE(at, std::string::npos);
  EXPECT_TRUE(text.substr(before.size()).starts_with("[ERROR]: this(0x"));
  EXPECT_EQ(text.substr(at + report.size()), "[DEBUG]: \r\n >\nlog system release\n\n");
}

TEST_F(LogOptionsTest, TheReportComesEvenIfNothingIsLoggedAnyMore) {
  const std::string fifo = dir.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::string text;
  const std::string last = std::string(GBK("条记录")) + "\n";
  std::thread reader([&] {
    std::ifstream in(fifo, std::ios::binary);
    for (char byte; !text.ends_with(last) && in.get(byte);) {
      text += byte;
    }
  });
  options.when_full = LogOptions::kDropNew;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  ASSERT_EQ(log.init(), ec::LOG_OK);
  ASSERT_EQ(log.file(fifo.c_str()), ec::LOG_OK);
  log.asynch(true);
  for (int i = 0; i < 100000; ++i) {
    write(std::string(100, 'x'));
  }
  reader.join();  // reads until the report has come
  EXPECT_NE(text.find(GBK("队列已满,丢弃了")), std::string::npos);
}
