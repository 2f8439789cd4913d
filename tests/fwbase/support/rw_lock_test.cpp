#include "fwbase/support/rw_lock.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

using fwbase::support::ReadGuard;
using fwbase::support::RwLock;
using fwbase::support::WriteGuard;
using fwbase::support::WriteRelease;

namespace {

bool can_be_written(RwLock& lock) {
  bool taken = false;
  std::thread([&] {
    ACE_RW_Thread_Mutex& mutex = lock.mutex();
    taken = mutex.tryacquire_write() == 0;
    if (taken) {
      mutex.release();
    }
  }).join();
  return taken;
}

}  // namespace

TEST(RwLock, AGuardThatGotNothingGivesNothingBack) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
  RwLock lock;
  {
    const WriteGuard outer(lock);
    errno = 0;
    { const ReadGuard inner(lock); }
    EXPECT_EQ(errno, EDEADLK);
    { const WriteGuard inner(lock); }
    EXPECT_FALSE(can_be_written(lock));
  }
  EXPECT_TRUE(can_be_written(lock));
}

TEST(RwLock, ReadersExcludeWritersAndWriteReleaseLetsThemIn) {
  RwLock lock;
  {
    const ReadGuard reader(lock);
    EXPECT_FALSE(can_be_written(lock));
  }
  const WriteGuard writer(lock);
  {
    const WriteRelease released(lock);
    EXPECT_TRUE(can_be_written(lock));
  }
  EXPECT_FALSE(can_be_written(lock));
}
