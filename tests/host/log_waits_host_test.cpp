// Who waits for whom in the log: the writer thread for records, producers for room in the queue.
#include <fcntl.h>
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "tests/harness/temp_dir.h"
#include "tests/harness/thread_sleep.h"
#include "tests/harness/watched_thread.h"

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::test::TempDir;
using fwbase::test::WatchedThread;

namespace {

class LogWaits : public testing::Test {
 protected:
  LogWaits() {
    const std::set<int> before = fwbase::test::threads();
    EXPECT_EQ(facade->init(), ec::FW_OK);
    for (const int thread : fwbase::test::threads()) {
      writer = before.contains(thread) ? writer : thread;
    }
  }
  ~LogWaits() override { facade->release(); }

  void log_to(const std::string& path) {
    ASSERT_EQ(log()->file(path.c_str()), ec::LOG_OK);
    log()->type(IRunLog::ERROR);
    log()->asynch(true);
  }
  IRunLog* log() const { return facade->runlog(); }

  const TempDir directory;
  IFWBase* const facade = IFWBase::instance();
  int writer = 0;
};

std::size_t count_of(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace

TEST_F(LogWaits, ASleepingWriterIsWokenByARecordAndByTheEnd) {
  const std::string path = directory.path("log");
  log_to(path);
  for (int records = 1; records <= 3; ++records) {
    fwbase::test::wait_until_asleep(writer);
    log()->write(IRunLog::ERROR, "record", "");
    while (count_of("record", fwbase::test::read_file(path)) < static_cast<std::size_t>(records)) {
      std::this_thread::yield();
    }
  }
  fwbase::test::wait_until_asleep(writer);
  facade->release();
}

// A FIFO that nobody reads yet: the writer cannot go on, and the queue fills.
class LogWaitsForReader : public LogWaits {
 protected:
  static constexpr int kRecords = 1000;

  // Returns when the queue is full and the producer waits for room.
  LogWaitsForReader() {
    const std::string path = directory.path("fifo");
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    m_end = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    log_to(path);
    producer.emplace([this] {
      for (; logged < kRecords; ++logged) log()->write(IRunLog::ERROR, m_message.c_str(), "");
    });
    wait_until_full(path);
    const std::set<std::string> writing{std::to_string(SYS_poll), std::to_string(SYS_write)};
    while (!writing.contains(fwbase::test::blocking_call(writer)[0])) std::this_thread::yield();
    producer->wait_until_it_waits();
  }

  static void wait_until_full(const std::string& path) {
    pollfd other_end = {::open(path.c_str(), O_WRONLY | O_NONBLOCK), POLLOUT, 0};
    while (::poll(&other_end, 1, 0) != 0) std::this_thread::yield();
    ::close(other_end.fd);
  }

  void begin_to_read() {
    EXPECT_EQ(::fcntl(m_end, F_SETFL, 0), 0);
    m_reader = std::thread([this] {
      char bytes[4096];
      for (ssize_t size = 0; (size = ::read(m_end, bytes, sizeof bytes)) > 0;) {
        m_written.append(bytes, static_cast<std::size_t>(size));
      }
    });
  }

  // Of the whole records that were written. The log must have been released.
  int records_read() {
    m_reader.join();
    ::close(m_end);
    return static_cast<int>(count_of(m_message + "\n", m_written));
  }

  std::atomic<int> logged{0};  // those whose write() has returned

 private:
  const std::string m_message = "<" + std::string(1000, 'x') + ">";
  std::thread m_reader;
  std::string m_written;
  int m_end = -1;

 protected:
  std::optional<WatchedThread> producer;
};

TEST_F(LogWaitsForReader, ProducersWaitForRoomAndGetIt) {
  EXPECT_LT(logged, kRecords);
  begin_to_read();
  producer.reset();
  facade->release();
  EXPECT_EQ(records_read(), kRecords);
}

TEST_F(LogWaitsForReader, TheEndWaitsForProducersThatWaitForRoom) {
  const int returned = logged;
  {
    const WatchedThread releaser([this] { log()->release(); });
    releaser.wait_until_it_waits();
    begin_to_read();
  }
  producer.reset();
  EXPECT_GT(records_read(), returned);
}
