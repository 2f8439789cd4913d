#include "fwbase/runlog/log_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/support/file_size_limit.h"
#include "tests/support/temp_dir.h"

using fwbase::LogFile;
using namespace fwbase::test;

namespace {

class LogFileTest : public testing::Test {
 protected:
  TempDir dir;
  const std::string path = dir.path("log");
  LogFile file;
};

}  // namespace

TEST_F(LogFileTest, KeepsOrDiscardsTheContent) {
  write_file(path, "old ");
  ASSERT_TRUE(file.open(path.c_str(), LogFile::Content::kKeep));
  EXPECT_TRUE(file.append("new"));
  EXPECT_EQ(read_file(path), "old new");
  EXPECT_EQ(file.position(), 7);
  ASSERT_TRUE(file.open(path.c_str(), LogFile::Content::kDiscard));
  EXPECT_TRUE(file.append("newer"));
  EXPECT_EQ(read_file(path), "newer");
  EXPECT_EQ(file.position(), 5);
}

TEST_F(LogFileTest, WhatCannotBeOpenedIsRefused) {
  EXPECT_FALSE(file.open(dir.path().c_str(), LogFile::Content::kKeep));
  EXPECT_FALSE(file.open(dir.path("no/log").c_str(), LogFile::Content::kKeep));
  EXPECT_FALSE(file.open("", LogFile::Content::kKeep));
}

TEST_F(LogFileTest, ChildProcessesDoNotInheritIt) {
  const int next_descriptor = ::dup(0);
  ::close(next_descriptor);
  ASSERT_TRUE(file.open(path.c_str(), LogFile::Content::kKeep));
  EXPECT_EQ(::fcntl(next_descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(LogFileTest, AnotherProcessMayTruncateTheFile) {
  ASSERT_TRUE(file.open(path.c_str(), LogFile::Content::kKeep));
  EXPECT_TRUE(file.append("before"));
  std::filesystem::resize_file(path, 0);
  EXPECT_TRUE(file.append("after"));
  EXPECT_EQ(read_file(path), "after");
  EXPECT_EQ(file.position(), 5);
}

TEST_F(LogFileTest, ARecordThatDoesNotFitIsTakenBackWhole) {
  ASSERT_TRUE(file.open(path.c_str(), LogFile::Content::kKeep));
  EXPECT_TRUE(file.append("12345\n"));
  {
    const FileSizeLimit limit(8);
    EXPECT_FALSE(file.append("half\n"));
    EXPECT_EQ(read_file(path), "12345\n");
    EXPECT_TRUE(file.append("6\n"));
    EXPECT_FALSE(file.append("7\n"));
  }
  EXPECT_TRUE(file.append("8\n"));
  EXPECT_EQ(read_file(path), "12345\n6\n8\n");
}

TEST_F(LogFileTest, AFifoHasNoPosition) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_TRUE(file.open(path.c_str(), LogFile::Content::kKeep));
  EXPECT_TRUE(file.append("record\n"));
  EXPECT_EQ(file.position(), -1);
  char buffer[16];
  EXPECT_EQ(::read(reader, buffer, sizeof buffer), 7);
  ::close(reader);
}

TEST_F(LogFileTest, AFifoWithoutAReaderLosesTheRecordAndRaisesNoSignal) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_TRUE(file.open(path.c_str(), LogFile::Content::kKeep));
  ::close(reader);
  sigset_t before, after;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &before);
  EXPECT_FALSE(file.append("lost\n"));  // a SIGPIPE would end this process
  EXPECT_EQ(errno, EPIPE);
  ::pthread_sigmask(SIG_BLOCK, nullptr, &after);
  EXPECT_EQ(sigismember(&after, SIGPIPE), sigismember(&before, SIGPIPE));
  sigset_t pending;
  ::sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);

  const int next_reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_TRUE(file.append("kept\n"));
  char buffer[16];
  EXPECT_EQ(::read(next_reader, buffer, sizeof buffer), 5);
  ::close(next_reader);
}

TEST_F(LogFileTest, AFullDeviceLosesTheRecord) {
  ASSERT_TRUE(file.open("/dev/full", LogFile::Content::kKeep));
  EXPECT_FALSE(file.append("record\n"));
  EXPECT_EQ(errno, ENOSPC);
}
