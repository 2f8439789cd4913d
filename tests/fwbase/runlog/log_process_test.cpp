#include "fwbase/runlog/log_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <list>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "fwbase/runlog/gbk.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/file_size_limit.h"
#include "tests/harness/no_descriptors.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/watched_thread.h"

using namespace fwbase;
using namespace fwbase::test;

namespace {

constexpr std::size_t kLimit = 10485760;  // 10 MiB
constexpr std::size_t kRetry = 65536;

constexpr char kClosing[] = "[DEBUG]: \r\n >\nlog system release\n\n";

std::string text_of(const std::string& message) { return "[ERROR]: \r\n >" + message + "\n"; }

class LogProcess : public testing::Test {
 protected:
  ~LogProcess() override { log.release(); }

  void write(const std::string& message) { log.write(IRunLog::ERROR, message.c_str(), nullptr); }
  void start(bool queued) {
    ASSERT_EQ(log.init(), ec::LOG_OK);
    ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
    log.asynch(queued);
  }
  std::string written() const { return read_file(path); }
  bool backup_exists() const { return std::filesystem::exists(path + ".bak.0"); }

  TempDir dir;
  const std::string path = dir.path("log");
  CLogProcess log;
};

template <typename Condition>
void wait_until(Condition condition) {
  while (!condition()) {
    std::this_thread::yield();
  }
}

// How many descriptors of this process refer to a file.
int open_count(const std::string& path) {
  int count = 0;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    count += std::filesystem::read_symlink(entry.path(), ignored) == path ? 1 : 0;
  }
  return count;
}

// The threads of this process.
std::set<std::string> threads() {
  // With the first thread, the thread sanitizer begins one of its own.
  static const bool sanitizers_is_there = (std::thread([] {}).join(), true);
  EXPECT_TRUE(sanitizers_is_there);
  std::set<std::string> ids;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    ids.insert(entry.path().filename());
  }
  return ids;
}

// The signals that a thread blocks; bit 0 is signal 1.
std::uint64_t blocked_signals(const std::string& thread) {
  const std::string status = read_file("/proc/self/task/" + thread + "/status");
  const std::size_t at = status.find("SigBlk:");
  return at != std::string::npos ? std::stoull(status.substr(at + 7), nullptr, 16) : 0;
}

// While it lives, no thread can be started: there is no room for a stack of the default size.
class NoThreads {
 public:
  NoThreads() {
    ::pthread_getattr_default_np(&m_before);
    pthread_attr_t huge = m_before;
    ::pthread_attr_setstacksize(&huge, std::size_t{1} << 47);
    ::pthread_setattr_default_np(&huge);
  }
  ~NoThreads() { ::pthread_setattr_default_np(&m_before); }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t m_before;
};

// A FIFO that the test reads when it likes: what writes into it blocks after 64 KiB.
class Fifo {
 public:
  explicit Fifo(const std::string& path) {
    ::mkfifo(path.c_str(), 0600);
    m_reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ::fcntl(m_reader, F_SETFL, 0);
  }
  ~Fifo() { ::close(m_reader); }

  // What was written and not read yet.
  int bytes() const {
    int count = 0;
    ::ioctl(m_reader, FIONREAD, &count);
    return count;
  }

  // Reads until the text read ends with `end`.
  std::string read_until(const std::string& end) {
    std::string text;
    char buffer[4096];
    while (text.size() < end.size() ||
           text.compare(text.size() - end.size(), end.size(), end) != 0) {
      const ssize_t count = ::read(m_reader, buffer, sizeof buffer);
      if (count <= 0) {
        return text + "(end)";
      }
      text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  int m_reader;
};

class Standard : public LogProcess {
 protected:
  void SetUp() override { testing::internal::CaptureStdout(); }
  std::string output() { return testing::internal::GetCapturedStdout(); }
};

}  // namespace

// --- Before and without a file ---

TEST_F(Standard, NothingIsWrittenBeforeAFileIsOpen) {
  write("constructed");
  EXPECT_EQ(log.init(), ec::LOG_OK);
  write("initialised");
  log.release();
  write("released");
  EXPECT_EQ(output(), "");
}

TEST_F(Standard, AfterASecondInitRecordsGoToStandardOutput) {
  start(false);
  write("file");
  log.release();
  ASSERT_EQ(log.init(), ec::LOG_OK);
  write("direct");
  log.asynch(true);
  write("queued");
  log.release();
  EXPECT_EQ(written(), text_of("file") + kClosing);
  EXPECT_EQ(output(), text_of("direct") + text_of("queued") + kClosing);
}

TEST_F(Standard, StandardOutputIsNeitherClosedNorRotated) {
  start(false);
  log.release();
  ASSERT_EQ(log.init(), ec::LOG_OK);
  const std::string message(1 << 20, 'x');
  for (int i = 0; i < 11; ++i) {
    write(message);
  }
  log.release();
  write("after release");
  EXPECT_FALSE(backup_exists());
  EXPECT_EQ(written(), kClosing);
  const std::string out = output();
  EXPECT_GT(out.size(), 11u << 20);
  EXPECT_TRUE(out.ends_with(kClosing + text_of("after release")));
}

TEST_F(Standard, AFailureOfStandardOutputLosesOneRecord) {
  start(false);
  log.release();
  ASSERT_EQ(log.init(), ec::LOG_OK);
  for (const auto exceptions : {std::ios_base::goodbit, std::ios_base::badbit}) {
    std::cout.setstate(std::ios_base::badbit);
    try {
      std::cout.exceptions(exceptions);
    } catch (const std::ios_base::failure&) {
    }
    write("lost");
    write("kept");
  }
  std::cout.exceptions(std::ios_base::goodbit);
  EXPECT_EQ(output(), text_of("kept") + text_of("kept"));
}

// --- file() ---

TEST_F(LogProcess, FileResultsAndWhatStaysUnchanged) {
  start(false);
  EXPECT_EQ(log.file(nullptr), ec::LOG_BAD_PARAM);
  EXPECT_EQ(log.file(""), ec::LOG_OPEN_FAILED);
  EXPECT_EQ(log.file(dir.path().c_str()), ec::LOG_OPEN_FAILED);
  EXPECT_EQ(log.file(dir.path("no/log").c_str()), ec::LOG_OPEN_FAILED);
  write("still the first file");
  EXPECT_EQ(written(), text_of("still the first file"));
}

TEST_F(LogProcess, FileWithoutMemoryChangesNothing) {
  start(false);
  const std::string other = dir.path(std::string(100, 'o'));
  std::string expected;
  for (int n = 1;; ++n) {
    ec::EC result;
    bool failed;
    {
      const FailingNew memory(n, FailingNew::ANY);
      result = log.file(other.c_str());
      failed = memory.has_failed();
    }
    if (!failed) {
      EXPECT_EQ(result, ec::LOG_OK);
      EXPECT_GT(n, 1);
      break;
    }
    EXPECT_EQ(result, ec::LOG_NO_MEMORY) << n;
    EXPECT_EQ(open_count(other), 0);
    write("x");
    expected += text_of("x");
  }
  EXPECT_EQ(written(), expected);
}

TEST_F(LogProcess, AppendsToWhatTheFileHolds) {
  write_file(path, "old\n");
  start(false);
  write("new");
  EXPECT_EQ(written(), "old\n" + text_of("new"));
}

TEST_F(LogProcess, ASecondFileClosesTheFirst) {
  start(false);
  write("first");
  const std::string second = dir.path("second");
  EXPECT_EQ(log.file(second.c_str()), ec::LOG_OK);
  write("second");
  EXPECT_EQ(written(), text_of("first"));
  EXPECT_EQ(read_file(second), text_of("second"));
  EXPECT_EQ(open_count(path), 0);
  log.release();
  EXPECT_EQ(open_count(second), 0);
}

TEST_F(LogProcess, AnyNumberOfFilesTakeOneDescriptor) {
  start(false);
  const auto descriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = descriptors();
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(log.file(dir.path(std::to_string(i)).c_str()), ec::LOG_OK);
  }
  EXPECT_EQ(descriptors(), before);
}

TEST_F(LogProcess, FileWorksBeforeInit) {
  EXPECT_EQ(log.file(path.c_str()), ec::LOG_OK);
  write("x");
  EXPECT_EQ(written(), text_of("x"));
}

// --- Records ---

TEST_F(LogProcess, WritesLevelLocationAndMessage) {
  start(false);
  log.write(IRunLog::WARN, "message", "location");
  log.write(static_cast<IRunLog::Type>(3), "message", "location");
  EXPECT_EQ(written(), "[WARN ]: location\r\n >message\n[NULL ]: location\r\n >message\n");
}

TEST_F(LogProcess, ANullMessageWritesNothingAndANullLocationIsEmpty) {
  start(false);
  log.write(IRunLog::ERROR, nullptr, "location");
  EXPECT_EQ(written(), "");
  log.write(IRunLog::ERROR, "message", nullptr);
  EXPECT_EQ(written(), "[ERROR]: \r\n >message\n");
}

TEST_F(LogProcess, WriteDoesNotLookAtTheLevelMask) {
  start(false);
  EXPECT_EQ(IRunLog::ms_type_sign, 0u);
  write("x");
  EXPECT_EQ(written(), text_of("x"));
}

TEST_F(LogProcess, PidAndTidAreBothTheProcessId) {
  start(false);
  log.info(IRunLog::INFO_PID | IRunLog::INFO_TID);
  const std::string pid = std::to_string(::getpid());
  std::thread([this] { write("x"); }).join();
  EXPECT_EQ(written(), "[ERROR]: pid:" + pid + " tid:" + pid + " \r\n >x\n");
}

TEST_F(LogProcess, OtherFlagBitsHaveNoEffect) {
  start(false);
  log.info(~static_cast<unsigned int>(IRunLog::INFO_TIME | IRunLog::INFO_PID | IRunLog::INFO_TID));
  write("x");
  EXPECT_EQ(written(), text_of("x"));
}

TEST_F(LogProcess, TheTimeIsThatOfTheCall) {
  start(false);
  log.info(IRunLog::INFO_TIME);
  for (const bool queued : {false, true}) {
    log.asynch(queued);
    const std::time_t before = std::time(nullptr);
    write("x");
    const std::time_t after = std::time(nullptr);
    log.release();
    std::vector<std::string> candidates;
    for (std::time_t time = before; time <= after; ++time) {
      candidates.push_back("[ERROR]: " + std::string(std::ctime(&time), 24) + " \r\n >x\n");
    }
    const std::string first_record = written().substr(0, candidates[0].size());
    EXPECT_NE(std::find(candidates.begin(), candidates.end(), first_record), candidates.end())
        << first_record;
    std::filesystem::remove(path);
    start(false);
    log.info(IRunLog::INFO_TIME);
  }
}

TEST_F(LogProcess, EveryRecordIsInTheFileWhenWriteReturns) {
  start(false);
  std::string expected;
  for (int i = 0; i < 100; ++i) {
    write(std::to_string(i));
    expected += text_of(std::to_string(i));
    ASSERT_EQ(written(), expected);
  }
}

TEST_F(LogProcess, AFormattedRecordTakesNoAllocation) {
  start(false);
  const std::string message(1022, 'x');
  bool failed;
  {
    const FailingNew memory(1, FailingNew::ANY);
    log.write(IRunLog::ERROR, message.c_str(), message.c_str());
    failed = memory.has_failed();
  }
  EXPECT_FALSE(failed);
  EXPECT_EQ(written(), "[ERROR]: " + message + "\r\n >" + message + "\n");
}

TEST_F(LogProcess, WithoutMemoryALongRecordIsDroppedWithEnomem) {
  start(false);
  const std::string message(5000, 'x');
  for (int n = 1;; ++n) {
    bool failed;
    {
      const FailingNew memory(n, FailingNew::ANY);
      errno = 0;
      log.write(IRunLog::ERROR, message.c_str(), "");
      failed = memory.has_failed();
      EXPECT_EQ(errno, failed ? ENOMEM : 0);
    }
    EXPECT_EQ(written(), failed ? "" : text_of(message));
    if (!failed) {
      EXPECT_GT(n, 1);
      break;
    }
  }
}

// --- Settings and rounds ---

TEST_F(LogProcess, InitResetsTheSettings) {
  start(true);
  log.type(0xFF);
  log.info(IRunLog::INFO_PID);
  EXPECT_EQ(IRunLog::ms_type_sign, 0xFFu);
  log.release();
  EXPECT_EQ(IRunLog::ms_type_sign, 0u);
  log.type(0xFF);
  ASSERT_EQ(log.init(), ec::LOG_OK);
  EXPECT_EQ(IRunLog::ms_type_sign, 0u);
  std::ostringstream standard_output;
  std::streambuf* const screen = std::cout.rdbuf(standard_output.rdbuf());
  write("before file()");  // direct, and without a number
  std::cout.rdbuf(screen);
  EXPECT_EQ(standard_output.str(), text_of("before file()"));
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  std::filesystem::resize_file(path, 0);
  write("x");  // direct: in the file at once
  EXPECT_EQ(written(), text_of("x"));
}

TEST_F(LogProcess, ReleaseWritesTheClosingRecordWhateverTheMask) {
  start(false);
  log.info(IRunLog::INFO_PID);
  log.release();
  EXPECT_EQ(written(),
            "[DEBUG]: pid:" + std::to_string(::getpid()) + " \r\n >\nlog system release\n\n");
  EXPECT_EQ(open_count(path), 0);
}

TEST_F(LogProcess, ASecondReleaseWritesNothing) {
  start(true);
  log.release();
  log.release();
  write("x");
  EXPECT_EQ(written(), kClosing);
  start(true);  // "x" is not queued either
  log.release();
  EXPECT_EQ(written(), std::string(kClosing) + kClosing);
}

TEST_F(LogProcess, ReleaseWithoutInitWritesTheClosingRecord) {
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  log.release();
  EXPECT_EQ(written(), kClosing);
}

TEST_F(LogProcess, AnyNumberOfRounds) {
  std::string expected;
  for (int round = 0; round < 20; ++round) {
    start(round % 2 == 0);
    write(std::to_string(round));
    log.release();
    if (round % 3 == 0) {
      log.release();
    }
    expected += text_of(std::to_string(round)) + kClosing;
  }
  EXPECT_EQ(written(), expected);
}

TEST_F(LogProcess, ASecondInitWritesWhatIsQueuedAndKeepsOneWriter) {
  start(true);
  const std::size_t count = threads().size();
  std::string expected;
  for (int i = 0; i < 500; ++i) {
    write(std::to_string(i));
    expected += text_of(std::to_string(i));
  }
  ASSERT_EQ(log.init(), ec::LOG_OK);
  EXPECT_EQ(threads().size(), count);
  EXPECT_EQ(written(), expected);
  EXPECT_EQ(open_count(path), 0);
}

TEST_F(LogProcess, AWriterThatDoesNotStartFailsInitAndRecordsAreWrittenDirectly) {
  {
    const NoThreads none;
    EXPECT_EQ(log.init(), ec::LOG_THREAD_FAILED);
  }
  EXPECT_EQ(log.file(path.c_str()), ec::LOG_OK);
  write("x");
  EXPECT_EQ(written(), text_of("x"));
  log.release();
  EXPECT_EQ(written(), text_of("x") + kClosing);
}

TEST_F(LogProcess, TheWriterIsOneThreadThatTakesNoSignalsAndIsWaitedFor) {
  const auto bit = [](int signal) { return std::uint64_t{1} << (signal - 1); };
  const std::set<std::string> before = threads();
  const std::uint64_t own_signals = blocked_signals("self");
  start(true);
  write("x");
  wait_until([&] { return !written().empty(); });  // it runs
  std::set<std::string> begun;
  for (const std::string& thread : threads()) {
    if (before.count(thread) == 0) {
      begun.insert(thread);
    }
  }
  ASSERT_EQ(begun.size(), 1u);
  const std::uint64_t blocked = blocked_signals(*begun.begin());
  EXPECT_NE(blocked & bit(SIGTERM), 0u);
  EXPECT_NE(blocked & bit(SIGUSR1), 0u);
  EXPECT_EQ(blocked & bit(SIGSEGV), 0u);  // a fault of its own
  EXPECT_EQ(blocked_signals("self"), own_signals);
  log.release();
  EXPECT_EQ(threads().count(*begun.begin()), 0u);
}

// --- Queued mode ---

TEST_F(LogProcess, QueuedRecordsAppearInQueueOrderAndBeforeTheClosingRecord) {
  start(true);
  std::string expected;
  for (int i = 0; i < 2000; ++i) {
    write(std::to_string(i));
    expected += text_of(std::to_string(i));
  }
  log.release();
  EXPECT_EQ(written(), expected + kClosing);
}

TEST_F(LogProcess, ARecordLargerThanTheQueueIsWritten) {
  start(true);
  const std::string large(100000, 'x');
  write(large);
  write(large);
  log.release();
  EXPECT_EQ(written(), text_of(large) + text_of(large) + kClosing);
}

TEST_F(LogProcess, TheTimeFlagOfTheWritingMomentDecidesWhetherATimeIsRead) {
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  log.asynch(true);
  log.info(IRunLog::INFO_TIME);
  write("stored, not read");
  log.info(0);
  log.finish();
  EXPECT_EQ(written(), text_of("stored, not read"));
}

TEST_F(LogProcess, ATimeThatWasNotStoredReadsAsTheUnusedRoomOfTheRecord) {
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  log.asynch(true);

  write("read, not stored");
  log.info(IRunLog::INFO_TIME);
  log.finish();
  const std::time_t nothing = 0;
  EXPECT_EQ(written(),
            "[ERROR]: " + std::string(std::ctime(&nothing), 24) + " \r\n >read, not stored\n");
}

TEST_F(LogProcess, WithoutMemoryAQueuedRecordIsDroppedWithEnomem) {
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  log.asynch(true);
  {
    const FailingNew memory(1, FailingNew::ANY);
    errno = 0;
    write("dropped");
    EXPECT_TRUE(memory.has_failed());
    EXPECT_EQ(errno, ENOMEM);
  }
  write("kept");
  log.finish();
  EXPECT_EQ(written(), text_of("kept"));
}

TEST_F(LogProcess, WithoutMemoryForAllTextsQueuedRecordsAreWrittenOneByOne) {
  std::string expected;
  for (int n = 1;; ++n) {
    start(false);
    log.finish();  // no writer thread: release() writes
    CLogProcess without_writer;
    ASSERT_EQ(without_writer.file(path.c_str()), ec::LOG_OK);
    without_writer.asynch(true);
    std::string all;
    for (int i = 0; i < 5; ++i) {
      without_writer.write(IRunLog::ERROR, std::to_string(i).c_str(), "");
      all += text_of(std::to_string(i));
    }
    bool failed;
    {
      const FailingNew memory(n, FailingNew::ANY);
      without_writer.finish();
      failed = memory.has_failed();
    }
    expected += all;
    ASSERT_EQ(written(), expected) << n;
    if (!failed) {
      EXPECT_GT(n, 2);
      break;
    }
  }
}

// --- Blocked producers ---

TEST_F(LogProcess, WithoutAWriterRecordsPileUpAndCallersBlockUntilReleaseWritesThem) {
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  log.asynch(true);
  const std::string message(1000, 'x');
  int returned = 0;
  {
    const WatchedThread producer([&] {
      for (int i = 0; i < 100; ++i, ++returned) {
        write(message);
      }
    });
    producer.wait_until_it_waits();
    EXPECT_EQ(written(), "");
    log.release();
  }
  EXPECT_EQ(returned, 100);
  const int piled_up = 17;  // of 1,022 bytes each: the last one when there were 16,352
  std::string expected;
  for (int i = 0; i < piled_up + 1; ++i) {  // and the one that waited
    expected += text_of(message);
  }
  EXPECT_EQ(written(), expected + kClosing);
}

TEST_F(LogProcess, ReleaseWritesTheRecordsOfProducersThatTheFullQueueBlocks) {
  Fifo fifo(path);
  start(true);
  const std::string message(70000, 'x');  // more than the FIFO takes, and than the queue
  write(message);
  wait_until([&] { return fifo.bytes() > 0; });  // the writer has it
  write(message);
  std::list<WatchedThread> producers;
  for (int i = 0; i < 3; ++i) {
    producers.emplace_back([&] { write(message); }).wait_until_it_waits();
  }
  const WatchedThread releaser([&] { log.release(); });
  std::string expected;
  for (int i = 0; i < 5; ++i) {
    expected += text_of(message);
  }
  EXPECT_EQ(fifo.read_until(kClosing), expected + kClosing);
}

TEST_F(LogProcess, ReleaseWritesTheRecordsOfThreadsThatWaitForTheOutput) {
  Fifo fifo(path);
  start(false);
  const std::string message(70000, 'x');  // more than the FIFO takes
  std::list<WatchedThread> writers;
  for (int i = 0; i < 4; ++i) {
    writers.emplace_back([&] { write(message); }).wait_until_it_waits();
  }
  const WatchedThread releaser([&] { log.release(); });
  const std::string record = text_of(message);
  EXPECT_EQ(fifo.read_until(kClosing), record + record + record + record + kClosing);
}

TEST_F(LogProcess, ARecordThatComesDuringReleaseWaitsAndIsNotWritten) {
  Fifo fifo(path);
  start(false);
  const std::string message(70000, 'x');
  const WatchedThread writer([&] { write(message); });
  writer.wait_until_it_waits();
  const WatchedThread releaser([&] { log.release(); });
  releaser.wait_until_it_waits();
  const WatchedThread late([&] { write("late"); });
  late.wait_until_it_waits();
  EXPECT_EQ(fifo.read_until(kClosing), text_of(message) + kClosing);
}

TEST_F(LogProcess, ReleaseWakesProducersThatWaitForASlowReader) {
  Fifo fifo(path);
  start(true);
  const std::string message(1000, 'x');
  std::vector<std::thread> producers;
  for (int t = 0; t < 4; ++t) {
    producers.emplace_back([&] {
      for (int i = 0; i < 100; ++i) {
        write(message);
      }
    });
  }
  wait_until([&] { return fifo.bytes() > 60000; });
  std::thread releaser([&] { log.release(); });
  const std::string text = fifo.read_until(kClosing);
  releaser.join();
  for (std::thread& producer : producers) {
    producer.join();
  }
  // Whole records only, and the closing one last.
  const std::size_t size = text_of(message).size();
  const std::size_t records = (text.size() - std::strlen(kClosing)) / size;
  EXPECT_GE(records, 16u);
  std::string expected;
  for (std::size_t i = 0; i < records; ++i) {
    expected += text_of(message);
  }
  EXPECT_EQ(text, expected + kClosing);
}

// --- Rotation ---

TEST_F(LogProcess, TheFileIsRotatedWhenItReaches10MiB) {
  const std::string record = text_of("x");
  write_file(path, "");
  std::filesystem::resize_file(path, kLimit - 1 - record.size());
  start(false);
  write("x");
  EXPECT_EQ(std::filesystem::file_size(path), kLimit - 1);
  EXPECT_FALSE(backup_exists());
  write("y");
  EXPECT_EQ(std::filesystem::file_size(path), 0u);
  EXPECT_EQ(std::filesystem::file_size(path + ".bak.0"), kLimit - 1 + record.size());
  write("z");
  EXPECT_EQ(written(), text_of("z"));
}

TEST_F(LogProcess, ExactlyTenMiBAreRotated) {
  write_file(path, "");
  std::filesystem::resize_file(path, 10485760 - text_of("x").size());
  start(false);
  write("x");
  EXPECT_EQ(std::filesystem::file_size(path + ".bak.0"), 10485760u);
}

TEST_F(LogProcess, QueuedRecordsAreRotatedToo) {
  start(true);
  const std::string message(1 << 20, 'x');
  for (int i = 0; i < 25; ++i) {
    write(message);
  }
  log.release();
  EXPECT_EQ(std::filesystem::file_size(path + ".bak.1"), 10 * text_of(message).size());
  EXPECT_EQ(std::filesystem::file_size(path + ".bak.0"), 10 * text_of(message).size());
  EXPECT_EQ(std::filesystem::file_size(path), 5 * text_of(message).size() + std::strlen(kClosing));
}

TEST_F(LogProcess, FiveFilesAtMost) {
  start(false);
  const std::string filler(10485760, 'x');
  for (const char* mark : {"1", "2", "3", "4", "5", "6"}) {
    write(mark + filler);
  }
  write("7");
  const auto mark_of = [](const std::string& file) {
    return read_file(file).substr(text_of("").size() - 1, 1);
  };
  EXPECT_EQ(mark_of(path), "7");
  EXPECT_EQ(mark_of(path + ".bak.0"), "6");
  EXPECT_EQ(mark_of(path + ".bak.1"), "5");
  EXPECT_EQ(mark_of(path + ".bak.2"), "4");
  EXPECT_EQ(mark_of(path + ".bak.3"), "3");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 5);
}

TEST_F(LogProcess, WithoutItsDirectoryTheLogIsSilentUntilFileSucceeds) {
  const std::string folder = dir.path("folder");
  const std::string log_path = folder + "/log";
  std::filesystem::create_directory(folder);
  start(false);
  ASSERT_EQ(log.file(log_path.c_str()), ec::LOG_OK);
  std::filesystem::rename(folder, dir.path("moved"));
  write(std::string(10485760, 'x'));
  write("lost");
  EXPECT_EQ(open_count(dir.path("moved/log")), 0);
  log.asynch(true);
  write("lost too");
  log.asynch(false);
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  write("back");
  EXPECT_EQ(written(), text_of("back"));
}

TEST_F(LogProcess, ARotationNeedsNoMemory) {
  const std::string other = dir.path(std::string(100, 'o'));
  start(false);
  ASSERT_EQ(log.file(other.c_str()), ec::LOG_OK);
  std::filesystem::resize_file(other, kLimit);
  {
    const FailingNew memory(1, FailingNew::ANY);
    write("x");
    EXPECT_FALSE(memory.has_failed());
  }
  EXPECT_EQ(std::filesystem::file_size(other + ".bak.0"), kLimit + text_of("x").size());
  EXPECT_EQ(std::filesystem::file_size(other), 0u);
}

TEST_F(LogProcess, OfSeveralLogsOnOneFileOneRotatesItAndTheOthersFollow) {
  start(false);
  CLogProcess others[3];  // as processes have them
  for (CLogProcess& other : others) {
    ASSERT_EQ(other.file(path.c_str()), ec::LOG_OK);
  }
  const std::string large(10485760, 'x');
  write(large);
  std::string old_file = text_of(large);
  std::string new_file;
  for (CLogProcess& other : others) {
    other.write(IRunLog::ERROR, "into the old file", "");
    other.write(IRunLog::ERROR, "into the new one", "");
    old_file += text_of("into the old file");
    new_file += text_of("into the new one");
  }
  EXPECT_EQ(read_file(path + ".bak.0"), old_file);
  EXPECT_EQ(written(), new_file);
  EXPECT_FALSE(std::filesystem::exists(path + ".bak.1"));
}

TEST_F(LogProcess, TheFirstRecordsAfterFiveRotationsByAnotherProcessAreInTheNewFile) {
  for (const bool queued : {false, true}) {
    start(false);
    write("other");
    CLogProcess idle;
    ASSERT_EQ(idle.init(), ec::LOG_OK);
    ASSERT_EQ(idle.file(path.c_str()), ec::LOG_OK);
    idle.asynch(queued);
    for (int i = 0; i < 5; ++i) {
      write(std::string(kLimit, 'x'));
    }
    write("other");
    idle.write(IRunLog::ERROR, "1", "");
    idle.write(IRunLog::ERROR, "2", "");
    idle.release();
    EXPECT_EQ(written(), text_of("other") + text_of("1") + text_of("2") + kClosing);
    log.release();
    std::filesystem::remove(path);
  }
}

TEST_F(LogProcess, ALockThatTheHostKeepsOnTheFileDoesNotKeepItFromRotation) {
  start(false);
  const int hosts_own = ::open(path.c_str(), O_RDONLY);
  ASSERT_EQ(::flock(hosts_own, LOCK_EX), 0);
  write(std::string(10485760, 'x'));
  EXPECT_TRUE(backup_exists());
  write("new");
  EXPECT_EQ(written(), text_of("new"));
  ::close(hosts_own);
}

TEST_F(LogProcess, ALogFileThatWasRemovedOrMovedAwayIsMadeAnewWhenItIsDue) {
  for (const bool moved : {false, true}) {
    start(false);
    write_file(path + ".bak.0", "older");
    if (moved) {
      std::filesystem::rename(path, path + ".moved");
    } else {
      std::filesystem::remove(path);
    }
    write(std::string(kLimit, 'x'));
    EXPECT_EQ(read_file(path + ".bak.0"), "older");
    write("new");
    EXPECT_EQ(written(), text_of("new"));
    std::filesystem::remove(path);
  }
}

// --- Rotation that fails ---

// The messages of the records about the rotation; all other records are as expected.
class FailingRotation : public LogProcess {
 protected:
  // Just below the size from which on it is due.
  void start_large(bool queued) {
    write_file(path, "");
    std::filesystem::resize_file(path, kLimit - 1);
    start(queued);
  }

  // Takes the records of the rotation out of the text, and gives their messages.
  static std::vector<std::string> take_reports(std::string& text) {
    static const std::regex kReport(
        "\\[ERROR\\]: this\\(0x[0-9a-f]+\\) \\S.* \\S*fwbase/runlog/log_output\\.cpp\\([0-9]+\\) "
        "CT:\\w+ +\\d+ \\d+ [0-9:]+\r\n >(.*)\n");
    std::vector<std::string> messages;
    for (std::smatch report; std::regex_search(text, report, kReport);) {
      messages.push_back(report[1]);
      text.erase(static_cast<std::size_t>(report.position()),
                 static_cast<std::size_t>(report.length()));
    }
    return messages;
  }

  // While it lives, the oldest backup cannot make room.
  class RefusedRename {
   public:
    explicit RefusedRename(const std::string& path)
        : m_oldest(path + ".bak.3"), m_directory(path + ".bak.~") {
      write_file(m_oldest, "");
      std::filesystem::create_directories(m_directory + "/in the way");
    }
    ~RefusedRename() {
      std::filesystem::remove(m_oldest);
      std::filesystem::remove_all(m_directory);
    }
    RefusedRename(const RefusedRename&) = delete;
    RefusedRename& operator=(const RefusedRename&) = delete;

   private:
    const std::string m_oldest;
    const std::string m_directory;
  };

  // What is in a file behind what made it large.
  static std::string tail(const std::string& file) { return read_file(file).substr(kLimit - 1); }
};

#if FWBASE_TEST_CAN_TAKE_ALL_DESCRIPTORS
TEST_F(FailingRotation, WithoutADescriptorTheLogGoesOnSaysSoOnceAndTriesAgain) {
  for (const bool queued : {false, true}) {
    start_large(queued);
    const std::string filler(kRetry / 4, 'x');
    std::string expected;
    {
      const NoDescriptors limit;
      for (int i = 0; i < 20; ++i) {
        write(std::to_string(i) + filler);
        expected += text_of(std::to_string(i) + filler);
      }
      wait_until([&] { return std::filesystem::file_size(path) >= kLimit - 1 + expected.size(); });
      log.asynch(false);
      write("direct");
      expected += text_of("direct");
    }
    EXPECT_FALSE(backup_exists());
    while (!backup_exists()) {
      write(filler);
      expected += text_of(filler);
      ASSERT_LT(expected.size(), 30 * kRetry);
    }
    write("new");
    EXPECT_EQ(written(), text_of("new"));
    std::string text = tail(path + ".bak.0");
    EXPECT_EQ(take_reports(text), std::vector<std::string>{GBK(
                                      "日志文件备份失败,继续写入原文件,稍后重试: error=Too many "
                                      "open files")});
    EXPECT_EQ(text, expected);
    log.release();
    std::filesystem::remove(path);
    std::filesystem::remove(path + ".bak.0");
  }
}
#endif

TEST_F(FailingRotation, EachSpellOfFailuresIsReported) {
  start_large(false);
  std::string all;
  for (int spell = 0; spell < 2; ++spell) {
    {
      const RefusedRename obstacle(path);
      write("x");
    }
    write(std::string(kRetry, 'x'));
    ASSERT_TRUE(backup_exists());
    ASSERT_EQ(written(), "");
    all += tail(path + ".bak.0");
    std::filesystem::resize_file(path, kLimit - 1);
  }
  EXPECT_EQ(take_reports(all).size(), 2u);
}

TEST_F(FailingRotation, ItsReportHasTheDetailsOfARecord) {
  start_large(false);
  log.info(IRunLog::INFO_PID);
  const RefusedRename obstacle(path);
  write("x");
  const std::string pid = "[ERROR]: pid:" + std::to_string(::getpid());
  EXPECT_TRUE(tail(path).starts_with(pid + " \r\n >x\n" + pid + " this(0x"));
}

TEST_F(FailingRotation, OnAFullDiskTheReportIsMadeUpForLater) {
  start_large(false);
  const RefusedRename obstacle(path);
  {
    const FileSizeLimit limit(kLimit - 1 + text_of("fits").size());
    write("fits");
  }
  EXPECT_EQ(tail(path), text_of("fits"));
  write(std::string(kRetry, 'x'));
  write(std::string(kRetry, 'x'));
  std::string text = tail(path);
  EXPECT_EQ(take_reports(text).size(), 1u);
}

TEST_F(FailingRotation, AForeignFileThatHasTheNameIsLeftAloneAndReportedOnce) {
  start_large(false);
  std::filesystem::rename(path, path + ".moved");
  write_file(path, "foreign");
  for (int i = 0; i < 3; ++i) {
    write(std::string(kRetry, 'x'));
  }
  EXPECT_EQ(written(), "foreign");
  EXPECT_FALSE(backup_exists());
  std::string text = tail(path + ".moved");
  EXPECT_EQ(take_reports(text),
            std::vector<std::string>{GBK("日志文件名已被其他文件占用,继续写入原文件,暂不备份")});
  const std::string record = text_of(std::string(kRetry, 'x'));
  EXPECT_EQ(text, record + record + record);
}

TEST_F(FailingRotation, FileEndsASpellOfFailures) {
  start_large(false);
  {
    const RefusedRename obstacle(path);
    write("x");
  }
  EXPECT_EQ(log.file(path.c_str()), ec::LOG_OK);
  write("y");
  EXPECT_TRUE(backup_exists());
}

// --- Names ---

TEST_F(LogProcess, ARelativeNameStaysTheSameFileWhereverTheHostGoes) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::create_directory(dir.path("elsewhere"));
  std::filesystem::current_path(dir.path());
  ASSERT_EQ(log.file("log"), ec::LOG_OK);
  std::filesystem::current_path(dir.path("elsewhere"));
  write(std::string(kLimit, 'x'));
  std::filesystem::current_path(before);
  write("new");
  EXPECT_TRUE(backup_exists());
  EXPECT_EQ(written(), text_of("new"));
  EXPECT_TRUE(std::filesystem::is_empty(dir.path("elsewhere")));
}

TEST_F(LogProcess, BackupsOfALinkedLogAreBesideTheFile) {
  const std::string volume = dir.path("volume");
  std::filesystem::create_directory(volume);
  std::filesystem::create_symlink("volume/file", path);
  start(false);
  write(std::string(kLimit, 'x'));
  write("new");
  EXPECT_TRUE(std::filesystem::is_symlink(path));
  EXPECT_FALSE(backup_exists());
  EXPECT_TRUE(std::filesystem::exists(volume + "/file.bak.0"));
  EXPECT_EQ(read_file(volume + "/file"), text_of("new"));
}

// As /dev/stdout and /dev/stderr are.
TEST_F(LogProcess, AFileThatAnotherProgramHasOpenIsNeverRotated) {
  write_file(path, "");
  std::filesystem::resize_file(path, kLimit);
  const int open_file = ::open(path.c_str(), O_WRONLY | O_APPEND);
  const std::string number = std::to_string(open_file);
  std::filesystem::create_symlink("/proc/self/fd/" + number, dir.path("link"));
  std::uintmax_t size = kLimit;
  for (const std::string& name :
       {"/proc/self/fd/" + number, "/dev/fd/" + number, dir.path("link")}) {
    ASSERT_EQ(log.file(name.c_str()), ec::LOG_OK);
    write("x");
    size += text_of("x").size();
    EXPECT_EQ(std::filesystem::file_size(path), size) << name;
    EXPECT_FALSE(std::filesystem::exists(name + ".bak.0"));
  }
  EXPECT_FALSE(backup_exists());
  EXPECT_TRUE(std::filesystem::is_symlink(dir.path("link")));
  ::close(open_file);
}

TEST_F(LogProcess, AFifoIsNeverRotated) {
  Fifo fifo(path);
  start(true);
  const std::string message(1 << 20, 'x');
  std::thread producer([&] {
    for (int i = 0; i < 12; ++i) {
      write(message);
    }
    write("end");
    log.release();
  });
  const std::string text = fifo.read_until(kClosing);
  producer.join();
  EXPECT_EQ(text.size(),
            12 * text_of(message).size() + text_of("end").size() + std::strlen(kClosing));
  EXPECT_FALSE(backup_exists());
  EXPECT_TRUE(std::filesystem::is_fifo(path));
}

// --- Write errors ---

TEST_F(LogProcess, AWriteErrorLosesTheRecordAndNotTheLog) {
  start(false);
  write("1");
  {
    const FileSizeLimit limit(text_of("1").size() + 5);
    write("lost");
    write("lost");
    EXPECT_EQ(written(), text_of("1"));
  }
  write("2");
  EXPECT_EQ(written(), text_of("1") + text_of("2"));
  EXPECT_FALSE(backup_exists());
}

TEST_F(LogProcess, AWriteErrorOfTheWriterThreadLosesTheRecordAndNotTheLog) {
  auto limit = std::make_unique<FileSizeLimit>(10);
  start(true);
  write("lost");
  log.release();
  limit.reset();
  start(true);
  write("1");
  log.release();
  EXPECT_EQ(written(), text_of("1") + kClosing);
}

TEST_F(LogProcess, AFullDeviceIsNeverRotatedAndLeftByTheNextFile) {
  ASSERT_EQ(log.file("/dev/full"), ec::LOG_OK);
  write(std::string(11 << 20, 'x'));
  EXPECT_TRUE(std::filesystem::exists("/dev/full"));
  EXPECT_FALSE(std::filesystem::exists("/dev/full.bak.0"));
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  write("x");
  EXPECT_EQ(written(), text_of("x"));
}

// --- End of the process ---

TEST_F(LogProcess, FinishWritesWhatIsQueuedThenRecordsAreWrittenDirectly) {
  const std::size_t count = threads().size();
  start(true);
  std::string expected;
  for (int i = 0; i < 500; ++i) {
    write(std::to_string(i));
    expected += text_of(std::to_string(i));
  }
  log.finish();
  EXPECT_EQ(written(), expected);
  EXPECT_EQ(threads().size(), count);
  write("direct");
  log.asynch(true);
  write("direct too");
  EXPECT_EQ(written(), expected + text_of("direct") + text_of("direct too"));
  log.finish();
  log.release();
  EXPECT_EQ(written(), expected + text_of("direct") + text_of("direct too") + kClosing);
}

TEST_F(LogProcess, FinishWithoutAWriterWritesWhatPiledUp) {
  ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  log.asynch(true);
  std::string expected;
  const std::string padding(1000, 'x');
  for (int i = 0; i < 100; ++i) {
    expected += text_of(std::to_string(i) + padding);
  }
  {
    const WatchedThread producer([&] {
      for (int i = 0; i < 100; ++i) {
        write(std::to_string(i) + padding);
      }
    });
    producer.wait_until_it_waits();
    log.finish();
  }
  EXPECT_EQ(written(), expected);
}

TEST_F(LogProcess, AfterFinishInitStartsNoWriter) {
  log.finish();
  const std::size_t count = threads().size();
  start(true);
  EXPECT_EQ(threads().size(), count);
  write("x");
  EXPECT_EQ(written(), text_of("x"));
}

TEST_F(LogProcess, FinishKeepsTheOrderOfEachThread) {
  constexpr int kThreads = 4;
  constexpr int kRecords = 500;
  start(true);
  std::atomic<int> started{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t, &started] {
      for (int i = 0; i < kRecords; ++i) {
        write(std::to_string(t) + " " + std::to_string(i));
        started += i == 10 ? 1 : 0;
      }
    });
  }
  wait_until([&] { return started == kThreads; });
  log.finish();
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::istringstream text(written());
  std::vector<int> next(kThreads, 0);
  std::string tag, mark;
  for (int i = 0; i < kThreads * kRecords; ++i) {
    int thread = -1, number = -1;
    text >> tag >> mark;
    mark.erase(0, 1);
    thread = std::stoi(mark);
    text >> number;
    ASSERT_EQ(number, next[static_cast<std::size_t>(thread)]++);
  }
}

// --- Threads ---

TEST_F(LogProcess, DirectRecordsOfManyThreadsDoNotInterleaveAndSurviveRotation) {
  constexpr int kThreads = 8;
  constexpr int kRecords = 200;
  const std::string padding(10000, 'x');
  start(false);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kRecords; ++i) {
        write(padding);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::string all = read_file(path + ".bak.0") + written();
  const std::string record = text_of(padding);
  ASSERT_EQ(all.size(), kThreads * kRecords * record.size());
  for (std::size_t at = 0; at < all.size(); at += record.size()) {
    ASSERT_EQ(all.compare(at, record.size(), record), 0) << at;
  }
}

TEST_F(Standard, EightThreadsLogWhileTheLogStartsAndStops) {
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      while (!stop) {
        write("message");
      }
    });
  }
  for (int round = 0; round < 30; ++round) {
    start(round % 3 != 0);
    log.info(round % 2 == 0 ? 0xE : 0);
    log.type(0xFF);
    if (round % 5 == 0) {
      ASSERT_EQ(log.init(), ec::LOG_OK);
      ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
    }
    log.release();
  }
  stop = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(written().ends_with("\r\n >\nlog system release\n\n"));
  output();  // what was written between an init() and its file()
}
