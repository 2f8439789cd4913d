// Mutexes that the compiler checks, and their owner.
#ifndef SUPPORT_MUTEX_H
#define SUPPORT_MUTEX_H

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <new>
#include <utility>

#include "support/lock_list.h"
#include "support/thread_safety.h"

namespace support {

class FWBASE_CAPABILITY Mutex {
 public:
  void lock() FWBASE_ACQUIRE() { m_mutex.lock(); }
  void unlock() FWBASE_RELEASE() { m_mutex.unlock(); }

 protected:
  friend class MutexGuard;

  std::mutex m_mutex;
};

/// A mutex in the list of locks.
class FWBASE_CAPABILITY RankedMutex final : public Mutex, public ListedLock {
 public:
  explicit RankedMutex(LockRank rank, InChild in_child = {})
      : ListedLock(rank, std::move(in_child)) {
    join();
  }
  ~RankedMutex() { leave(); }

 private:
  bool take(const timespec& deadline) override {
    return ::pthread_mutex_timedlock(m_mutex.native_handle(), &deadline) == 0;
  }
  void give_back() override { m_mutex.unlock(); }
  void make_anew(bool taken) override {
    if (taken) {
      m_mutex.unlock();
    } else {
      new (&m_mutex) std::mutex;
    }
  }
};

/// Holds a mutex.
class FWBASE_SCOPED_CAPABILITY MutexGuard {
 public:
  explicit MutexGuard(Mutex& mutex) FWBASE_ACQUIRE(mutex) : m_lock(mutex.m_mutex) {}
  ~MutexGuard() FWBASE_RELEASE() {}
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

  /// Gives the mutex back before the end of the scope.
  void unlock() FWBASE_RELEASE() { m_lock.unlock(); }

  /// Gives it up while the thread waits.
  void wait(std::condition_variable& condition) { condition.wait(m_lock); }
  void wait_until(std::condition_variable& condition, std::chrono::steady_clock::time_point time) {
    condition.wait_until(m_lock, time);
  }

 private:
  std::unique_lock<std::mutex> m_lock;
};

}  // namespace support

#endif
