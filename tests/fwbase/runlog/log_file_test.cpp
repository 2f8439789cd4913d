#include "fwbase/runlog/log_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/harness/file_size_limit.h"
#include "tests/harness/temp_dir.h"

using namespace fwbase;
using namespace fwbase::test;

namespace {

std::string text_of(const std::string& message) { return "[ERROR]: \r\n >" + message + "\n"; }

class LogFileTest : public testing::Test {
 protected:
  LogFile::Appended append(const std::vector<std::string>& messages) {
    RecordTexts texts;
    for (const std::string& message : messages) {
      texts.add({IRunLog::ERROR, message.c_str(), "", {}});
    }
    return file.append(texts, 0, texts.count());
  }
  bool append(const char* message) { return append(std::vector<std::string>{message}).written; }

  TempDir dir;
  const std::string path = dir.path("log");
  LogFile file;
};

}  // namespace

TEST_F(LogFileTest, AppendsToWhatIsThere) {
  write_file(path, "old ");
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_TRUE(append("new"));
  EXPECT_EQ(read_file(path), "old " + text_of("new"));
  EXPECT_EQ(file.position(), static_cast<std::int64_t>(4 + text_of("new").size()));
}

TEST_F(LogFileTest, AnotherFileTakesItsPlaceOnlyWhenThatIsOpen) {
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_FALSE(file.open(dir.path("no/log").c_str()));
  EXPECT_TRUE(append("still the first"));
  EXPECT_TRUE(file.open(dir.path("second").c_str()));
  EXPECT_EQ(file.counted_position(), -1);
  EXPECT_TRUE(append("second"));
  EXPECT_EQ(read_file(path), text_of("still the first"));
  EXPECT_EQ(read_file(dir.path("second")), text_of("second"));
}

TEST_F(LogFileTest, OpensARegularFileOnlyWithoutWaiting) {
  ASSERT_TRUE(file.open_regular(path.c_str()));
  EXPECT_TRUE(append("first"));
  ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0600), 0);
  EXPECT_FALSE(file.open_regular(dir.path("fifo").c_str()));
  EXPECT_FALSE(file.open_regular("/dev/full"));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_TRUE(append("second"));
  EXPECT_EQ(read_file(path), text_of("first") + text_of("second"));
}

TEST_F(LogFileTest, CountsThePositionFromTheFirstRecordOn) {
  write_file(path, "old ");
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_EQ(file.counted_position(), -1);
  std::int64_t expected = 4;
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(append("x"));
    expected += static_cast<std::int64_t>(text_of("x").size());
    EXPECT_EQ(file.counted_position(), expected);
  }
  EXPECT_EQ(file.position(), expected);
}

TEST_F(LogFileTest, WritesSomeOfManyRecords) {
  RecordTexts texts;
  for (const char* message : {"0", "1", "2", "3"}) {
    texts.add({IRunLog::ERROR, message, "", {}});
  }
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_EQ(file.append(texts, 1, 2).count, 2u);
  EXPECT_EQ(read_file(path), text_of("1") + text_of("2"));
}

TEST_F(LogFileTest, OfManyRecordsOnlyTheOneThatFailsIsTakenBack) {
  ASSERT_TRUE(file.open(path.c_str()));
  LogFile::Appended appended;
  {
    const FileSizeLimit limit(2 * text_of("1").size() + 5);
    appended = append({"1", "2", "3", "4"});
    EXPECT_EQ(errno, EFBIG);
  }
  EXPECT_EQ(appended.count, 3u);
  EXPECT_FALSE(appended.written);
  EXPECT_EQ(read_file(path), text_of("1") + text_of("2"));
  EXPECT_EQ(file.counted_position(), static_cast<std::int64_t>(2 * text_of("1").size()));
}

TEST_F(LogFileTest, WhatCannotBeOpenedIsRefused) {
  EXPECT_FALSE(file.open(dir.path().c_str()));
  EXPECT_FALSE(file.open(dir.path("no/log").c_str()));
  EXPECT_FALSE(file.open(""));
}

TEST_F(LogFileTest, ChildProcessesDoNotInheritIt) {
  const int next_descriptor = ::dup(0);
  ::close(next_descriptor);
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_EQ(::fcntl(next_descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(LogFileTest, AnotherProcessMayTruncateTheFile) {
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_TRUE(append("before"));
  std::filesystem::resize_file(path, 0);
  EXPECT_TRUE(append("after"));
  EXPECT_EQ(read_file(path), text_of("after"));
  EXPECT_EQ(file.position(), static_cast<std::int64_t>(text_of("after").size()));
}

TEST_F(LogFileTest, ARecordThatDoesNotFitIsTakenBackWhole) {
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_TRUE(append("12345"));
  {
    const FileSizeLimit limit(text_of("12345").size() + text_of("6").size());
    EXPECT_FALSE(append("half"));
    EXPECT_EQ(read_file(path), text_of("12345"));
    EXPECT_TRUE(append("6"));
    EXPECT_FALSE(append("7"));
  }
  EXPECT_TRUE(append("8"));
  EXPECT_EQ(read_file(path), text_of("12345") + text_of("6") + text_of("8"));
}

TEST_F(LogFileTest, AFifoHasNoPosition) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_TRUE(append("record"));
  EXPECT_EQ(file.position(), -1);
  char buffer[64];
  EXPECT_EQ(::read(reader, buffer, sizeof buffer), static_cast<ssize_t>(text_of("record").size()));
  ::close(reader);
}

TEST_F(LogFileTest, AFifoWithoutAReaderLosesTheRecordAndRaisesNoSignal) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_TRUE(file.open(path.c_str()));
  ::close(reader);
  sigset_t before, after;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &before);
  EXPECT_FALSE(append("lost"));  // a SIGPIPE would end this process
  EXPECT_EQ(errno, EPIPE);
  ::pthread_sigmask(SIG_BLOCK, nullptr, &after);
  EXPECT_EQ(sigismember(&after, SIGPIPE), sigismember(&before, SIGPIPE));
  sigset_t pending;
  ::sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);

  const int next_reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_TRUE(append("kept"));
  char buffer[64];
  EXPECT_EQ(::read(next_reader, buffer, sizeof buffer),
            static_cast<ssize_t>(text_of("kept").size()));
  ::close(next_reader);
}

TEST_F(LogFileTest, AFullDeviceLosesTheRecord) {
  ASSERT_TRUE(file.open("/dev/full"));
  EXPECT_FALSE(append("record"));
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(LogFileTest, AForkedChildHasAPositionOfItsOwn) {
  ASSERT_TRUE(file.open(path.c_str()));
  EXPECT_TRUE(append("parent"));
  const std::int64_t position = file.position();
  const pid_t child = ::fork();
  if (child == 0) {
    file.part_from_parent();
    ::_exit(append("child") && file.position() == 2 * position - 1 ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(file.position(), position);
  EXPECT_EQ(read_file(path), text_of("parent") + text_of("child"));
}

TEST_F(LogFileTest, ALimitOfTheSizeRaisesNoSignal) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_DFL);
    const rlimit limit = {text_of("fits").size(), RLIM_INFINITY};
    const bool good = ::setrlimit(RLIMIT_FSIZE, &limit) == 0 && file.open(path.c_str()) &&
                      append("fits") && !append("lost") && errno == EFBIG;
    ::_exit(good ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(read_file(path), text_of("fits"));
}
