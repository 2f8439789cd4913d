#include "support/rw_lock.h"

#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <list>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "tests/harness/in_threads.h"

using fwbase::test::in_threads;
using support::LockRank;
using support::ReadGuard;
using support::RwLock;
using support::WriteGuard;
using support::WriteRelease;

namespace {

constexpr LockRank kRank = LockRank::kEnvironment;

// More reads than it takes until marks count.
void read_often(RwLock& lock) {
  for (int i = 0; i < 100; ++i) {
    const ReadGuard guard(lock);
  }
}

// Says whether another thread may read at this moment.
bool can_be_read(support::ListedLock& lock) {
  bool taken = false;
  std::thread([&] {
    const timespec now = {};
    taken = lock.take(now);
    if (taken) {
      lock.give_back();
    }
  }).join();
  return taken;
}

// A thread that writes as soon as it gets the lock.
class Writer {
 public:
  explicit Writer(RwLock& lock)
      : m_thread([this, &lock] {
          const WriteGuard guard(lock);
          m_written = true;
        }) {}
  ~Writer() { m_thread.join(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  bool has_written() const { return m_written; }

 private:
  std::atomic<bool> m_written{false};
  std::thread m_thread;
};

}  // namespace

TEST(RwLock, AGuardThatGotNothingGivesNothingBack) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
  RwLock lock(kRank);
  {
    const WriteGuard outer(lock);
    errno = 0;
    { const ReadGuard inner(lock); }
    EXPECT_EQ(errno, EDEADLK);
    { const WriteGuard inner(lock); }
    EXPECT_FALSE(can_be_read(lock));
  }
  EXPECT_TRUE(can_be_read(lock));
}

TEST(RwLock, WriteReleaseLetsReadersIn) {
  RwLock lock(kRank);
  const WriteGuard writer(lock);
  EXPECT_FALSE(can_be_read(lock));
  {
    const WriteRelease released(lock);
    EXPECT_TRUE(can_be_read(lock));
  }
  EXPECT_FALSE(can_be_read(lock));
}

TEST(RwLock, AReaderReadsAgainWhileAWriterWaits) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
  for (const bool marked : {false, true}) {
    RwLock lock(kRank);
    if (marked) {
      read_often(lock);
    }
    std::optional<ReadGuard> outer(std::in_place, lock);
    Writer writer(lock);
    for (int i = 0; i < 1000; ++i) {
      const ReadGuard inner(lock);
      EXPECT_FALSE(writer.has_written());
    }
    outer.reset();
  }
}

TEST(RwLock, OtherReadersGetTheLockWhileAWriterWaits) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
  RwLock lock(kRank);
  read_often(lock);
  std::optional<ReadGuard> reader(std::in_place, lock);
  Writer writer(lock);
  std::thread([&] { read_often(lock); }).join();
  EXPECT_FALSE(writer.has_written());
  reader.reset();
}

TEST(RwLock, AThreadReadsMoreLocksThanItHasMarks) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
  std::list<RwLock> locks;
  for (int i = 0; i < 12; ++i) {
    locks.emplace_back(kRank);
  }
  for (RwLock& lock : locks) {
    read_often(lock);
  }
  {
    std::vector<std::unique_ptr<ReadGuard>> guards;
    for (RwLock& lock : locks) {
      guards.push_back(std::make_unique<ReadGuard>(lock));
    }
    while (!guards.empty()) {
      guards.pop_back();
    }
  }
  for (RwLock& lock : locks) {
    const WriteGuard guard(lock);
  }
}

// Two numbers that writers change together, and threads that come and go.
TEST(RwLock, ReadersSeeWholeWrites) {
  RwLock lock(kRank);
  long first = 0;
  long second = 0;
  constexpr int kRounds = 20;
  constexpr int kThreads = 6;
  constexpr int kOperations = 2000;
  std::atomic<int> torn{0};
  for (int round = 0; round < kRounds; ++round) {
    in_threads(kThreads, [&](int thread) {
      for (int i = 0; i < kOperations; ++i) {
        if (thread < 2 && i % 50 == thread) {
          const WriteGuard guard(lock);
          ++first;
          ++second;
        } else {
          const ReadGuard guard(lock);
          torn += first != second;
        }
      }
    });
  }
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(first, kRounds * 2 * (kOperations / 50));
  EXPECT_EQ(second, first);
}

TEST(RwLock, AForkedChildWritesWhatAnotherThreadWasReading) {
  RwLock lock(kRank);
  read_often(lock);
  std::atomic<bool> reads{false};
  std::atomic<bool> done{false};
  std::thread reader([&] {
    const ReadGuard guard(lock);
    reads = true;
    done.wait(false);
  });
  while (!reads) {
    std::this_thread::yield();
  }
  fwbase::IFWBase::instance();  // watches forks
  const pid_t child = ::fork();
  if (child == 0) {
    const WriteGuard guard(lock);
    ::_exit(7);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 7);
  done = true;
  done.notify_all();
  reader.join();
}
